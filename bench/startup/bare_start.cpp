// What any Qt program that embeds Python pays: bare_start runs an empty script and ends, without a
// window; bare_start FILE shows a main window instead and leaves a picture of it.

#include <Python.h>

#include <QApplication>
#include <QDockWidget>
#include <QMainWindow>
#include <QMenuBar>
#include <QTreeWidget>

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    Py_InitializeEx(0);
    if (argc < 2) {
        return PyRun_SimpleString("");
    }
    QMainWindow window;
    window.menuBar()->addMenu(QStringLiteral("File"));
    window.setCentralWidget(new QTreeWidget);
    for (const auto area : { Qt::LeftDockWidgetArea, Qt::BottomDockWidgetArea }) {
        auto *const dock = new QDockWidget;
        dock->setWidget(new QTreeWidget);
        window.addDockWidget(area, dock);
    }
    window.resize(1500, 900);
    window.show();
    QApplication::processEvents();
    return window.grab().save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
