// The rebuild of the tree, expansion, and how the selection survives.

#include "mkHostAccess.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"
#include "mkRenderAttributes.h"

#include <QHash>
#include <QHeaderView>
#include <QScopeGuard>
#include <QSignalBlocker>

#include <algorithm>
#include <memory>

namespace {

/// A node row, by what identifies it across a rebuild. Id 0 is a node that no longer exists.
using NodeKey = QPair<quint32, QString>;

NodeKey nodeKey(const osg::NodePtr &node, const QString &layerName)
{
    return { node ? node->getId() : 0, layerName };
}

/// Takes one of the entries remembered under `key`; false when there is none left.
template <typename Key>
bool takeOne(QHash<Key, int> &remembered, const Key &key)
{
    const auto found = remembered.find(key);
    if (found == remembered.end()) {
        return false;
    }
    if (--found.value() == 0) {
        remembered.erase(found);
    }
    return true;
}

/// The store's content when it can be shown: every entry is a layer. Null otherwise.
osg::RenderLayersPtr showableContent()
{
    const mkRenderLayer *const store = mkScenegraph::getRenderLayer();
    if (!store || store->isEmpty()) {
        return osg::NullFC;
    }
    osg::RenderLayersPtr content = store->getAttachment();
    if (content) {
        const auto &layers = content->getLayers();
        const bool allLayers = std::all_of(layers.begin(), layers.end(), [](const auto &entry) {
            return osg::RenderLayerPtr(entry) != osg::NullFC;
        });
        if (!allLayers) {
            return osg::NullFC;
        }
    }
    return content;
}

osg::RaytracingGeoAttachmentPtr attributesAt(const osg::RenderLayerPtr &layer, std::size_t index)
{
    const auto &attributes = layer->getAttributes();
    return index < attributes.size() ? osg::RaytracingGeoAttachmentPtr(attributes[index])
                                     : osg::RaytracingGeoAttachmentPtr();
}

/// Makes node rows. Those that show the same attributes share their cells, which saves two thirds
/// of a row's time and half of its memory.
class NodeRowMaker
{
public:
    /// A row filled from `attributes`; either may be null.
    std::unique_ptr<mkNodeItem> create(const osg::NodePtr &node,
                                       const osg::RaytracingGeoAttachmentPtr &attributes)
    {
        const mkNodeItem **const alike = node && attributes ? &filled[shownBy(attributes)]
                                                            : nullptr;
        auto row = alike && *alike ? std::make_unique<mkNodeItem>(node, **alike)
                                   : std::make_unique<mkNodeItem>(node);
        row->setItemType(mkNodeItem::NodeRow);
        if (alike && !*alike) {
            row->updateAttributes(attributes, cells);
            *alike = row.get();
        }
        return row;
    }

private:
    /// All that the cells show: the flags, and the id of the material.
    static quint64 shownBy(const osg::RaytracingGeoAttachmentPtr &attributes)
    {
        const osg::MaterialPtr &material = attributes->getOverrideMaterial();
        quint64 shown = material ? material->getId() : 0;
        for (const mkRenderAttribute &attribute : mkRenderAttributes) {
            shown = shown << 1 | quint64(((*attributes).*attribute.get)());
        }
        return shown;
    }

    mkAttributeCells cells;
    QHash<quint64, const mkNodeItem *> filled;
};

} // namespace

struct mkNodeListWidget::SelectionMemory
{
    QHash<QString, int> layers;
    QHash<NodeKey, int> nodes;
    /// Keeps the ids of remembered nodes from being given out again during the rebuild.
    std::vector<osg::NodePtr> nodesAlive;
};

