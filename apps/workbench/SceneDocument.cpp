#include "SceneDocument.h"

#include "ImportProcess.h"
#include "RecentFiles.h"
#include "RecoveryCopies.h"
#include "SceneEdits.h"
#include "SceneImporter.h"
#include "mkIconManager/mkIconManager.h"
#include "mkShortcut/mkShortcut.h"
#include "mkUtils/mkLog.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenu>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QStandardPaths>
#include <QStatusBar>

#include <cstdio>

namespace {

constexpr int recoveryInterval = 2 * 60 * 1000;

QString recoveryFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
           + QLatin1String("/recovery");
}

} // namespace

SceneDocument::SceneDocument(QMainWindow *mainWindow, bool isUnattended)
    : QObject(mainWindow)
    , window(mainWindow)
    , unattended(isUnattended)
{
    mkScenegraph::setReader(readForeignScene);
    if (!unattended) {
        mkScenegraph::setProgressMaker([this](const QString &what) { return showProgress(what); });
        recovery = new RecoveryCopies(recoveryFolder(), recoveryInterval, this);
    }
    connect(mkScenegraph::the(), &mkScenegraph::sceneChanged, this, &SceneDocument::updateTitle);
    connect(mkScenegraph::the(), &mkScenegraph::fileChanged, this, &SceneDocument::updateTitle);
    connect(mkScenegraph::the(), &mkScenegraph::unsavedChangesChanged, window,
            &QMainWindow::setWindowModified);
    updateTitle();
    window->setWindowModified(mkScenegraph::hasUnsavedChanges());
}

SceneDocument::~SceneDocument()
{
    mkScenegraph::setReader({});
    mkScenegraph::setProgressMaker({});
}

void SceneDocument::addActions(QMenu *menu)
{
    const QString group = tr("Workbench");
    mkShortcut::addKey(group, Qt::Key_O, Qt::ControlModifier, tr("Open Scene"));
    mkShortcut::addKey(group, Qt::Key_S, Qt::ControlModifier, tr("Save Scene"));
    mkShortcut::addKey(group, Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier,
                       tr("Save Scene under Another Name"));
    menu->addAction(mkIconManager::getIcon("Open", ""), tr("&Open…"), this,
                    &SceneDocument::chooseAndOpen, QKeySequence::Open);
    recentFiles = new RecentFiles(tr("Open &Recent"), QStringLiteral("recentFiles"), menu);
    menu->addMenu(recentFiles);
    connect(recentFiles, &RecentFiles::chosen, this, &SceneDocument::openRecent);
    menu->addAction(tr("&Merge into Scene…"), this, &SceneDocument::merge);
    menu->addSeparator();
    menu->addAction(tr("&Save"), this, &SceneDocument::save, QKeySequence::Save);
    menu->addAction(tr("Save &As…"), this, &SceneDocument::saveAs,
                    QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
}

bool SceneDocument::open(const QString &file)
{
    const bool opened = reportFailures(file, tr("Open Scene"), tr("%1 cannot be opened."),
                                       [&file] { mkScenegraph::openFile(file); });
    if (!unattended && opened) {
        recentFiles->add(mkScenegraph::getFile());
    }
    return opened;
}

bool SceneDocument::save()
{
    const QString file = mkScenegraph::getFile();
    return QFileInfo(file).suffix() == mkSceneFile::suffix() ? saveInto(file) : saveAs();
}

bool SceneDocument::saveAs()
{
    const QString file = chooseTarget();
    return !file.isEmpty() && saveInto(file);
}

bool SceneDocument::saveInto(const QString &file)
{
    const bool saved = reportFailures(file, tr("Save Scene"), tr("%1 cannot be saved."),
                                      [&file] { mkScenegraph::saveFile(file); });
    if (saved) {
        recentFiles->add(mkScenegraph::getFile());
        window->statusBar()->showMessage(tr("Saved %1.").arg(QFileInfo(file).fileName()), 5000);
    }
    return saved;
}

bool SceneDocument::mayLeave(const QString &question, const QString &discardText)
{
    if (unattended || !mkScenegraph::hasUnsavedChanges()) {
        return true;
    }
    QMessageBox box(QMessageBox::Warning, tr("Scene Modified"), question,
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, window);
    box.setInformativeText(tr("The scene has changes that are in no file."));
    box.button(QMessageBox::Discard)->setText(discardText);
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save:
        return save();
    case QMessageBox::Discard:
        return true;
    default:
        return false;
    }
}

