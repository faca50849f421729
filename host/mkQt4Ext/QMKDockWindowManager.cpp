#include "mkQt4Ext/QMKDockWindowManager.h"

#include "mkUtils/mkTrace.h"

#include <QAction>
#include <QCoreApplication>
#include <QEvent>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTabWidget>
#include <QTimer>

namespace {

QString translated(const char *name)
{
    return QCoreApplication::translate("QMKDockWindowManager", name);
}

} // namespace

QMKDockWindowManager::QMKDockWindowManager(QMainWindow *mainWindow)
    : QObject(mainWindow)
    , window(mainWindow)
{}

QMKDockWidget *QMKDockWindowManager::add(const char *name, const QString &group, QWidget *widget,
                                         const QString &toolclip, const QIcon &icon,
                                         const QString &label, Qt::DockWidgetArea area,
                                         bool visible, QMenu *menu)
{
    mkTrace::call("QMKDockWindowManager::add", name, group, toolclip, label, int(area), visible);
    auto *const dock = new QMKDockWidget(translated(name), window);
    dock->setObjectName(QString::fromUtf8(name));
    dock->setProperty("toolclip", toolclip);
    dock->setWindowIcon(icon);
    dock->setWidget(widget);
    // A QMainWindow used as a panel comes as a window; inside the dock it is a plain widget.
    widget->setWindowFlags(Qt::Widget);
    widget->show();

    const Qt::DockWidgetArea side = area == Qt::NoDockWidgetArea ? Qt::RightDockWidgetArea : area;
    QMKDockWidget *neighbour = nullptr;
    for (QMKDockWidget *other : qAsConst(docks)) {
        if (!other->isFloating() && window->dockWidgetArea(other) == side) {
            neighbour = other;
        }
    }
    window->addDockWidget(side, dock);
    if (neighbour) {
        window->tabifyDockWidget(neighbour, dock);
    }
    dock->setVisible(visible);
    docks += dock;

    QAction *const toggle = dock->toggleViewAction();
    toggle->setIcon(icon);
    toggle->setToolTip(label);
    groupMenu(group)->addAction(toggle);
    if (menu) {
        groupMenu(group)->addMenu(menu);
    }
    dock->installEventFilter(this);
    connect(widget, &QObject::destroyed, dock, [dock] { dock->deleteLater(); });
    connect(dock, &QObject::destroyed, this, [this, dock] {
        docks.removeAll(dock);
        sizes.remove(dock);
    });
    return dock;
}

void QMKDockWindowManager::addCentral(const char *name, const QString &group, QWidget *widget,
                                      const QIcon &icon, const QList<QAction *> &actions)
{
    mkTrace::call("QMKDockWindowManager::addCentral", name, group);
    const QString title = translated(name);
    if (!middle) {
        middle = new QTabWidget(window);
        middle->setDocumentMode(true);
        middle->setTabBarAutoHide(true);
        window->setCentralWidget(middle);
    }
    middle->addTab(widget, icon, title);
    auto *const toggle = new QAction(icon, title, widget);
    toggle->setCheckable(true);
    toggle->setChecked(true);
    connect(toggle, &QAction::toggled, this,
            [this, widget](bool visible) { showCentral(widget, visible); });
    groupMenu(group)->addAction(toggle);
    groupMenu(group)->addActions(actions);
    connect(widget, &QObject::destroyed, middle, [tabs = middle.data()] {
        // Its page is still there.
        QTimer::singleShot(0, tabs, [tabs] {
            if (tabs->count() == 0) {
                tabs->deleteLater();
            }
        });
    });
}

void QMKDockWindowManager::showCentral(QWidget *widget, bool visible)
{
    middle->setTabVisible(middle->indexOf(widget), visible);
    bool any = false;
    for (int tab = 0; tab < middle->count(); ++tab) {
        any = any || middle->isTabVisible(tab);
    }
    middle->setVisible(any);
    if (visible) {
        middle->setCurrentWidget(widget);
    }
}

bool QMKDockWindowManager::eventFilter(QObject *watched, QEvent *event)
{
    auto *const dock = qobject_cast<QMKDockWidget *>(watched);
    // Before the window is there, sizes mean nothing yet: a layout that is restored hides and
    // shows.
    if (dock && event->type() == QEvent::HideToParent && !dock->isFloating()
        && window->isVisible()) {
        sizes[dock] = sizesWith(dock);
    } else if (dock && event->type() == QEvent::ShowToParent && sizes.contains(dock)) {
        // Qt would share out the room anew.
        const Sizes before = sizes.take(dock);
        QTimer::singleShot(0, dock, [this, before] { restore(before); });
    }
    return QObject::eventFilter(watched, event);
}

QMKDockWindowManager::Sizes QMKDockWindowManager::sizesWith(const QMKDockWidget *closing) const
{
    Sizes visible;
    for (QMKDockWidget *dock : docks) {
        // Those behind a tab lie outside the window.
        if ((!dock->isHidden() || dock == closing) && !dock->isFloating() && dock->x() >= 0) {
            visible.append({ dock, dock->size() });
        }
    }
    return visible;
}

void QMKDockWindowManager::restore(const Sizes &before)
{
    QList<QDockWidget *> present;
    QList<int> widths;
    QList<int> heights;
    for (const auto &[dock, size] : before) {
        if (dock && !dock->isHidden() && !dock->isFloating()) {
            present += dock;
            widths += size.width();
            heights += size.height();
        }
    }
    window->resizeDocks(present, widths, Qt::Horizontal);
    window->resizeDocks(present, heights, Qt::Vertical);
}

QMenu *QMKDockWindowManager::groupMenu(const QString &group)
{
    QMenu *&menu = menus[group];
    if (!menu) {
        menu = window->menuBar()->addMenu(translated(group.toUtf8().constData()));
    }
    return menu;
}
