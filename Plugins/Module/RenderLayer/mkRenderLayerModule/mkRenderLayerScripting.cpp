// The operations that scripts call.

#include "mkColumn.h"
#include "mkHostAccess.h"
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
            panel->_layer->addNodeToLayer(mkUnwrap(node), layerName);
        }
    }
}

void mkRenderLayerModule::activateRenderLayer(const char *name)
{
    if (!name || !panel) {
        return;
    }
    const QPointer<mkNodeListWidget> tree = panel->_layer;
    tree->catchUp();
    const QString text = QString::fromUtf8(name);
    const std::vector<RowPosition> matches = tree ? findRows(tree, text)
                                                  : std::vector<RowPosition>();
    for (const RowPosition position : matches) {
        // Activation runs host code, which may rebuild the tree: rows are fetched anew.
        QTreeWidgetItem *const row = tree ? rowAt(tree, position) : nullptr;
        if (row && row->text(mkColumn::Layer) == text) {
            tree->makeCurrent(row);
            row->setSelected(true);
            tree->activateSelected();
        }
    }
    if (matches.empty()) {
        if (tree) {
            tree->clearSelection();
        }
        mkLog::error("mkRenderLayerModule::activateRenderLayer: Couldn't find layer '%s'!", name);
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
    const osg::RaytracingGeoAttachmentPtr attributes = mkFindOrCreateAttributes(node);
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
