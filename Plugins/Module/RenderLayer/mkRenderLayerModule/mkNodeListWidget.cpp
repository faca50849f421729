#include "mkNodeListWidget.h"

#include "mkAttributesGUIW.h"
#include "mkColumn.h"
#include "mkIconManager/mkIconManager.h"
#include "mkNodeItem.h"
#include "mkOverrideMaterialItemDelegate.h"
#include "mkRenderAttributes.h"
#include "mkRowDelegate.h"
#include "mkShortcut/mkShortcut.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QSet>

#include <algorithm>
#include <array>

mkNodeListWidget::mkNodeListWidget(QWidget *parent, Qt::WindowFlags flags)
    : QTreeWidget(parent)
    , ownerWidget(parent)
{
    setWindowFlags(flags);

    QStringList labels{ tr("Layer") };
    for (const mkRenderAttribute &attribute : mkRenderAttributes) {
        labels += tr(attribute.header);
    }
    labels += tr("OverrideMaterial");
    setHeaderLabels(labels);
    header()->resizeSections(QHeaderView::Interactive);

    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DropOnly);
    setAllColumnsShowFocus(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setFocusPolicy(Qt::StrongFocus);
    setRootIsDecorated(true);

    setItemDelegate(new mkRowDelegate(this));
    overrideMaterialDelegate = new mkOverrideMaterialItemDelegate(this);
    setItemDelegateForColumn(mkColumn::OverrideMaterial, overrideMaterialDelegate);

    connect(this, SIGNAL(itemExpanded(QTreeWidgetItem *)), this, SLOT(expanded(QTreeWidgetItem *)));
    connect(this, SIGNAL(itemCollapsed(QTreeWidgetItem *)), this,
            SLOT(collapsed(QTreeWidgetItem *)));
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, SIGNAL(customContextMenuRequested(QPoint)), this, SLOT(showPopup(QPoint)));
    connect(this, SIGNAL(itemChanged(QTreeWidgetItem *, int)), this,
            SLOT(changedItem(QTreeWidgetItem *, int)));
    connect(this, SIGNAL(itemDoubleClicked(QTreeWidgetItem *, int)), this,
            SLOT(doubleClicked(QTreeWidgetItem *, int)));

    createActions();
    registerKeys();
}

void mkNodeListWidget::createActions()
{
    contextMenu = new QMenu(this);
    contextMenu->setTearOffEnabled(true);

    // The actions bind no keys: keyPressEvent does. The menu only shows them.
    const auto add = [this](const QString &text, const char *slot, int key = 0,
                            Qt::KeyboardModifiers modifiers = Qt::ControlModifier) {
        const QString keyText = key ? mkShortcut::convertKey(key, modifiers, false) : QString();
        return contextMenu->addAction(text + keyText, this, slot, QKeySequence());
    };
    createLayerAction = add(tr("Create Layer"), SLOT(createLayer()));
    renameLayerAction = add(tr("Rename Layer\t"), SLOT(renameLayer()), Qt::Key_R);
    deleteAction = add(tr("Delete\t"), SLOT(deleteSelected()), Qt::Key_Delete, Qt::NoModifier);
    duplicateLayerAction = add(tr("Duplicate Layer\t"), SLOT(duplicateLayer()), Qt::Key_D);
    selectAllAction = add(tr("Select All\t"), SLOT(clickedSelectAll()), Qt::Key_A);
    moveUpAction = add(tr("Move Up\t"), SLOT(moveUpNode()), Qt::Key_Up);
    moveDownAction = add(tr("Move Down\t"), SLOT(moveDownNode()), Qt::Key_Down);
    contextMenu->addSeparator();
    applyAttributesAction = add(tr("Apply Attributes to Selected ..."),
                                SLOT(applyAttributesToSelected()));
    contextMenu->addSeparator();
    addSelectedNodesAction = add(tr("Add Selected Nodes"), SLOT(addSelectedNodes()));
    selectNodesAction = add(tr("Select Nodes\t"), SLOT(selectNodes()), Qt::Key_N);
    contextMenu->addSeparator();
    cleanupAction = add(tr("Cleanup"), SLOT(cleanup()));
    const QIcon cross(mkIconManager::get("General/DeleteOffNormal.svg"));
    clearOverrideMaterialAction = contextMenu->addAction(cross, tr("Clear Override Material"), this,
                                                         SLOT(clearOverrideMaterial()),
                                                         QKeySequence());
}

