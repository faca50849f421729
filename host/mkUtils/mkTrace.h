#pragma once

#include "mkHostExport.h"

#include <QString>
#include <QStringList>

#include <bitset>
#include <functional>
#include <string>

/// The host-call trace, a diagnostic for people who write plug-ins. Host operations announce
/// themselves here when they are called: one line a call, name and arguments, in the logging
/// category "mk.host" at debug level. It is off by default and then costs next to nothing. Silent
/// is what views ask for row by row (names, icons of nodes, look-ups by id) and access to fields.
///
/// An interceptor sees each call before it is carried out and can make it throw, or call back into
/// the plug-in, which is how a plug-in is tried against a failing host.
namespace mkTrace {

/// Sees the name of each call. An exception leaves the call as it is thrown.
using Interceptor = std::function<void(const char *call)>;

/// Installs `interceptor`; an empty one switches interception off.
MK_HOST_API void setInterceptor(Interceptor interceptor);

/// True while somebody listens, by the logging category or by an interceptor.
MK_HOST_API bool isActive();
MK_HOST_API void announce(const char *call, const QStringList &arguments);

MK_HOST_API QString traceText(const std::string &text);
MK_HOST_API QString traceText(const char *text);
/// Field masks: "all", or the numbers of the bits.
MK_HOST_API QString traceText(const std::bitset<128> &fields);
inline QString traceText(const QString &text)
{
    return traceText(text.toStdString());
}
inline QString traceText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}
inline QString traceText(int value)
{
    return QString::number(value);
}
inline QString traceText(unsigned value)
{
    return QString::number(value);
}

/// Announces a call.
template <typename... Arguments>
void call(const char *name, const Arguments &...arguments)
{
    if (Q_UNLIKELY(isActive())) {
        announce(name, QStringList{ traceText(arguments)... });
    }
}

} // namespace mkTrace
