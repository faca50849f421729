#include "ImportProcess.h"

#include "SceneImporter.h"
#include "mkUtils/mkLog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <new>

#include <sys/resource.h>
#include <unistd.h>

namespace {

/// What any file may take, and what it may take for each of its bytes.
#ifdef MK_SANITIZE
constexpr rlim_t baseMemory = rlim_t(1) << 50U; // AddressSanitizer reserves terabytes of addresses.
#else
constexpr rlim_t baseMemory = rlim_t(1) << 30U;
#endif
constexpr rlim_t memoryPerByte = 100;
constexpr rlim_t baseSeconds = 3;
constexpr rlim_t bytesPerSecond = 1U << 18U;
/// Format readers recurse once or more for each level of a scene.
constexpr rlim_t stackSize = 512U << 20U;
constexpr int pollInterval = 40;
/// How much of the progress is reading by the library; the rest is for what it wrote.
constexpr int readingShare = 80;

QString translate(const char *text)
{
    return QCoreApplication::translate("ImportProcess", text);
}

void limit(__rlimit_resource resource, rlim_t soft)
{
    rlimit value{};
    getrlimit(resource, &value);
    value.rlim_cur = std::min(soft, value.rlim_max);
    setrlimit(resource, &value);
}

/// The size of a file, and a share of what lies beside it: a scene of text may name files of
/// numbers, which take less for each byte.
rlim_t sizeToRead(const QFileInfo &file)
{
    qint64 beside = 0;
    const QFileInfoList others = file.dir().entryInfoList(QDir::Files);
    for (const QFileInfo &other : others) {
        beside += other.size();
    }
    return rlim_t(file.size() + beside / 10);
}

/// The stack must have its size before the program starts.
class ImportProcess : public QProcess
{
protected:
    void setupChildProcess() override { limit(RLIMIT_STACK, stackSize); }
};

/// Passes on what was left out, and returns the reason of a failure.
QString readMessages(QProcess &process)
{
    QString last;
    const QStringList lines = QString::fromUtf8(process.readAllStandardError())
                                  .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QString warning = QStringLiteral("warning: ");
    for (const QString &line : lines) {
        if (line.startsWith(warning)) {
            mkLog::warning("%s", qUtf8Printable(line.mid(warning.size())));
        } else {
            last = line;
        }
    }
    return last;
}

QString convertWith(QProcess &process, const mkSceneFile::Progress &progress)
{
    int percent = 0;
    while (!process.waitForFinished(pollInterval) && process.state() != QProcess::NotRunning) {
        while (process.canReadLine()) {
            percent = process.readLine().trimmed().toInt() * readingShare / 100;
        }
        if (progress && !progress(percent)) {
            process.kill();
            process.waitForFinished();
            throw mkSceneFile::Cancelled(translate("Reading was cancelled.").toStdString());
        }
    }
    if (process.error() == QProcess::FailedToStart) {
        return translate("The import program cannot be started.");
    }
    const QString reason = readMessages(process);
    if (process.exitStatus() == QProcess::CrashExit) {
        return translate("The file is damaged, or asks for more memory or time than its size can "
                         "mean: the import library failed over it.");
    }
    return process.exitCode() == 0 ? QString() : reason;
}

} // namespace

mkScenegraph::Document readForeignScene(const QString &file, const mkSceneFile::Progress &progress)
{
    const QFileInfo info(file);
    const QTemporaryDir directory;
    const QString target = directory.filePath(QStringLiteral("scene.") + mkSceneFile::suffix());
    ImportProcess process;
    process
        .start(QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("workbench")),
               { QStringLiteral("--convert"), info.absoluteFilePath(), target });
    const QString failure = convertWith(process, progress);
    if (!failure.isEmpty()) {
        throw std::runtime_error(failure.toStdString());
    }
    const mkSceneFile::Read read = mkSceneFile::read(target, [&progress](int percent) {
        return !progress || progress(readingShare + percent * (100 - readingShare) / 100);
    });
    return { read.root, read.materials, {}, info.absoluteFilePath() };
}

int convertScene(const QString &file, const QString &target)
{
    const rlim_t size = sizeToRead(QFileInfo(file));
    limit(RLIMIT_AS, baseMemory + size * memoryPerByte);
    limit(RLIMIT_CPU, baseSeconds + size / bytesPerSecond);
    limit(RLIMIT_CORE, 0);
    QString failure;
    try {
        const bool isWatched = isatty(STDOUT_FILENO) == 0;
        const mkScenegraph::Document document = importScene(file, [isWatched](int percent) {
            if (isWatched) {
                std::printf("%d\n", percent);
                std::fflush(stdout);
            }
        });
        mkSceneFile::write(target, { document.root, document.materials });
        return 0;
    } catch (const std::bad_alloc &) {
        failure = translate("The file asks for more memory than its size can mean.");
    } catch (const std::exception &exception) {
        failure = QString::fromUtf8(exception.what());
    }
    std::fprintf(stderr, "%s\n", qUtf8Printable(failure.simplified()));
    return 1;
}
