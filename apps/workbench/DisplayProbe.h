#pragma once

#include <QByteArray>

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

/// Looks at the display that the environment names.
Result find();
/// True when the X server that DISPLAY names lets us in.
bool hasXServer();

} // namespace DisplayProbe
