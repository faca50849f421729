#include "FuzzHost.h"

#include "mkKernel/mkController.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QMimeData>

#include <iostream>

FuzzHost &FuzzHost::the()
{
    // Neither ends before the process does.
    static FuzzHost *const host = [] {
        static int argumentCount = 1;
        static char program[] = "fuzz";
        static char *arguments[] = { program, nullptr };
        qputenv("QT_QPA_PLATFORM", "offscreen");
        new QApplication(argumentCount, arguments);
        // Refused drops say so there.
        std::cerr.rdbuf(nullptr);
        return new FuzzHost;
    }();
    return *host;
}

void FuzzHost::start()
{
    reset();
    addLayer("A", { "d", "e" });
    addLayer("B");
    rebuild();
    mkController::setModified(0);
}

void FuzzHost::drop(const QMimeData &data, const QString &path) const
{
    QWidget *const viewport = tree()->viewport();
    const QPoint point = path.isEmpty() ? QPoint(10, viewport->height() - 5)
                                        : cell(path, 0).center();
    QDragEnterEvent enter(point, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(viewport, &enter);
    require(enter.isAccepted(), "the drag is accepted");
    QDropEvent event(point, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(viewport, &event);
}

void require(bool fact, const char *what)
{
    if (!fact) {
        qFatal("not so: %s", what);
    }
}
