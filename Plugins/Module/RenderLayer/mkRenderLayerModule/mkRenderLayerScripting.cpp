// The operations that scripts call.

#include "OSGSystem/Geometry.h"
#include "mkEndEdit.h"
#include "mkKernel/mkScenegraph.h"
#include "mkNodeItem.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkRenderAttributes.h"
#include "mkRenderLayerGUIW.h"
#include "mkRenderLayerModule.h"
#include "mkUtils/mkLog.h"

#include <utility>

namespace {

/// A row by position; node is -1 for the layer row itself.
struct RowPosition
{
    int layer;
    int node;
};

QTreeWidgetItem *rowAt(const QTreeWidget *tree, RowPosition position)
{
    QTreeWidgetItem *const layer = tree->topLevelItem(position.layer);
    return layer && position.node >= 0 ? layer->child(position.node) : layer;
}

/// All rows with this text in column 0, top to bottom.
std::vector<RowPosition> findRows(const QTreeWidget *tree, const QString &text)
{
    std::vector<RowPosition> rows;
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        const QTreeWidgetItem *const layer = tree->topLevelItem(i);
        for (int j = -1; j < layer->childCount(); ++j) {
            if (rowAt(tree, { i, j })->text(mkColumn::Layer) == text) {
                rows.push_back({ i, j });
            }
        }
    }
    return rows;
}

} // namespace

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
            panel->_layer->addNodeToLayer(node.get(), layerName);
        }
    }
}

void mkRenderLayerModule::activateRenderLayer(const char *name)
{
    if (!name || !panel) {
        return;
    }
    const QPointer<mkNodeListWidget> tree = panel->_layer;
    const QString text = QString::fromUtf8(name);
    const std::vector<RowPosition> matches = findRows(tree, text);
    for (const RowPosition position : matches) {
        // Activation runs host code, which may rebuild the tree: rows are fetched anew.
        QTreeWidgetItem *const row = tree ? rowAt(tree, position) : nullptr;
        if (row && row->text(mkColumn::Layer) == text) {
            tree->makeCurrent(row);
            tree->activateSelected();
        }
    }
    if (matches.empty()) {
        tree->clearSelection();
        mkLog::error("mkRenderLayerModule::activateRenderLayer: Couldn't find layer '%s'!", name);
    }
}

void mkRenderLayerModule::resetRenderLayers()
{
    mkNodeUtils::resetRenderLayerAttributes(mkScenegraph::getRootNode().get());
}

void mkRenderLayerModule::setNodeVisibilityFlags(
    const osg::NodePtr &node, bool visible, bool visibleInAlpha, bool primaryVisibility,
    bool visibleInReflections, bool visibleInRefractions, bool castShadows, bool receiveShadows,
    bool doubleSided, bool visibleForPhotons, bool visibleForShadowMaterial,
    bool useOverrideMaterial, const std::string &overrideMaterial)
{
    if (!node) {
        return;
    }
    osg::MaterialPtr material;
    if (useOverrideMaterial) {
        material = mkMaterials::findMaterial(overrideMaterial.c_str()).get();
    }
    const osg::RaytracingGeoAttachmentPtr attributes = mkFindOrCreateAttributes(node);
    if (!attributes) {
        return;
    }
    mkSetRenderAttributes(attributes,
                          { visible, visibleInAlpha, primaryVisibility, visibleInReflections,
                            visibleInRefractions, castShadows, receiveShadows, doubleSided,
                            visibleForPhotons, visibleForShadowMaterial, useOverrideMaterial });
    attributes->setOverrideMaterial(material);
    endEdit(attributes, osg::AllFields);
    mkNodeUtils::applyRenderLayerAttributes(node, attributes);
}

void mkRenderLayerModule::resetNodeVisibilityFlags(const osg::NodePtr &node)
{
    if (node) {
        mkNodeUtils::resetRenderLayerAttributes(node);
    }
}

void mkRenderLayerModule::activateRenderLayerState(const char *name)
{
    if (!name) {
        return;
    }
    osg::traverse(mkScenegraph::getRoot(), [state = std::string(name)](const osg::NodePtr &node) {
        if (!node) {
            return osg::Action::Skip;
        }
        if (!osg::Ptr<osg::DrawableBase>(node->getCore())) {
            return osg::Action::Continue;
        }
        const osg::RaytracingGeoAttachmentPtr attributes = mkFindAttributes(node);
        if (!attributes) {
            return osg::Action::Continue;
        }
        if (attributes->restoreState(state)) {
            return osg::Action::Skip;
        }
        attributes->reset();
        return osg::Action::Continue;
    });
}
