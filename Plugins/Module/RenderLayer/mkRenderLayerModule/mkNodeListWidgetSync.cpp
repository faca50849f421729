// The rebuild of the tree, expansion, and how the selection survives.

#include "mkHostAccess.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"
#include "mkRenderAttributes.h"

#include <QHash>
#include <QHeaderView>
#include <QLineEdit>
#include <QScopeGuard>
#include <QScrollBar>
#include <QSignalBlocker>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

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

/// Makes node rows. Each begins as a copy of one that shows the same attributes, or else of the one
/// before, and is written only where it differs. Copies share their cells, which saves most of a
/// row's time and half of its memory.
class NodeRowMaker
{
public:
    /// A row filled from `attributes`; either may be null.
    std::unique_ptr<mkNodeItem> create(const osg::NodePtr &node,
                                       const osg::RaytracingGeoAttachmentPtr &attributes)
    {
        if (!node || !attributes) {
            auto row = std::make_unique<mkNodeItem>(node);
            row->setItemType(mkNodeItem::NodeRow);
            return row;
        }
        const quint64 shown = shownBy(attributes);
        const mkNodeItem *const alike = last && shown == shownByLast ? last : filled.value(shown);
        if (alike) {
            return std::make_unique<mkNodeItem>(node, *alike);
        }
        auto row = last ? std::make_unique<mkNodeItem>(node, *last)
                        : std::make_unique<mkNodeItem>(node);
        row->setItemType(mkNodeItem::NodeRow);
        row->updateAttributes(attributes, cells);
        last = row.get();
        shownByLast = shown;
        if (filled.size() < mostKinds) {
            filled.insert(shown, last);
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

    /// Where so many rows differ, to remember more of them costs more than it saves.
    static constexpr int mostKinds = 1000;

    mkAttributeCells cells;
    QHash<quint64, const mkNodeItem *> filled;
    const mkNodeItem *last = nullptr;
    quint64 shownByLast = 0;
};

using NodeIds = std::vector<quint32>;

/// A bag of node ids. Ids are dense, so an array does what a hash would, and faster.
class NodeBag
{
public:
    bool isEmpty() const { return size == 0; }
    void add(quint32 id)
    {
        if (id >= counts.size()) {
            counts.resize(id + 1);
        }
        ++counts[id];
        ++size;
    }
    /// False when there is none left.
    bool takeOne(quint32 id)
    {
        if (id >= counts.size() || counts[id] == 0) {
            return false;
        }
        --counts[id];
        --size;
        return true;
    }

private:
    std::vector<int> counts;
    std::size_t size = 0;
};

/// Runs of neighbouring rows, from first to last.
class RowRuns
{
public:
    /// Rows come in ascending order.
    void add(int row)
    {
        if (!runs.empty() && runs.back().second + 1 == row) {
            runs.back().second = row;
        } else {
            runs.emplace_back(row, row);
        }
    }
    /// Appends them to `selection`, over the full width, and forgets them.
    void moveTo(QItemSelection &selection, const QAbstractItemModel *model,
                const QModelIndex &parent)
    {
        for (const auto &[first, last] : runs) {
            selection.append({ model->index(first, 0, parent),
                               model->index(last, mkColumn::Count - 1, parent) });
        }
        runs.clear();
    }

private:
    std::vector<std::pair<int, int>> runs;
};

} // namespace

struct mkNodeListWidget::SelectionMemory
{
    bool isEmpty() const { return layers.isEmpty() && nodes.isEmpty(); }

