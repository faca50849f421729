#pragma once

#include <QFile>

#include <memory>

/// A lock on a file of its own. It is gone with the program that holds it, however that ends: it
/// does not go by the number of a process, which another one may have by now, as the first ones in
/// a container have it each time.
class FileLock
{
public:
    /// Null while somebody else holds it, or when there can be no such file.
    static std::unique_ptr<FileLock> tryLock(const QString &path);
    /// Removes the file.
    ~FileLock();

    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

private:
    explicit FileLock(std::unique_ptr<QFile> locked);

    std::unique_ptr<QFile> file;
};
