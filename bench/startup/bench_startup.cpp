// How long the workbench takes to start, against a bare Qt program with the same interpreter.
// STUDIO is the sample scene.

#include "../Measure.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

namespace {

constexpr int runs = 9;

/// Processor seconds of a program and of those that it starts and waits for.
double programSeconds(const QString &program, const QStringList &arguments)
{
    std::vector<QByteArray> texts{ QFile::encodeName(QCoreApplication::applicationDirPath()
                                                     + QLatin1Char('/') + program) };
    for (const QString &argument : arguments) {
        texts.push_back(QFile::encodeName(argument));
    }
    std::vector<char *> pointers;
    for (QByteArray &text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    rusage used{};
    if (posix_spawn(&child, pointers.front(), nullptr, nullptr, pointers.data(), environ) != 0
        || wait4(child, &status, 0, &used) != child || status != 0) {
        qFatal("%s does not run", pointers.front());
    }
    const auto seconds = [](const timeval &time) {
        return double(time.tv_sec) + double(time.tv_usec) * 1e-6;
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QCoreApplication application(argc, argv);
    const QTemporaryDir directory;
    // Nobody's settings.
    qputenv("HOME", QFile::encodeName(directory.path()));
    qputenv("QT_LOGGING_RULES", "default.warning=false");
    const QString picture = directory.filePath(QStringLiteral("picture.png"));
    QFile script(directory.filePath(QStringLiteral("empty.py")));
    script.open(QIODevice::WriteOnly);
    script.close();

    Report report;
    const auto measure = [&report](const char *name, const QStringList &workbench,
                                   const QStringList &bare, double limit,
                                   double limitMilliseconds) {
        const Comparison figure = compare(
            runs, [&] { return programSeconds(QStringLiteral("workbench"), workbench); },
            [&] { return programSeconds(QStringLiteral("bare_start"), bare); });
        report.line(QLatin1String(name), figure.ratio, QStringLiteral("x_bare"), limit,
                    figure.spread);
        report.line(QLatin1String(name) + QLatin1String("/processor"), figure.subject * 1e3,
                    QStringLiteral("ms"), limitMilliseconds);
    };
    measure("start_batch",
            { QStringLiteral("--batch"), QStringLiteral("--script"), script.fileName() }, {}, 4.5,
            250);
    measure("start_window", { QStringLiteral("--snapshot"), picture, QStringLiteral(STUDIO) },
            { picture }, 4, 600);
    return report.overCount() == 0 ? 0 : 1;
}
