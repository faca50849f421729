#pragma once

#include "mkOpenSGUtils/mkNodePtr.h"

#include <QTreeView>

#include <vector>

class SceneTreeModel;
class SceneWatcher;

/// The scene tree. Its selection is the host's selection, both ways; its rows can be dragged to
/// panels, renamed, and deleted from the scene.
class SceneTree : public QTreeView
{
    Q_OBJECT

public:
    explicit SceneTree(SceneWatcher *watcher, QWidget *parent = nullptr);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;
    void startDrag(Qt::DropActions supportedActions) override;

private:
    void createActions();
    void sceneReplaced();
    void applySelectionToHost();
    void showHostSelection();
    void revealNodes(const std::vector<mkNodePtr> &wanted);
    void deleteSelected();
    void storeState();

    SceneTreeModel *nodes;
    SceneWatcher *watcher;
    QAction *renameAction = nullptr;
    QAction *storeAction = nullptr;
    QAction *deleteAction = nullptr;
    /// One of the two selections is being made from the other.
    bool syncing = false;
};
