#include "mkKernel/mkScript.h"

#include "mkPython/mkPythonSupport.h"
#include "mkUtils/mkLog.h"
#include "mkUtils/mkTrace.h"

#include <QFile>
#include <QScopedValueRollback>

#include <atomic>
#include <csignal>
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
std::thread::id guiThread; // clazy:exclude=non-pod-global-static
int exitStatus = 0;
/// How many statements run, one within the other.
std::atomic<int> depth{ 0 };
std::atomic<bool> interrupted{ false };
std::function<void()> heartbeat; // clazy:exclude=non-pod-global-static
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
        mkLog::error("mkScript: Scripts cannot be interrupted: %s",
                     qUtf8Printable(qt_error_string()));
    }
    static PyMethodDef handler{ "attend", &attend, METH_VARARGS, nullptr };
    const python::object signal = python::import("signal");
    signal.attr("signal")(signalNumber,
                          python::object(python::handle<>(PyCFunction_New(&handler, nullptr))));
    // Python has taken SIGINT. Ctrl+C in a terminal ends the program, as ever.
    signal.attr("signal")(SIGINT, python::object(signal.attr("SIG_DFL")));
}

} // namespace attention

/// The same also while a script file has another `__main__`.
python::object scriptNamespace()
{
    static PyObject *const names = PyModule_GetDict(PyImport_AddModule("__main__"));
    return python::object(python::borrowed(names));
}

void evaluate(PyObject *code)
{
    const python::object names = scriptNamespace();
    const python::handle<> result(PyEval_EvalCode(code, names.ptr(), names.ptr()));
}

python::object toPath(const QByteArray &path)
{
    return python::object(
        python::handle<>(PyUnicode_DecodeFSDefaultAndSize(path.constData(), path.size())));
}

/// A function of running.py.
python::object running(const char *name)
{
    static const auto *const functions = new python::dict(mkPython::load("running.py"));
    return (*functions)[name];
}

/// Flushes what Python buffers; false when something cannot be written. A script may have put
/// anything in the place of the original streams, or closed them.
bool flushStreams(bool report = false)
{
    bool done = true;
    for (const char *name : { "stdout", "stderr", "__stdout__", "__stderr__" }) {
        PyObject *const stream = PySys_GetObject(name);
        if (!stream || stream == Py_None) {
            continue;
        }
        const python::handle<> closed(python::allow_null(PyObject_GetAttrString(stream, "closed")));
        if (closed && PyObject_IsTrue(closed.get()) == 1) {
            continue;
        }
        PyErr_Clear();
        const python::handle<> result(
            python::allow_null(PyObject_CallMethod(stream, "flush", nullptr)));
        if (!result) {
            // Python makes nothing of what the originals lose behind another stream.
            done = done && *name == '_';
            // Where the standard error is lost, there is nowhere to say so.
            if (report && qstrcmp(name, "stdout") == 0) {
#if PY_VERSION_HEX >= 0x030D0000
                PyErr_FormatUnraisable("Exception ignored on flushing sys.stdout");
#else
                PyErr_WriteUnraisable(stream);
#endif
            }
            PyErr_Clear();
        }
    }
    return done;
}

/// What a script has printed so far comes before what the host logs now.
void flushBeforeLine()
{
    if (depth == 0 || PyGILState_Check() == 0) {
        return;
    }
    PyObject *type = nullptr;
    PyObject *value = nullptr;
    PyObject *traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    flushStreams();
    PyErr_Restore(type, value, traceback);
}

/// Leaves the host's own frames out of the pending exception's traceback.
void dropOwnFrames()
{
    PyObject *type = nullptr;
    PyObject *value = nullptr;
    PyObject *traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    if (traceback) {
        PyException_SetTraceback(value, traceback);
    }
    try {
        running("drop_own_frames")(python::object(python::borrowed(value)));
    } catch (const python::error_already_set &) {
        PyErr_Clear();
    }
    Py_XDECREF(traceback);
    PyErr_Restore(type, value, PyException_GetTraceback(value));
}

/// Takes the pending exception and returns its exit status.
int reportException()
{
    if (!PyErr_ExceptionMatches(PyExc_SystemExit)) {
        const bool interrupt = PyErr_ExceptionMatches(PyExc_KeyboardInterrupt) != 0;
        dropOwnFrames();
        PyErr_Print();
        return interrupt ? -SIGINT : 1;
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
        const int status = int(PyLong_AsLong(code.get()));
        PyErr_Clear();
        return status & 0xff;
    }
    PySys_FormatStderr("%S\n", code.get());
    return 1;
}

void runExitFunctions()
{
    python::import("atexit").attr("_run_exitfuncs")();
    running("flush_files")();
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
    // Not the first python3 on the path, which may be another one.
    PyConfig_SetBytesString(&config, &config.program_name, MK_PYTHON);
    const PyStatus status = Py_InitializeFromConfig(&config);
    PyConfig_Clear(&config);
    if (PyStatus_Exception(status)) {
        mkLog::error("mkScript::start: Couldn't start Python: %s",
                     status.err_msg ? status.err_msg : "unknown reason");
        return;
    }
    call(&attention::prepare);
    mkLog::setBeforeLine(&flushBeforeLine);
}

void finish()
{
    call([] {
        const python::object threading = python::import("threading");
        try {
            threading.attr("_shutdown")();
        } catch (const python::error_already_set &) {
            PyErr_WriteUnraisable(threading.ptr());
        }
        runExitFunctions();
        PyGC_Collect();
    });
}

bool stop()
{
    if (!isRunning()) {
        return true;
    }
    bool flushed = true;
    call([&flushed] {
        runExitFunctions();
        flushed = flushStreams(true);
    });
    setHeartbeat({});
    mkLog::setBeforeLine({});
    stopped = true;
    return flushed;
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

void keepNames()
{
    call([] { running("keep_names")(scriptNamespace()); });
}

bool runFile(const QString &file, const QList<QByteArray> &arguments)
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
        const python::object bytes(
            python::handle<>(PyBytes_FromStringAndSize(source.constData(), source.size())));
        python::list all;
        for (const QByteArray &argument : arguments) {
            all.append(toPath(argument));
        }
        running("run_file")(toPath(QFile::encodeName(file)), bytes, all);
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
