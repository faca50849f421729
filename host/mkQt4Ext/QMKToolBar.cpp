#include "mkQt4Ext/QMKToolBar.h"

#include "mkUtils/mkTrace.h"

#include <QAction>

QMKToolBar::QMKToolBar(const QString &title, QWidget *parent)
    : QToolBar(title, parent)
{
    setIconSize(QSize(20, 20));
}

void QMKToolBar::addAction(QAction *action)
{
    mkTrace::call("QMKToolBar::addAction", action->text());
    QToolBar::addAction(action);
}