void mkNodeListWidget::registerKeys()
{
    const QString group = tr("Render Layer");
    mkShortcut::addKey(group, Qt::Key_Delete, Qt::NoModifier, tr("Delete"));
    mkShortcut::addKey(group, Qt::Key_D, Qt::ControlModifier, tr("Duplicate Layer"));
    mkShortcut::addKey(group, Qt::Key_R, Qt::ControlModifier, tr("Rename Layer"));
    mkShortcut::addKey(group, Qt::Key_A, Qt::ControlModifier, tr("Select All"));
    mkShortcut::addKey(group, Qt::Key_N, Qt::ControlModifier, tr("Select Nodes"));
    mkShortcut::addKey(group, Qt::Key_Up, Qt::ControlModifier, tr("Move Item Up"));
    mkShortcut::addKey(group, Qt::Key_Down, Qt::ControlModifier, tr("Move Item Down"));
}

void mkNodeListWidget::showPopup(const QPoint &pos)
{
    const std::array<QAction *, 9> needRow{
        renameLayerAction,      deleteAction,      duplicateLayerAction,
        moveUpAction,           moveDownAction,    applyAttributesAction,
        addSelectedNodesAction, selectNodesAction, clearOverrideMaterialAction
    };
    const auto *const clicked = static_cast<mkNodeItem *>(itemAt(pos));
    for (QAction *action : needRow) {
        action->setEnabled(clicked != nullptr);
        action->setStatusTip(QString());
    }
    createLayerAction->setEnabled(true);
    selectAllAction->setEnabled(true);
    cleanupAction->setEnabled(clicked || topLevelItemCount() > 0);

    if (clicked) {
        const std::size_t nodes = selectedRows(false).size();
        const std::size_t layers = getSelectedLayerItems().size();
        const bool single = nodes + layers < 2;
        const bool mixed = nodes > 0 && layers > 0;
        moveUpAction->setEnabled(!mixed);
        moveDownAction->setEnabled(!mixed);
        renameLayerAction->setEnabled(single && !clicked->isNode());
        duplicateLayerAction->setEnabled(!clicked->isNode());
        if (single) {
            const QString prefix = clicked->isNode() ? tr("Select node '")
                                                     : tr("Select nodes of layer '");
            selectNodesAction->setStatusTip(prefix + clicked->text(mkColumn::Layer)
                                            + QLatin1Char('\''));
        }
    }
    contextMenu->popup(viewport()->mapToGlobal(pos));
}

void mkNodeListWidget::keyPressEvent(QKeyEvent *event)
{
    const auto rename = [this] {
        if (selectedItemRows().size() <= 1) {
            renameLayer();
        }
    };
    if (event->modifiers() == Qt::ControlModifier) {
        switch (event->key()) {
        case Qt::Key_A:
            return selectAll();
        case Qt::Key_D:
            return duplicateLayer();
        case Qt::Key_N:
            return selectNodes();
        case Qt::Key_R:
            return rename();
        case Qt::Key_Up:
            return moveUpNode();
        case Qt::Key_Down:
            return moveDownNode();
        default:
            break;
        }
    } else if (event->modifiers() == Qt::NoModifier) {
        switch (event->key()) {
        case Qt::Key_F2:
            return rename();
        case Qt::Key_Delete:
            return deleteSelected();
        default:
            break;
        }
    }
    QTreeView::keyPressEvent(event);
}

void mkNodeListWidget::clickedSelectAll()
{
    selectAll();
}

void mkNodeListWidget::fitFirstColumn(Fit fit)
{
    if (rebuildPending) {
        pendingFit = std::max(pendingFit, fit);
    }
    if (fit == Fit::Exact) {
        resizeColumnToContents(mkColumn::Layer);
        return;
    }
    const int wanted = std::max(sizeHintForColumn(mkColumn::Layer),
                                header()->sectionSizeHint(mkColumn::Layer));
    if (columnWidth(mkColumn::Layer) < wanted) {
        setColumnWidth(mkColumn::Layer, wanted);
    }
}

void mkNodeListWidget::makeCurrent(QTreeWidgetItem *item)
{
    // Scrolling to a row opens the layer above it, but whether that is open is the store's to say.
    const bool scrolls = hasAutoScroll();
    setAutoScroll(scrolls && (!item->parent() || item->parent()->isExpanded()));
    // With more than single selection, Qt heeds the modifier keys that are down just now.
    const SelectionMode mode = selectionMode();
    setSelectionMode(QAbstractItemView::SingleSelection);
    setCurrentItem(item);
    setSelectionMode(mode);
    setAutoScroll(scrolls);
}

void mkNodeListWidget::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    // This takes over the name that is being typed in the previous row, but needs both rows after.
    const RowsInUse inUse(this);
    QTreeWidget::currentChanged(current, previous);
}

