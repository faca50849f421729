#include "mkRenderAttributes.h"

#include "mkHostAccess.h"

using Attributes = osg::RaytracingGeoAttachmentBase;

const std::array<mkRenderAttribute, mkRenderAttributeCount> mkRenderAttributes{ {
    { 1, QT_TRANSLATE_NOOP("mkNodeListWidget", "Visible"), &Attributes::getVisible,
      &Attributes::setVisible },
    { 2, QT_TRANSLATE_NOOP("mkNodeListWidget", "VisibleInAlpha"), &Attributes::getVisibleInAlpha,
      &Attributes::setVisibleInAlpha },
    { 3, QT_TRANSLATE_NOOP("mkNodeListWidget", "PrimaryVisibility"),
      &Attributes::getPrimaryVisibility, &Attributes::setPrimaryVisibility },
    { 4, QT_TRANSLATE_NOOP("mkNodeListWidget", "VisibleInReflections"),
      &Attributes::getVisibleInReflections, &Attributes::setVisibleInReflections },
    { 5, QT_TRANSLATE_NOOP("mkNodeListWidget", "VisibleInRefractions"),
      &Attributes::getVisibleInRefractions, &Attributes::setVisibleInRefractions },
    { 6, QT_TRANSLATE_NOOP("mkNodeListWidget", "CastShadows"), &Attributes::getCastShadows,
      &Attributes::setCastShadows },
    { 7, QT_TRANSLATE_NOOP("mkNodeListWidget", "ReceiveShadows"), &Attributes::getReceiveShadows,
      &Attributes::setReceiveShadows },
    { 8, QT_TRANSLATE_NOOP("mkNodeListWidget", "DoubleSided"), &Attributes::getDoubleSided,
      &Attributes::setDoubleSided },
    { 9, QT_TRANSLATE_NOOP("mkNodeListWidget", "VisibleForPhotons"),
      &Attributes::getVisibleInPhotons, &Attributes::setVisibleInPhotons },
    { 10, QT_TRANSLATE_NOOP("mkNodeListWidget", "CastShadowsOnShadowMaterial"),
      &Attributes::getCastShadowsOnShadowMaterial, &Attributes::setCastShadowsOnShadowMaterial },
    { 11, QT_TRANSLATE_NOOP("mkNodeListWidget", "UseOverrideMaterial"),
      &Attributes::getUseOverrideMaterial, &Attributes::setUseOverrideMaterial },
} };

void mkSetRenderAttributes(const osg::RaytracingGeoAttachmentPtr &attributes,
                           const mkRenderAttributeFlags &flags)
{
    for (std::size_t i = 0; i < flags.size(); ++i) {
        (attributes.operator->()->*mkRenderAttributes[i].set)(flags[i]);
    }
}

void mkStoreRenderAttributes(mkRenderLayer *store, unsigned layer, const osg::NodePtr &node,
                             const mkRenderAttributeFlags &flags)
{
    const osg::RaytracingGeoAttachmentPtr attributes = store->getAttributes(layer, node);
    if (attributes != osg::NullFC) {
        mkSetRenderAttributes(attributes, flags);
        endEdit(attributes, mkAllFields());
        store->setAttributes(layer, node, attributes);
    }
}
