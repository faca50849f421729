#include "mkUtils/mkLog.h"

#include <cstdarg>
#include <cstdio>
#include <map>
#include <utility>

namespace {

std::map<int, mkLog::Listener> &listeners()
{
    static std::map<int, mkLog::Listener> all;
    return all;
}

std::function<void()> &beforeLine()
{
    static std::function<void()> function;
    return function;
}

void Q_ATTRIBUTE_FORMAT_PRINTF(3, 0)
    write(mkLog::Severity severity, const char *prefix, const char *format, va_list arguments)
{
    const QString line = QString::vasprintf(format, arguments);
    if (beforeLine()) {
        beforeLine()();
    }
    std::fprintf(stderr, "%s%s\n", prefix, line.toUtf8().constData());
    // A copy: listeners may come and go while they are told.
    const auto current = listeners();
    for (const auto &entry : current) {
        if (listeners().count(entry.first) > 0) {
            entry.second(severity, line);
        }
    }
}

} // namespace

namespace mkLog {

void info(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write(Severity::Info, "", format, arguments);
    va_end(arguments);
}

void warning(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write(Severity::Warning, "warning: ", format, arguments);
    va_end(arguments);
}

void error(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write(Severity::Error, "error: ", format, arguments);
    va_end(arguments);
}

void setBeforeLine(std::function<void()> function)
{
    beforeLine() = std::move(function);
}

int addListener(Listener listener)
{
    static int lastId = 0;
    listeners().emplace(++lastId, std::move(listener));
    return lastId;
}

void removeListener(int id)
{
    listeners().erase(id);
}

} // namespace mkLog
