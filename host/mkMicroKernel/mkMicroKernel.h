#pragma once

#include "mkHostExport.h"

#include <QStringList>

class mkPluginLoader;

/// The host's start-up.
namespace mkMicroKernel {

/// Starts the host with the plug-ins of `pluginDirectories`: loads the libraries, runs the
/// registered Python functions at level 0, starts the interpreter, runs them at level 1,
/// initialises the plug-ins. The main window and the dock window manager must be there already.
/// False when one of the directories is missing; the host starts without its plug-ins then.
MK_HOST_API bool start(mkPluginLoader &loader, const QStringList &pluginDirectories);

} // namespace mkMicroKernel
