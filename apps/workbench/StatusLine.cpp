#include "StatusLine.h"

#include "mkKernel/mkController.h"

#include <QMainWindow>
#include <QStatusBar>

namespace {

constexpr int milliseconds = 8000;

} // namespace

void StatusLine::show(const QString &text)
{
    if (QMainWindow *const window = mkController::getMainWindow()) {
        window->statusBar()->showMessage(text, milliseconds);
    }
}
