#include "mkKernel/mkScript.h"

#include "mkPython/mkHostModule.h"
#include "mkUtils/mkLog.h"
#include "mkUtils/mkTrace.h"

#include <boost/python.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <exception>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <utility>

namespace {

namespace python = boost::python;

constexpr std::chrono::milliseconds heartbeatInterval(50);

bool stopped = false;
int exitStatus = 0;

/// What Python calls this signal's handler for. Nobody else uses it, and by default it does
/// nothing.
constexpr int attentionSignal = SIGURG;

/// The thread that calls the interpreter's attention to interrupts and heartbeats while a statement
/// runs. It sends the GUI thread a signal, because nothing else reaches Python code that waits in a
/// system call: the call returns, Python runs its handler, and goes on waiting unless that raises.
class Attention
{
public:
    /// Lives as long as the process, which may end without a word to it.
    static Attention &the()
    {
        static auto *const attention = new Attention;
        return *attention;
    }

    /// To be called on the GUI thread, which Python takes for its main thread.
    void start()
    {
        static PyMethodDef handler{ "attend", &Attention::attend, METH_VARARGS, nullptr };
        const python::object signal = python::import("signal");
        signal.attr("signal")(attentionSignal,
                              python::object(python::handle<>(PyCFunction_New(&handler, nullptr))));
        // The module has taken SIGINT. Ctrl+C in a terminal ends the program, as ever.
        signal.attr("signal")(SIGINT, python::object(signal.attr("SIG_DFL")));
        guiThread = pthread_self();
        thread = std::thread(&Attention::work, this);
    }

    void stop()
    {
        change([this] { ending = true; });
        if (thread.joinable()) {
            thread.join();
        }
    }

    void enterStatement()
    {
        change([this] {
            if (depth++ == 0) {
                ++statement;
                interrupted = false;
            }
        });
    }

    void leaveStatement()
    {
        change([this] { --depth; });
    }

    int getDepth()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return depth;
    }

    void interrupt()
    {
        change([this] {
            interrupted = depth > 0;
            // At the end of a heartbeat it is seen anyway.
            urgent = interrupted && !withinBeat;
        });
    }

    void setHeartbeat(std::function<void()> function)
    {
        heartbeat = std::move(function);
        change([this] { beating = bool(heartbeat); });
    }

private:
    template <typename Change>
    void change(const Change &apply)
    {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            apply();
        }
        changed.notify_one();
    }

    void work()
    {
        std::unique_lock<std::mutex> lock(mutex);
        while (!ending) {
            changed.wait(lock,
                         [this] { return ending || (depth > 0 && (beating || interrupted)); });
            const std::uint64_t current = statement;
            const auto over = [this, current] {
                return ending || depth == 0 || statement != current;
            };
            changed.wait_for(lock, heartbeatInterval,
                             [this, over] { return over() || std::exchange(urgent, false); });
            // An interrupt may be missed just before a system call; then the next one is seen.
            if (!over()) {
                calledFor = current;
                pthread_kill(guiThread, attentionSignal);
            }
        }
    }

    /// Called by the interpreter on the GUI thread, between two instructions or from within a
    /// waiting system call.
    static PyObject *attend(PyObject *, PyObject *)
    {
        try {
            the().beat();
        } catch (const std::exception &failure) {
            mkLog::error("mkScript: The heartbeat failed: %s", failure.what());
        } catch (...) {
            mkLog::error("mkScript: The heartbeat failed!");
        }
        bool interrupting = false;
        the().change([&] { interrupting = std::exchange(the().interrupted, false); });
        if (interrupting) {
            PyErr_SetNone(PyExc_KeyboardInterrupt);
            return nullptr;
        }
        return Py_NewRef(Py_None);
    }

    void beat()
    {
        // The call may have been meant for a statement that has ended since.
        bool due = false;
        change([this, &due] {
            due = !withinBeat && depth > 0 && calledFor == statement;
            withinBeat = withinBeat || due;
        });
        if (due) {
            const auto done = qScopeGuard([this] { change([this] { withinBeat = false; }); });
            if (const std::function<void()> current = heartbeat) {
                current();
            }
        }
    }

    /// For the GUI thread only.
    std::function<void()> heartbeat;
    std::mutex mutex;
    std::condition_variable changed;
    int depth = 0;
    std::uint64_t statement = 0;
    std::uint64_t calledFor = 0;
    bool interrupted = false;
    bool urgent = false;
    bool beating = false;
    bool withinBeat = false;
    bool ending = false;
    pthread_t guiThread = {};
    std::thread thread;
};

/// Flushes what Python buffers. A script may have put anything in the streams' place.
void flushStreams()
{
    for (const char *name : { "stdout", "stderr" }) {
        PyObject *const stream = PySys_GetObject(name);
        if (stream && stream != Py_None) {
            Py_XDECREF(PyObject_CallMethod(stream, "flush", nullptr));
            PyErr_Clear();
        }
    }
}

/// Takes the pending exception and returns its exit status.
int reportException()
{
    if (!PyErr_ExceptionMatches(PyExc_SystemExit)) {
        PyErr_Print();
        return 1;
    }
    // PyErr_Print() would end the program.
    PyObject *type = nullptr;
    PyObject *value = nullptr;
    PyObject *traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    const python::handle<> heldType(type);
    const python::handle<> heldValue(value);
    const python::handle<> heldTraceback(python::allow_null(traceback));
    const python::handle<> code(
        python::allow_null(PyObject_GetAttrString(heldValue.get(), "code")));
    if (!code || code.get() == Py_None) {
        PyErr_Clear();
        return 0;
    }
    if (PyLong_Check(code.get())) {
        return int(PyLong_AsUnsignedLongLongMask(code.get()));
    }
    PySys_FormatStderr("%S\n", code.get());
    return 1;
}

