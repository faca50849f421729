#pragma once

#include <Python.h>

/// The built-in module `mkHost`: what the host itself offers to scripts. Its first import also
/// registers the Python types and converters that the host owes to plug-ins.
extern "C" PyObject *PyInit_mkHost();