QRegion mkNodeListWidget::visualRegionForSelection(const QItemSelection &selection) const
{
    // To find out where many rows end, the base asks each for its height; those in sight will do.
    const bool isOneRow = selection.size() == 1 && selection.first().height() == 1;
    return isOneRow ? QTreeWidget::visualRegionForSelection(selection) : viewport()->rect();
}

mkNodeItem *mkNodeListWidget::layerItem(int row) const
{
    return static_cast<mkNodeItem *>(topLevelItem(row));
}

mkNodeItem *mkNodeListWidget::nodeItem(const mkNodeItem *layer, int row)
{
    return static_cast<mkNodeItem *>(layer->child(row));
}

mkNodeListWidget::Rows mkNodeListWidget::selectedItemRows() const
{
    Rows rows;
    QSet<const mkNodeItem *> seen;
    const QItemSelection selection = selectionModel()->selection();
    for (const QItemSelectionRange &range : selection) {
        const auto *const layer = static_cast<mkNodeItem *>(
            itemFromIndex(range.topLeft())->parent());
        // Only ranges narrower than the row can meet in one row.
        const bool wholeRows = range.width() == columnCount();
        for (int row = range.top(); row <= range.bottom(); ++row) {
            mkNodeItem *const item = layer ? nodeItem(layer, row) : layerItem(row);
            if (wholeRows || !seen.contains(item)) {
                rows.push_back(item);
            }
            if (!wholeRows) {
                seen.insert(item);
            }
        }
    }
    return rows;
}

mkNodeListWidget::Rows mkNodeListWidget::selectedRows(bool all) const
{
    Rows rows = selectedItemRows();
    if (!all) {
        // Neighbours are of one layer, and to ask the view whether that is open takes a while.
        const QTreeWidgetItem *layer = nullptr;
        bool expanded = false;
        const auto unwanted = [&layer, &expanded](const mkNodeItem *row) {
            if (row->parent() != layer) {
                layer = row->parent();
                expanded = layer && layer->isExpanded();
            }
            return !row->isNode() || !expanded;
        };
        rows.erase(std::remove_if(rows.begin(), rows.end(), unwanted), rows.end());
    }
    return rows;
}

// Rows know whether they are selected. What wants them in the tree's order asks them: a copy of the
// selection, which Qt checks range by range, would cost more, and sorting it again.
mkNodeListWidget::Rows mkNodeListWidget::getSelectedLayerItems() const
{
    Rows layers;
    for (int i = 0; i < topLevelItemCount(); ++i) {
        if (layerItem(i)->isSelected() && layerItem(i)->isLayer()) {
            layers.push_back(layerItem(i));
        }
    }
    return layers;
}

mkNodeListWidget::Rows mkNodeListWidget::selectedNodesOf(const mkNodeItem *layer)
{
    Rows nodes;
    for (int i = 0; i < layer->childCount(); ++i) {
        mkNodeItem *const row = nodeItem(layer, i);
        if (row->isSelected() && row->isNode()) {
            nodes.push_back(row);
        }
    }
    return nodes;
}

std::size_t mkNodeListWidget::getSelectedNodeItemsByLayer(std::vector<Rows> &groups) const
{
    std::size_t count = 0;
    for (int i = 0; i < topLevelItemCount(); ++i) {
        const mkNodeItem *const layer = layerItem(i);
        if (!layer->isLayer() || !layer->isExpanded()) {
            continue;
        }
        Rows group = selectedNodesOf(layer);
        if (!group.empty()) {
            count += group.size();
            groups.push_back(std::move(group));
        }
    }
    return count;
}

mkNodeItem *mkNodeListWidget::getFirstSelectedItem() const
{
    const Rows rows = selectedItemRows();
    return rows.empty() ? nullptr : rows.front();
}

mkNodeItem *mkNodeListWidget::getPreviousSibling(const mkNodeItem *item) const
{
    const QModelIndex index = indexFromItem(item);
    return static_cast<mkNodeItem *>(itemFromIndex(index.siblingAtRow(index.row() - 1)));
}

mkNodeItem *mkNodeListWidget::getNextSibling(const mkNodeItem *item) const
{
    const QModelIndex index = indexFromItem(item);
    return static_cast<mkNodeItem *>(itemFromIndex(index.siblingAtRow(index.row() + 1)));
}

void mkNodeListWidget::collectSelection(QStringList &layerNames, std::vector<osg::NodePtr> &nodes,
                                        QStringList &nodeLayerNames) const
{
    layerNames = getSelectedLayerNames();
    for (const mkNodeItem *row : selectedRows(false)) {
        nodes.push_back(row->getNode());
        nodeLayerNames += row->parent()->text(mkColumn::Layer);
    }
}
