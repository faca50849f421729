#pragma once

class QString;

/// The status bar of the main window, for whoever has something to tell the user.
namespace StatusLine {

/// For some seconds.
void show(const QString &text);

} // namespace StatusLine
