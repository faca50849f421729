#include "CommandLine.h"
#include "ImportProcess.h"
#include "LayerPictures.h"
#include "MainWindow.h"
#include "QuietPlatform.h"
#include "UnattendedDialogs.h"
#include "WorkbenchStyle.h"
#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkMicroKernel.h"
#include "mkMicroKernel/mkPluginLoader.h"

#include <QApplication>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>

namespace {

/// That of the python program.
constexpr int lostOutputStatus = 120;

/// Opens the scene and runs the scripts that the command line names, up to the first failure.
/// Returns the exit status.
int openAndRun(const CommandLine &commandLine, MainWindow &window)
{
    if (!commandLine.scene.isEmpty() && !window.openFile(commandLine.scene)) {
        return 1;
    }
    if (commandLine.isUnattended()) {
        // Without a window, Ctrl+C in the terminal is the only way to stop a script.
        mkScript::run("import signal as _signal\n"
                      "_signal.signal(_signal.SIGINT, _signal.default_int_handler)\n"
                      "del _signal");
    }
    for (const QString &script : commandLine.scripts) {
        if (!mkScript::runFile(script, commandLine.scriptArguments)) {
            return mkScript::getExitStatus();
        }
    }
    if (!commandLine.layerDirectory.isEmpty()
        && !renderLayerPictures(commandLine.layerDirectory, commandLine.pictureSize,
                                commandLine.samples)) {
        return mkScript::getExitStatus();
    }
    return 0;
}

bool takeSnapshot(MainWindow &window, const QString &file)
{
    // The first turn lays out, the next ones let the views follow the scene and their own size.
    for (int turn = 0; turn < 3; ++turn) {
        QCoreApplication::processEvents();
    }
    if (window.grab().save(file)) {
        return true;
    }
    std::fprintf(stderr, "workbench: %s: the picture cannot be written\n", qUtf8Printable(file));
    return false;
}

int run(const CommandLine &commandLine, MainWindow &window)
{
    if (!commandLine.batch || !commandLine.snapshot.isEmpty()) {
        window.show();
    }
    if (commandLine.isUnattended()) {
        int status = openAndRun(commandLine, window);
        if (status == 0 && !commandLine.snapshot.isEmpty()
            && !takeSnapshot(window, commandLine.snapshot)) {
            status = 1;
        }
        mkScript::finish();
        return status;
    }
    QTimer::singleShot(0, &window, [&] {
        openAndRun(commandLine, window);
        window.offerRecovery();
    });
    return QApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && qstrcmp(argv[1], "--convert") == 0) {
        const QCoreApplication converter(argc, argv);
        return convertScene(converter.arguments().at(2), converter.arguments().at(3));
    }
    const QByteArray noDisplay = CommandLine::preparePlatform(argc, argv);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // What follows "--" is the scripts', though Qt would take options of its own from it.
    int ownCount = int(
        std::find_if(argv, argv + argc, [](const char *text) { return qstrcmp(text, "--") == 0; })
        - argv);
    // Python is to have the very bytes.
    const QList<QByteArray> scriptArguments(argv + qMin(ownCount + 1, argc), argv + argc);
    QuietPlatform::install();
    const QApplication application(ownCount, argv);
    QApplication::setStyle(new WorkbenchStyle);
    QCoreApplication::setOrganizationName(QStringLiteral("mkRenderLayerModule"));
    QCoreApplication::setApplicationName(QStringLiteral("workbench"));
    QCoreApplication::setApplicationVersion(QStringLiteral(WORKBENCH_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("mk-workbench.desktop"));

    const CommandLine commandLine = CommandLine::parse(QCoreApplication::arguments(),
                                                       scriptArguments);
    if (commandLine.done) {
        return commandLine.status;
    }
    if (!noDisplay.isEmpty() && !commandLine.isUnattended()) {
        std::fprintf(stderr,
                     "workbench: %s --batch runs scripts without one, --snapshot FILE leaves a "
                     "picture of the window.\n",
                     noDisplay.constData());
        return 1;
    }

    std::optional<UnattendedDialogs> dialogs;
    if (commandLine.isUnattended()) {
        dialogs.emplace();
    }
    mkPluginLoader loader;
    mkScenegraph::newScene("scene");
    auto window = std::make_unique<MainWindow>(commandLine.isUnattended());
    const bool started = mkMicroKernel::start(loader, commandLine.plugins);
    window->completeLayout();
    int status = started || !commandLine.isUnattended() ? run(commandLine, *window) : 1;
    if (!mkScript::stop() && commandLine.isUnattended() && status >= 0) {
        status = lostOutputStatus;
    }
    // The panels' classes live in the plug-ins.
    window.reset();
    loader.unloadAll();
    if (status == -SIGINT) {
        // A shell that runs the program in a loop is to see that it was interrupted.
        std::signal(SIGINT, SIG_DFL);
        std::raise(SIGINT);
    }
    return status;
}
