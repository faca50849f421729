#include "RecentFiles.h"

#include <QFileInfo>
#include <QSettings>

namespace {

constexpr int maxFiles = 10;

QString settingsKey()
{
    return QStringLiteral("recentFiles");
}

QStringList storedFiles()
{
    return QSettings().value(settingsKey()).toStringList();
}

} // namespace

RecentFiles::RecentFiles(const QString &title, QWidget *parent)
    : QMenu(title, parent)
{
    setToolTipsVisible(true);
    connect(this, &QMenu::aboutToShow, this, &RecentFiles::fill);
    fill();
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
    QSettings().setValue(settingsKey(), files);
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
