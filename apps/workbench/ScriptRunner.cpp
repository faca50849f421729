#include "ScriptRunner.h"

#include "RecentFiles.h"
#include "mkKernel/mkScript.h"
#include "mkShortcut/mkShortcut.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenu>
#include <QStatusBar>

namespace {

constexpr int messageMilliseconds = 5000;

} // namespace

ScriptRunner::ScriptRunner(QMainWindow *mainWindow)
    : QObject(mainWindow)
    , window(mainWindow)
{}

void ScriptRunner::addActions(QMenu *menu)
{
    mkShortcut::addKey(tr("Workbench"), Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier,
                       tr("Run Script"));
    menu->addAction(tr("&Run Script…"), this, &ScriptRunner::chooseAndRun,
                    Qt::CTRL | Qt::SHIFT | Qt::Key_R);
    recentScripts = new RecentFiles(tr("Recent S&cripts"), QStringLiteral("recentScripts"), menu);
    menu->addMenu(recentScripts);
    connect(recentScripts, &RecentFiles::chosen, this, &ScriptRunner::run);
}

void ScriptRunner::chooseAndRun()
{
    const QString file = QFileDialog::getOpenFileName(window, tr("Run Script"),
                                                      recentScripts->directory(),
                                                      tr("Python scripts (*.py);;All files (*)"));
    if (!file.isEmpty()) {
        run(file);
    }
}

void ScriptRunner::run(const QString &file)
{
    const QString name = QFileInfo(file).fileName();
    if (mkScript::isBusy()) {
        window->statusBar()->showMessage(tr("A statement is running. Stop it first."),
                                         messageMilliseconds);
        return;
    }
    Q_EMIT started();
    window->statusBar()->showMessage(tr("Running %1…").arg(name));
    const bool succeeded = mkScript::runFile(file);
    window->statusBar()->showMessage(succeeded
                                         ? tr("%1 is done.").arg(name)
                                         : tr("%1 has failed: see the Python Console.").arg(name),
                                     messageMilliseconds);
    if (QFileInfo::exists(file)) {
        recentScripts->add(file);
    } else {
        recentScripts->remove(file);
    }
}
