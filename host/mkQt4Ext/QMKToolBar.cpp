#include "mkQt4Ext/QMKToolBar.h"

#include "mkUtils/mkTrace.h"

#include <QAction>

QMKToolBar::QMKToolBar(const QString &title, QWidget *parent)
    : QToolBar(title, parent)
{
    setIconSize(QSize(20, 20));
}

void QMKToolBar::appendAction(QAction *action)
{
    mkTrace::call("QMKToolBar::appendAction", action->text());
    addAction(action);
}
