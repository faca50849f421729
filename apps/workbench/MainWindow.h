#pragma once

#include <QMainWindow>
#include <QTimer>

#include <memory>

class PythonConsole;
class LayerStatus;
class QMKDockWindowManager;
class SceneDocument;
class ScenePane;
class SceneWatcher;
class WindowLayout;

/// The workbench's window. Plug-ins dock their panels into it between its construction and
/// completeLayout().
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// Unattended, it shows no dialogs of its own and leaves the user's settings alone.
    explicit MainWindow(bool unattended);
    ~MainWindow() override;

    /// To be called when the plug-ins are there: adds what comes after their menus and arranges
    /// the docks.
    void completeLayout();

    /// Opens a scene file and reports a failure: to the user, or on standard error when
    /// unattended. False when the open scene stayed.
    bool openFile(const QString &file);
    /// Offers the user what a crash has left; nothing when unattended.
    void offerRecovery();

protected:
    void showEvent(QShowEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void createFileMenu();
    void createEditMenu();
    void createHelpMenu();
    void createDocks();
    QDockWidget *addDock(const char *name, QWidget *widget, const char *icon,
                         Qt::DockWidgetArea area);

    void showStatistics();

    bool unattended;
    bool isShown = false;
    /// The user's own layout was restored.
    bool isArranged = false;
    SceneWatcher *watcher;
    QMKDockWindowManager *docks;
    SceneDocument *document;
    ScenePane *scenePane = nullptr;
    QDockWidget *sceneDock = nullptr;
    QDockWidget *attributesDock = nullptr;
    QDockWidget *materialsDock = nullptr;
    QDockWidget *consoleDock = nullptr;
    QDockWidget *logDock = nullptr;
    PythonConsole *console = nullptr;
    LayerStatus *layerStatus = nullptr;
    std::unique_ptr<WindowLayout> layout;
    /// Tries again to close, which a running statement has put off.
    QTimer closing;
};
