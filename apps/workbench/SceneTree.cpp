#include "SceneTree.h"

#include "NamedDrag.h"
#include "SceneTreeModel.h"
#include "SceneWatcher.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QInputDialog>
#include <QMenu>
#include <QMessageBox>
#include <QScopedValueRollback>

#include <algorithm>

namespace {

/// Levels that are expanded when a scene was opened, and rows below which one is left closed.
constexpr int expandedLevels = 3;
constexpr int maxExpandedRows = 500;
/// The view recurses when it lays out expanded rows, so rows deeper than this are not revealed.
constexpr int maxRevealedDepth = 2000;

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
    setUniformRowHeights(true);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setDragDropMode(DragOnly);
    createActions();

    connect(nodes, &QAbstractItemModel::modelReset, this, &SceneTree::sceneReplaced);
    connect(watcher, &SceneWatcher::looksChanged, viewport(), QOverload<>::of(&QWidget::update));
    connect(mkSelectionManager::the(), &mkSelectionManager::selectionChanged, this,
            &SceneTree::showHostSelection);
    connect(mkScenegraph::the(), &mkScenegraph::scrollRequested, this, &SceneTree::revealNodes);
    // Rows that went away took their part of the selection along.
    connect(watcher, &SceneWatcher::childrenChanged, this, &SceneTree::showHostSelection);
    sceneReplaced();
}

void SceneTree::createActions()
{
    const auto create = [this](const QString &text, const QKeySequence &shortcut) {
        auto *const action = new QAction(text, this);
        action->setShortcut(shortcut);
        action->setShortcutContext(Qt::WidgetShortcut);
        addAction(action);
        return action;
    };
    renameAction = create(tr("Rename"), Qt::Key_F2);
    storeAction = create(tr("Store Render State…"), {});
    deleteAction = create(tr("Delete from Scene…"), QKeySequence::Delete);
    deleteAction->setIcon(mkIconManager::getIcon("Delete", ""));
    connect(renameAction, &QAction::triggered, this, [this] {
        if (currentIndex().isValid()) {
            edit(currentIndex());
        }
    });
    connect(storeAction, &QAction::triggered, this, &SceneTree::storeState);
    connect(deleteAction, &QAction::triggered, this, &SceneTree::deleteSelected);
}

void SceneTree::sceneReplaced()
{
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
    const QModelIndexList indexes = selectionModel()->selectedIndexes();
    for (const QModelIndex &index : indexes) {
        selected.emplace_back(nodes->node(index));
    }
    const mkScopedUndo undo(true);
    mkSelectionManager::selectNodes(selected);
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

void SceneTree::revealNodes(const std::vector<mkNodePtr> &wanted)
{
    watcher->deliver();
    QModelIndex first;
    // While a layout is pending, expanding costs nothing.
    scheduleDelayedItemsLayout();
    for (const mkNodePtr &node : wanted) {
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
}

void SceneTree::contextMenuEvent(QContextMenuEvent *event)
{
    const bool any = selectionModel()->hasSelection();
    const bool withRoot = selectionModel()->isSelected(nodes->index(0, 0));
    renameAction->setEnabled(currentIndex().isValid());
    storeAction->setEnabled(any);
    deleteAction->setEnabled(any && !withRoot);
    QMenu::exec({ renameAction, storeAction, deleteAction }, event->globalPos(), nullptr, this);
    deleteAction->setEnabled(true);
    storeAction->setEnabled(true);
    renameAction->setEnabled(true);
}

void SceneTree::startDrag(Qt::DropActions supportedActions)
{
    // The drag stands for the host's selection, so what is dragged must be in it.
    if (!selectionModel()->isSelected(currentIndex())) {
        selectionModel()->select(currentIndex(), QItemSelectionModel::ClearAndSelect);
    }
    startNamedDrag(this, supportedActions);
}

void SceneTree::deleteSelected()
{
    std::vector<mkNodePtr> selected = mkScenegraph::getSelectedRootNodes();
    selected.erase(std::remove_if(selected.begin(), selected.end(),
                                  [](const mkNodePtr &node) {
                                      return node == mkScenegraph::getRoot();
                                  }),
                   selected.end());
    if (selected.empty()) {
        return;
    }
    const auto answer = QMessageBox::question(
        this, tr("Delete from Scene"),
        tr("Delete %n node(s), and everything below, from the scene? This cannot be undone.",
           nullptr, int(selected.size())),
        QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Cancel);
    if (answer != QMessageBox::Yes) {
        return;
    }
    mkSelectionManager::clear();
    for (const mkNodePtr &node : selected) {
        mkScenegraph::removeNode(node.get());
    }
}

void SceneTree::storeState()
{
    bool agreed = false;
    const QString name = QInputDialog::getText(this, tr("Store Render State"),
                                               tr("Store the current render attributes of the "
                                                  "selected drawables and of all below as:"),
                                               QLineEdit::Normal, QString(), &agreed);
    if (!agreed || name.isEmpty()) {
        return;
    }
    int count = 0;
    for (const mkNodePtr &selected : mkScenegraph::getSelectedRootNodes()) {
        count += mkNodeUtils::storeRenderLayerState(selected.get(), name.toStdString());
    }
    if (count > 0) {
        mkController::setModified(1);
    }
}
