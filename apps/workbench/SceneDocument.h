#pragma once

#include "mkKernel/mkScenegraph.h"

#include <QObject>
#include <QString>

class QMainWindow;
class QMenu;
class RecentFiles;
class RecoveryCopies;

/// The open scene as a document of the user's: opening, merging, saving, and the questions that
/// keep changes from being lost. It keeps the window's title and its mark.
class SceneDocument : public QObject
{
    Q_OBJECT

public:
    /// `window` is the parent of dialogs. Unattended, it shows none and leaves the user's settings
    /// alone.
    SceneDocument(QMainWindow *window, bool unattended);
    ~SceneDocument() override;

    /// Adds what opens and saves to the File menu.
    void addActions(QMenu *menu);

    /// Opens a scene file and reports a failure: to the user, or on standard error when
    /// unattended. False when the open scene stayed.
    bool open(const QString &file);
    /// The same once the user has agreed to leave the present scene.
    bool openInstead(const QString &file);
    /// Saves into the scene's file, or asks for one where it has none of the host's own format.
    /// False when nothing was saved.
    bool save();
    bool saveAs();
    /// True when there are no unsaved changes, or the user saved them or lets them go.
    /// `discardText` is the button for the latter.
    bool mayLeave(const QString &question, const QString &discardText);

    /// Offers the copies that programs which have crashed left behind.
    void offerRecovery();

private:
    bool reportFailures(const QString &file, const QString &title, const QString &failed,
                        const std::function<void()> &action);
    bool saveInto(const QString &file);
    mkSceneFile::Progress showProgress(const QString &what);
    QString chooseFile(const QString &title);
    QString chooseTarget();
    bool mayReplaceScene();
    void chooseAndOpen();
    void openRecent(const QString &file);
    void merge();
    void updateTitle();

    QMainWindow *window;
    bool unattended;
    RecentFiles *recentFiles = nullptr;
    /// Null when unattended.
    RecoveryCopies *recovery = nullptr;
};
