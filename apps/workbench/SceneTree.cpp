#include "SceneTree.h"

#include "NamedDrag.h"
#include "SceneTreeModel.h"
#include "SceneWatcher.h"
#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"

#include <QGuiApplication>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <QScrollBar>

#include <algorithm>

namespace {

/// Levels that are expanded when a scene was opened, and rows below which one is left closed.
constexpr int expandedLevels = 3;
constexpr int maxExpandedRows = 500;
/// Rows of a search that are opened; the others can be opened by hand.
constexpr int maxFoundRows = 2000;
/// The view recurses when it lays out expanded rows, so rows deeper than this are not revealed.
constexpr int maxRevealedDepth = 2000;
constexpr int maxRevealedNodes = 1000;

/// Rows as few ranges, since a selection model looks at every range.
QItemSelection rangesOf(QModelIndexList indexes)
{
    std::sort(indexes.begin(), indexes.end(), [](const QModelIndex &a, const QModelIndex &b) {
        const quintptr aParent = a.parent().internalId();
        const quintptr bParent = b.parent().internalId();
        return aParent != bParent ? aParent < bParent : a.row() < b.row();
    });
    QItemSelection ranges;
    for (int i = 0; i < indexes.size();) {
        int end = i + 1;
        while (end < indexes.size() && indexes[end].parent() == indexes[i].parent()
               && indexes[end].row() == indexes[end - 1].row() + 1) {
            ++end;
        }
        ranges.append(QItemSelectionRange(indexes[i], indexes[end - 1]));
        i = end;
    }
    return ranges;
}

} // namespace

SceneTree::SceneTree(SceneWatcher *sceneWatcher, QWidget *parent)
    : QTreeView(parent)
    , nodes(new SceneTreeModel(sceneWatcher, this))
    , watcher(sceneWatcher)
{
    setObjectName(QStringLiteral("sceneTree"));
    setModel(nodes);
    setHeaderHidden(true);
    // Long names scroll, they are not cut.
    header()->setStretchLastSection(false);
    setUniformRowHeights(true);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setDragDropMode(DragOnly);
    createActions();

    connect(nodes, &QAbstractItemModel::modelReset, this, &SceneTree::expandFirstLevels);
    connect(watcher, &SceneWatcher::looksChanged, viewport(), QOverload<>::of(&QWidget::update));
    connect(mkSelectionManager::the(), &mkSelectionManager::selectionChanged, this,
            &SceneTree::showHostSelection);
    // Rows that went away took their part of the selection along.
    connect(watcher, &SceneWatcher::childrenChanged, this, &SceneTree::showHostSelection);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &SceneTree::fitColumn);
    expandFirstLevels();
}

void SceneTree::updateGeometries()
{
    QTreeView::updateGeometries();
    fitColumn();
}

void SceneTree::fitColumn()
{
    // The names in sight only: that is cheap, and what is out of sight needs no room.
    const int wanted = std::max(sizeHintForColumn(0), viewport()->width());
    if (wanted != columnWidth(0)) {
        setColumnWidth(0, wanted);
    }
}

void SceneTree::expandFirstLevels()
{
    if (nodes->isFiltered()) {
        return;
    }
    QModelIndexList level{ nodes->index(0, 0) };
    for (int depth = 0; depth < expandedLevels; ++depth) {
        QModelIndexList next;
        for (const QModelIndex &index : qAsConst(level)) {
            nodes->fetchMore(index);
            const int count = nodes->rowCount(index);
            if (depth > 0 && next.size() + count > maxExpandedRows) {
                return;
            }
            // A lone leaf is seldom worth a row of its own at first sight.
            if (count > 1 || nodes->hasChildren(nodes->index(0, 0, index))) {
                expand(index);
            }
            for (int row = 0; row < count; ++row) {
                next += nodes->index(row, 0, index);
            }
        }
        level = next;
    }
}

bool SceneTree::expandBelow(const QModelIndexList &from, int room)
{
    // While a layout is pending, expanding costs nothing.
    scheduleDelayedItemsLayout();
    QModelIndexList level = from;
    for (int depth = 0; !level.isEmpty() && depth < maxRevealedDepth; ++depth) {
        QModelIndexList next;
        for (const QModelIndex &index : qAsConst(level)) {
            nodes->fetchMore(index);
            const int count = nodes->rowCount(index);
            if (count > room) {
                executeDelayedItemsLayout();
                return false;
            }
            if (count > 0) {
                room -= count;
                expand(index);
            }
            for (int row = 0; row < count; ++row) {
                const QModelIndex child = nodes->index(row, 0, index);
                if (nodes->hasChildren(child)) {
                    next += child;
                }
            }
        }
        level = next;
    }
    executeDelayedItemsLayout();
    return level.isEmpty();
}

