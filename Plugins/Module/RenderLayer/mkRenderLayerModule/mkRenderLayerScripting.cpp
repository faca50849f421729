// The operations that scripts call.

#include "mkColumn.h"
#include "mkHostAccess.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkRenderAttributes.h"
#include "mkRenderLayerGUIW.h"
#include "mkRenderLayerModule.h"
#include "mkUtils/mkLog.h"

#include <QTreeWidgetItemIterator>

void mkRenderLayerModule::createRenderLayer(const char *name)
{
    if (panel) {
        panel->_layer->addLayer(QString::fromUtf8(name));
    }
}

void mkRenderLayerModule::addNodesToRenderLayer(const std::vector<mkNodePtr> &nodes,
                                                const char *layerName)
{
    for (const mkNodePtr &node : nodes) {
        if (panel) {
            panel->_layer->addNodeToLayer(mkUnwrap(node), layerName);
        }
    }
}

void mkRenderLayerModule::activateRenderLayer(const char *name)
{
    if (!name || !panel) {
        return;
    }
    mkNodeListWidget *const tree = panel->_layer;
    tree->catchUp();
    if (!panel) {
        return;
    }
    // An iterator would not outlive the tree, which the host may delete when a row is activated.
    std::vector<QTreeWidgetItem *> rows;
    for (QTreeWidgetItemIterator it(tree); *it; ++it) {
        if ((*it)->text(mkColumn::Layer) == QString::fromUtf8(name)) {
            rows.push_back(*it);
        }
    }
    if (rows.empty()) {
        tree->clearSelection();
        mkLog::error("mkRenderLayerModule::activateRenderLayer: Couldn't find layer '%s'!", name);
    }
    const mkNodeListWidget::RowsInUse inUse(tree);
    for (QTreeWidgetItem *row : rows) {
        if (!inUse.areGone()) {
            tree->makeCurrent(row);
            row->setSelected(true);
            tree->activateSelected();
        }
    }
}

void mkRenderLayerModule::resetRenderLayers()
{
    mkNodeUtils::resetRenderLayerAttributes(mkUnwrap(mkScenegraph::getRootNode()));
}

void mkRenderLayerModule::setNodeVisibilityFlags(
    const osg::NodePtr &node, bool visible, bool visibleInAlpha, bool primaryVisibility,
    bool visibleInReflections, bool visibleInRefractions, bool castShadows, bool receiveShadows,
    bool doubleSided, bool visibleForPhotons, bool visibleForShadowMaterial,
    bool useOverrideMaterial, const std::string &overrideMaterial)
{
    if (node == osg::NullFC) {
        return;
    }
    osg::MaterialPtr material = osg::NullFC;
    if (useOverrideMaterial) {
        material = mkUnwrap(mkMaterials::findMaterial(overrideMaterial.c_str()));
    }
    osg::RaytracingGeoAttachmentPtr attributes = mkFindAttributes(node);
    if (attributes == osg::NullFC) {
        attributes = osg::RaytracingGeoAttachmentBase::create();
        node->addAttachment(attributes, 0);
        endEdit(node, osg::AttachmentContainer::AttachmentsFieldMask);
    }
    mkSetRenderAttributes(attributes,
                          { visible, visibleInAlpha, primaryVisibility, visibleInReflections,
                            visibleInRefractions, castShadows, receiveShadows, doubleSided,
                            visibleForPhotons, visibleForShadowMaterial, useOverrideMaterial });
    attributes->setOverrideMaterial(material);
    endEdit(attributes, mkAllFields());
    mkNodeUtils::applyRenderLayerAttributes(node, attributes);
}

void mkRenderLayerModule::resetNodeVisibilityFlags(const osg::NodePtr &node)
{
    if (node != osg::NullFC) {
        mkNodeUtils::resetRenderLayerAttributes(node);
    }
}

void mkRenderLayerModule::activateRenderLayerState(const char *name)
{
    if (!name) {
        return;
    }
    osg::traverse(mkScenegraph::getRoot(), [state = std::string(name)](const osg::NodePtr &node) {
        if (node == osg::NullFC) {
            return osg::Action::Skip;
        }
        if (!mkIsDrawable(node)) {
            return osg::Action::Continue;
        }
        const osg::RaytracingGeoAttachmentPtr attributes = mkFindAttributes(node);
        if (attributes == osg::NullFC) {
            return osg::Action::Continue;
        }
        if (attributes->restoreState(state)) {
            return osg::Action::Skip;
        }
        attributes->reset();
        return osg::Action::Continue;
    });
}
