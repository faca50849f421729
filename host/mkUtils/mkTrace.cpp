#include "mkUtils/mkTrace.h"

#include <QLoggingCategory>

#include <utility>

namespace {

Q_LOGGING_CATEGORY(hostCalls, "mk.host", QtWarningMsg)

mkTrace::Interceptor &interceptor()
{
    static mkTrace::Interceptor current;
    return current;
}

bool intercepting = false;

} // namespace

namespace mkTrace {

void setInterceptor(Interceptor newInterceptor)
{
    intercepting = bool(newInterceptor);
    interceptor() = std::move(newInterceptor);
}

bool isActive()
{
    return intercepting || hostCalls().isDebugEnabled();
}

void announce(const char *call, const QStringList &arguments)
{
    qCDebug(hostCalls, "%s(%s)", call, qUtf8Printable(arguments.join(QStringLiteral(", "))));
    // A copy: the interceptor may replace itself while it runs.
    if (const Interceptor current = interceptor()) {
        current(call);
    }
}

QString traceText(const std::string &text)
{
    return QLatin1Char('"') + QString::fromStdString(text) + QLatin1Char('"');
}

QString traceText(const char *text)
{
    return text ? traceText(std::string(text)) : QStringLiteral("null");
}

QString traceText(const std::bitset<128> &fields)
{
    if (fields.all()) {
        return QStringLiteral("all");
    }
    QStringList bits;
    for (std::size_t bit = 0; bit < fields.size(); ++bit) {
        if (fields.test(bit)) {
            bits += QString::number(bit);
        }
    }
    return bits.join(QLatin1Char('|'));
}

} // namespace mkTrace
