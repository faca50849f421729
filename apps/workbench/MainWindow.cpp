#include "MainWindow.h"

#include "AttributesView.h"
#include "HelpDialogs.h"
#include "LayerPanel.h"
#include "LayerStatus.h"
#include "LogView.h"
#include "MaterialsPane.h"
#include "PythonConsole.h"
#include "SceneDocument.h"
#include "ScenePane.h"
#include "SceneStatistics.h"
#include "SceneWatcher.h"
#include "ScriptRunner.h"
#include "StatusLine.h"
#include "WindowLayout.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkShortcut/mkShortcut.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QMenuBar>
#include <QMimeData>
#include <QStatusBar>
#include <QTimer>
#include <QTreeWidget>
#include <QUndoStack>
#include <QUrl>

MainWindow::MainWindow(bool isUnattended)
    : unattended(isUnattended)
    , watcher(new SceneWatcher(this))
    , docks(new QMKDockWindowManager(this))
    , document(new SceneDocument(this, isUnattended))
{
    mkController::setMainWindow(this);
    mkController::setDockWindowManager(docks);
    setWindowIcon(mkIconManager::getIcon("Workbench", ""));
    setDockNestingEnabled(true);
    setDockOptions(dockOptions() | AllowTabbedDocks);
    createFileMenu();
    createEditMenu();
    createDocks();
    layerStatus = new LayerStatus(watcher);
    statusBar()->addPermanentWidget(layerStatus);
    connect(mkScenegraph::the(), &mkScenegraph::sceneChanged, this, &MainWindow::showStatistics);
    setAcceptDrops(true);
    closing.setSingleShot(true);
    closing.setInterval(200);
    connect(&closing, &QTimer::timeout, this, &MainWindow::close);
}

MainWindow::~MainWindow() = default;

void MainWindow::createFileMenu()
{
    const QString group = tr("Workbench");
    mkShortcut::addKey(group, Qt::Key_Q, Qt::ControlModifier, tr("Quit"));
    mkShortcut::addKey(group, Qt::Key_Z, Qt::ControlModifier, tr("Undo"));
    mkShortcut::addKey(group, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier, tr("Redo"));
    QMenu *const menu = menuBar()->addMenu(tr("&File"));
    document->addActions(menu);
    menu->addSeparator();
    auto *const scripts = new ScriptRunner(this);
    scripts->addActions(menu);
    connect(scripts, &ScriptRunner::started, this, [this] {
        consoleDock->show();
        consoleDock->raise();
    });
    menu->addSeparator();
    menu->addAction(tr("&Quit"), this, &MainWindow::close, QKeySequence::Quit);
}

void MainWindow::createEditMenu()
{
    QMenu *const menu = menuBar()->addMenu(tr("&Edit"));
    QAction *const undo = mkUndo::stack()->createUndoAction(menu);
    QAction *const redo = mkUndo::stack()->createRedoAction(menu);
    undo->setShortcut(QKeySequence::Undo);
    redo->setShortcut(QKeySequence::Redo);
    menu->addActions({ undo, redo });
    menu->addSeparator();
    menu->addAction(
        mkIconManager::getIcon("Search", ""), tr("&Find in Scene"), this,
        [this] {
            sceneDock->show();
            sceneDock->raise();
            scenePane->beginSearch();
        },
        QKeySequence::Find);
    mkShortcut::addKey(tr("Workbench"), Qt::Key_F, Qt::ControlModifier, tr("Find in Scene"));
}

void MainWindow::createHelpMenu()
{
    QMenu *const menu = menuBar()->addMenu(tr("&Help"));
    menu->addAction(tr("&Guide"), this, [this] { HelpDialogs::showGuide(this); });
    menu->addAction(tr("&Keyboard Shortcuts"), this, [this] { HelpDialogs::showShortcuts(this); });
    menu->addAction(tr("&About"), this, [this] { HelpDialogs::showAbout(this); });
}

