#include "RecentFiles.h"

#include <QFileInfo>
#include <QSettings>

namespace {

constexpr int maxFiles = 10;

} // namespace

RecentFiles::RecentFiles(const QString &title, const QString &key, QWidget *parent)
    : QMenu(title, parent)
    , settingsKey(key)
{
    connect(this, &QMenu::aboutToShow, this, &RecentFiles::fill);
    fill();
}

QStringList RecentFiles::storedFiles() const
{
    return QSettings().value(settingsKey).toStringList();
}

QString RecentFiles::directory() const
{
    const QStringList files = storedFiles();
    return files.isEmpty() ? QString() : QFileInfo(files.first()).absolutePath();
}

void RecentFiles::add(const QString &file)
{
    QStringList files = storedFiles();
    files.removeAll(file);
    files.prepend(file);
    store(files.mid(0, maxFiles));
}

void RecentFiles::remove(const QString &file)
{
    QStringList files = storedFiles();
    files.removeAll(file);
    store(files);
}

void RecentFiles::store(const QStringList &files)
{
    QSettings().setValue(settingsKey, files);
    fill();
}

void RecentFiles::fill()
{
    clear();
    const QStringList files = storedFiles();
    for (const QString &file : files) {
        const QFileInfo info(file);
        QString text = tr("%1 – %2").arg(info.fileName(), info.path());
        if (!info.exists()) {
            text = tr("%1 (missing)").arg(text);
        }
        QAction *const action = addAction(text.replace(QLatin1Char('&'), QLatin1String("&&")));
        connect(action, &QAction::triggered, this, [this, file] { Q_EMIT chosen(file); });
    }
    setEnabled(!files.isEmpty());
}
