#include "mkKernel/mkScript.h"

#include "mkUtils/mkTrace.h"

#include <Python.h>

#include <QFile>

namespace mkScript {

void start()
{
    if (!Py_IsInitialized()) {
        Py_InitializeEx(0);
    }
}

bool isRunning()
{
    return Py_IsInitialized() != 0;
}

bool run(const char *statements)
{
    mkTrace::call("mkScript::run", statements);
    return statements && isRunning() && PyRun_SimpleString(statements) == 0;
}

bool runFile(const QString &file, const QStringList &)
{
    QFile script(file);
    return script.open(QIODevice::ReadOnly) && run(script.readAll().constData());
}

void interrupt()
{
    PyErr_SetInterrupt();
}

} // namespace mkScript