    QHash<QString, int> layers;
    /// By the name of the layer. Id 0 is a node that no longer exists.
    QHash<QString, NodeIds> nodes;
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
        NodeIds *ids = nullptr;
        for (std::size_t i = 0; i < memory.nodesAlive.size(); ++i) {
            const QString &layerName = nodeLayerNames.at(int(i));
            if (i == 0 || layerName != nodeLayerNames.at(int(i) - 1)) {
                ids = &memory.nodes[layerName];
            }
            const osg::NodePtr &node = memory.nodesAlive[i];
            ids->push_back(node ? node->getId() : 0);
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
        memory.nodes.insert(layerName, { node->getId() });
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
        tree->catchUp(end);
    }
}

void mkNodeListWidget::rebuildTree(bool keepSelection)
{
    if (rowsInUse == 0) {
        drawTree(keepSelection);
    } else {
        rebuildPending = true;
    }
}

void mkNodeListWidget::catchUp(RowsInUse::End end) noexcept
{
    if (!rebuildPending || rowsInUse > 0) {
        return;
    }
    if (end == RowsInUse::RebuildLater) {
        const auto atEnd = [this] { catchUp(RowsInUse::RebuildAtEnd); };
        QMetaObject::invokeMethod(this, atEnd, Qt::QueuedConnection);
        return;
    }
    try {
        drawTree(false);
        // Whoever asked for the rebuild has fitted the column to the rows before it.
        fitFirstColumn();
    } catch (...) {
        mkReportFailure("mkNodeListWidget::rebuildTree");
    }
}

void mkNodeListWidget::recover(const char *function) noexcept
{
    mkReportFailure(function);
    redrawAfterFailure();
}

void mkNodeListWidget::redrawAfterFailure() noexcept
{
    rebuildPending = true;
    catchUp(RowsInUse::RebuildAtEnd);
    try {
        mkController::setModified(1);
    } catch (...) {
        mkReportFailure("mkNodeListWidget::redrawAfterFailure");
    }
}

void mkNodeListWidget::drawTree(bool keepSelection)
{
    if (rowsInUse > 1) {
        // A command within another one: the rows are still the other's.
        rebuildPending = true;
        return;
    }
    // A message that comes while the store is read may be about what was read already.
    const RowsInUse inUse(this, RowsInUse::RebuildLater);
    rebuildPending = false;
    ++firstColumnRevision;

    SelectionMemory memory = rememberSelection(keepSelection);
    const int left = horizontalScrollBar()->value();
    const std::optional<OpenEdit> edit = suspendEdit();
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
        // To bring the current row into view, Qt scrolls to its first column.
        horizontalScrollBar()->setValue(left);
    }
    if (!selectionModel()->hasSelection() && currentItem()) {
        currentItem()->setSelected(true);
    }
    update();
    if (edit) {
        resumeEdit(*edit);
    }
}

std::optional<mkNodeListWidget::OpenEdit> mkNodeListWidget::suspendEdit()
{
    std::optional<OpenEdit> edit;
    const QModelIndex current = currentIndex();
    for (int column = 0; state() == EditingState && column < mkColumn::Count; ++column) {
        QWidget *const editor = indexWidget(current.sibling(current.row(), column));
        if (!editor) {
            continue;
        }
        const auto *const line = qobject_cast<const QLineEdit *>(editor);
        if (line && column == mkColumn::Layer) {
            edit = OpenEdit{ currentItem()->text(column), line->text(), line->cursorPosition(),
                             line->selectionStart(), line->selectedText().size() };
        }
        // Were it left to the rows' deletion, the keys would go on to a neighbour of the tree.
        closeEditor(editor, QAbstractItemDelegate::NoHint);
    }
    return edit;
}

void mkNodeListWidget::resumeEdit(const OpenEdit &edit)
{
    const QList<QTreeWidgetItem *> layers = findItems(edit.layerName, Qt::MatchExactly,
                                                      mkColumn::Layer);
    if (layers.size() != 1 || layers.first() != currentItem()) {
        return;
    }
    editItem(currentItem(), mkColumn::Layer);
    auto *const line = qobject_cast<QLineEdit *>(
        indexWidget(indexFromItem(currentItem(), mkColumn::Layer)));
    if (!line) {
        return;
    }
    line->setText(edit.text);
    if (edit.selectionStart >= 0) {
        line->setSelection(edit.selectionStart, edit.selectionLength);
    } else {
        line->setCursorPosition(edit.cursor);
    }
}

