#pragma once

#include <QByteArrayList>

/// Finds out, before there is an application object, whether a window could be shown: Qt ends the
/// program where a display does not answer.
namespace DisplayProbe {

struct Result
{
    /// The Qt platform to show windows with; empty when there is none.
    QByteArray platform;
    /// Why there is none, for the user.
    QByteArray reason;
};

/// True when this looks for displays of the platform that Qt calls so: X11's and Wayland's.
bool knows(const QByteArray &platform);
/// Looks at the displays that the environment names, for the first of these platforms that has one.
Result find(const QByteArrayList &platforms);

} // namespace DisplayProbe
