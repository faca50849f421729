// Editing of attribute cells and override materials, and the apply-attributes command.

#include "mkAttributesGUIW.h"
#include "mkColumn.h"
#include "mkHostAccess.h"
#include "mkKernel/mkController.h"
#include "mkNodeItem.h"
#include "mkNodeListWidget.h"
#include "mkOverrideMaterialItemDelegate.h"
#include "mkRenderAttributes.h"

#include <QMouseEvent>

#include <utility>

void mkNodeListWidget::doubleClicked(QTreeWidgetItem *item, int col)
{
    auto *const row = static_cast<mkNodeItem *>(item);
    if (!row || row->isLayer() || col < mkColumn::FirstAttribute || col > mkColumn::LastAttribute) {
        return;
    }
    run("mkNodeListWidget::doubleClicked", PatchRow, [this, row, col] {
        const RowsInUse inUse(this);
        const bool old = row->data(col, Qt::UserRole).toBool();
        row->setData(col, Qt::UserRole, !old);
        row->setData(col, Qt::DisplayRole, old ? tr("Off") : tr("On"));
        row->writeAttributes();
    });
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
    // Of a press that the view did not see it must not see the drag either: it would select from
    // the row of an earlier press.
    if (event->buttons() == Qt::NoButton || (pressedIndex.isValid() && !pressedOnButton)) {
        QTreeView::mouseMoveEvent(event);
    }
}

void mkNodeListWidget::mouseReleaseEvent(QMouseEvent *event)
{
    const bool onButton = std::exchange(pressedOnButton, false);
    const QPoint point = event->pos();
    const QModelIndex index = indexAt(point);
    if (!index.isValid()) {
        return;
    }
    auto *const row = static_cast<mkNodeItem *>(itemAt(point));
    if (onButton && index == pressedIndex && row
        && overrideMaterialDelegate->decorationRect(index).contains(point)) {
        clickClearButton(row);
    } else {
        QTreeView::mouseReleaseEvent(event);
    }
}

void mkNodeListWidget::clickClearButton(mkNodeItem *row)
{
    run("mkNodeListWidget::clickClearButton", PatchRow | FitColumn | MarkModified, [this, row] {
        const RowsInUse inUse(this);
        row->clearOverrideMaterial();
        if (!inUse.areGone()) {
            row->writeAttributes();
        }
        const osg::RaytracingGeoAttachmentPtr attributes = inUse.areGone() ? osg::NullFC
                                                                           : getItemAttributes(row);
        if (!inUse.areGone()) {
            row->updateOverrideMaterial(attributes);
        }
    });
}

void mkNodeListWidget::clearOverrideMaterial()
{
    const Rows rows = selectedRows(false);
    if (rows.empty()) {
        return;
    }
    run("mkNodeListWidget::clearOverrideMaterial", FitColumn | MarkModified,
        [&rows, self = QPointer<mkNodeListWidget>(this)] {
            for (const mkNodeItem *row : rows) {
                if (self) {
                    row->clearOverrideMaterial();
                }
            }
        });
}

void mkNodeListWidget::setOverrideMaterial(mkNodeItem *item, const osg::MaterialPtr &material)
{
    const RowsInUse inUse(this);
    const osg::RaytracingGeoAttachmentPtr attributes = getItemAttributes(item);
    if (attributes == osg::NullFC) {
        return;
    }
    attributes->setOverrideMaterial(material);
    endEdit(attributes, osg::RaytracingGeoAttachmentBase::OverrideMaterialFieldMask);
    endEdit(material, mkAllFields());
    if (!inUse.areGone()) {
        item->updateAttributes(attributes);
        fitFirstColumn();
    }
    mkController::setModified(1);
}

osg::RaytracingGeoAttachmentPtr mkNodeListWidget::getItemAttributes(mkNodeItem *item) const
{
    if (!item || !item->isNode() || item->getNode() == osg::NullFC) {
        return osg::NullFC;
    }
    const unsigned layerIndex = item->getLayerIndex();
    // -1, where it has not been set, is past any end.
    const auto index = std::size_t(item->getAttributeIndex());
    return mkAttributesAt(mkLayerAt(mkStore()->getAttachment(), layerIndex), index);
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
{
    if (!selectionModel()->hasSelection()) {
        return;
    }
    if (!attributesDialog) {
        attributesDialog = new mkAttributesGUIW(ownerWidget, QString());
    }
    attributesDialog->forgetLastUse();
    // The host may close the panel for good while the dialog is open.
    const QPointer<mkNodeListWidget> self(this);
    const int result = attributesDialog->exec();
    if (!self || !attributesDialog || result != QDialog::Accepted) {
        return;
    }
    const mkRenderAttributeFlags flags = attributesDialog->getFlags();
    std::vector<std::pair<unsigned, osg::NodePtr>> targets;
    for (const mkNodeItem *row : getTargetNodeItems()) {
        targets.emplace_back(row->getLayerIndex(), row->getNode());
    }
    run("mkNodeListWidget::applyAttributesToSelected", KeepSelection | MarkModified, [&] {
        mkRenderLayer *const store = mkStore();
        for (const auto &[index, node] : targets) {
            mkStoreRenderAttributes(store, index, node, flags);
        }
    });
}
