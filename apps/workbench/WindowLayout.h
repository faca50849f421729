#pragma once

#include <QList>

class LayerPanel;
class QDockWidget;
class QMainWindow;

/// Where the docks of the main window are and how large everything is: as the user left it, or as
/// at the first start.
class WindowLayout
{
public:
    struct Docks
    {
        QDockWidget *scene = nullptr;
        QDockWidget *attributes = nullptr;
        QDockWidget *materials = nullptr;
        QDockWidget *log = nullptr;
        /// The panel of a plug-in; null without plug-ins.
        QDockWidget *panel = nullptr;
    };

    WindowLayout(QMainWindow *mainWindow, LayerPanel *panelColumns, const Docks &all);

    /// Puts the docks in their places.
    void arrange();
    /// Makes the window as large as the screen has room for.
    void place(bool unattended);
    /// To be called once the window is shown: only then sizes of docks count.
    void share();
    /// True when there was something to restore.
    bool restore();
    void save() const;

private:
    QMainWindow *window;
    LayerPanel *columns;
    Docks docks;
};