void SceneTree::setFilter(const NodeFilterPtr &filter)
{
    {
        const QScopedValueRollback<bool> guard(syncing, true);
        nodes->setFilter(filter);
    }
    if (filter) {
        expandBelow({ nodes->index(0, 0) }, maxFoundRows);
    }
    showHostSelection();
}

void SceneTree::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTreeView::selectionChanged(selected, deselected);
    if (!syncing && !nodes->isFollowing()) {
        applySelectionToHost();
    }
}

void SceneTree::applySelectionToHost()
{
    const QScopedValueRollback<bool> guard(syncing, true);
    std::vector<mkNodePtr> selected;
    if (nodes->isFiltered() && (QGuiApplication::keyboardModifiers() & Qt::ControlModifier)) {
        // A row is added to the selection, or taken out: nodes that have no row here stay in it.
        for (const mkNodePtr &node : mkSelectionManager::getSelectedNodes()) {
            if (!nodes->indexOf(node.get()).isValid()) {
                selected.push_back(node);
            }
        }
    }
    const QModelIndexList indexes = selectionModel()->selectedIndexes();
    for (const QModelIndex &index : indexes) {
        selected.emplace_back(nodes->node(index));
    }
    selectInHost(selected);
}

void SceneTree::selectInHost(const std::vector<mkNodePtr> &selected)
{
    const mkScopedUndo undo(true);
    mkSelectionManager::selectNodes(selected);
}

void SceneTree::selectAll()
{
    std::vector<mkNodePtr> selected;
    QModelIndexList pending{ nodes->index(0, 0) };
    while (!pending.isEmpty()) {
        const QModelIndex index = pending.takeLast();
        if (nodes->isFiltered() ? nodes->isMatching(index) : index.parent().isValid()) {
            selected.emplace_back(nodes->node(index));
        }
        for (int row = isExpanded(index) ? nodes->rowCount(index) - 1 : -1; row >= 0; --row) {
            pending += nodes->index(row, 0, index);
        }
    }
    selectInHost(selected);
}

void SceneTree::selectFirstMatch()
{
    QModelIndex index = nodes->index(0, 0);
    while (index.isValid() && !nodes->isMatching(index)) {
        index = indexBelow(index);
    }
    if (index.isValid()) {
        setCurrentIndex(index);
    }
}

void SceneTree::showHostSelection()
{
    if (syncing) {
        return;
    }
    const QScopedValueRollback<bool> guard(syncing, true);
    watcher->deliver();
    QModelIndexList indexes;
    for (const mkNodePtr &node : mkSelectionManager::getSelectedNodes()) {
        const QModelIndex index = nodes->indexOf(node.get());
        if (index.isValid()) {
            indexes += index;
        }
    }
    const QModelIndex current = indexes.contains(currentIndex()) || indexes.isEmpty()
                                    ? currentIndex()
                                    : indexes.last();
    // Without a reset the model would compare each old range with each new one.
    selectionModel()->reset();
    selectionModel()->select(rangesOf(indexes), QItemSelectionModel::Select);
    setAutoScroll(false);
    selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    setAutoScroll(true);
    viewport()->update();
}

bool SceneTree::revealNodes(const std::vector<mkNodePtr> &wanted)
{
    watcher->deliver();
    QModelIndex first;
    // While a layout is pending, expanding costs nothing.
    scheduleDelayedItemsLayout();
    int room = maxRevealedNodes;
    for (const mkNodePtr &node : wanted) {
        if (--room < 0) {
            break;
        }
        const QModelIndex index = nodes->indexOf(node.get());
        int depth = 0;
        for (QModelIndex above = index.parent(); above.isValid(); above = above.parent()) {
            ++depth;
        }
        if (!index.isValid() || depth > maxRevealedDepth) {
            continue;
        }
        first = first.isValid() ? first : index;
        for (QModelIndex above = index.parent(); above.isValid() && !isExpanded(above);
             above = above.parent()) {
            expand(above);
        }
    }
    executeDelayedItemsLayout();
    if (first.isValid()) {
        scrollTo(first, PositionAtCenter);
    }
    return first.isValid();
}

void SceneTree::startDrag(Qt::DropActions supportedActions)
{
    // The drag stands for the host's selection, so what is dragged must be in it.
    if (!selectionModel()->isSelected(currentIndex())) {
        selectionModel()->select(currentIndex(), QItemSelectionModel::ClearAndSelect);
    }
    startNamedDrag(this, supportedActions);
}
