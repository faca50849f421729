// Commands that take layers and nodes out, put scene nodes in, and clean up.

#include "mkHostAccess.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"
#include "mkRenderAttributes.h"

void mkNodeListWidget::deleteSelected()
try {
    removeSelectedLayers();
    removeSelectedNodes();
} catch (...) {
    recover("mkNodeListWidget::deleteSelected");
}

void mkNodeListWidget::deleteLayers()
try {
    removeSelectedLayers();
} catch (...) {
    recover("mkNodeListWidget::deleteLayers");
}

void mkNodeListWidget::deleteNodes()
try {
    removeSelectedNodes();
} catch (...) {
    recover("mkNodeListWidget::deleteNodes");
}

QStringList mkNodeListWidget::getSelectedLayerNames() const
{
    QStringList names;
    for (const mkNodeItem *layer : getSelectedLayerItems()) {
        names += layer->text(mkColumn::Layer);
    }
    return names;
}

void mkNodeListWidget::removeSelectedLayers()
{
    const QStringList names = getSelectedLayerNames();
    if (names.isEmpty()) {
        return;
    }
    // A message about one of the removals must not cost the selected nodes their selection: they
    // are removed next.
    const RowsInUse inUse(this);
    for (const QString &name : names) {
        mkStore()->subLayer(name.toUtf8().toStdString());
    }
    drawTree(true);
    mkController::setModified(1);
}

void mkNodeListWidget::removeSelectedNodes()
{
    const RowsInUse inUse(this);
    const Rows rows = selectedRows(false);
    // Rows whose redrawing after the removal of layers was put off name the wrong layers.
    if (rows.empty() || rebuildPending) {
        return;
    }
    for (const mkNodeItem *row : rows) {
        mkStore()->subNode(row->getLayerIndex(), row->getNode());
    }
    drawTree(false);
    mkController::setModified(1);
}

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
try {
    const RowsInUse inUse(this);
    const Rows targets = getTargetLayerItems();
    if (targets.empty()) {
        return;
    }
    const std::vector<mkNodePtr> nodes = mkScenegraph::getSelectedRootNodes();
    for (const mkNodeItem *layer : targets) {
        const unsigned index = layer->getLayerIndex();
        for (const mkNodePtr &node : nodes) {
            mkStore()->addNode(index, node.get());
        }
    }
    drawTree(false);
    fitFirstColumn();
    mkController::setModified(1);
} catch (...) {
    recover("mkNodeListWidget::addSelectedNodes");
}

void mkNodeListWidget::cleanup()
try {
    const mkNodePtr root = mkScenegraph::getRootNode();
    mkStore()->cleanup(root.get());
    rebuildTree(false);
} catch (...) {
    recover("mkNodeListWidget::cleanup");
}
