#pragma once

#include <QMenu>

/// The menu of the files of one kind that were opened last, kept in the user's settings.
class RecentFiles : public QMenu
{
    Q_OBJECT

public:
    /// `key` names them in the settings.
    RecentFiles(const QString &title, const QString &key, QWidget *parent = nullptr);

    /// Moves `file` to the top.
    void add(const QString &file);
    void remove(const QString &file);
    /// Where the last one is; empty without any.
    QString directory() const;

Q_SIGNALS:
    void chosen(const QString &file);

private:
    void store(const QStringList &files);
    void fill();
    QStringList storedFiles() const;

    QString settingsKey;
};
