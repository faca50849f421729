// The ray tracer's library comes and goes in a host.

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkModuleBase.h"
#include "mkKernel/mkScenegraph.h"
#include "mkMicroKernel/mkPluginLoader.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkShortcut/mkShortcut.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTest>

class tst_RayReload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cycles();
};

namespace {

/// Milliseconds; the tracer's threads give way to all others.
constexpr int patience = 60000;

/// What the library can leave behind.
QString traces(const QMainWindow &window)
{
    int entries = 0;
    for (const QAction *menu : window.menuBar()->actions()) {
        entries += menu->menu()->actions().size();
    }
    return QString("%1 modules, %2 menu entries, %3 keys, %4 objects, %5 widgets, %6 containers, "
                   "%7 threads")
        .arg(mkController::getModules().size())
        .arg(entries)
        .arg(mkShortcut::getKeys().size())
        .arg(window.findChildren<QObject *>().size() + qApp->findChildren<QObject *>().size())
        .arg(QApplication::allWidgets().size())
        .arg(osg::FieldContainerFactory::the()->size())
        .arg(QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

bool isLoaded()
{
    QFile maps("/proc/self/maps");
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("mkRayTracerModule.so");
}

} // namespace

void tst_RayReload::cycles()
{
    QMainWindow window;
    mkController::setMainWindow(&window);
    mkController::setDockWindowManager(new QMKDockWindowManager(&window));
    mkScenegraph::Document document;
    document.root = osg::Node::create();
    const osg::NodePtr node = osg::Node::create();
    const auto geometry = osg::Geometry::create();
    geometry->positions = { { 0, 0, 0 }, { 1, 0, 0 }, { 0, 1, 0 } };
    geometry->indices = { 0, 1, 2 };
    node->setCore(geometry);
    document.root->addChild(node);
    mkScenegraph::setScene(document);
    window.resize(160, 160);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QString expected;
    for (int cycle = 0; cycle < 64; ++cycle) {
        mkPluginLoader loader;
        QVERIFY(loader.load(MK_PLUGIN_DIR "/mkRayTracerModule.so"));
        loader.initAll();
        QWidget *const panel = mkController::getModules().front()->getWidget();
        QVERIFY(window.isAncestorOf(panel));
        // Some leave with a whole picture, most in the middle of one, or just when it is wanted.
        const auto *const status = panel->findChild<QLabel *>("rayStatus");
        for (int turn = cycle % 16; turn > 0; --turn) {
            QCoreApplication::processEvents();
        }
        if (cycle % 16 == 0) {
            QTRY_VERIFY_WITH_TIMEOUT(!QString("0").startsWith(status->text().left(1)), patience);
        }
        mkController::updateRender(true);
        delete panel;
        loader.unloadAll();
        QVERIFY(!isLoaded());
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        mkController::updateRender(true);
        node->changed(osg::AllFields, osg::ChangeOrigin::External);
        if (cycle == 0) {
            expected = traces(window);
            QVERIFY2(expected.startsWith("0 modules, 0 menu entries"), qPrintable(expected));
        }
        QCOMPARE(traces(window), expected);
        QVERIFY(!window.centralWidget());
    }
}

QTEST_MAIN(tst_RayReload)
#include "tst_rayreload.moc"
