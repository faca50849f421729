#pragma once

#include <QTreeWidget>
#include <QVector>

/// A bare tree with the rows of the panel's, in which the panel's selected rows were selected one
/// after another, as somebody would who has nothing but QTreeWidget. What the user adds to the
/// selection and takes from it afterwards must end in the same rows, in the same order.
class BareSelection
{
public:
    BareSelection();

    /// Takes over the rows of `panel`, and selects as it does.
    void rebuild(const QTreeWidget *panel);
    void click(int row, Qt::KeyboardModifiers modifiers = {});
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers) const;
    /// Selects nothing; -1 is no row.
    void setCurrent(int row);
    void selectAll() { tree.selectAll(); }
    void setOpen(int row, bool open) { rowAt(row)->setExpanded(open); }
    /// Makes the row current and selects it; -1 leaves nothing selected.
    void select(int row);

    /// Row numbers of selectedItems() of any tree, in its order.
    static QVector<int> order(const QTreeWidget *tree);
    QVector<int> order() const { return order(&tree); }
    int current() const { return rowOf(&tree, tree.currentItem()); }
    /// The row's place among all, also those under closed rows; -1 for none.
    static int rowOf(const QTreeWidget *tree, const QTreeWidgetItem *wanted);

private:
    QTreeWidgetItem *rowAt(int row) const;

    mutable QTreeWidget tree;
};
