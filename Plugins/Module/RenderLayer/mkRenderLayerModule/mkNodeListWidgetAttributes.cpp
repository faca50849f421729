// Editing of attribute cells and override materials, and the apply-attributes command.

#include "mkAttributesGUIW.h"
#include "mkEndEdit.h"
#include "mkHostAccess.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"
#include "mkOverrideMaterialItemDelegate.h"
#include "mkRenderAttributes.h"

#include <QMouseEvent>
#include <QPushButton>

void mkNodeListWidget::doubleClicked(QTreeWidgetItem *item, int col)
try {
    auto *const row = static_cast<mkNodeItem *>(item);
    if (!row || row->isLayer() || col < mkColumn::FirstAttribute || col > mkColumn::LastAttribute) {
        return;
    }
    const RowsInUse inUse(this);
    const bool old = row->data(col, Qt::UserRole).toBool();
    row->setData(col, Qt::UserRole, !old);
    row->setData(col, Qt::DisplayRole, old ? tr("Off") : tr("On"));
    row->writeAttributes();
} catch (...) {
    recover("mkNodeListWidget::doubleClicked");
}

void mkNodeListWidget::mousePressEvent(QMouseEvent *event)
{
    pressedOnButton = false;
    const QPoint point = event->pos();
    const QModelIndex index = indexAt(point);
    pressedIndex = index;
    if (!index.isValid()) {
        return;
    }
    if (index.column() == mkColumn::OverrideMaterial) {
        pressedOnButton = overrideMaterialDelegate->decorationRect(index).contains(point, false);
    }
    if (!pressedOnButton) {
        QTreeView::mousePressEvent(event);
    }
}

void mkNodeListWidget::mouseMoveEvent(QMouseEvent *event)
{
    // The view did not see the press, and would select from the row of the last one.
    if (!pressedOnButton) {
        QTreeView::mouseMoveEvent(event);
    }
}

void mkNodeListWidget::mouseReleaseEvent(QMouseEvent *event)
{
    const QPoint point = event->pos();
    const QModelIndex index = indexAt(point);
    if (!index.isValid()) {
        pressedOnButton = false;
        return;
    }
    auto *const row = static_cast<mkNodeItem *>(itemAt(point));
    const bool clicked = pressedOnButton && index == pressedIndex && row
                         && overrideMaterialDelegate->decorationRect(index).contains(point);
    if (clicked) {
        clickClearButton(row);
    } else {
        QTreeView::mouseReleaseEvent(event);
    }
    pressedOnButton = false;
}

void mkNodeListWidget::clickClearButton(mkNodeItem *row)
try {
    const RowsInUse inUse(this);
    row->clearOverrideMaterial();
    row->writeAttributes();
    row->updateOverrideMaterial(getItemAttributes(row));
    fitFirstColumn();
    mkController::setModified(1);
} catch (...) {
    recover("mkNodeListWidget::mouseReleaseEvent");
}

void mkNodeListWidget::clearOverrideMaterial()
try {
    const RowsInUse inUse(this);
    bool cleared = false;
    for (mkNodeItem *row : selectedRows(false)) {
        if (row->isNode()) {
            row->clearOverrideMaterial();
            cleared = true;
        }
    }
    if (cleared) {
        drawTree(false);
        fitFirstColumn();
        mkController::setModified(1);
    }
} catch (...) {
    recover("mkNodeListWidget::clearOverrideMaterial");
}

void mkNodeListWidget::setOverrideMaterial(mkNodeItem *item, const osg::MaterialPtr &material)
{
    const RowsInUse inUse(this);
    const osg::RaytracingGeoAttachmentPtr attributes = getItemAttributes(item);
    if (!attributes) {
        return;
    }
    attributes->setOverrideMaterial(material);
    endEdit(attributes, osg::RaytracingGeoAttachmentBase::OverrideMaterialFieldMask);
    endEdit(material, osg::AllFields);
    item->updateAttributes(attributes);
    fitFirstColumn();
    mkController::setModified(1);
}

osg::RaytracingGeoAttachmentPtr mkNodeListWidget::getItemAttributes(mkNodeItem *item) const
{
    if (!item || !item->isNode() || !item->getNode()) {
        return osg::NullFC;
    }
    const osg::RenderLayersPtr content = mkStore()->getAttachment();
    const osg::RenderLayerPtr layer = content ? content->getLayer(item->getLayerIndex())
                                              : osg::RenderLayerPtr();
    const int index = item->getAttributeIndex();
    if (!layer || index < 0 || std::size_t(index) >= layer->getAttributes().size()) {
        return osg::NullFC;
    }
    return osg::RaytracingGeoAttachmentPtr(layer->getAttributes()[std::size_t(index)]);
}

mkNodeListWidget::Rows mkNodeListWidget::getTargetNodeItems() const
{
    Rows targets;
    for (int i = 0; i < topLevelItemCount(); ++i) {
        const mkNodeItem *const layer = layerItem(i);
        // All nodes of a selected layer, whichever of them are selected themselves.
        const bool all = layer->isSelected();
        for (int j = 0; j < layer->childCount(); ++j) {
            mkNodeItem *const row = nodeItem(layer, j);
            if ((all || row->isSelected()) && layer->isLayer() && row->isNode()) {
                targets.push_back(row);
            }
        }
    }
    return targets;
}

void mkNodeListWidget::applyAttributesToSelected()
try {
    if (!selectionModel()->hasSelection()) {
        return;
    }
    if (!attributesDialog) {
        attributesDialog = new mkAttributesGUIW(ownerWidget, QString());
    }
    // Only the boxes are kept from the last use, not that it was cancelled.
    QPushButton *const ok = attributesDialog->buttonBox->button(QDialogButtonBox::Ok);
    ok->setDefault(true);
    ok->setFocus();
    const QPointer<mkNodeListWidget> self(this);
    const int result = attributesDialog->exec();
    // The panel may have been closed for good while the dialog was open.
    if (!self || !attributesDialog || result != QDialog::Accepted) {
        return;
    }
    const RowsInUse inUse(this);
    const mkRenderAttributeFlags flags = attributesDialog->getFlags();
    const Rows targets = getTargetNodeItems();
    mkRenderLayer *const store = mkStore();
    for (const mkNodeItem *row : targets) {
        const unsigned index = row->getLayerIndex();
        const osg::NodePtr node = row->getNode();
        if (const osg::RaytracingGeoAttachmentPtr attributes = store->getAttributes(index, node)) {
            mkSetRenderAttributes(attributes, flags);
            endEdit(attributes, osg::AllFields);
            store->setAttributes(index, node, attributes);
        }
    }
    drawTree(true);
    mkController::setModified(1);
} catch (...) {
    recover("mkNodeListWidget::applyAttributesToSelected");
}
