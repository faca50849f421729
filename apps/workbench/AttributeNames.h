#pragma once

#include "mkOpenSGExt/RaytracingGeoAttachment.h"

#include <QCoreApplication>
#include <QString>

/// One of the eleven render attributes that are on or off, as the workbench names it.
struct AttributeName
{
    const char *label;
    bool osg::RenderAttributeValues::*value;
};

constexpr AttributeName attributeNames[] = {
    { QT_TRANSLATE_NOOP("AttributesView", "Visible"), &osg::RenderAttributeValues::visible },
    { QT_TRANSLATE_NOOP("AttributesView", "Visible in alpha"),
      &osg::RenderAttributeValues::visibleInAlpha },
    { QT_TRANSLATE_NOOP("AttributesView", "Primary visibility"),
      &osg::RenderAttributeValues::primaryVisibility },
    { QT_TRANSLATE_NOOP("AttributesView", "Visible in reflections"),
      &osg::RenderAttributeValues::visibleInReflections },
    { QT_TRANSLATE_NOOP("AttributesView", "Visible in refractions"),
      &osg::RenderAttributeValues::visibleInRefractions },
    { QT_TRANSLATE_NOOP("AttributesView", "Cast shadows"),
      &osg::RenderAttributeValues::castShadows },
    { QT_TRANSLATE_NOOP("AttributesView", "Receive shadows"),
      &osg::RenderAttributeValues::receiveShadows },
    { QT_TRANSLATE_NOOP("AttributesView", "Double sided"),
      &osg::RenderAttributeValues::doubleSided },
    { QT_TRANSLATE_NOOP("AttributesView", "Visible in photons"),
      &osg::RenderAttributeValues::visibleInPhotons },
    { QT_TRANSLATE_NOOP("AttributesView", "Cast shadows on shadow material"),
      &osg::RenderAttributeValues::castShadowsOnShadowMaterial },
    { QT_TRANSLATE_NOOP("AttributesView", "Use override material"),
      &osg::RenderAttributeValues::useOverrideMaterial },
};

inline QString attributeText(const AttributeName &attribute)
{
    return QCoreApplication::translate("AttributesView", attribute.label);
}
