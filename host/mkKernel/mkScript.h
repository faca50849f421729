#pragma once

#include "mkHostExport.h"

#include <QStringList>

#include <functional>
#include <string>

/// The host's embedded Python interpreter. Scripts and the console share one namespace, that of
/// `__main__`. GUI thread only, but for interrupt(); threads that scripts start get to run only
/// while a statement does.
///
/// A C++ exception that leaves a function called from Python becomes a Python exception. A Python
/// exception never leaves this interface: it is printed with its traceback through Python's own
/// sys.stderr, which may be redirected, and the program goes on.
namespace mkScript {

/// Starts the interpreter with the host's own module `mkHost`, imported into the scripts'
/// namespace, and the converters for node handles. Calling it again does nothing. When it cannot
/// start, the log says why and isRunning() stays false.
MK_HOST_API void start();
/// Runs what scripts registered with `atexit`, flushes Python's streams, and from then on no
/// Python is run any more. To be called before plug-ins are unloaded, since scripts hold functions
/// of theirs. The interpreter is not finalised: Boost.Python keeps references for good and does
/// not survive that. Hence it cannot be started again.
MK_HOST_API void stop();
/// True between start() and stop().
MK_HOST_API bool isRunning();

/// Runs statements in the scripts' namespace. False when they raise, with the traceback on
/// sys.stderr; SystemExit ends them quietly and is false for a status that is not 0. False without
/// an interpreter or with null.
MK_HOST_API bool run(const char *statements);
/// Runs a script file in the same way. While it runs, `__file__` is its absolute path, sys.argv
/// holds `file` and `arguments`, and its directory leads sys.path. False, with the reason on
/// sys.stderr, when it cannot be read.
MK_HOST_API bool runFile(const QString &file, const QStringList &arguments = {});
/// The exit status of the last run() or runFile(), as the python program would have it: 0, what
/// SystemExit carried, or 1.
MK_HOST_API int getExitStatus();

/// Makes the running statement raise KeyboardInterrupt as soon as it is back in Python code; one
/// that waits in C, as in time.sleep(), does so when it returns. Nothing while no statement runs.
/// May be called from any thread.
MK_HOST_API void interrupt();

/// A function that is called on the GUI thread about twenty times a second while a statement
/// runs, between two of its instructions; an application keeps its windows alive with it. Short
/// statements never see it, and it costs running ones nothing: a thread asks the interpreter for
/// the call, there is no trace function. An empty one switches it off.
MK_HOST_API void setHeartbeat(std::function<void()> heartbeat);

/// Stands for a running statement: while one lives, interrupt() and the heartbeat work. run() and
/// runFile() have their own; whoever evaluates Python code by other means makes one. The outermost
/// one that ends flushes Python's streams.
class MK_HOST_API Statement
{
public:
    Statement();
    ~Statement();
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    /// How many statements are running, each from within the one before.
    static int depth();
};

} // namespace mkScript
