#pragma once

#include <QMenu>

/// The menu of the scene files that were opened last, kept in the user's settings.
class RecentFiles : public QMenu
{
    Q_OBJECT

public:
    explicit RecentFiles(const QString &title, QWidget *parent = nullptr);

    /// Moves `file` to the top.
    void add(const QString &file);
    void remove(const QString &file);

Q_SIGNALS:
    void chosen(const QString &file);

private:
    void store(const QStringList &files);
    void fill();
};