void SceneDocument::offerRecovery()
{
    if (!recovery) {
        return;
    }
    for (RecoveryCopies::Copy &copy : recovery->takeLeft()) {
        const QString name = copy.sceneFile.isEmpty() ? tr("A scene without a file")
                                                      : QFileInfo(copy.sceneFile).fileName();
        QMessageBox box(QMessageBox::Question, tr("Recover Scene"),
                        tr("%1 was not saved when the workbench stopped.").arg(name),
                        QMessageBox::NoButton, window);
        box.setInformativeText(tr("There is a copy of it as it was on %1.")
                                   .arg(QLocale().toString(copy.written, QLocale::LongFormat)));
        QAbstractButton *const recover = box.addButton(tr("Recover"), QMessageBox::AcceptRole);
        QAbstractButton *const discard = box.addButton(tr("Discard Copy"),
                                                       QMessageBox::DestructiveRole);
        box.addButton(tr("Ask Again Later"), QMessageBox::RejectRole);
        box.exec();
        if (box.clickedButton() == discard) {
            copy.remove();
        } else if (box.clickedButton() == recover && mayReplaceScene()
                   && reportFailures(name, tr("Recover Scene"), tr("%1 cannot be recovered."),
                                     [&copy] {
                                         mkScenegraph::openCopy(copy.scenePath(), copy.sceneFile);
                                     })) {
            recovery->adopt(std::move(copy));
            return;
        }
    }
}

bool SceneDocument::reportFailures(const QString &file, const QString &title, const QString &failed,
                                   const std::function<void()> &action)
{
    try {
        action();
        return true;
    } catch (const mkSceneFile::Cancelled &cancelled) {
        window->statusBar()->showMessage(QString::fromUtf8(cancelled.what()), 5000);
    } catch (const std::exception &failure) {
        const QString reason = QString::fromUtf8(failure.what());
        if (unattended) {
            std::fprintf(stderr, "workbench: %s: %s\n", qUtf8Printable(file),
                         qUtf8Printable(reason));
        } else {
            mkLog::error("%s: %s", qUtf8Printable(file), qUtf8Printable(reason));
            QMessageBox box(QMessageBox::Critical, title, failed.arg(QFileInfo(file).fileName()),
                            QMessageBox::Ok, window);
            box.setInformativeText(reason);
            box.exec();
        }
    }
    return false;
}

mkSceneFile::Progress SceneDocument::showProgress(const QString &what)
{
    const auto dialog = std::make_shared<QProgressDialog>(what, tr("Cancel"), 0, 100, window);
    dialog->setWindowTitle(what);
    // What is done to the scene meanwhile would be lost, so nothing is.
    dialog->setWindowModality(Qt::ApplicationModal);
    dialog->setMinimumDuration(300);
    dialog->setAutoReset(false);
    return [dialog](int percent) {
        dialog->setValue(percent);
        QCoreApplication::processEvents(dialog->isVisible() ? QEventLoop::AllEvents
                                                            : QEventLoop::ExcludeUserInputEvents);
        return !dialog->wasCanceled();
    };
}

QString SceneDocument::chooseFile(const QString &title)
{
    const QString directory = QFileInfo(mkScenegraph::getFile()).absolutePath();
    return QFileDialog::getOpenFileName(window, title, directory,
                                        tr("Scene files (*.%1 %2);;All files (*)")
                                            .arg(mkSceneFile::suffix(), sceneFilePatterns()));
}

QString SceneDocument::chooseTarget()
{
    const QFileInfo current(mkScenegraph::getFile());
    const QString name = current.completeBaseName();
    QFileDialog dialog(window, tr("Save Scene"), current.absolutePath(),
                       tr("Scene files (*.%1)").arg(mkSceneFile::suffix()));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(mkSceneFile::suffix());
    dialog.selectFile((name.isEmpty() ? tr("scene") : name) + QLatin1Char('.')
                      + mkSceneFile::suffix());
    if (dialog.exec() != QDialog::Accepted) {
        return {};
    }
    QString file = dialog.selectedFiles().constFirst();
    if (QFileInfo(file).suffix() == mkSceneFile::suffix()) {
        return file;
    }
    // The dialog has asked about another file of that name, if at all.
    file += QLatin1Char('.') + mkSceneFile::suffix();
    const bool agreed = !QFileInfo::exists(file)
                        || QMessageBox::question(window, tr("Save Scene"),
                                                 tr("%1 exists already. Replace it?")
                                                     .arg(QFileInfo(file).fileName()))
                               == QMessageBox::Yes;
    return agreed ? file : QString();
}

bool SceneDocument::mayReplaceScene()
{
    return mayLeave(tr("Save the changes before another scene is opened?"), tr("Discard Changes"));
}

void SceneDocument::chooseAndOpen()
{
    if (!mayReplaceScene()) {
        return;
    }
    const QString file = chooseFile(tr("Open Scene"));
    if (!file.isEmpty()) {
        open(file);
    }
}

bool SceneDocument::openInstead(const QString &file)
{
    return mayReplaceScene() && open(file);
}

void SceneDocument::openRecent(const QString &file)
{
    if (!openInstead(file) && !QFileInfo::exists(file)) {
        recentFiles->remove(file);
    }
}

void SceneDocument::merge()
{
    const QString file = chooseFile(tr("Merge into Scene"));
    if (!file.isEmpty()) {
        reportFailures(file, tr("Merge into Scene"), tr("%1 cannot be opened."),
                       [&file] { SceneEdits::merge(mkScenegraph::readFile(file)); });
    }
}

void SceneDocument::updateTitle()
{
    const QString file = QFileInfo(mkScenegraph::getFile()).fileName();
    window->setWindowTitle(file.isEmpty() ? tr("Workbench[*]") : tr("%1[*] - Workbench").arg(file));
}
