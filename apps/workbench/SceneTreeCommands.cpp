#include "NodeKind.h"
#include "SceneEdits.h"
#include "SceneTree.h"
#include "SceneTreeModel.h"
#include "StatusLine.h"
#include "StoreStateDialog.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkShortcut/mkShortcut.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QLocale>
#include <QMenu>

#include <unordered_set>

namespace {

/// Laying out more rows than this at once would be felt.
constexpr int maxExpandedBelow = 100000;
constexpr int maxOpenedForChildren = 500;

} // namespace

void SceneTree::createActions()
{
    const QString group = tr("Scene and Materials");
    const auto create = [this](const QString &text, auto slot) {
        auto *const action = new QAction(text, this);
        action->setShortcutContext(Qt::WidgetShortcut);
        addAction(action);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    const auto separator = [this] {
        auto *const action = new QAction(this);
        action->setSeparator(true);
        return action;
    };
    renameAction = create(tr("Rename\t%1").arg(mkShortcut::convertKey(Qt::Key_F2, {}, false)),
                          [this] {
                              if (currentIndex().isValid()) {
                                  edit(currentIndex());
                              }
                          });
    renameAction->setShortcut(Qt::Key_F2);
    mkShortcut::addKey(group, Qt::Key_F2, {}, tr("Rename"));
    deleteAction =
        create(tr("Delete from Scene\t%1").arg(mkShortcut::convertKey(Qt::Key_Delete, {}, false)),
               [] { SceneEdits::removeNodes(mkScenegraph::getSelectedRootNodes()); });
    deleteAction->setIcon(mkIconManager::getIcon("Delete", ""));
    deleteAction->setShortcut(QKeySequence::Delete);
    mkShortcut::addKey(group, Qt::Key_Delete, {}, tr("Delete"));
    mkShortcut::addKey(group, Qt::Key_A, Qt::ControlModifier, tr("Select All"));
    mkShortcut::addKey(group, Qt::Key_Escape, {}, tr("End Search"));
    selectionActions = { create(tr("Select Children"), &SceneTree::selectChildren),
                         create(tr("Select by Material"), &SceneTree::selectByMaterial),
                         separator(),
                         create(tr("Expand Below"), &SceneTree::expandSelected),
                         create(tr("Collapse Below"), &SceneTree::collapseSelected),
                         separator(),
                         create(tr("Store Render State…"), &SceneTree::storeState) };
}

void SceneTree::contextMenuEvent(QContextMenuEvent *event)
{
    const bool any = selectionModel()->hasSelection();
    const bool withRoot = selectionModel()->isSelected(nodes->index(0, 0));
    renameAction->setEnabled(currentIndex().isValid());
    deleteAction->setEnabled(any && !withRoot);
    for (QAction *action : qAsConst(selectionActions)) {
        action->setEnabled(any);
    }
    QMenu::exec(QList<QAction *>{ renameAction } + selectionActions + QList{ deleteAction },
                event->globalPos(), nullptr, this);
    deleteAction->setEnabled(true);
    renameAction->setEnabled(true);
}

void SceneTree::selectChildren()
{
    std::vector<mkNodePtr> children;
    for (const mkNodePtr &parent : mkSelectionManager::getSelectedNodes()) {
        const std::vector<osg::NodePtr> &below = parent.get()->getChildren();
        const QModelIndex index = nodes->indexOf(parent.get());
        if (index.isValid() && below.size() <= maxOpenedForChildren) {
            expand(index);
        }
        children.insert(children.end(), below.begin(), below.end());
    }
    if (children.empty()) {
        StatusLine::show(tr("The selected nodes have no children."));
    } else {
        selectInHost(children);
    }
}

void SceneTree::selectByMaterial()
{
    std::unordered_set<const osg::Material *> materials;
    for (const mkNodePtr &node : mkSelectionManager::getSelectedNodes()) {
        osg::traverse(node.get(), [&materials](const osg::NodePtr &below) {
            materials.insert(materialOf(below).get());
            return osg::Action::Continue;
        });
    }
    materials.erase(nullptr);
    if (materials.empty()) {
        StatusLine::show(tr("Nothing selected has a material."));
        return;
    }
    std::vector<mkNodePtr> found;
    osg::traverse(mkScenegraph::getRoot(), [&](const osg::NodePtr &node) {
        if (materials.count(materialOf(node).get()) > 0) {
            found.emplace_back(node);
        }
        return osg::Action::Continue;
    });
    selectInHost(found);
    revealNodes(found);
    StatusLine::show(found.size() == 1 ? tr("1 node has this material.")
                                       : tr("%1 nodes have the material, or one of the materials, "
                                            "of what was selected.")
                                             .arg(QLocale().toString(qulonglong(found.size()))));
}

void SceneTree::expandSelected()
{
    if (!expandBelow(selectionModel()->selectedIndexes(), maxExpandedBelow)) {
        StatusLine::show(tr("There are too many nodes below to expand them all."));
    }
}

void SceneTree::collapseSelected()
{
    const QModelIndexList selected = selectionModel()->selectedIndexes();
    scheduleDelayedItemsLayout();
    QModelIndexList pending = selected;
    while (!pending.isEmpty()) {
        const QModelIndex index = pending.takeLast();
        for (int row = isExpanded(index) ? nodes->rowCount(index) - 1 : -1; row >= 0; --row) {
            pending += nodes->index(row, 0, index);
        }
        collapse(index);
    }
    executeDelayedItemsLayout();
}

void SceneTree::storeState()
{
    StoreStateDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    const std::string name = dialog.getName().toStdString();
    int count = 0;
    if (const osg::RenderLayerPtr layer = dialog.getLayer()) {
        count = mkNodeUtils::storeRenderLayerState(layer, name);
    } else {
        for (const mkNodePtr &selected : mkScenegraph::getSelectedRootNodes()) {
            count += mkNodeUtils::storeRenderLayerState(selected.get(), name);
        }
    }
    if (count > 0) {
        mkController::setModified(1);
    }
    StatusLine::show(count == 1 ? tr("Stored the render state of 1 node.")
                                : tr("Stored the render state of %1 nodes.").arg(count));
}