void mkNodeListWidget::deleteRows()
{
    if (selectionModel()->hasSelection()) {
        // Told by its selection model, the view would look for the place on screen of every range,
        // which is quadratic, and visit every cell, all for rows that go anyway.
        const QSignalBlocker blocker(selectionModel());
        selectionModel()->clearSelection();
        Q_EMIT itemSelectionChanged();
    }
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
    RowRuns layerRuns;
    NodeBag wanted;
    for (int i = 0; i < topLevelItemCount() && !memory.isEmpty(); ++i) {
        const mkNodeItem *const layer = layerItem(i);
        const QString layerName = layer->text(mkColumn::Layer);
        if (takeOne(memory.layers, layerName)) {
            layerRuns.add(i);
        }
        const auto ids = memory.nodes.find(layerName);
        if (ids == memory.nodes.end()) {
            continue;
        }
        for (const quint32 id : *ids) {
            wanted.add(id);
        }
        RowRuns runs;
        for (int j = 0; j < layer->childCount() && !wanted.isEmpty(); ++j) {
            if (wanted.takeOne(nodeItem(layer, j)->getNodeId())) {
                runs.add(j);
            }
        }
        // Commands go by the order of the selection, which is that of the rows.
        layerRuns.moveTo(selection, model(), QModelIndex());
        runs.moveTo(selection, model(), model()->index(i, 0));
        // What this layer does not have may be in another one of the same name.
        ids->erase(std::remove_if(ids->begin(), ids->end(),
                                  [&wanted](quint32 id) { return !wanted.takeOne(id); }),
                   ids->end());
        if (ids->empty()) {
            memory.nodes.erase(ids);
        }
    }
    layerRuns.moveTo(selection, model(), QModelIndex());
    if (!selection.isEmpty()) {
        makeCurrent(itemFromIndex(selection.first().topLeft()));
        replaceSelection(selection);
    }
}

void mkNodeListWidget::replaceSelection(const QItemSelection &rows)
{
    QItemSelection firstCells;
    firstCells.reserve(rows.size());
    for (const QItemSelectionRange &range : rows) {
        const QModelIndex &first = range.topLeft();
        firstCells.append(range.height() == 1
                              ? QItemSelectionRange(first)
                              : QItemSelectionRange(first, first.sibling(range.bottom(), 0)));
    }
    // Told of any of its cells, the tree notes a row as selected; told of all, it does so for each.
    // Where nothing was selected before, Qt has nothing to compare range by range.
    {
        const QSignalBlocker blocker(selectionModel());
        selectionModel()->clearSelection();
        selectionModel()->select(rows, QItemSelectionModel::Select);
    }
    Q_EMIT selectionModel()->selectionChanged(firstCells, QItemSelection());
}

void mkNodeListWidget::makeCurrent(QTreeWidgetItem *item)
{
    // Scrolling to a row opens the layer above it, but whether that is open is the store's to say.
    const bool scrolls = hasAutoScroll();
    setAutoScroll(scrolls && (!item->parent() || item->parent()->isExpanded()));
    // Not the plain call: that one heeds the modifier keys that are down just now.
    setCurrentItem(item, mkColumn::Layer,
                   QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    setAutoScroll(scrolls);
}

void mkNodeListWidget::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    // This takes over the name that is being typed in the previous row, but needs both rows after.
    const RowsInUse inUse(this, RowsInUse::RebuildLater);
    QTreeWidget::currentChanged(current, previous);
}

void mkNodeListWidget::storeExpansion(QTreeWidgetItem *item)
{
    ++firstColumnRevision;
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
    // Qt measures up to a thousand rows around the visible ones, which takes milliseconds, and most
    // commands on a single row leave them as they were.
    const FirstColumnState state{ firstColumnRevision, verticalScrollBar()->value(),
                                  viewport()->height(), font(), style() };
    if (state != fittedState) {
        fittedWidth = std::max(sizeHintForColumn(mkColumn::Layer),
                               header()->sectionSizeHint(mkColumn::Layer));
        fittedState = state;
    }
    if (columnWidth(mkColumn::Layer) < fittedWidth) {
        setColumnWidth(mkColumn::Layer, fittedWidth);
    }
}

void mkNodeListWidget::activateSelected()
{
    {
        const RowsInUse inUse(this);
        for (mkNodeItem *row : selectedRows(true)) {
            row->activate();
        }
    }
    mkController::updateRender(false);
}
