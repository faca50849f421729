#pragma once

#include "mkHostExport.h"

#include <QString>

#include <functional>

/// The host's log. Lines go to standard error and to every listener (the workbench's log view).
/// All formats are those of printf; texts are UTF-8.
namespace mkLog {

enum class Severity { Info, Warning, Error };
using Listener = std::function<void(Severity severity, const QString &line)>;

MK_HOST_API void info(const char *format, ...) Q_ATTRIBUTE_FORMAT_PRINTF(1, 2);
MK_HOST_API void warning(const char *format, ...) Q_ATTRIBUTE_FORMAT_PRINTF(1, 2);
MK_HOST_API void error(const char *format, ...) Q_ATTRIBUTE_FORMAT_PRINTF(1, 2);

/// A function that is called before each line is written, so that what is buffered elsewhere keeps
/// its place before it. An empty one switches it off.
MK_HOST_API void setBeforeLine(std::function<void()> function);
/// Adds a listener; the result identifies it for removeListener().
MK_HOST_API int addListener(Listener listener);
MK_HOST_API void removeListener(int id);

} // namespace mkLog
