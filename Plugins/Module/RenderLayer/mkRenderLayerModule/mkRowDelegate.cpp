#include "mkRowDelegate.h"

#include <QAbstractItemView>
#include <QEvent>
#include <QPixmap>

namespace {

/// Enough for the names of so many nodes.
constexpr int mostSizes = 20000;

} // namespace

mkRowDelegate::mkRowDelegate(QAbstractItemView *view)
    : QStyledItemDelegate(view)
{
    view->installEventFilter(this);
}

QSize mkRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    // Rows carry nothing else that would change a cell's size.
    const QVariant text = index.data(Qt::DisplayRole);
    const QVariant icon = index.data(Qt::DecorationRole);
    if (option.features.testFlag(QStyleOptionViewItem::WrapText)
        || (icon.isValid() && icon.type() != QVariant::Pixmap)) {
        return QStyledItemDelegate::sizeHint(option, index);
    }
    QSize iconSize;
    if (icon.isValid()) {
        const auto pixmap = icon.value<QPixmap>();
        iconSize = pixmap.size() / pixmap.devicePixelRatio();
    }
    // A cell without text is lower than one with an empty text.
    const int height = text.isNull() ? -2 : iconSize.height();
    const Key key{ text.toString(), { iconSize.width(), height } };
    const auto found = sizes.constFind(key);
    if (found != sizes.constEnd()) {
        return found.value();
    }
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    if (sizes.size() == mostSizes) {
        sizes.clear();
    }
    sizes.insert(key, size);
    return size;
}

bool mkRowDelegate::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != parent()) {
        return QStyledItemDelegate::eventFilter(watched, event);
    }
    if (event->type() == QEvent::StyleChange || event->type() == QEvent::FontChange) {
        sizes.clear();
    }
    return false;
}
