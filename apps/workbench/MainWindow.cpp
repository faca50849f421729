#include "MainWindow.h"

#include "AttributesView.h"
#include "LogView.h"
#include "MaterialsPane.h"
#include "PythonConsole.h"
#include "SceneDocument.h"
#include "ScenePane.h"
#include "SceneWatcher.h"
#include "ScriptRunner.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkShortcut/mkShortcut.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>
#include <QTreeWidget>
#include <QUndoStack>
#include <QVBoxLayout>

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
    statusBar();
    closing.setSingleShot(true);
    closing.setInterval(200);
    connect(&closing, &QTimer::timeout, this, &MainWindow::close);
}

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
    menu->addAction(tr("&Keyboard Shortcuts"), this, &MainWindow::showShortcuts);
    menu->addAction(tr("&About"), this, &MainWindow::showAbout);
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
    createHelpMenu();
    // The dock manager makes tabs of docks at one side; these are to be seen together.
    for (QDockWidget *dock : { sceneDock, attributesDock, materialsDock }) {
        removeDockWidget(dock);
    }
    setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
    addDockWidget(Qt::LeftDockWidgetArea, sceneDock);
    splitDockWidget(sceneDock, attributesDock, Qt::Vertical);
    tabifyDockWidget(attributesDock, materialsDock);
    for (QDockWidget *dock : { sceneDock, attributesDock, materialsDock }) {
        dock->show();
    }
    attributesDock->raise();
    const QSize size(1800, 960);
    resize(unattended ? size : size.boundedTo(screen()->availableSize()));
}

void MainWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    if (!arranged) {
        // Sizes of docks count once the window has its own.
        arranged = true;
        console->start();
        QTimer::singleShot(0, this, [this] {
            // Without a central widget all sides must be told their size.
            QDockWidget *const panel = docks->getDockWidgets().constLast();
            const int panelWidth = width() * (centralWidget() ? 2 : 4) / 5;
            resizeDocks({ sceneDock, panel }, { width() / 5, panelWidth }, Qt::Horizontal);
            resizeDocks({ sceneDock, attributesDock }, { height() / 2, height() / 2 },
                        Qt::Vertical);
            resizeDocks({ panel, logDock }, { height() * 3 / 4, height() / 4 }, Qt::Vertical);
        });
    }
}

bool MainWindow::openFile(const QString &file)
{
    return document->open(file);
}

void MainWindow::offerRecovery()
{
    document->offerRecovery();
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
}

void MainWindow::showShortcuts()
{
    QDialog dialog(this);
    dialog.setWindowTitle(tr("Keyboard Shortcuts"));
    auto *const list = new QTreeWidget(&dialog);
    list->setHeaderLabels({ tr("Panel"), tr("Keys"), tr("Action") });
    list->setRootIsDecorated(false);
    list->setAlternatingRowColors(true);
    for (const mkShortcut::Entry &entry : mkShortcut::getKeys()) {
        new QTreeWidgetItem(list, { entry.group, entry.keys, entry.description });
    }
    list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    auto *const buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto *const layout = new QVBoxLayout(&dialog);
    layout->addWidget(list);
    layout->addWidget(buttons);
    dialog.resize(560, 420);
    dialog.exec();
}

void MainWindow::showAbout()
{
    QMessageBox::about(this, tr("About the Workbench"),
                       tr("<h3>Workbench %1</h3><p>A reference host for scene panels: it opens "
                          "scene files and shows them beside the panels of its plug-ins.</p>")
                           .arg(QApplication::applicationVersion()));
}
