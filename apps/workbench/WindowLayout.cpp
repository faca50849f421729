#include "WindowLayout.h"

#include "LayerPanel.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QScreen>
#include <QSettings>
#include <QStyle>

namespace {

const QSize preferredSize(1800, 960);
/// What a window manager may put around a window.
constexpr int frameWidth = 8;

QString geometryKey()
{
    return QStringLiteral("window/geometry");
}

QString stateKey()
{
    return QStringLiteral("window/docks");
}

QString columnsKey()
{
    return QStringLiteral("window/panelColumns");
}

} // namespace

WindowLayout::WindowLayout(QMainWindow *mainWindow, LayerPanel *panelColumns, const Docks &all)
    : window(mainWindow)
    , columns(panelColumns)
    , docks(all)
{}

void WindowLayout::arrange()
{
    // The dock manager makes tabs of docks at one side; these are to be seen together.
    for (QDockWidget *dock : { docks.scene, docks.attributes, docks.materials }) {
        window->removeDockWidget(dock);
    }
    window->setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
    window->addDockWidget(Qt::LeftDockWidgetArea, docks.scene);
    window->splitDockWidget(docks.scene, docks.attributes, Qt::Vertical);
    window->tabifyDockWidget(docks.attributes, docks.materials);
    for (QDockWidget *dock : { docks.scene, docks.attributes, docks.materials }) {
        dock->setFloating(false);
        dock->show();
    }
    docks.attributes->raise();
}

void WindowLayout::place(bool unattended)
{
    if (unattended) {
        window->resize(preferredSize);
        return;
    }
    const QRect available = window->screen()->availableGeometry();
    const int title = window->style()->pixelMetric(QStyle::PM_TitleBarHeight) + frameWidth;
    const QSize room = available.size() - QSize(2 * frameWidth, title + frameWidth);
    window->resize(preferredSize.boundedTo(room));
    if (window->size() != preferredSize) {
        window->setWindowState(window->windowState() | Qt::WindowMaximized);
    }
    const QSize left = room - window->size();
    window->move(available.topLeft() + QPoint(left.width() / 2, left.height() / 2));
}

void WindowLayout::share()
{
    // Without a central widget all sides must be told their size.
    const int width = window->width();
    const int height = window->height();
    const int sceneWidth = std::max(width / 5, docks.scene->minimumSizeHint().width());
    if (docks.panel) {
        const int panelWidth = window->centralWidget() ? width * 2 / 5 : width - sceneWidth;
        window->resizeDocks({ docks.scene, docks.panel }, { sceneWidth, panelWidth },
                            Qt::Horizontal);
        window->resizeDocks({ docks.panel, docks.log }, { height * 3 / 4, height / 4 },
                            Qt::Vertical);
    }
    window->resizeDocks({ docks.scene, docks.attributes }, { height * 11 / 20, height * 9 / 20 },
                        Qt::Vertical);
    if (columns) {
        columns->fitColumns();
    }
}

bool WindowLayout::restore()
{
    const QSettings settings;
    const bool restored = window->restoreGeometry(settings.value(geometryKey()).toByteArray())
                          && window->restoreState(settings.value(stateKey()).toByteArray());
    if (columns && !columns->restoreColumns(settings.value(columnsKey()))) {
        columns->fitColumns();
    }
    return restored;
}

void WindowLayout::save() const
{
    QSettings settings;
    settings.setValue(geometryKey(), window->saveGeometry());
    settings.setValue(stateKey(), window->saveState());
    if (columns) {
        settings.setValue(columnsKey(), columns->saveColumns());
    }
}
