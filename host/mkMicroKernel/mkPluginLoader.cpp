#include "mkMicroKernel/mkPluginLoader.h"

#include "mkKernel/mkController.h"
#include "mkKernel/mkModuleBase.h"
#include "mkUtils/mkLog.h"

#include <QDir>
#include <QFileInfo>
#include <QLibrary>

#include <algorithm>
#include <exception>

namespace {

/// Plug-ins of this major version fit.
constexpr char supportedMajorVersion[] = "15.";

/// Runs a plug-in's entry point; false, with the reason in the log, when it throws.
template <typename Function>
bool guarded(const QString &library, const char *entryPoint, const Function &function)
{
    try {
        function();
        return true;
    } catch (const std::exception &failure) {
        mkLog::error("mkPluginLoader: %s of '%s' failed: %s", entryPoint, qUtf8Printable(library),
                     failure.what());
    } catch (...) {
        mkLog::error("mkPluginLoader: %s of '%s' failed!", entryPoint, qUtf8Printable(library));
    }
    return false;
}

} // namespace

struct mkPluginLoader::Plugin
{
    using GetVersion = const char *(*)();
    using Init = void (*)();

    explicit Plugin(const QString &file)
        : library(file)
    {}

    QString name() const { return QFileInfo(library.fileName()).fileName(); }

    QLibrary library;
    Init init = nullptr;
    bool initialised = false;
};

mkPluginLoader::mkPluginLoader() = default;
mkPluginLoader::~mkPluginLoader() = default;

bool mkPluginLoader::loadAll(const QString &directory)
{
    const QDir dir(directory);
    if (!dir.exists()) {
        mkLog::error("mkPluginLoader: There is no plug-in directory '%s'!",
                     qUtf8Printable(directory));
        return false;
    }
    const QFileInfoList files = dir.entryInfoList({ QStringLiteral("*.so") }, QDir::Files,
                                                  QDir::Name);
    for (const QFileInfo &file : files) {
        load(file.absoluteFilePath());
    }
    return true;
}

bool mkPluginLoader::load(const QString &file)
{
    auto plugin = std::make_unique<Plugin>(file);
    const QByteArray name = plugin->name().toUtf8();
    const auto isNamesake = [&plugin](const std::unique_ptr<Plugin> &other) {
        return other->name() == plugin->name();
    };
    const auto loaded = std::find_if(plugins.begin(), plugins.end(), isNamesake);
    if (loaded != plugins.end()) {
        const QString first = (*loaded)->library.fileName();
        if (QFileInfo(first) != QFileInfo(file)) {
            mkLog::info("mkPluginLoader: '%s' is passed over for '%s'.", qUtf8Printable(file),
                        qUtf8Printable(first));
        }
        return false;
    }
    if (!plugin->library.load()) {
        mkLog::error("mkPluginLoader: Couldn't load '%s': %s", name.constData(),
                     qUtf8Printable(plugin->library.errorString()));
        return false;
    }
    const auto getVersion = reinterpret_cast<Plugin::GetVersion>(
        plugin->library.resolve("getPluginVersion"));
    plugin->init = reinterpret_cast<Plugin::Init>(plugin->library.resolve("initPlugin"));
    QByteArray version;
    const bool answered = getVersion && plugin->init
                          && guarded(plugin->name(), "getPluginVersion",
                                     [&] { version = getVersion(); });
    if (!getVersion || !plugin->init) {
        mkLog::error("mkPluginLoader: '%s' lacks the entry point %s!", name.constData(),
                     getVersion ? "initPlugin" : "getPluginVersion");
    } else if (answered && !version.startsWith(supportedMajorVersion)) {
        mkLog::error("mkPluginLoader: '%s' has the unknown version '%s'!", name.constData(),
                     version.constData());
    } else if (answered) {
        plugins.push_back(std::move(plugin));
        return true;
    }
    plugin->library.unload();
    return false;
}

void mkPluginLoader::initAll()
{
    const auto failed = [](const std::unique_ptr<Plugin> &plugin) {
        if (!plugin->initialised) {
            plugin->initialised = guarded(plugin->name(), "initPlugin", plugin->init);
        }
        return !plugin->initialised;
    };
    // A library that failed stays loaded: parts of it may already be in the host's hands.
    plugins.erase(std::remove_if(plugins.begin(), plugins.end(), failed), plugins.end());
    mkController::forEachModule("mkModuleBase::initialised", [](mkModuleBase &module) {
        module.initialised();
        return false;
    });
}

void mkPluginLoader::unloadAll()
{
    while (!plugins.empty()) {
        plugins.back()->library.unload();
        plugins.pop_back();
    }
}
