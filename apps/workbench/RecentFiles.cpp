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
    setToolTipsVisible(true);
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
        QString name = QFileInfo(file).fileName();
        QAction *const action = addAction(name.replace(QLatin1Char('&'), QLatin1String("&&")));
        action->setToolTip(file);
        connect(action, &QAction::triggered, this, [this, file] { Q_EMIT chosen(file); });
    }
    setEnabled(!files.isEmpty());
}
