#include "MaterialsView.h"

#include "MaterialUse.h"
#include "MaterialsModel.h"
#include "NamedDrag.h"
#include "NodePattern.h"
#include "SceneEdits.h"
#include "SceneWatcher.h"
#include "StatusLine.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkShortcut/mkShortcut.h"

#include <QAction>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QSortFilterProxyModel>

#include <unordered_set>

namespace {

class Filter : public QSortFilterProxyModel
{
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    void setPattern(const NodePattern &newPattern)
    {
        pattern = newPattern;
        invalidateFilter();
    }

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override
    {
        return pattern.matchesName(sourceModel()->index(row, 0, parent).data().toString());
    }

private:
    NodePattern pattern;
};

} // namespace

MaterialsView::MaterialsView(SceneWatcher *watcher, QWidget *parent)
    : QListView(parent)
    , materials(new MaterialsModel(watcher, this))
    , shown(new Filter(this))
{
    setObjectName(QStringLiteral("materials"));
    shown->setSourceModel(materials);
    setModel(shown);
    setUniformItemSizes(true);
    setSelectionMode(SingleSelection);
    setEditTriggers(DoubleClicked);
    setDragDropMode(DragOnly);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this,
            &MaterialsView::currentMaterialChanged);
    connect(watcher, &SceneWatcher::materialsChanged, this, &MaterialsView::currentMaterialChanged);

    const auto keyText = [](int key) { return mkShortcut::convertKey(key, {}, false); };
    auto *const rename = new QAction(tr("Rename\t%1").arg(keyText(Qt::Key_F2)), this);
    auto *const select = new QAction(mkIconManager::getIcon("SelectNode", ""), tr("Select Nodes"),
                                     this);
    auto *const remove = new QAction(mkIconManager::getIcon("Delete", ""),
                                     tr("Delete Material\t%1").arg(keyText(Qt::Key_Delete)), this);
    rename->setShortcut(Qt::Key_F2);
    remove->setShortcut(QKeySequence::Delete);
    for (QAction *action : { rename, select, remove }) {
        action->setShortcutContext(Qt::WidgetShortcut);
        addAction(action);
    }
    connect(rename, &QAction::triggered, this, [this] {
        if (currentIndex().isValid()) {
            edit(currentIndex());
        }
    });
    connect(select, &QAction::triggered, this, &MaterialsView::selectNodes);
    connect(remove, &QAction::triggered, this, &MaterialsView::removeCurrent);
}

void MaterialsView::search(const QString &text)
{
    static_cast<Filter *>(shown)->setPattern(NodePattern(text));
}

void MaterialsView::startDrag(Qt::DropActions supportedActions)
{
    startNamedDrag(this, supportedActions);
}

osg::MaterialPtr MaterialsView::currentMaterial() const
{
    return materials->material(shown->mapToSource(currentIndex()));
}

void MaterialsView::removeCurrent()
{
    const osg::MaterialPtr material = currentMaterial();
    if (!material) {
        return;
    }
    const MaterialUse use = MaterialUse::find(material);
    if (!use.isEmpty()) {
        QMessageBox box(QMessageBox::Question, tr("Delete Material"),
                        tr("%1 is in use. Delete it?")
                            .arg(QString::fromUtf8(mkMaterials::getName(material))),
                        QMessageBox::Yes | QMessageBox::Cancel, this);
        box.setTextFormat(Qt::PlainText);
        box.setInformativeText(use.describe());
        box.button(QMessageBox::Yes)->setText(tr("Delete"));
        box.setDefaultButton(QMessageBox::Cancel);
        if (box.exec() != QMessageBox::Yes) {
            return;
        }
    }
    SceneEdits::removeMaterial(material);
}

void MaterialsView::selectNodes() const
{
    const osg::MaterialPtr material = currentMaterial();
    if (!material) {
        return;
    }
    std::vector<mkNodePtr> nodes;
    for (const MaterialUse::Drawable &drawable : MaterialUse::find(material).drawables) {
        nodes.emplace_back(drawable.node);
    }
    const mkScopedUndo undo(true);
    mkSelectionManager::selectNodes(nodes);
    mkScenegraph::scrollToNodes(nodes);
    StatusLine::show(
        nodes.size() == 1
            ? tr("1 node has this material.")
            : tr("%1 nodes have this material.").arg(QLocale().toString(qulonglong(nodes.size()))));
}
