#include "MainWindow.h"

#include "AttributesView.h"
#include "LogView.h"
#include "MaterialsPane.h"
#include "PythonConsole.h"
#include "RecentFiles.h"
#include "SceneEdits.h"
#include "SceneImporter.h"
#include "ScenePane.h"
#include "SceneWatcher.h"
#include "ScriptRunner.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkShortcut/mkShortcut.h"
#include "mkUtils/mkLog.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>
#include <QTreeWidget>
#include <QUndoStack>
#include <QVBoxLayout>

#include <cstdio>

MainWindow::MainWindow(bool isUnattended)
    : unattended(isUnattended)
    , watcher(new SceneWatcher(this))
    , docks(new QMKDockWindowManager(this))
{
    mkController::setMainWindow(this);
    mkController::setDockWindowManager(docks);
    mkScenegraph::setReader([this](const QString &file) { return read(file); });
    setWindowIcon(mkIconManager::getIcon("Workbench", ""));
    setDockNestingEnabled(true);
    setDockOptions(dockOptions() | AllowTabbedDocks);
    createFileMenu();
    createEditMenu();
    createDocks();
    statusBar();
    connect(mkScenegraph::the(), &mkScenegraph::sceneChanged, this, &MainWindow::updateTitle);
    connect(mkController::the(), &mkController::modifiedChanged, this,
            &MainWindow::setWindowModified);
    closing.setSingleShot(true);
    closing.setInterval(200);
    connect(&closing, &QTimer::timeout, this, &MainWindow::close);
    updateTitle();
}

MainWindow::~MainWindow()
{
    mkScenegraph::setReader({});
}

void MainWindow::createFileMenu()
{
    const QString group = tr("Workbench");
    mkShortcut::addKey(group, Qt::Key_O, Qt::ControlModifier, tr("Open Scene"));
    mkShortcut::addKey(group, Qt::Key_Q, Qt::ControlModifier, tr("Quit"));
    mkShortcut::addKey(group, Qt::Key_Z, Qt::ControlModifier, tr("Undo"));
    mkShortcut::addKey(group, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier, tr("Redo"));
    QMenu *const menu = menuBar()->addMenu(tr("&File"));
    menu->addAction(mkIconManager::getIcon("Open", ""), tr("&Open…"), this,
                    &MainWindow::chooseAndOpen, QKeySequence::Open);
    recentFiles = new RecentFiles(tr("Open &Recent"), QStringLiteral("recentFiles"), menu);
    menu->addMenu(recentFiles);
    connect(recentFiles, &RecentFiles::chosen, this, &MainWindow::openRecent);
    menu->addAction(tr("&Merge into Scene…"), this, &MainWindow::merge);
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
    sceneDock = addDock("Scene", scenePane, "SceneTree", Qt::LeftDockWidgetArea);
    attributesDock = addDock("Attributes", new AttributesView(watcher), "Attributes",
                             Qt::LeftDockWidgetArea);
    materialsDock = addDock("Materials", new MaterialsPane(watcher), "Material",
                            Qt::LeftDockWidgetArea);
    logDock = addDock("Log", new LogView, "Log", Qt::BottomDockWidgetArea);
    console = new PythonConsole;
    consoleDock = addDock("Python Console", console, "Console", Qt::BottomDockWidgetArea);
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

mkScenegraph::Document MainWindow::read(const QString &file)
{
    if (unattended) {
        return importScene(file);
    }
    QProgressDialog dialog(tr("Reading %1…").arg(QFileInfo(file).fileName()), tr("Cancel"), 0, 100,
                           this);
    dialog.setWindowTitle(tr("Open Scene"));
    // What is done to the scene meanwhile would be lost, so nothing is.
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.setMinimumDuration(300);
    dialog.setAutoReset(false);
    // It stays until reading has stopped.
    dialog.disconnect(SIGNAL(canceled()), &dialog);
    bool cancelled = false;
    connect(&dialog, &QProgressDialog::canceled, &dialog, [&] {
        cancelled = true;
        dialog.setLabelText(tr("Cancelling…"));
    });
    return importScene(file, [&](int percent) {
        if (!cancelled) {
            dialog.setValue(percent);
        }
        QCoreApplication::processEvents(dialog.isVisible() ? QEventLoop::AllEvents
                                                           : QEventLoop::ExcludeUserInputEvents);
        return !cancelled;
    });
}

bool MainWindow::reportFailures(const QString &file, const std::function<void()> &action)
{
    try {
        action();
        return true;
    } catch (const ImportCancelled &cancelled) {
        statusBar()->showMessage(QString::fromUtf8(cancelled.what()), 5000);
    } catch (const std::exception &failure) {
        const QString reason = QString::fromUtf8(failure.what());
        if (unattended) {
            std::fprintf(stderr, "workbench: %s: %s\n", qUtf8Printable(file),
                         qUtf8Printable(reason));
        } else {
            mkLog::error("%s: %s", qUtf8Printable(file), qUtf8Printable(reason));
            QMessageBox box(QMessageBox::Critical, tr("Open Scene"),
                            tr("%1 cannot be opened.").arg(QFileInfo(file).fileName()),
                            QMessageBox::Ok, this);
            box.setInformativeText(reason);
            box.exec();
        }
    }
    return false;
}

bool MainWindow::openFile(const QString &file)
{
    const bool opened = reportFailures(file, [&file] { mkScenegraph::openFile(file); });
    if (!unattended && opened) {
        recentFiles->add(mkScenegraph::getFile());
    }
    return opened;
}

QString MainWindow::chooseFile(const QString &title)
{
    const QString directory = QFileInfo(mkScenegraph::getFile()).absolutePath();
    return QFileDialog::getOpenFileName(this, title, directory,
                                        tr("Scene files (%1);;All files (*)")
                                            .arg(sceneFilePatterns()));
}

void MainWindow::chooseAndOpen()
{
    if (!mayDiscardChanges(tr("Open another scene and lose the changes to this one?"),
                           tr("Discard Changes"))) {
        return;
    }
    const QString file = chooseFile(tr("Open Scene"));
    if (!file.isEmpty()) {
        openFile(file);
    }
}

void MainWindow::openRecent(const QString &file)
{
    if (mayDiscardChanges(tr("Open another scene and lose the changes to this one?"),
                          tr("Discard Changes"))
        && !openFile(file) && !QFileInfo::exists(file)) {
        recentFiles->remove(file);
    }
}

void MainWindow::merge()
{
    const QString file = chooseFile(tr("Merge into Scene"));
    if (!file.isEmpty()) {
        reportFailures(file, [this, &file] { SceneEdits::merge(read(file)); });
    }
}

bool MainWindow::mayDiscardChanges(const QString &question, const QString &discardText)
{
    if (unattended || !mkController::isModified()) {
        return true;
    }
    QMessageBox box(QMessageBox::Warning, tr("Scene Modified"), question,
                    QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setInformativeText(
        tr("The scene has been modified, and the workbench cannot save scenes."));
    box.button(QMessageBox::Discard)->setText(discardText);
    box.setDefaultButton(QMessageBox::Cancel);
    return box.exec() == QMessageBox::Discard;
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
    event->setAccepted(mayDiscardChanges(tr("Quit and lose the changes to the scene?"),
                                         tr("Discard Changes and Quit")));
}

void MainWindow::updateTitle()
{
    const QString file = QFileInfo(mkScenegraph::getFile()).fileName();
    setWindowTitle(file.isEmpty() ? tr("Workbench[*]") : tr("%1[*] - Workbench").arg(file));
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
