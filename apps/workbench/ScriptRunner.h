#pragma once

#include <QObject>
#include <QString>

class QMainWindow;
class QMenu;
class RecentFiles;

/// Runs script files that the user chooses, one at a time.
class ScriptRunner : public QObject
{
    Q_OBJECT

public:
    /// `window` is the parent of the file dialog and has the status bar.
    explicit ScriptRunner(QMainWindow *window);

    /// Adds "Run Script…" and the scripts that were run last to the File menu.
    void addActions(QMenu *menu);
    /// Runs a script. Nothing while another statement runs.
    void run(const QString &file);

Q_SIGNALS:
    /// What it prints is about to be shown.
    void started();

private:
    void chooseAndRun();

    QMainWindow *window;
    RecentFiles *recentScripts = nullptr;
};
