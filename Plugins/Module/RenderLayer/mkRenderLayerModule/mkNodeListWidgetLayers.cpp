// Commands on the list of layers, moves, and the selection of scene nodes.

#include "mkHostAccess.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkRenderAttributes.h"

#include <QMessageBox>
#include <QSet>

#include <algorithm>

namespace {

void appendNodesBelow(const mkNodeItem *layer, std::vector<mkNodePtr> &nodes)
{
    for (int i = 0; i < layer->childCount(); ++i) {
        if (const osg::NodePtr node = static_cast<mkNodeItem *>(layer->child(i))->getNode()) {
            nodes.emplace_back(node);
        }
    }
}

std::vector<std::string> namesOfLayers()
{
    std::vector<std::string> names;
    if (const osg::RenderLayersPtr content = mkStore()->getAttachment()) {
        for (const osg::FieldContainerPtr &entry : content->getLayers()) {
            if (const osg::RenderLayerPtr layer{ entry }) {
                names.push_back(layer->getName());
            }
        }
    }
    return names;
}

void selectInHost(const std::vector<mkNodePtr> &nodes)
{
    const mkScopedUndo undo(true);
    mkSelectionManager::selectNodes(nodes);
    mkScenegraph::scrollToNodes(nodes);
}

} // namespace

// cppcheck-suppress passedByValue ; the slot's signature is given
void mkNodeListWidget::createLayer(QString name) // NOLINT(performance-unnecessary-value-param)
try {
    addLayer(name);
} catch (...) {
    mkReportFailure("mkNodeListWidget::createLayer");
}

void mkNodeListWidget::addLayer(const QString &wanted)
try {
    const QString name = wanted.isEmpty() ? tr("Layer") : wanted;
    QSet<QString> taken;
    for (int i = 0; i < topLevelItemCount(); ++i) {
        taken.insert(topLevelItem(i)->text(mkColumn::Layer));
    }
    if (rebuildPending) {
        // The rows do not show every layer yet.
        for (const std::string &layer : namesOfLayers()) {
            taken.insert(QString::fromStdString(layer));
        }
    }
    QString candidate = name;
    for (int counter = 1; taken.contains(candidate); ++counter) {
        candidate = name + QString::number(counter);
    }
    mkStore()->addLayer(candidate.toUtf8().toStdString());
    rebuildTree(false);
    fitFirstColumn();
    mkController::setModified(1);
} catch (...) {
    redrawAfterFailure();
    throw;
}

void mkNodeListWidget::renameLayer()
{
    auto *const row = static_cast<mkNodeItem *>(currentItem());
    if (row && row->isSelected() && row->isLayer()) {
        editItem(row, mkColumn::Layer);
    }
}

void mkNodeListWidget::changedItem(QTreeWidgetItem *item, int col)
try {
    if (col == mkColumn::Layer) {
        ++firstColumnRevision;
    }
    auto *const row = static_cast<mkNodeItem *>(item);
    if (!row || !row->isLayer()) {
        return;
    }
    // The edit is over. Closed now, its editor lives until the event loop below the view, which is
    // still at work with it; a rebuild under a warning would have it deleted by the warning's loop.
    suspendEdit();
    const QString name = row->text(mkColumn::Layer);
    int namesakes = 0;
    for (int i = 0; i < topLevelItemCount(); ++i) {
        if (topLevelItem(i) != row && topLevelItem(i)->text(mkColumn::Layer) == name) {
            ++namesakes;
        }
    }
    if (!name.isEmpty() && namesakes == 0) {
        const RowsInUse inUse(this);
        row->commitLayerName();
    }
    // The host may close the panel meanwhile.
    const QPointer<mkNodeListWidget> self(this);
    for (; namesakes > 0; --namesakes) {
        QMessageBox::warning(nullptr, tr("Render Layer"),
                             tr("Name is not unique, please choose a different one."),
                             QMessageBox::Ok, QMessageBox::NoButton);
    }
    if (self) {
        fitFirstColumn();
        rebuildTree(false);
    }
} catch (...) {
    recover("mkNodeListWidget::changedItem");
}

void mkNodeListWidget::duplicateLayer()
try {
    const RowsInUse inUse(this);
    const Rows layers = getSelectedLayerItems();
    if (layers.empty()) {
        return;
    }
    std::vector<std::string> taken = namesOfLayers();
    for (const mkNodeItem *row : layers) {
        const std::string base = row->text(mkColumn::Layer).toUtf8().toStdString();
        taken.push_back(mkNodeUtils::getUniqueName(base, taken));
        osg::RenderLayerPtr copy;
        mkStore()->copyLayer(row->getLayerIndex(), taken.back(), &copy);
    }
    drawTree(false);
    fitFirstColumn();
    mkController::setModified(1);
} catch (...) {
    recover("mkNodeListWidget::duplicateLayer");
}