void MainWindow::createDocks()
{
    scenePane = new ScenePane(watcher);
    sceneDock = addDock(QT_TRANSLATE_NOOP("QMKDockWindowManager", "Scene"), scenePane, "SceneTree",
                        Qt::LeftDockWidgetArea);
    attributesDock = addDock(QT_TRANSLATE_NOOP("QMKDockWindowManager", "Attributes"),
                             new AttributesView(watcher), "Attributes", Qt::LeftDockWidgetArea);
    materialsDock = addDock(QT_TRANSLATE_NOOP("QMKDockWindowManager", "Materials"),
                            new MaterialsPane(watcher), "Material", Qt::LeftDockWidgetArea);
    logDock = addDock(QT_TRANSLATE_NOOP("QMKDockWindowManager", "Log"), new LogView, "Log",
                      Qt::BottomDockWidgetArea);
    console = new PythonConsole;
    consoleDock = addDock(QT_TRANSLATE_NOOP("QMKDockWindowManager", "Python Console"), console,
                          "Console", Qt::BottomDockWidgetArea);
}

QDockWidget *MainWindow::addDock(const char *name, QWidget *widget, const char *icon,
                                 Qt::DockWidgetArea area)
{
    return docks->add(name, tr("&View"), widget, QString(), mkIconManager::getIcon(icon, ""),
                      tr(name), area, true, nullptr);
}

void MainWindow::completeLayout()
{
    QMenu *const view = docks->groupMenu(tr("&View"));
    view->addSeparator();
    view->addAction(tr("&Reset Layout"), this, [this] {
        layout->arrange();
        layout->share();
    });
    createHelpMenu();
    LayerPanel *columns = nullptr;
    WindowLayout::Docks arranged{ sceneDock, attributesDock, materialsDock, logDock, nullptr };
    const auto all = docks->getDockWidgets();
    for (QDockWidget *dock : all) {
        if (dock->widget() && dock->widget()->findChild<QTreeWidget *>(QStringLiteral("_layer"))) {
            arranged.panel = dock;
            columns = new LayerPanel(dock->widget());
            connect(columns, &LayerPanel::changed, layerStatus, &LayerStatus::refresh,
                    Qt::QueuedConnection);
        }
    }
    layout = std::make_unique<WindowLayout>(this, columns, arranged);
    layout->arrange();
    isArranged = !unattended && layout->restore();
    if (!isArranged) {
        layout->place(unattended);
    }
}

void MainWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    if (isShown) {
        return;
    }
    isShown = true;
    console->start();
    scenePane->setFocus();
    if (!isArranged) {
        QTimer::singleShot(0, this, [this] { layout->share(); });
    }
}

void MainWindow::showStatistics()
{
    const QString file = QFileInfo(mkScenegraph::getFile()).fileName();
    const QString what = describeScene(mkScenegraph::getRoot(), mkMaterials::getMaterials().size());
    StatusLine::show(file.isEmpty() ? what : tr("%1: %2", "file, contents").arg(file, what));
}

bool MainWindow::openFile(const QString &file)
{
    return document->open(file);
}

void MainWindow::offerRecovery()
{
    document->offerRecovery();
}

namespace {

/// The file that a drag brings; empty when it brings none.
QString fileOf(const QMimeData *data)
{
    const QList<QUrl> urls = data->urls();
    return urls.size() == 1 ? urls.first().toLocalFile() : QString();
}

/// A program from which a file was moved would delete it.
void acceptAsCopy(QDropEvent *event)
{
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

} // namespace

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (!fileOf(event->mimeData()).isEmpty()) {
        acceptAsCopy(event);
    }
}

void MainWindow::dropEvent(QDropEvent *event)
{
    acceptAsCopy(event);
    // The program that it comes from waits until this returns, and questions take their time.
    const QString file = fileOf(event->mimeData());
    QTimer::singleShot(0, document, [this, file] { document->openInstead(file); });
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (mkScript::isBusy()) {
        // It needs the window. One that goes on in spite of the interrupt gets the next.
        mkScript::interrupt();
        statusBar()->showMessage(tr("Waiting for the running statement to stop…"));
        closing.start();
        event->ignore();
        return;
    }
    statusBar()->clearMessage();
    event->setAccepted(document->mayLeave(tr("Save the changes before the workbench is closed?"),
                                          tr("Discard Changes and Quit")));
    if (event->isAccepted() && !unattended && layout) {
        layout->save();
    }
}