mkNodeListWidget::SelectionMemory mkNodeListWidget::rememberSelection(bool keepSelection) const
{
    SelectionMemory memory;
    if (keepSelection) {
        QStringList layerNames;
        QStringList nodeLayerNames;
        collectSelection(layerNames, memory.nodesAlive, nodeLayerNames);
        for (const QString &name : qAsConst(layerNames)) {
            ++memory.layers[name];
        }
        memory.nodes.reserve(int(memory.nodesAlive.size()));
        for (std::size_t i = 0; i < memory.nodesAlive.size(); ++i) {
            ++memory.nodes[nodeKey(memory.nodesAlive[i], nodeLayerNames.at(int(i)))];
        }
        return memory;
    }

    const auto *const row = static_cast<mkNodeItem *>(currentItem());
    if (!row || !row->isSelected()) {
        return memory;
    }
    const QString name = row->text(mkColumn::Layer);
    if (const osg::NodePtr node = row->getNode()) {
        const QString layerName = row->parent() ? row->parent()->text(mkColumn::Layer) : QString();
        memory.nodes.insert(nodeKey(node, layerName), 1);
        memory.nodesAlive.push_back(node);
    } else if (!name.isEmpty()) {
        memory.layers.insert(name, 1);
    }
    return memory;
}

mkNodeListWidget::RowsInUse::RowsInUse(mkNodeListWidget *user, End whenDone)
    : tree(user)
    , end(whenDone)
{
    if (tree) {
        ++tree->rowsInUse;
    }
}

mkNodeListWidget::RowsInUse::~RowsInUse()
{
    if (tree) {
        --tree->rowsInUse;
        if (end == RebuildAtEnd) {
            tree->catchUp();
        }
    }
}

void mkNodeListWidget::rebuildTree(bool keepSelection)
{
    if (rowsInUse == 0) {
        drawTree(keepSelection);
    } else if (!rebuildPending) {
        rebuildPending = true;
        QMetaObject::invokeMethod(this, &mkNodeListWidget::catchUp, Qt::QueuedConnection);
    }
}

void mkNodeListWidget::catchUp() noexcept
try {
    if (rebuildPending && rowsInUse == 0) {
        drawTree(false);
    }
} catch (...) {
    mkReportFailure("mkNodeListWidget::rebuildTree");
}

void mkNodeListWidget::recover(const char *function) noexcept
{
    mkReportFailure(function);
    rebuildPending = true;
    catchUp();
    try {
        mkController::setModified(1);
    } catch (...) {
        mkReportFailure("mkNodeListWidget::recover");
    }
}

void mkNodeListWidget::drawTree(bool keepSelection)
{
    // A message that comes while the store is read may be about what was read already.
    const RowsInUse inUse(this, RowsInUse::RebuildLater);
    rebuildPending = false;

    SelectionMemory memory = rememberSelection(keepSelection);
    deleteRows();
    const osg::RenderLayersPtr content = showableContent();
    if (!content) {
        return;
    }
    {
        setUpdatesEnabled(false);
        const auto enableUpdates = qScopeGuard([this] { setUpdatesEnabled(true); });
        const QSignalBlocker blocker(this);
        createRows(content);
        restoreSelection(memory);
    }
    if (!selectionModel()->hasSelection() && currentItem()) {
        currentItem()->setSelected(true);
    }
    update();
}

void mkNodeListWidget::deleteRows()
{
    // With updates on, the view would look for the place on screen of every range that is no
    // longer selected: quadratic in an open tree with many ranges.
    const auto restoreUpdates = qScopeGuard(
        [this, wereOff = testAttribute(Qt::WA_ForceUpdatesDisabled)] {
            setUpdatesEnabled(!wereOff);
        });
    setUpdatesEnabled(false);
    clear();
}

void mkNodeListWidget::createRows(const osg::RenderLayersPtr &content)
{
    NodeRowMaker nodeRowMaker;
    QList<QTreeWidgetItem *> layerRows;
    QList<QTreeWidgetItem *> nodeRows;
    const auto deleteOrphans = qScopeGuard([&] {
        qDeleteAll(layerRows);
        qDeleteAll(nodeRows);
    });
    std::vector<bool> expansion;
    // Lists are looked up anew for each entry: the host may change them while it is asked.
    for (std::size_t i = 0; i < content->getLayers().size(); ++i) {
        const osg::RenderLayerPtr layer = content->getLayer(i);
        if (!layer) {
            break;
        }
        auto *const layerRow = new mkNodeItem(nullptr, osg::NullFC);
        layerRows.append(layerRow);
        expansion.push_back(layer->getState() != 0);
        layerRow->setItemType(mkNodeItem::LayerRow);
        layerRow->setData(mkColumn::Layer, Qt::DisplayRole,
                          QString::fromStdString(layer->getName()));
        nodeRows.reserve(int(layer->getNodes().size()));
        for (std::size_t j = 0; j < layer->getNodes().size(); ++j) {
            auto nodeRow = nodeRowMaker.create(layer->getNodes()[j], attributesAt(layer, j));
            nodeRow->setAttributeIndex(int(j));
            nodeRows.append(nodeRow.release());
        }
        layerRow->addChildren(nodeRows);
        nodeRows.clear();
    }
    addTopLevelItems(layerRows);
    layerRows.clear();
    for (std::size_t i = 0; i < expansion.size(); ++i) {
        layerItem(int(i))->setExpanded(expansion[i]);
    }
}

