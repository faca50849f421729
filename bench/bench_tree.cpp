// Speed and memory of the layer tree against bare Qt code in the same run.

#include "TreeBench.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // The offscreen platform complains about every window that is shown.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (!text.startsWith(QLatin1String("This plugin does not support"))) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(text));
        }
        if (type == QtFatalMsg) {
            std::abort();
        }
    });
    const QApplication application(argc, argv);
    TreeBench bench;
    return bench.run(QApplication::arguments().mid(1)) == 0 ? 0 : 1;
}
