#include "mkKernel/mkScript.h"

#include "mkUtils/mkLog.h"
#include "mkUtils/mkTrace.h"

#include <boost/python.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopedValueRollback>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <exception>
#include <thread>
#include <unistd.h>
#include <utility>

#ifndef sigev_notify_thread_id
#define sigev_notify_thread_id _sigev_un._tid
#endif

namespace {

namespace python = boost::python;

constexpr long heartbeatNanoseconds = 50'000'000;

bool stopped = false;
std::thread::id guiThread;
int exitStatus = 0;
/// How many statements run, one within the other.
std::atomic<int> depth{ 0 };
std::atomic<bool> interrupted{ false };
std::function<void()> heartbeat;
bool withinBeat = false;

/// Calls the interpreter's attention to interrupts and heartbeats: sends the GUI thread a signal
/// that nobody else uses, because nothing else reaches Python code that waits in a system call. The
/// call returns, Python runs its handler, and goes on waiting unless that raises.
namespace attention {

constexpr int signalNumber = SIGURG;
timer_t timer = {};

void setActive(bool active)
{
    const timespec interval{ 0, active ? heartbeatNanoseconds : 0 };
    const itimerspec times{ interval, interval };
    timer_settime(timer, 0, &times, nullptr);
}

/// Called by the interpreter on the GUI thread, between two instructions or from within a waiting
/// system call.
PyObject *attend(PyObject *, PyObject *)
{
    if (depth > 0 && !withinBeat && heartbeat) {
        const QScopedValueRollback<bool> beating(withinBeat, true);
        setActive(false);
        try {
            // A copy: it may be replaced while it runs.
            const auto current = heartbeat;
            current();
        } catch (const std::exception &failure) {
            mkLog::error("mkScript: The heartbeat failed: %s", failure.what());
        } catch (...) {
            mkLog::error("mkScript: The heartbeat failed!");
        }
        setActive(true);
    }
    if (interrupted.exchange(false)) {
        PyErr_SetNone(PyExc_KeyboardInterrupt);
        return nullptr;
    }
    return Py_NewRef(Py_None);
}

/// To be called on the GUI thread, which Python takes for its main thread.
void prepare()
{
    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = signalNumber;
    event.sigev_notify_thread_id = gettid();
    if (timer_create(CLOCK_MONOTONIC, &event, &timer) != 0) {
        mkLog::error("mkScript: Scripts cannot be interrupted: %s", std::strerror(errno));
    }
    static PyMethodDef handler{ "attend", &attend, METH_VARARGS, nullptr };
    const python::object signal = python::import("signal");
    signal.attr("signal")(signalNumber,
                          python::object(python::handle<>(PyCFunction_New(&handler, nullptr))));
    // Python has taken SIGINT. Ctrl+C in a terminal ends the program, as ever.
    signal.attr("signal")(SIGINT, python::object(signal.attr("SIG_DFL")));
}

} // namespace attention

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
    Statement()
    {
        if (depth++ == 0) {
            interrupted = false;
            attention::setActive(true);
        }
    }
    ~Statement()
    {
        if (--depth == 0) {
            attention::setActive(false);
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
    guiThread = std::this_thread::get_id();
    PyConfig config;
    PyConfig_InitPythonConfig(&config);
    config.parse_argv = 0;
    const PyStatus status = Py_InitializeFromConfig(&config);
    PyConfig_Clear(&config);
    if (PyStatus_Exception(status)) {
        mkLog::error("mkScript::start: Couldn't start Python: %s",
                     status.err_msg ? status.err_msg : "unknown reason");
        return;
    }
    call(&attention::prepare);
}

void stop()
{
    if (!isRunning()) {
        return;
    }
    call([] { python::import("atexit").attr("_run_exitfuncs")(); });
    setHeartbeat({});
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

bool isGuiThread()
{
    return guiThread == std::thread::id() || guiThread == std::this_thread::get_id();
}

bool isBusy()
{
    return depth > 0;
}

void interrupt()
{
    interrupted = depth > 0;
}

void setHeartbeat(std::function<void()> function)
{
    heartbeat = std::move(function);
}

} // namespace mkScript
