#include "mkPython/mkPythonSupport.h"

#include "mkKernel/mkScript.h"

#include <QFile>

namespace python = boost::python;

void mkPython::raise(PyObject *type, const std::string &text)
{
    PyErr_SetString(type, text.c_str());
    throw python::error_already_set();
}

void mkPython::load(const char *name, const python::dict &names)
{
    const QString path = QLatin1String(":/mkPython/") + QLatin1String(name);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        raise(PyExc_ImportError, "The host lacks its own " + path.toStdString());
    }
    const python::handle<> code(
        Py_CompileString(file.readAll().constData(), qPrintable(path), Py_file_input));
    const python::handle<> result(PyEval_EvalCode(code.get(), names.ptr(), names.ptr()));
}

python::dict mkPython::load(const char *name)
{
    python::dict names;
    names["__builtins__"] = python::import("builtins");
    names["__name__"] = name;
    load(name, names);
    return names;
}

void mkPython::setKnownAttribute(const python::object &self, const python::str &name,
                                 const python::object &value)
{
    const python::object type = self.attr("__class__");
    if (PyObject_HasAttr(type.ptr(), name.ptr()) == 0) {
        const std::string typeName = python::extract<std::string>(type.attr("__name__"));
        const std::string attribute = python::extract<std::string>(name);
        raise(PyExc_AttributeError, typeName + " has no attribute '" + attribute + "'.");
    }
    if (!GuiThreadOnly::checkThread()
        || PyObject_GenericSetAttr(self.ptr(), name.ptr(), value.ptr()) != 0) {
        throw python::error_already_set();
    }
}

bool mkPython::GuiThreadOnly::checkThread()
{
    if (mkScript::isGuiThread()) {
        return true;
    }
    PyErr_SetString(PyExc_RuntimeError, "The host is for the main thread only.");
    return false;
}
