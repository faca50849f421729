#pragma once

#include "mkOpenSGUtils/mkRenderLayer.h"

/// The scene's store, asked for anew at every use. Throws std::runtime_error when the host has
/// none: whoever is entered from outside handles that, see mkReportFailure().
mkRenderLayer *mkStore();

/// For `catch (...)` where the host or Qt enters the plug-in: writes the exception in flight to
/// the log under the name of `function`, "class::function". Exceptions end there, except those on
/// their way to a script or out of the construction of the module.
void mkReportFailure(const char *function) noexcept;
