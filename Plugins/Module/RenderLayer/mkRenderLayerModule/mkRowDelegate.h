#pragma once

#include <QHash>
#include <QPair>
#include <QStyledItemDelegate>

class QAbstractItemView;

/// Delegate of the tree's cells. They look like any other; but what was measured once is remembered
/// by text and size of icon, for the view asks each of thirteen cells of each row.
class mkRowDelegate : public QStyledItemDelegate
{
public:
    /// `view` is also the parent.
    explicit mkRowDelegate(QAbstractItemView *view);

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    using Key = QPair<QString, QPair<int, int>>;
    mutable QHash<Key, QSize> sizes;
};
