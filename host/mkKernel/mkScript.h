#pragma once

#include "mkHostExport.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <string>

/// The host's embedded Python interpreter. Statements and the console share one namespace, that of
/// `__main__`; script files have namespaces of their own. GUI thread only, but for interrupt();
/// threads that scripts start get to run only while a statement does.
///
/// A C++ exception that leaves a function called from Python becomes a Python exception. A Python
/// exception never leaves this interface: it is printed with its traceback through Python's own
/// sys.stderr, which may be redirected, and the program goes on.
namespace mkScript {

/// Starts the interpreter with the host's own module `mkHost`, imported into the scripts'
/// namespace, and the converters for node handles. Calling it again does nothing. When it cannot
/// start, the log says why and isRunning() stays false.
MK_HOST_API void start();
/// What the python program does once its script has ended: waits for the threads that scripts
/// started, other than daemons, runs what they registered with `atexit`, and lets go of what
/// nobody holds any more, so that files are closed.
MK_HOST_API void finish();
/// Runs what scripts registered with `atexit`, flushes Python's streams, and from then on no
/// Python is run any more; false when output is lost, with the reason on the standard error. To be
/// called before plug-ins are unloaded, since scripts hold functions of theirs. Threads that
/// scripts started are not waited for. The interpreter is not finalised: Boost.Python keeps
/// references for good and does not survive that. Hence it cannot be started again.
MK_HOST_API bool stop();
/// True between start() and stop().
MK_HOST_API bool isRunning();

/// Runs statements in the scripts' namespace. False when they raise, with the traceback on
/// sys.stderr; SystemExit ends them quietly and is false for a status that is not 0. False without
/// an interpreter or with null.
MK_HOST_API bool run(const char *statements);
/// Takes the names that are in the scripts' namespace now for those that each script file starts
/// with. To be called once plug-ins have brought theirs.
MK_HOST_API void keepNames();
/// Runs a script file as the python program does, in a namespace of its own under the name
/// `__main__`. While it runs, `__file__` is its absolute path, sys.argv holds `file` and
/// `arguments` (bytes of the file system's encoding), and its directory, symbolic links resolved,
/// leads sys.path. The modules that it imported from there are forgotten afterwards. False, with
/// the reason on sys.stderr, when it cannot be read.
MK_HOST_API bool runFile(const QString &file, const QList<QByteArray> &arguments = {});
/// Carries out `body`, which evaluates Python code by other means, in the same way.
MK_HOST_API bool call(const std::function<void()> &body);
/// The exit status of the last of these, as the python program would have it: 0, what
/// SystemExit carried, 1, or -SIGINT after a KeyboardInterrupt.
MK_HOST_API int getExitStatus();

/// True on the thread that started the interpreter, or before anybody did.
MK_HOST_API bool isGuiThread();
/// True while a statement runs: anything that the operations above started.
MK_HOST_API bool isBusy();
/// Makes the running statement raise KeyboardInterrupt, also while it waits, as in time.sleep();
/// what computes in C does so as soon as it is back in Python code. Nothing while no statement
/// runs. May be called from any thread.
MK_HOST_API void interrupt();

/// A function that is called on the GUI thread about twenty times a second while a statement runs
/// or waits, between two of its instructions; an application keeps its windows alive with it. Short
/// statements never see it, and it costs running ones nothing: a timer asks the interpreter for
/// the call, by the signal SIGURG. Statements within the function get no calls of their own. An
/// empty one switches it off.
MK_HOST_API void setHeartbeat(std::function<void()> heartbeat);

} // namespace mkScript
