#include "FileLock.h"

#include <sys/file.h>

FileLock::FileLock(std::unique_ptr<QFile> locked)
    : file(std::move(locked))
{}

std::unique_ptr<FileLock> FileLock::tryLock(const QString &path)
{
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::ReadWrite) || ::flock(file->handle(), LOCK_EX | LOCK_NB) != 0) {
        return nullptr;
    }
    return std::unique_ptr<FileLock>(new FileLock(std::move(file)));
}

FileLock::~FileLock()
{
    file->remove();
}
