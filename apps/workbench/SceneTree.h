#pragma once

#include "NodeFilter.h"
#include "mkOpenSGUtils/mkNodePtr.h"

#include <QTreeView>

#include <vector>

class SceneTreeModel;
class SceneWatcher;

/// The scene tree, or that part of it that a search has found. Its selection is the host's
/// selection, both ways, as far as the nodes have rows; its rows can be dragged to panels, renamed,
/// and deleted from the scene.
class SceneTree : public QTreeView
{
    Q_OBJECT

public:
    explicit SceneTree(SceneWatcher *watcher, QWidget *parent = nullptr);

    /// Shows these nodes and opens what is above the first of those that match. Null shows all.
    void setFilter(const NodeFilterPtr &filter);
    /// Selects what can be seen when scrolling, but the root, which fits into nothing; of a search
    /// what it has found.
    void selectAll() override;
    /// Of a search.
    void selectFirstMatch();
    /// Brings nodes into view; false when none of them has a row.
    bool revealNodes(const std::vector<mkNodePtr> &wanted);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void updateGeometries() override;
    /// The base looks for each range among all rows; those in sight will do.
    QRegion visualRegionForSelection(const QItemSelection &) const override
    {
        return viewport()->rect();
    }

private:
    void createActions();
    void expandFirstLevels();
    /// Opens these rows and all below them, level by level, as far as there is room; false when
    /// there was not enough.
    bool expandBelow(const QModelIndexList &from, int room);
    void fitColumn();
    void applySelectionToHost();
    void showHostSelection();
    void selectInHost(const std::vector<mkNodePtr> &selected);
    void selectChildren();
    void selectByMaterial();
    void expandSelected();
    void collapseSelected();
    void storeState();

    SceneTreeModel *nodes;
    SceneWatcher *watcher;
    QAction *renameAction = nullptr;
    QAction *deleteAction = nullptr;
    /// What needs a selection.
    QList<QAction *> selectionActions;
    /// One of the two selections is being made from the other.
    bool syncing = false;
};
