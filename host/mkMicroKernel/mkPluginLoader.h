#pragma once

#include "mkHostExport.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

/// Loads plug-in libraries and drives them through their entry points `getPluginVersion` and
/// `initPlugin`, nothing else. A library that cannot be loaded, lacks an entry point, reports a
/// version that is not of this host's major version, or throws is reported in the log and left
/// out; the others go on.
class MK_HOST_API mkPluginLoader
{
public:
    mkPluginLoader();
    /// Leaves the libraries loaded.
    ~mkPluginLoader();

    /// Loads every library in `directory`, in alphabetical order; false when there is no directory.
    /// Of several with one file name, also in other directories, only the first is loaded.
    bool loadAll(const QString &directory);
    /// Loads one library; false when it was left out, also because one of its name is loaded.
    bool load(const QString &file);
    /// Initialises the libraries loaded since the last call, then tells all modules.
    void initAll();
    /// Unloads every library. Widgets whose classes live in one must be gone before.
    void unloadAll();

private:
    struct Plugin;
    std::vector<std::unique_ptr<Plugin>> plugins;
};
