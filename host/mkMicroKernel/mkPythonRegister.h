#pragma once

#include "mkHostExport.h"

#include <functional>

/// The functions that libraries registered for the stages of Python's start-up.
class MK_HOST_API mkPythonRegisterFactory
{
public:
    enum Level : int {
        BeforeInterpreter = 0, ///< built-in modules can still be entered
        AfterInterpreter = 1,  ///< the interpreter runs; modules can be imported
    };
    using Function = std::function<void(Level)>;

    /// Calls every registered function with `level`, in the order of registration. One that
    /// throws is reported in the log. What is in the scripts' namespace after AfterInterpreter,
    /// each script file begins with.
    static void run(Level level);
};

/// Registers a function for as long as it lives; meant to be a static object of a plug-in's
/// library.
class MK_HOST_API mkPythonRegister
{
public:
    explicit mkPythonRegister(mkPythonRegisterFactory::Function function);
    ~mkPythonRegister();
    mkPythonRegister(const mkPythonRegister &) = delete;
    mkPythonRegister &operator=(const mkPythonRegister &) = delete;
};
