#include "CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>

#include <algorithm>
#include <cstdio>

namespace {

QString translate(const char *text)
{
    return QCoreApplication::translate("CommandLine", text);
}

QString builtInPluginDirectory()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath()
                           + QLatin1String("/" WORKBENCH_PLUGINS));
}

} // namespace

bool CommandLine::preparePlatform(int argc, char **argv)
{
    const QStringList all = [&] {
        QStringList texts;
        for (int i = 1; i < argc && qstrcmp(argv[i], "--") != 0; ++i) {
            texts += QString::fromLocal8Bit(argv[i]);
        }
        return texts;
    }();
    const auto has = [&all](std::initializer_list<const char *> options) {
        return std::any_of(options.begin(), options.end(), [&all](const char *option) {
            return all.contains(QLatin1String(option));
        });
    };
    const bool hasDisplay = !qEnvironmentVariableIsEmpty("DISPLAY")
                            || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
                            || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")
                            || has({ "-platform" });
    if (!hasDisplay || has({ "--batch", "--help", "-h", "--version", "-v" })) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    return hasDisplay;
}

bool CommandLine::readPictures(const QString &sizeText, const QString &samplesText)
{
    const QStringList sides = sizeText.split(QLatin1Char('x'));
    pictureSize = { sides.value(0).toInt(), sides.value(1).toInt() };
    samples = samplesText.toInt();
    return sides.size() == 2 && !pictureSize.isEmpty() && samples > 0;
}

CommandLine CommandLine::parse(const QStringList &arguments,
                               const QList<QByteArray> &scriptArguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(translate("Opens a scene beside the panels of the plug-ins."));
    const QCommandLineOption help({ QStringLiteral("h"), QStringLiteral("help") },
                                  translate("Show this help, then exit."));
    const QCommandLineOption version({ QStringLiteral("v"), QStringLiteral("version") },
                                     translate("Show the version, then exit."));
    const QCommandLineOption script(QStringLiteral("script"),
                                    translate("Run a Python script once the scene is open; may be "
                                              "given several times. Arguments after -- reach "
                                              "sys.argv."),
                                    translate("file"));
    const QCommandLineOption batch(QStringLiteral("batch"),
                                   translate("Show no window: run the scripts, then exit, with "
                                             "the status that python would have."));
    const QCommandLineOption snapshot(QStringLiteral("snapshot"),
                                      translate("Write a picture of the window once the scene is "
                                                "open and the scripts are done, then exit."),
                                      translate("file"));
    const QCommandLineOption plugins(QStringLiteral("plugins"),
                                     translate("Load the plug-ins of this directory, too; may be "
                                               "given several times. MK_PLUGIN_PATH lists more, "
                                               "separated by colons."),
                                     translate("directory"));
    const QCommandLineOption layers(QStringLiteral("render-layers"),
                                    translate("Render a picture of each render layer into this "
                                              "directory, once the scripts are done."),
                                    translate("directory"));
    const QCommandLineOption size(QStringLiteral("size"), translate("Size of these pictures."),
                                  translate("WIDTHxHEIGHT"), QStringLiteral("960x540"));
    const QCommandLineOption samples(QStringLiteral("samples"),
                                     translate("Samples for each of their pixels."),
                                     translate("number"), QStringLiteral("64"));
    parser.addOptions({ help, version, script, batch, snapshot, plugins, layers, size, samples });
    parser.addPositionalArgument(QStringLiteral("scene"), translate("Scene file to open."),
                                 QStringLiteral("[scene]"));

    CommandLine result;
    const bool valid = parser.parse(arguments);
    const QStringList scenes = parser.positionalArguments();
    if (parser.isSet(help)) {
        std::printf("%s", qUtf8Printable(parser.helpText()));
        result.done = true;
    } else if (parser.isSet(version)) {
        std::printf("%s %s\n", qUtf8Printable(QCoreApplication::applicationName()),
                    qUtf8Printable(QCoreApplication::applicationVersion()));
        result.done = true;
    } else if (!valid || scenes.size() > 1) {
        const QString reason = valid ? translate("Only one scene can be opened.")
                                     : parser.errorText();
        std::fprintf(stderr, "workbench: %s\n", qUtf8Printable(reason));
        result.done = true;
        result.status = 1;
    }
    if (!result.done && !result.readPictures(parser.value(size), parser.value(samples))) {
        std::fprintf(stderr, "workbench: %s\n",
                     qUtf8Printable(translate("--size takes two numbers, as in 960x540, and "
                                              "--samples takes one, all above 0.")));
        result.done = true;
        result.status = 1;
    }
    result.layerDirectory = parser.value(layers);
    result.scene = scenes.value(0);
    result.scripts = parser.values(script);
    result.scriptArguments = scriptArguments;
    result.plugins = parser.values(plugins)
                     + qEnvironmentVariable("MK_PLUGIN_PATH")
                           .split(QDir::listSeparator(), Qt::SkipEmptyParts)
                     + QStringList(builtInPluginDirectory());
    result.snapshot = parser.value(snapshot);
    result.batch = parser.isSet(batch);
    return result;
}
