#include "RecoveryCopies.h"

#include "FileLock.h"
#include "OSGSystem/Revision.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkSceneFile/mkSceneWriter.h"
#include "mkUtils/mkLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <algorithm>
#include <cstdio>
#include <exception>

namespace {

/// Short enough that nobody notices.
constexpr qint64 stepLength = 30;

QString lockPath(const QString &base)
{
    return base + QLatin1String(".lock");
}

} // namespace

RecoveryCopies::Copy::Copy() = default;
RecoveryCopies::Copy::Copy(Copy &&other) noexcept = default;
RecoveryCopies::Copy &RecoveryCopies::Copy::operator=(Copy &&other) noexcept = default;
RecoveryCopies::Copy::~Copy() = default;

QString RecoveryCopies::Copy::scenePath() const
{
    return base + QLatin1Char('.') + mkSceneFile::suffix();
}

QString RecoveryCopies::Copy::notePath() const
{
    return base + QLatin1String(".txt");
}

QString RecoveryCopies::Copy::partPath() const
{
    return base + QLatin1String(".part");
}

void RecoveryCopies::Copy::remove() const
{
    for (const QString &path : { scenePath(), notePath(), partPath() }) {
        QFile::remove(path);
    }
}

RecoveryCopies::RecoveryCopies(const QString &copyFolder, int interval, QObject *parent)
    : QObject(parent)
    , folder(copyFolder)
{
    timer.setInterval(interval);
    connect(&timer, &QTimer::timeout, this, &RecoveryCopies::begin);
    connect(&steps, &QTimer::timeout, this, &RecoveryCopies::step);
    connect(mkScenegraph::the(), &mkScenegraph::unsavedChangesChanged, this,
            &RecoveryCopies::follow);
    follow(mkScenegraph::hasUnsavedChanges());
}

RecoveryCopies::~RecoveryCopies()
{
    stop();
    own.remove();
}

std::vector<RecoveryCopies::Copy> RecoveryCopies::takeLeft() const
{
    std::vector<Copy> left;
    QStringList seen;
    const auto files = QDir(folder).entryInfoList(QDir::Files);
    for (const QFileInfo &info : files) {
        Copy copy;
        copy.base = info.dir().filePath(info.completeBaseName());
        if (seen.contains(copy.base)) {
            continue;
        }
        seen += copy.base;
        copy.lock = FileLock::tryLock(lockPath(copy.base));
        if (!copy.lock) {
            continue;
        }
        const QFileInfo scene(copy.scenePath());
        if (!scene.exists()) {
            copy.remove();
            continue;
        }
        QFile note(copy.notePath());
        if (note.open(QIODevice::ReadOnly)) {
            copy.sceneFile = QString::fromUtf8(note.readAll());
        }
        copy.written = scene.lastModified();
        left.push_back(std::move(copy));
    }
    std::sort(left.begin(), left.end(),
              [](const Copy &a, const Copy &b) { return a.written > b.written; });
    return left;
}

void RecoveryCopies::adopt(Copy copy)
{
    stop();
    own.remove();
    own = std::move(copy);
    writtenRevision = osg::Revision::get();
    follow(mkScenegraph::hasUnsavedChanges());
}

void RecoveryCopies::follow(bool unsaved)
{
    if (unsaved) {
        timer.start();
        return;
    }
    timer.stop();
    stop();
    own.remove();
    writtenRevision = 0;
}

void RecoveryCopies::begin()
{
    if (writer || osg::Revision::get() == writtenRevision || !mkScenegraph::getRoot()) {
        return;
    }
    if (!own.lock) {
        QDir().mkpath(folder);
        own.base = QDir(folder).filePath(QUuid::createUuid().toString(QUuid::WithoutBraces));
        own.lock = FileLock::tryLock(lockPath(own.base));
    }
    file = std::make_unique<QFile>(own.partPath());
    if (!file->open(QIODevice::WriteOnly)) {
        mkLog::warning("RecoveryCopies: %s: %s!", qUtf8Printable(file->fileName()),
                       qUtf8Printable(file->errorString()));
        stop();
        return;
    }
    writingRevision = osg::Revision::get();
    writer = std::make_unique<mkSceneWriter>(mkSceneFile::Content{ mkScenegraph::getRoot(),
                                                                   mkMaterials::getMaterials() },
                                             file.get());
    steps.start(0);
}

void RecoveryCopies::step()
{
    if (osg::Revision::get() != writingRevision) {
        // Half of one scene and half of another would be none.
        stop();
        begin();
        return;
    }
    try {
        if (writer->advance(stepLength)) {
            finish();
        }
    } catch (const std::exception &failure) {
        mkLog::warning("RecoveryCopies: %s", failure.what());
        stop();
    }
}

/// Puts the copy in its place. It is not forced onto the disk, which could take long, as it is to
/// outlive this program and not the machine.
void RecoveryCopies::finish()
{
    const bool whole = file->flush() && file->error() == QFileDevice::NoError;
    const QByteArray part = QFile::encodeName(file->fileName());
    if (!whole
        || std::rename(part.constData(), QFile::encodeName(own.scenePath()).constData()) != 0) {
        mkLog::warning("RecoveryCopies: No copy of the scene could be written: %s!",
                       qUtf8Printable(file->errorString()));
        stop();
        return;
    }
    writtenRevision = writingRevision;
    writeNote();
    stop();
    Q_EMIT written();
}

void RecoveryCopies::writeNote() const
{
    QFile note(own.notePath());
    if (note.open(QIODevice::WriteOnly)) {
        note.write(mkScenegraph::getFile().toUtf8());
    }
}

void RecoveryCopies::stop()
{
    steps.stop();
    writer.reset();
    if (file) {
        file->remove();
        file.reset();
    }
}
