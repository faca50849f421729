#include "NamedDrag.h"

#include <QAbstractItemView>
#include <QCoreApplication>
#include <QDrag>
#include <QLabel>
#include <QMimeData>
#include <QToolTip>

void startNamedDrag(QAbstractItemView *view, Qt::DropActions actions)
{
    const QModelIndexList rows = view->selectionModel()->selectedIndexes();
    QMimeData *const data = rows.isEmpty() ? nullptr : view->model()->mimeData(rows);
    if (!data) {
        return;
    }
    QString names = rows.first().data().toString();
    if (rows.size() > 1) {
        names += QCoreApplication::translate("NamedDrag", " and %1 more").arg(rows.size() - 1);
    }
    QLabel label(names);
    label.setTextFormat(Qt::PlainText);
    label.setPalette(QToolTip::palette());
    label.setFrameShape(QFrame::Box);
    label.setMargin(2);

    auto *const drag = new QDrag(view);
    drag->setMimeData(data);
    drag->setPixmap(label.grab());
    drag->setHotSpot(QPoint(-16, -8));
    drag->exec(actions, Qt::CopyAction);
}
