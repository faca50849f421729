#include "mkSceneFile/mkSceneFile.h"

#include "mkSceneFile/mkSceneReader.h"
#include "mkSceneFile/mkSceneWriter.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>

#include <limits>

namespace mkSceneFile {

namespace {

/// An array of four, and the text that comes first in it.
constexpr char magic[] = "\x84\x67mkscene";
constexpr qint64 largest = std::numeric_limits<int>::max();
constexpr qint64 progressInterval = 50;

QString translate(const char *text)
{
    return QCoreApplication::translate("mkSceneFile", text);
}

[[noreturn]] void fail(const QString &reason)
{
    throw std::runtime_error(reason.toStdString());
}

/// Replaces the file, or leaves it and throws the reason.
void finish(QSaveFile &target)
{
    // commit() would forget the reason.
    if (!target.flush() || target.error() != QFileDevice::NoError) {
        fail(target.errorString());
    }
    if (target.size() > largest) {
        fail(translate("The scene is too large for a scene file, which may have 2 GB."));
    }
    if (!target.commit()) {
        fail(target.errorString());
    }
}

} // namespace

QString suffix()
{
    return QStringLiteral("mkscene");
}

bool isSceneFile(const QString &file)
{
    QFile opened(file);
    return opened.open(QIODevice::ReadOnly) && opened.read(sizeof(magic) - 1) == magic;
}

void write(const QString &file, const Content &content, const Progress &progress)
{
    QSaveFile target(file);
    if (!target.open(QIODevice::WriteOnly)) {
        fail(target.errorString());
    }
    // Leaving before commit() leaves the old file.
    mkSceneWriter writer(content, &target);
    while (!writer.advance(progressInterval) && target.error() == QFileDevice::NoError) {
        if (progress && !progress(writer.percent())) {
            throw Cancelled(translate("Writing was cancelled.").toStdString());
        }
    }
    finish(target);
}

QByteArray format(const Content &content)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    mkSceneWriter writer(content, &buffer);
    while (!writer.advance(progressInterval)) {
    }
    return buffer.data();
}

Read read(const QString &file, const Progress &progress)
{
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly)) {
        fail(opened.errorString());
    }
    if (opened.size() > largest) {
        fail(translate("The file is too large for a scene file, which may have 2 GB."));
    }
    return parse(opened.readAll(), progress);
}

Read parse(const QByteArray &data, const Progress &progress)
{
    return mkSceneReader(data).read(progress);
}

} // namespace mkSceneFile
