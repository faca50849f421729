#include "CommandLine.h"

#include "DisplayProbe.h"
#include "Translations.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QLocale>

#include <algorithm>
#include <cstdio>

namespace {

QString besideProgram(const char *path)
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QLatin1Char('/')
                           + QLatin1String(path));
}

QStringList pluginDirectories(const QCommandLineParser &parser)
{
    return parser.values(QStringLiteral("plugins"))
           + qEnvironmentVariable("MK_PLUGIN_PATH").split(QDir::listSeparator(), Qt::SkipEmptyParts)
           + QStringList(besideProgram(WORKBENCH_PLUGINS));
}

/// Has all that follows, help and complaints included, in the user's language. False when
/// --language names one that there is no translation to.
bool installTranslations(const QStringList &arguments)
{
    const QString language = QStringLiteral("language");
    QCommandLineParser parser;
    parser.addOptions({ { language, {}, language },
                        { QStringLiteral("plugins"), {}, QStringLiteral("directory") } });
    parser.parse(arguments);
    const QStringList directories = QStringList(besideProgram(WORKBENCH_TRANSLATIONS))
                                    + pluginDirectories(parser);
    if (!parser.isSet(language)) {
        Translations::install(QLocale::system(), directories);
        return true;
    }
    const QLocale locale(parser.value(language));
    return locale.language() != QLocale::C && Translations::install(locale, directories);
}

} // namespace

QByteArray CommandLine::preparePlatform(int argc, char **argv)
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
    if (has({ "--batch", "--help", "-h", "--version", "-v" })) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        return {};
    }
    const QByteArray chosen = qgetenv("QT_QPA_PLATFORM");
    const QByteArrayList platforms = (chosen.isEmpty() ? "xcb;wayland" : chosen).split(';');
    if (has({ "-platform" })
        || !std::all_of(platforms.begin(), platforms.end(), &DisplayProbe::knows)) {
        return {};
    }
    const DisplayProbe::Result display = DisplayProbe::find(platforms);
    qputenv("QT_QPA_PLATFORM", display.platform.isEmpty() ? "offscreen" : display.platform);
    return display.reason;
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
    const bool hasLanguage = installTranslations(arguments);

    QCommandLineParser parser;
    parser.setApplicationDescription(tr("Opens a scene beside the panels of the plug-ins."));
    const QCommandLineOption help({ QStringLiteral("h"), QStringLiteral("help") },
                                  tr("Show this help, then exit."));
    const QCommandLineOption version({ QStringLiteral("v"), QStringLiteral("version") },
                                     tr("Show the version, then exit."));
    const QCommandLineOption script(QStringLiteral("script"),
                                    tr("Run a Python script once the scene is open; may be "
                                       "given several times. Arguments after -- reach "
                                       "sys.argv."),
                                    tr("file"));
    const QCommandLineOption batch(QStringLiteral("batch"),
                                   tr("Show no window: run the scripts, then exit, with "
                                      "the status that python would have."));
    const QCommandLineOption snapshot(QStringLiteral("snapshot"),
                                      tr("Write a picture of the window once the scene is "
                                         "open and the scripts are done, then exit."),
                                      tr("file"));
    const QCommandLineOption plugins(QStringLiteral("plugins"),
                                     tr("Load the plug-ins of this directory, too; may be "
                                        "given several times. MK_PLUGIN_PATH lists more, "
                                        "separated by colons."),
                                     tr("directory"));
    const QCommandLineOption layers(QStringLiteral("render-layers"),
                                    tr("Render a picture of each render layer into this "
                                       "directory, once the scripts are done."),
                                    tr("directory"));
    const QCommandLineOption size(QStringLiteral("size"), tr("Size of these pictures."),
                                  tr("WIDTHxHEIGHT"), QStringLiteral("960x540"));
    const QCommandLineOption samples(QStringLiteral("samples"),
                                     tr("Samples for each of their pixels."), tr("number"),
                                     QStringLiteral("64"));
    const QCommandLineOption language(QStringLiteral("language"),
                                      tr("Speak this language, as in de, and not the locale's."),
                                      tr("language"));
    // Used as it says, it never comes here, as it needs no window.
    const QCommandLineOption convert(QStringLiteral("convert"),
                                     tr("As the first of three arguments: read a file of another "
                                        "format, write the scene file that the third one names, "
                                        "then exit."),
                                     tr("file"));
    parser.addOptions({ help, version, script, batch, snapshot, plugins, layers, size, samples,
                        language, convert });
    parser.addPositionalArgument(QStringLiteral("scene"), tr("Scene file to open."),
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
    } else if (parser.isSet(convert)) {
        std::fprintf(stderr, "workbench: %s\n",
                     qUtf8Printable(tr("--convert takes a file to read and one to write.")));
        result.done = true;
        result.status = 1;
    } else if (!valid || scenes.size() > 1 || !hasLanguage) {
        const QString reason = !valid              ? parser.errorText()
                               : scenes.size() > 1 ? tr("Only one scene can be opened.")
                                                   : tr("There are no texts in the language '%1'.")
                                                         .arg(parser.value(language));
        std::fprintf(stderr, "workbench: %s\n", qUtf8Printable(reason));
        result.done = true;
        result.status = 1;
    }
    if (!result.done && !result.readPictures(parser.value(size), parser.value(samples))) {
        std::fprintf(stderr, "workbench: %s\n",
                     qUtf8Printable(tr("--size takes two numbers, as in 960x540, and "
                                       "--samples takes one, all above 0.")));
        result.done = true;
        result.status = 1;
    }
    result.layerDirectory = parser.value(layers);
    result.scene = scenes.value(0);
    result.scripts = parser.values(script);
    result.scriptArguments = scriptArguments;
    result.plugins = pluginDirectories(parser);
    result.snapshot = parser.value(snapshot);
    result.batch = parser.isSet(batch);
    return result;
}