void mkNodeListWidget::restoreSelection(SelectionMemory &memory)
{
    // Full-width ranges in one go: selecting row by row, or with the Rows flag, is quadratic. They
    // stand in the order of the rows, in which later commands meet them.
    QItemSelection selection;
    QTreeWidgetItem *first = nullptr;
    const auto extend = [&](const QModelIndex &parent, int row, QTreeWidgetItem *item) {
        if (!first) {
            first = item;
        }
        if (!selection.isEmpty() && selection.last().parent() == parent
            && selection.last().bottom() + 1 == row) {
            const QModelIndex top = selection.last().topLeft();
            selection.last() = { top, model()->index(row, mkColumn::Count - 1, parent) };
        } else {
            selection.append({ model()->index(row, 0, parent),
                               model()->index(row, mkColumn::Count - 1, parent) });
        }
    };

    for (int i = 0; i < topLevelItemCount(); ++i) {
        if (memory.layers.isEmpty() && memory.nodes.isEmpty()) {
            break;
        }
        mkNodeItem *const layer = layerItem(i);
        const QString layerName = layer->text(mkColumn::Layer);
        if (takeOne(memory.layers, layerName)) {
            extend(QModelIndex(), i, layer);
        }
        const QModelIndex layerIndex = model()->index(i, 0);
        for (int j = 0; j < layer->childCount() && !memory.nodes.isEmpty(); ++j) {
            mkNodeItem *const row = nodeItem(layer, j);
            if (takeOne(memory.nodes, nodeKey(row->getNode(), layerName))) {
                extend(layerIndex, j, row);
            }
        }
    }
    if (first) {
        makeCurrent(first);
        selectionModel()->select(selection, QItemSelectionModel::Select);
    }
}

void mkNodeListWidget::makeCurrent(QTreeWidgetItem *item)
{
    // Scrolling to a row opens the layer above it, but whether that is open is the store's to say.
    const bool scrolls = hasAutoScroll();
    setAutoScroll(scrolls && (!item->parent() || item->parent()->isExpanded()));
    setCurrentItem(item);
    setAutoScroll(scrolls);
}

void mkNodeListWidget::storeExpansion(QTreeWidgetItem *item)
{
    const RowsInUse inUse(this);
    const auto *const row = static_cast<mkNodeItem *>(item);
    mkRenderLayer *const store = mkScenegraph::getRenderLayer();
    if (row && store && !store->isEmpty() && row->isLayer()) {
        store->setCollapseState(row->getLayerIndex(), row->isExpanded() ? 1 : 0);
    }
}

void mkNodeListWidget::expanded(QTreeWidgetItem *item)
try {
    storeExpansion(item);
    fitFirstColumn();
} catch (...) {
    mkReportFailure("mkNodeListWidget::expanded");
}

void mkNodeListWidget::collapsed(QTreeWidgetItem *item)
try {
    storeExpansion(item);
} catch (...) {
    mkReportFailure("mkNodeListWidget::collapsed");
}

void mkNodeListWidget::fitFirstColumn()
{
    const int wanted = std::max(sizeHintForColumn(mkColumn::Layer),
                                header()->sectionSizeHint(mkColumn::Layer));
    if (columnWidth(mkColumn::Layer) < wanted) {
        setColumnWidth(mkColumn::Layer, wanted);
    }
}

void mkNodeListWidget::activateSelected()
{
    const RowsInUse inUse(this);
    for (mkNodeItem *row : selectedRows(true)) {
        row->activate();
    }
    mkController::updateRender(false);
}
