#pragma once

#include "mkHostExport.h"

#include <QStringList>

#include <string>

/// The host's embedded Python interpreter. Scripts and the console share one namespace, that of
/// `__main__`. GUI thread only.
namespace mkScript {

/// Starts the interpreter, enters the host's own module `mkHost` and the converters for node
/// handles. Calling it again does nothing.
MK_HOST_API void start();
/// True between start() and the end of the process.
MK_HOST_API bool isRunning();

/// Runs statements in the scripts' namespace. A Python exception is printed with its traceback
/// through Python's own sys.stderr, and false returned; so is SystemExit with a status that is
/// not 0. False without an interpreter or with null.
MK_HOST_API bool run(const char *statements);
/// Runs a script file with `__file__` set and `arguments` in sys.argv behind the file name.
/// False, with the reason on sys.stderr, when it cannot be read or raises.
MK_HOST_API bool runFile(const QString &file, const QStringList &arguments = {});
/// Makes the running statement raise KeyboardInterrupt. May be called from any thread.
MK_HOST_API void interrupt();

} // namespace mkScript
