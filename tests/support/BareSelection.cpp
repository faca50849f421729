#include "BareSelection.h"

#include <QTest>
#include <QTreeWidgetItemIterator>

BareSelection::BareSelection()
{
    tree.setColumnCount(13);
    tree.setDragDropMode(QAbstractItemView::DropOnly);
    tree.setAllColumnsShowFocus(true);
    tree.setSelectionMode(QAbstractItemView::ExtendedSelection);
    tree.setSelectionBehavior(QAbstractItemView::SelectRows);
    tree.resize(600, 500);
    tree.show();
}

int BareSelection::rowOf(const QTreeWidget *tree, const QTreeWidgetItem *wanted)
{
    int row = 0;
    for (QTreeWidgetItemIterator it(const_cast<QTreeWidget *>(tree)); *it; ++it, ++row) {
        if (*it == wanted) {
            return row;
        }
    }
    return -1;
}

QTreeWidgetItem *BareSelection::rowAt(int row) const
{
    return *(QTreeWidgetItemIterator(&tree) += row);
}

void BareSelection::select(int row)
{
    if (row < 0) {
        return tree.clearSelection();
    }
    // Neither the modifier keys of the last event count, nor does a closed layer open.
    tree.setSelectionMode(QAbstractItemView::SingleSelection);
    tree.setAutoScroll(false);
    tree.setCurrentItem(rowAt(row));
    tree.setAutoScroll(true);
    tree.setSelectionMode(QAbstractItemView::ExtendedSelection);
    rowAt(row)->setSelected(true);
}

void BareSelection::rebuild(const QTreeWidget *panel)
{
    tree.clear();
    for (int i = 0; i < panel->topLevelItemCount(); ++i) {
        const QTreeWidgetItem *const original = panel->topLevelItem(i);
        auto *const layer = new QTreeWidgetItem(&tree, { original->text(0) });
        for (int j = 0; j < original->childCount(); ++j) {
            new QTreeWidgetItem(layer, { original->child(j)->text(0) });
        }
        layer->setExpanded(original->isExpanded());
    }
    bool first = true;
    int row = 0;
    for (QTreeWidgetItemIterator it(const_cast<QTreeWidget *>(panel)); *it; ++it, ++row) {
        if ((*it)->isSelected()) {
            std::exchange(first, false) ? select(row) : rowAt(row)->setSelected(true);
        }
    }
}

void BareSelection::click(int row, Qt::KeyboardModifiers modifiers)
{
    tree.scrollToItem(rowAt(row));
    QRect cell = tree.visualItemRect(rowAt(row));
    cell.setLeft(tree.columnViewportPosition(1));
    cell.setWidth(tree.columnWidth(1));
    QTest::mouseClick(tree.viewport(), Qt::LeftButton, modifiers, cell.center());
}

void BareSelection::setCurrent(int row)
{
    tree.setCurrentItem(row < 0 ? nullptr : rowAt(row), 0, QItemSelectionModel::NoUpdate);
}

void BareSelection::key(Qt::Key key, Qt::KeyboardModifiers modifiers) const
{
    QTest::keyClick(&tree, key, modifiers);
}

QVector<int> BareSelection::order(const QTreeWidget *tree)
{
    QVector<int> rows;
    const QList<QTreeWidgetItem *> selected = tree->selectedItems();
    for (const QTreeWidgetItem *const row : selected) {
        rows += rowOf(tree, row);
    }
    return rows;
}
