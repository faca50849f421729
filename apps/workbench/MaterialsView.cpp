#include "MaterialsView.h"

#include "MaterialsModel.h"
#include "NamedDrag.h"
#include "mkIconManager/mkIconManager.h"

#include <QAction>

MaterialsView::MaterialsView(SceneWatcher *watcher, QWidget *parent)
    : QListView(parent)
    , materials(new MaterialsModel(watcher, this))
{
    setObjectName(QStringLiteral("materials"));
    setModel(materials);
    setUniformItemSizes(true);
    setSelectionMode(SingleSelection);
    setEditTriggers(DoubleClicked);
    setDragDropMode(DragOnly);
    setContextMenuPolicy(Qt::ActionsContextMenu);

    auto *const rename = new QAction(tr("Rename"), this);
    auto *const remove = new QAction(mkIconManager::getIcon("Delete", ""), tr("Remove Material"),
                                     this);
    rename->setShortcut(Qt::Key_F2);
    remove->setShortcut(QKeySequence::Delete);
    for (QAction *action : { rename, remove }) {
        action->setShortcutContext(Qt::WidgetShortcut);
        addAction(action);
    }
    connect(rename, &QAction::triggered, this, [this] {
        if (currentIndex().isValid()) {
            edit(currentIndex());
        }
    });
    connect(remove, &QAction::triggered, this, [this] { materials->remove(currentIndex()); });
}

void MaterialsView::startDrag(Qt::DropActions supportedActions)
{
    startNamedDrag(this, supportedActions);
}
