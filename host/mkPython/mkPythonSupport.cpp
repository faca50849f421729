#include "mkPython/mkPythonSupport.h"

#include "mkKernel/mkScript.h"

#include <QFile>

namespace python = boost::python;

void mkPython::raise(PyObject *type, const std::string &text)
{
    PyErr_SetString(type, text.c_str());
    throw python::error_already_set();
}

python::dict mkPython::load(const char *name)
{
    const QString path = QLatin1String(":/mkPython/") + QLatin1String(name);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        raise(PyExc_ImportError, "The host lacks its own " + path.toStdString());
    }
    const python::handle<> code(
        Py_CompileString(file.readAll().constData(), qPrintable(path), Py_file_input));
    python::dict names;
    names["__builtins__"] = python::import("builtins");
    names["__name__"] = name;
    const python::handle<> result(PyEval_EvalCode(code.get(), names.ptr(), names.ptr()));
    return names;
}

bool mkPython::GuiThreadOnly::checkThread()
{
    if (mkScript::isGuiThread()) {
        return true;
    }
    PyErr_SetString(PyExc_RuntimeError, "The host is for the main thread only.");
    return false;
}