/// While one lives, interrupts and heartbeats reach Python. The outermost flushes Python's streams.
class Statement
{
public:
    Statement() { Attention::the().enterStatement(); }
    ~Statement()
    {
        Attention::the().leaveStatement();
        if (!mkScript::isBusy()) {
            flushStreams();
        }
    }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;
};

python::dict scriptNamespace()
{
    return python::extract<python::dict>(python::import("__main__").attr("__dict__"));
}

void evaluate(PyObject *code)
{
    const python::dict names = scriptNamespace();
    const python::handle<> result(PyEval_EvalCode(code, names.ptr(), names.ptr()));
}

python::object toPath(const QString &file)
{
    return python::object(
        python::handle<>(PyUnicode_DecodeFSDefault(QFile::encodeName(file).constData())));
}

/// What a script expects to find about itself, for as long as it runs.
class ScriptSurroundings
{
public:
    ScriptSurroundings(const QString &file, const QStringList &arguments)
        : sys(python::import("sys"))
        , names(scriptNamespace())
        , previousArguments(sys.attr("argv"))
        , previousFile(names.get("__file__"))
        , directory(toPath(QFileInfo(file).absolutePath()))
    {
        python::list all;
        all.append(toPath(file));
        for (const QString &argument : arguments) {
            all.append(toPath(argument));
        }
        sys.attr("argv") = all;
        names["__file__"] = toPath(QFileInfo(file).absoluteFilePath());
        sys.attr("path").attr("insert")(0, directory);
    }

    void restore()
    {
        sys.attr("argv") = previousArguments;
        if (previousFile.is_none()) {
            names.attr("pop")("__file__", python::object());
        } else {
            names["__file__"] = previousFile;
        }
        if (PySequence_Contains(python::object(sys.attr("path")).ptr(), directory.ptr()) == 1) {
            sys.attr("path").attr("remove")(directory);
        }
    }

private:
    python::object sys;
    python::dict names;
    python::object previousArguments;
    python::object previousFile;
    python::object directory;
};

} // namespace

namespace mkScript {

void start()
{
    if (Py_IsInitialized()) {
        return;
    }
    PyImport_AppendInittab("mkHost", &PyInit_mkHost);
    PyConfig config;
    PyConfig_InitPythonConfig(&config);
    config.install_signal_handlers = 0;
    config.parse_argv = 0;
    const PyStatus status = Py_InitializeFromConfig(&config);
    PyConfig_Clear(&config);
    if (PyStatus_Exception(status)) {
        mkLog::error("mkScript::start: Couldn't start Python: %s",
                     status.err_msg ? status.err_msg : "unknown reason");
        return;
    }
    call([] { Attention::the().start(); });
    run("import mkHost");
}

void stop()
{
    if (!isRunning()) {
        return;
    }
    call([] { python::import("atexit").attr("_run_exitfuncs")(); });
    setHeartbeat({});
    Attention::the().stop();
    stopped = true;
}

bool isRunning()
{
    return Py_IsInitialized() != 0 && !stopped;
}

bool run(const char *statements)
{
    mkTrace::call("mkScript::run", statements);
    if (!statements) {
        exitStatus = 1;
        return false;
    }
    return call([statements] {
        const python::handle<> code(Py_CompileString(statements, "<string>", Py_file_input));
        evaluate(code.get());
    });
}

bool runFile(const QString &file, const QStringList &arguments)
{
    exitStatus = 1;
    if (!isRunning()) {
        return false;
    }
    const Statement statement;
    QFile script(file);
    if (!script.open(QIODevice::ReadOnly)) {
        PySys_FormatStderr("Couldn't read the script '%s': %s\n", qUtf8Printable(file),
                           qUtf8Printable(script.errorString()));
        return false;
    }
    const QByteArray source = script.readAll();
    return call([&] {
        ScriptSurroundings surroundings(file, arguments);
        try {
            // The builtin, unlike the C function, heeds every byte and the encoding line.
            const python::object bytes(
                python::handle<>(PyBytes_FromStringAndSize(source.constData(), source.size())));
            const python::object code =
                python::import("builtins")
                    .attr("compile")(bytes, toPath(QFileInfo(file).absoluteFilePath()), "exec", 0,
                                     true);
            evaluate(code.ptr());
        } catch (const python::error_already_set &) {
            PyObject *type = nullptr;
            PyObject *value = nullptr;
            PyObject *traceback = nullptr;
            PyErr_Fetch(&type, &value, &traceback);
            surroundings.restore();
            PyErr_Restore(type, value, traceback);
            throw;
        }
        surroundings.restore();
    });
}

bool call(const std::function<void()> &body)
{
    exitStatus = 1;
    if (!isRunning()) {
        return false;
    }
    const Statement statement;
    int status = 0;
    try {
        body();
    } catch (const python::error_already_set &) {
        status = reportException();
    }
    exitStatus = status;
    return status == 0;
}

int getExitStatus()
{
    return exitStatus;
}

bool isBusy()
{
    return Attention::the().getDepth() > 0;
}

void interrupt()
{
    Attention::the().interrupt();
}

void setHeartbeat(std::function<void()> heartbeat)
{
    Attention::the().setHeartbeat(std::move(heartbeat));
}

} // namespace mkScript