void mkNodeListWidget::moveUpNode()
try {
    move(Direction::Up);
} catch (...) {
    recover("mkNodeListWidget::moveUpNode");
}

void mkNodeListWidget::moveDownNode()
try {
    move(Direction::Down);
} catch (...) {
    recover("mkNodeListWidget::moveDownNode");
}

void mkNodeListWidget::move(Direction direction)
{
    if (!selectionModel()->hasSelection()) {
        return;
    }
    const RowsInUse inUse(this);
    std::vector<Rows> groups;
    const std::size_t nodes = getSelectedNodeItemsByLayer(groups);
    const Rows layers = getSelectedLayerItems();
    if (nodes > 0 && !layers.empty()) {
        return;
    }
    const std::size_t total = nodes + layers.size();
    if (total == 1) {
        const mkNodeItem *const row = getFirstSelectedItem();
        if (!row) {
            return;
        }
        moveInStore(row, row->getLayerIndex(), direction);
    } else if (!(layers.empty() ? moveNodes(groups, direction) : moveLayers(layers, direction))) {
        return;
    }
    drawTree(total >= 2);
}

bool mkNodeListWidget::moveLayers(const Rows &layers, Direction direction)
{
    const bool up = direction == Direction::Up;
    if (up ? !getPreviousSibling(layers.front()) : !getNextSibling(layers.back())) {
        return false;
    }
    // The one that moves into the gap goes first, so that the other indices stay valid.
    Rows ordered = layers;
    if (!up) {
        std::reverse(ordered.begin(), ordered.end());
    }
    for (const mkNodeItem *row : ordered) {
        moveInStore(row, row->getLayerIndex(), direction);
    }
    return true;
}

bool mkNodeListWidget::moveNodes(const std::vector<Rows> &groups, Direction direction)
{
    const bool up = direction == Direction::Up;
    bool moved = false;
    for (Rows group : groups) {
        if (up ? !getPreviousSibling(group.front()) : !getNextSibling(group.back())) {
            continue;
        }
        if (!up) {
            std::reverse(group.begin(), group.end());
        }
        for (const mkNodeItem *row : group) {
            moveInStore(row, row->getLayerIndex(), direction);
        }
        moved = true;
    }
    return moved;
}

void mkNodeListWidget::moveInStore(const mkNodeItem *row, unsigned layerIndex, Direction direction)
{
    mkRenderLayer *const store = mkStore();
    if (direction == Direction::Up) {
        row->isLayer() ? store->moveUpLayer(layerIndex)
                       : store->moveUpNode(layerIndex, row->getNode());
    } else {
        row->isLayer() ? store->moveDownLayer(layerIndex)
                       : store->moveDownNode(layerIndex, row->getNode());
    }
}

void mkNodeListWidget::selectNodes()
try {
    if (!selectionModel()->hasSelection()) {
        return;
    }
    const RowsInUse inUse(this);
    const Rows nodeRows = selectedRows(false);
    const Rows layers = getSelectedLayerItems();
    std::vector<mkNodePtr> nodes;
    if (nodeRows.size() + layers.size() < 2) {
        const mkNodeItem *const row = getFirstSelectedItem();
        if (!row) {
            return;
        }
        if (const osg::NodePtr node = row->getNode()) {
            const mkScopedUndo undo(true);
            mkSelectionManager::selectNode(node);
            return;
        }
        appendNodesBelow(row, nodes);
        selectInHost(nodes);
        return;
    }

    const QSet<const QTreeWidgetItem *> selectedLayers(layers.begin(), layers.end());
    for (const mkNodeItem *row : nodeRows) {
        const osg::NodePtr node = row->getNode();
        if (node && !selectedLayers.contains(row->parent())) {
            nodes.emplace_back(node);
        }
    }
    for (const mkNodeItem *layer : layers) {
        appendNodesBelow(layer, nodes);
    }
    selectInHost(nodes);
} catch (...) {
    mkReportFailure("mkNodeListWidget::selectNodes");
}

void mkNodeListWidget::addNodeToLayer(const osg::NodePtr &node, const char *layerName)
try {
    if (!node || !layerName) {
        return;
    }
    mkStore()->addNode(std::string(layerName), node);
    rebuildTree(false);
    fitFirstColumn();
    mkController::setModified(1);
} catch (...) {
    redrawAfterFailure();
    throw;
}
