#pragma once

#include "mkHostExport.h"
#include "mkQt4Ext/QMKDockWidget.h"

#include <QHash>
#include <QIcon>
#include <QMap>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QSize>
#include <QString>
#include <QVector>

class QAction;
class QMainWindow;
class QMenu;
class QTabWidget;

/// Puts panels into dock windows of the main window and into its menus, one menu a group. Names and
/// groups come untranslated, since they identify, and are shown as the translations in the context
/// "QMKDockWindowManager" have them.
class MK_HOST_API QMKDockWindowManager : public QObject
{
    Q_OBJECT

public:
    /// `window` is also the parent.
    explicit QMKDockWindowManager(QMainWindow *window);

    /// Docks `widget`, which then belongs to the dock window.
    /// - `name`: title of the dock window and its entry in the menu; also its object name.
    /// - `group`: title of the menu that holds the entry.
    /// - `toolclip`: id of the help clip that explains the panel, kept as the dock window's
    ///   "toolclip" property.
    /// - `label`: short name, shown as tool tip of the menu entry.
    /// - `area`: Qt::NoDockWidgetArea leaves the place to the host, which takes the right side.
    /// - `visible`: whether the dock window is shown at first.
    /// - `menu`: further entries for the menu, or null; stays the caller's.
    /// Panels docked at the same side are tabbed. The dock window deletes itself when its panel
    /// is deleted, so that an unloaded plug-in leaves no empty frame behind.
    QMKDockWidget *add(const char *name, const QString &group, QWidget *widget,
                       const QString &toolclip, const QIcon &icon, const QString &label,
                       Qt::DockWidgetArea area, bool visible, QMenu *menu);

    /// Puts `widget`, which then belongs to the window, into its middle. Several share the place as
    /// tabs, titled `name`; where there is none, the dock windows fill the window. The menu of
    /// `group` gets an entry that shows and hides it, and `actions`, which stay the caller's. A
    /// widget that is deleted leaves the middle.
    void addCentral(const char *name, const QString &group, QWidget *widget, const QIcon &icon,
                    const QList<QAction *> &actions = {});

    QList<QMKDockWidget *> getDockWidgets() const { return docks; }
    /// The menu of a group, made where there is none yet.
    QMenu *groupMenu(const QString &group);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    using Sizes = QVector<QPair<QPointer<QMKDockWidget>, QSize>>;

    void showCentral(QWidget *widget, bool visible);
    /// Of all that can be seen, and of one that is being closed.
    Sizes sizesWith(const QMKDockWidget *closing) const;
    void restore(const Sizes &before);

    QMainWindow *window;
    QMap<QString, QMenu *> menus;
    QList<QMKDockWidget *> docks;
    /// Null while nothing is in the middle.
    QPointer<QTabWidget> middle;
    /// For each dock window that was closed, what sizes all had before.
    QHash<QMKDockWidget *, Sizes> sizes;
};
