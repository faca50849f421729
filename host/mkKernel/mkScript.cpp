#include "mkKernel/mkScript.h"

#include "mkPython/mkHostModule.h"
#include "mkUtils/mkLog.h"
#include "mkUtils/mkTrace.h"

#include <boost/python.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

namespace {

namespace python = boost::python;

constexpr std::chrono::milliseconds heartbeatInterval(50);

bool stopped = false;
int exitStatus = 0;
std::function<void()> heartbeatFunction;

/// The thread that calls the interpreter's attention to interrupts and heartbeats while a statement
/// runs. A request made without Python's lock would stay unseen until the interpreter looks up by
/// itself; taking the lock makes it look. It also makes this thread, and nobody else, wait while
/// the statement is in C code.
class Attention
{
public:
    /// Lives as long as the process, which may end without a word to it.
    static Attention &the()
    {
        static auto *const attention = new Attention;
        return *attention;
    }

    void start() { thread = std::thread(&Attention::work, this); }

    void stop()
    {
        change([this] { ending = true; });
        PyThreadState *const state = PyEval_SaveThread();
        thread.join();
        PyEval_RestoreThread(state);
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
        change([this] { interrupted = depth > 0; });
    }

    void setBeating(bool on)
    {
        change([this, on] { beating = on; });
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
            changed.wait(lock, [this] {
                return ending || (depth > 0 && !requested && (beating || interrupted));
            });
            const std::uintptr_t current = statement;
            changed.wait_for(lock, heartbeatInterval, [this, current] {
                return ending || depth == 0 || statement != current || interrupted;
            });
            if (ending || depth == 0 || statement != current) {
                continue;
            }
            requested = true;
            lock.unlock();
            const PyGILState_STATE state = PyGILState_Ensure();
            if (Py_AddPendingCall(&Attention::serve, reinterpret_cast<void *>(current)) != 0) {
                change([this] { requested = false; });
            }
            PyGILState_Release(state);
            lock.lock();
        }
    }

    /// Called by the interpreter between two instructions of a statement.
    static int serve(void *requestedStatement)
    {
        bool current = false;
        bool interrupting = false;
        the().change([&] {
            the().requested = false;
            // The request may have been meant for a statement that has ended since.
            current = the().depth > 0
                      && the().statement == reinterpret_cast<std::uintptr_t>(requestedStatement);
            interrupting = current && std::exchange(the().interrupted, false);
        });
        if (interrupting) {
            PyErr_SetNone(PyExc_KeyboardInterrupt);
            return -1;
        }
        const std::function<void()> heartbeat = heartbeatFunction;
        if (current && heartbeat) {
            try {
                heartbeat();
            } catch (const std::exception &failure) {
                mkLog::error("mkScript: The heartbeat failed: %s", failure.what());
            } catch (...) {
                mkLog::error("mkScript: The heartbeat failed!");
            }
        }
        return 0;
    }

    std::mutex mutex;
    std::condition_variable changed;
    int depth = 0;
    std::uintptr_t statement = 0;
    bool interrupted = false;
    bool beating = false;
    bool requested = false;
    bool ending = false;
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

/// Carries out `body`, which runs Python code; false when it raises.
template <typename Body>
bool guarded(const Body &body)
{
    const mkScript::Statement statement;
    int status = 0;
    try {
        body();
    } catch (const python::error_already_set &) {
        status = reportException();
    }
    exitStatus = status;
    return status == 0;
}

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
    // Ctrl+C in a terminal ends the program, as ever.
    config.install_signal_handlers = 0;
    config.parse_argv = 0;
    const PyStatus status = Py_InitializeFromConfig(&config);
    PyConfig_Clear(&config);
    if (PyStatus_Exception(status)) {
        mkLog::error("mkScript::start: Couldn't start Python: %s",
                     status.err_msg ? status.err_msg : "unknown reason");
        return;
    }
    Attention::the().start();
    run("import mkHost");
}

void stop()
{
    if (!isRunning()) {
        return;
    }
    guarded([] { python::import("atexit").attr("_run_exitfuncs")(); });
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
    if (!statements || !isRunning()) {
        exitStatus = 1;
        return false;
    }
    return guarded([statements] {
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
    return guarded([&] {
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

int getExitStatus()
{
    return exitStatus;
}

void interrupt()
{
    Attention::the().interrupt();
}

void setHeartbeat(std::function<void()> heartbeat)
{
    heartbeatFunction = std::move(heartbeat);
    Attention::the().setBeating(bool(heartbeatFunction));
}

Statement::Statement()
{
    Attention::the().enterStatement();
}

Statement::~Statement()
{
    Attention::the().leaveStatement();
    if (depth() == 0) {
        flushStreams();
    }
}

int Statement::depth()
{
    return Attention::the().getDepth();
}

} // namespace mkScript
