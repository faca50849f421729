#include "QuietPlatform.h"

#include <QString>
#include <QtGlobal>

namespace {

QtMessageHandler otherwise = nullptr;

void dropNoise(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (!message.startsWith(QLatin1String("This plugin does not support "))
        && !message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set"))) {
        otherwise(type, context, message);
    }
}

} // namespace

void QuietPlatform::install()
{
    if (qgetenv("QT_QPA_PLATFORM").startsWith("offscreen")) {
        otherwise = qInstallMessageHandler(dropNoise);
    }
}
