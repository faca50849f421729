#pragma once

class QWidget;

/// What the Help menu shows.
namespace HelpDialogs {

void showGuide(QWidget *window);
void showShortcuts(QWidget *window);
void showAbout(QWidget *window);

} // namespace HelpDialogs
