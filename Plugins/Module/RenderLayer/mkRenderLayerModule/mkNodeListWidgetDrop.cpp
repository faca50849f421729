// What can be dropped on the tree: scene nodes on a layer row, a material on a node row.

#include "mkHostAccess.h"
#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkTypeConverter.h"
#include "mkKernelServices/mkdMaterial.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDropEvent>
#include <QMessageBox>
#include <QMimeData>

#include <iostream>

namespace {

const QLatin1String treeItemFormat("application/mosk-tree-item");
const QLatin1String materialFormat("application/mosk-decoupled-materials");

mkdMaterial readDroppedMaterial(const QMimeData *data, const QString &format)
{
    mkdMaterial material;
    if (data->hasFormat(format)) {
        QDataStream stream(data->data(format));
        if (!stream.atEnd()) {
            stream >> material;
        }
    }
    return material;
}

void acceptDrag(QDragMoveEvent *event)
{
    const QMimeData *const data = event->mimeData();
    if (data->hasFormat(treeItemFormat) || data->hasFormat(materialFormat)) {
        event->acceptProposedAction();
    }
}

} // namespace

void mkNodeListWidget::dragEnterEvent(QDragEnterEvent *event)
{
    acceptDrag(event);
}

void mkNodeListWidget::dragMoveEvent(QDragMoveEvent *event)
{
    acceptDrag(event);
}

void mkNodeListWidget::dropEvent(QDropEvent *event)
{
    if (auto *const row = static_cast<mkNodeItem *>(itemAt(event->pos()))) {
        run("mkNodeListWidget::dropEvent", PatchRow | FitColumn | MarkModified,
            [row, event] { row->processDrop(event); });
    }
}

void mkNodeItem::processDrop(const QDropEvent *event)
{
    if (event->mimeData()->hasFormat(treeItemFormat)) {
        dropNodes(event);
    } else if (event->mimeData()->hasFormat(materialFormat) && isNode()) {
        dropMaterial(event);
    }
}

void mkNodeItem::dropNodes(const QDropEvent *event)
{
    QDataStream stream(event->mimeData()->data(treeItemFormat));
    qint32 first = 0;
    qint32 second = 0;
    stream >> first >> second;
    if (first == 0 || !isLayer()) {
        return;
    }
    const unsigned index = getLayerIndex();
    // Adding runs host code, which may rebuild the tree and so delete this row.
    const QPointer<mkNodeListWidget> tree = qobject_cast<mkNodeListWidget *>(treeWidget());
    mkRenderLayer *const store = mkStore();
    const std::vector<mkNodePtr> nodes = mkScenegraph::getSelectedRootNodes();
    if (nodes.size() == 1 && nodes.front() == mkScenegraph::getRoot()) {
        QMessageBox::warning(nullptr, QCoreApplication::translate("mkNodeItem", "Render Layer"),
                             QCoreApplication::translate("mkNodeItem",
                                                         "Adding the root node is not allowed!"),
                             QMessageBox::Ok, QMessageBox::NoButton);
        return;
    }
    for (const mkNodePtr &node : nodes) {
        store->addNode(index, mkUnwrap(node));
    }
    if (tree) {
        tree->rebuildTree(false);
    }
}

void mkNodeItem::dropMaterial(const QDropEvent *event)
{
    auto *const tree = qobject_cast<mkNodeListWidget *>(treeWidget());
    const mkNodeListWidget::RowsInUse inUse(tree);
    const mkdMaterial dropped = readDroppedMaterial(event->mimeData(), materialFormat);
    const osg::MaterialPtr material = mkTypeConverter::convertMaterial(dropped);
    if (material == osg::NullFC) {
        std::cerr << "ERROR dropped" << std::endl;
    } else if (!inUse.areGone()) {
        tree->setOverrideMaterial(this, material);
    }
}
