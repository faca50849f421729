#include "EmptyHint.h"

#include "NodeLooks.h"

#include <QAbstractItemView>
#include <QEvent>

#include <utility>

EmptyHint::EmptyHint(QAbstractItemView *view, std::function<QString()> text)
    : QLabel(view->viewport())
    , currentText(std::move(text))
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAlignment(Qt::AlignCenter);
    setWordWrap(true);
    setMargin(12);
    view->viewport()->installEventFilter(this);
    const QAbstractItemModel *const model = view->model();
    connect(model, &QAbstractItemModel::modelReset, this, &EmptyHint::refresh);
    connect(model, &QAbstractItemModel::rowsInserted, this, &EmptyHint::refresh);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &EmptyHint::refresh);
    refresh();
}

bool EmptyHint::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize) {
        refresh();
    }
    return QLabel::eventFilter(watched, event);
}

void EmptyHint::refresh()
{
    const QString text = currentText();
    setVisible(!text.isEmpty());
    if (text.isEmpty()) {
        return;
    }
    QPalette faded = parentWidget()->palette();
    faded.setColor(QPalette::WindowText, NodeLooks::fadedText());
    setPalette(faded);
    setText(text);
    setGeometry(parentWidget()->rect());
}
