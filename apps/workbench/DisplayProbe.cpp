#include "DisplayProbe.h"

#include <QDir>
#include <QLibrary>
#include <QLibraryInfo>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

namespace {

bool hasWaylandPlugin()
{
    QStringList directories = qEnvironmentVariable("QT_QPA_PLATFORM_PLUGIN_PATH")
                                  .split(QDir::listSeparator(), Qt::SkipEmptyParts);
    directories += QLibraryInfo::location(QLibraryInfo::PluginsPath) + QLatin1String("/platforms");
    for (const QString &directory : qAsConst(directories)) {
        if (!QDir(directory).entryList({ QStringLiteral("libqwayland*.so") }).isEmpty()) {
            return true;
        }
    }
    return false;
}

bool hasWaylandServer()
{
    const QByteArray name = qgetenv("WAYLAND_DISPLAY");
    const QByteArray path = name.startsWith('/') ? name : qgetenv("XDG_RUNTIME_DIR") + '/' + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (std::size_t(path.size()) >= sizeof(address.sun_path)) {
        return false;
    }
    std::memcpy(address.sun_path, path.constData(), std::size_t(path.size()));
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool answers = socket >= 0
                         && ::connect(socket, reinterpret_cast<const sockaddr *>(&address),
                                      sizeof(address))
                                == 0;
    if (socket >= 0) {
        ::close(socket);
    }
    return answers;
}

bool hasXServer()
{
    // Qt's plug-in brings the library; where it is missing, so is the plug-in.
    QLibrary xcb(QStringLiteral("xcb"), 1);
    const auto connect = reinterpret_cast<void *(*)(const char *, int *)>(
        xcb.resolve("xcb_connect"));
    const auto hasError = reinterpret_cast<int (*)(void *)>(
        xcb.resolve("xcb_connection_has_error"));
    const auto disconnect = reinterpret_cast<void (*)(void *)>(xcb.resolve("xcb_disconnect"));
    if (!connect || !hasError || !disconnect) {
        return false;
    }
    void *const connection = connect(nullptr, nullptr);
    const bool answers = hasError(connection) == 0;
    disconnect(connection);
    return answers;
}

} // namespace

bool DisplayProbe::knows(const QByteArray &platform)
{
    return platform == "xcb" || platform.startsWith("wayland");
}

DisplayProbe::Result DisplayProbe::find(const QByteArrayList &platforms)
{
    QByteArray reason = "There is no display.";
    for (const QByteArray &platform : platforms) {
        const bool wayland = platform.startsWith("wayland");
        const QByteArray display = qgetenv(wayland ? "WAYLAND_DISPLAY" : "DISPLAY");
        if (display.isEmpty()) {
            continue;
        }
        if (wayland ? !hasWaylandServer() : !hasXServer()) {
            reason = "The display " + display + " does not answer.";
        } else if (wayland && !hasWaylandPlugin()) {
            reason = "Qt's Wayland plug-in is missing; Debian's package is qtwayland5.";
        } else {
            return { platform, {} };
        }
    }
    return { {}, reason };
}
