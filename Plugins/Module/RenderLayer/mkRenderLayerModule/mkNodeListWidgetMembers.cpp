// Commands on the nodes of layers: put in, take out, clean up, select in the scene.

#include "mkHostAccess.h"
#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"

#include <QSet>

namespace {

void appendNodesBelow(const mkNodeItem *layer, std::vector<mkNodePtr> &nodes)
{
    for (int i = 0; i < layer->childCount(); ++i) {
        const osg::NodePtr node = static_cast<mkNodeItem *>(layer->child(i))->getNode();
        if (node != osg::NullFC) {
            nodes.emplace_back(node);
        }
    }
}

} // namespace

mkNodeListWidget::Rows mkNodeListWidget::getTargetLayerItems() const
{
    Rows layers;
    for (int i = 0; i < topLevelItemCount(); ++i) {
        mkNodeItem *const layer = layerItem(i);
        if (layer->isLayer() && (layer->isSelected() || !selectedNodesOf(layer).empty())) {
            layers.push_back(layer);
        }
    }
    return layers;
}

void mkNodeListWidget::addSelectedNodes()
{
    std::vector<unsigned> targets;
    for (const mkNodeItem *layer : getTargetLayerItems()) {
        targets.push_back(layer->getLayerIndex());
    }
    if (targets.empty()) {
        return;
    }
    run("mkNodeListWidget::addSelectedNodes", FitColumn | MarkModified, [&targets] {
        const std::vector<mkNodePtr> nodes = mkScenegraph::getSelectedRootNodes();
        for (const unsigned layer : targets) {
            for (const mkNodePtr &node : nodes) {
                mkStore()->addNode(layer, mkUnwrap(node));
            }
        }
    });
}

void mkNodeListWidget::addNodeToLayer(const osg::NodePtr &node, const char *layerName)
{
    if (node != osg::NullFC && layerName) {
        change(FitColumn | MarkModified, [&] { mkStore()->addNode(std::string(layerName), node); });
    }
}

void mkNodeListWidget::deleteNodes()
{
    std::vector<std::pair<unsigned, osg::NodePtr>> members;
    for (const mkNodeItem *row : selectedRows(false)) {
        members.emplace_back(row->getLayerIndex(), row->getNode());
    }
    // Rows whose redrawing after the removal of layers was put off name the wrong layers.
    if (members.empty() || rebuildPending) {
        return;
    }
    run("mkNodeListWidget::deleteNodes", MarkModified, [&members] {
        for (const auto &[layer, node] : members) {
            mkStore()->subNode(layer, node);
        }
    });
}

void mkNodeListWidget::cleanup()
{
    run("mkNodeListWidget::cleanup", 0, [] {
        const mkNodePtr root = mkScenegraph::getRootNode();
        mkStore()->cleanup(mkUnwrap(root));
    });
}

void mkNodeListWidget::selectNodes()
try {
    const Rows nodeRows = selectedRows(false);
    const Rows layers = getSelectedLayerItems();
    std::vector<mkNodePtr> nodes;
    if (nodeRows.size() + layers.size() < 2) {
        const mkNodeItem *const row = getFirstSelectedItem();
        if (!row) {
            return;
        }
        if (const osg::NodePtr node = row->getNode(); node != osg::NullFC) {
            const mkScopedUndo undo(true);
            mkSelectionManager::selectNode(node);
            return;
        }
        appendNodesBelow(row, nodes);
    } else {
        const QSet<const QTreeWidgetItem *> selectedLayers(layers.begin(), layers.end());
        for (const mkNodeItem *row : nodeRows) {
            const osg::NodePtr node = row->getNode();
            if (node != osg::NullFC && !selectedLayers.contains(row->parent())) {
                nodes.emplace_back(node);
            }
        }
        for (const mkNodeItem *layer : layers) {
            appendNodesBelow(layer, nodes);
        }
    }
    const mkScopedUndo undo(true);
    mkSelectionManager::selectNodes(nodes);
    mkScenegraph::scrollToNodes(nodes);
} catch (...) {
    mkReportFailure("mkNodeListWidget::selectNodes");
}
