#pragma once

#include <boost/python.hpp>

#include <string>

/// What the host's own Python code shares.
namespace mkPython {

/// Raises a Python exception of this type.
[[noreturn]] void raise(PyObject *type, const std::string &text);

/// Carries out a Python file among the host's resources in this namespace. Tracebacks do not show
/// its frames.
void load(const char *name, const boost::python::dict &names);
/// The same in a namespace of its own, which is returned.
boost::python::dict load(const char *name);

/// `__setattr__` of the host's types: a misspelt attribute would otherwise be set without a word.
void setKnownAttribute(const boost::python::object &self, const boost::python::str &name,
                       const boost::python::object &value);

/// Call policy: a thread that a script started gets an exception, where it would bring Qt down.
struct GuiThreadOnly : boost::python::default_call_policies
{
    template <typename Arguments>
    static bool precall(const Arguments &)
    {
        return checkThread();
    }
    static bool checkThread();
};

/// Defines a function, with the keywords and the text that follow, in the current scope.
template <typename Function, typename... Rest>
void define(const char *name, Function function, const Rest &...rest)
{
    boost::python::def(name, function, rest..., GuiThreadOnly());
}

} // namespace mkPython
