// Commands that take layers and nodes out, put scene nodes in, and clean up.

#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"
#include "mkRenderAttributes.h"

#include <set>

void mkNodeListWidget::deleteSelected()
{
    deleteLayers();
    deleteNodes();
}

QStringList mkNodeListWidget::getSelectedLayerNames() const
{
    QStringList names;
    for (const mkNodeItem *layer : getSelectedLayerItems()) {
        names += layer->text(mkColumn::Layer);
    }
    return names;
}

void mkNodeListWidget::deleteLayers()
{
    const QStringList names = getSelectedLayerNames();
    if (names.isEmpty()) {
        return;
    }
    for (const QString &name : names) {
        mkScenegraph::getRenderLayer()->subLayer(name.toUtf8().toStdString());
    }
    rebuildTree(true);
    mkController::setModified(1);
}

void mkNodeListWidget::deleteNodes()
{
    const Rows rows = selectedRows(false);
    if (rows.empty()) {
        return;
    }
    for (const mkNodeItem *row : rows) {
        mkScenegraph::getRenderLayer()->subNode(row->getLayerIndex(), row->getNode());
    }
    rebuildTree(false);
    mkController::setModified(1);
}

mkNodeListWidget::Rows mkNodeListWidget::getTargetLayerItems() const
{
    const SelectedPositions positions = selectedPositions();
    std::set<int> layerRows(positions.layers.begin(), positions.layers.end());
    for (const auto &layer : positions.nodesByLayer) {
        layerRows.insert(layer.first);
    }
    Rows layers;
    for (const int row : layerRows) {
        if (layerItem(row)->isLayer()) {
            layers.push_back(layerItem(row));
        }
    }
    return layers;
}

void mkNodeListWidget::addSelectedNodes()
{
    const Rows targets = getTargetLayerItems();
    if (targets.empty()) {
        return;
    }
    const std::vector<mkNodePtr> nodes = mkScenegraph::getSelectedRootNodes();
    for (const mkNodeItem *layer : targets) {
        const unsigned index = layer->getLayerIndex();
        for (const mkNodePtr &node : nodes) {
            mkScenegraph::getRenderLayer()->addNode(index, node.get());
        }
    }
    rebuildTree(false);
    fitFirstColumn();
    mkController::setModified(1);
}

void mkNodeListWidget::cleanup()
{
    const mkNodePtr root = mkScenegraph::getRootNode();
    mkScenegraph::getRenderLayer()->cleanup(root.get());
    rebuildTree(false);
}
