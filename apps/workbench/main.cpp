#include "CommandLine.h"
#include "LayerPictures.h"
#include "MainWindow.h"
#include "UnattendedDialogs.h"
#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkMicroKernel.h"
#include "mkMicroKernel/mkPluginLoader.h"

#include <QApplication>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>

namespace {

/// Opens the scene and runs the scripts that the command line names; false at the first failure.
bool openAndRun(const CommandLine &commandLine, MainWindow &window)
{
    if (!commandLine.scene.isEmpty() && !window.openFile(commandLine.scene)) {
        return false;
    }
    if (commandLine.isUnattended()) {
        // Without a window, Ctrl+C in the terminal is the only way to stop a script.
        mkScript::run("import signal as _signal\n"
                      "_signal.signal(_signal.SIGINT, _signal.default_int_handler)\n"
                      "del _signal");
    }
    return std::all_of(commandLine.scripts.begin(), commandLine.scripts.end(),
                       [&commandLine](const QString &script) {
                           return mkScript::runFile(script, commandLine.scriptArguments);
                       })
           && (commandLine.layerDirectory.isEmpty()
               || renderLayerPictures(commandLine.layerDirectory, commandLine.pictureSize,
                                      commandLine.samples));
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
        const bool done = openAndRun(commandLine, window)
                          && (commandLine.snapshot.isEmpty()
                              || takeSnapshot(window, commandLine.snapshot));
        return done ? 0 : 1;
    }
    QTimer::singleShot(0, &window, [&] { openAndRun(commandLine, window); });
    return QApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    const bool hasDisplay = CommandLine::preparePlatform(argc, argv);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // What follows "--" is the scripts', though Qt would take options of its own from it.
    int ownCount = int(
        std::find_if(argv, argv + argc, [](const char *text) { return qstrcmp(text, "--") == 0; })
        - argv);
    QStringList scriptArguments;
    std::transform(argv + ownCount, argv + argc, std::back_inserter(scriptArguments),
                   [](const char *text) { return QString::fromLocal8Bit(text); });
    const QApplication application(ownCount, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("mkRenderLayerModule"));
    QCoreApplication::setApplicationName(QStringLiteral("workbench"));
    QCoreApplication::setApplicationVersion(QStringLiteral(WORKBENCH_VERSION));

    const CommandLine commandLine = CommandLine::parse(QCoreApplication::arguments()
                                                       + scriptArguments);
    if (commandLine.done) {
        return commandLine.status;
    }
    if (!hasDisplay && !commandLine.isUnattended()) {
        std::fprintf(stderr, "workbench: There is no display. --batch runs scripts without one, "
                             "--snapshot FILE leaves a picture of the window.\n");
        return 1;
    }

    std::optional<UnattendedDialogs> dialogs;
    if (commandLine.isUnattended()) {
        dialogs.emplace();
    }
    mkPluginLoader loader;
    mkScenegraph::newScene("scene");
    auto window = std::make_unique<MainWindow>(commandLine.isUnattended());
    mkMicroKernel::start(loader, commandLine.plugins);
    window->completeLayout();
    const int status = run(commandLine, *window);
    mkScript::stop();
    // The panels' classes live in the plug-ins.
    window.reset();
    loader.unloadAll();
    return status;
}
