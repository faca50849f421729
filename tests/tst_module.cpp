#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkKernel/mkModuleBase.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkShortcut/mkShortcut.h"

#include <QDialog>
#include <QDockWidget>
#include <QLibrary>
#include <QMenuBar>
#include <QProcess>
#include <QTest>

#include <fstream>
#include <stdexcept>

#include <dlfcn.h>
#include <sys/mman.h>

namespace {

using Range = std::pair<std::uintptr_t, std::uintptr_t>;

/// Where the plug-in's library lies in memory; nothing when it is not loaded.
Range loadedPlugin()
{
    Range range;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (QByteArray(line.c_str()).endsWith("/mkRenderLayerModule.so")) {
            range.first = range.first ? range.first : std::stoul(line, nullptr, 16);
            range.second = std::stoul(line.substr(line.find('-') + 1), nullptr, 16);
        }
    }
    return range;
}

/// Keeps the place of a library that must be unloaded by now closed. Otherwise the next one often
/// comes back to the same address, where pointers that were left behind happen to be right.
void bury(const Range &range)
{
    QVERIFY(!loadedPlugin().first);
    void *const place = reinterpret_cast<void *>(range.first);
    QVERIFY(mmap(place, range.second - range.first, PROT_NONE,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0)
            == place);
}

} // namespace

/// The library's entry points, and the module's life and messages. Each test loads it anew, and
/// buries it afterwards.
class tst_Module : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void entryPoints();
    void construction();
    void namedMessages();
    void transformationRepaints();
    void messageIds();
    void withoutPanel();
    void sessions();
    void failedStart();

private:
    static mkModuleBase *module() { return mkController::getModules().front(); }
    void use(bool leaveOpen);
    QString traces() const;

    HostFixture host;
    QStringList constructionCalls;
    QString left;
};

void tst_Module::initTestCase()
{
    host.addLayers();
    use(false);
    host.unloadPlugin();
    left = traces();
    QVERIFY(left.startsWith("0 modules, 0+0 docks, 7 keys"));
}

void tst_Module::init()
{
    const HostCalls calls;
    host.loadPlugin();
    constructionCalls = calls.lines({ "mkController::getMainWindow", "mkController::getDock",
                                      "mkShortcut::addKey(\"Render Layer\", \"Delete\"",
                                      "QMKDockWindowManager::add", "mkController::addCB",
                                      "mkIconManager::get" });
    host.reset();
    host.addLayers();
}

void tst_Module::cleanup()
{
    const Range range = loadedPlugin();
    const HostCalls calls;
    host.unloadPlugin();
    bury(range);
    QStringList given;
    for (const char *name : { "materialRenamed", "mkRenderLayerModuleUpdateLayers",
                              "mkTransform::changedTransformation" }) {
        given += QString("mkController::subCB(\"%1\")").arg(name);
        host.send(name, host.material("red"), mkMessage::SceneLoaded);
    }
    QCOMPARE(calls.lines({ "mkController::subCB" }), given);
    for (int type = QMetaType::User; QMetaType::isRegistered(type); ++type) {
        QMetaType::destroy(type, QMetaType::create(type));
    }
    mkController::updateRender(true);
    host.settle();
    QCOMPARE(traces(), left);
}

/// What the plug-in can leave behind in the host.
QString tst_Module::traces() const
{
    return QString("%1 modules, %2+%3 docks, %4 keys, %5 objects, %6 widgets")
        .arg(mkController::getModules().size())
        .arg(host.window()->findChild<QMKDockWindowManager *>()->getDockWidgets().size())
        .arg(host.window()->findChildren<QDockWidget *>().size())
        .arg(mkShortcut::getKeys().size())
        .arg(host.window()->findChildren<QObject *>().size()
             + qApp->findChildren<QObject *>().size())
        .arg(QApplication::allWidgets().size());
}

void tst_Module::entryPoints()
{
    QProcess nm;
    nm.start("nm", { "-D", "--defined-only", "--format=just-symbols", host.pluginFile() });
    QVERIFY(nm.waitForFinished() && nm.exitCode() == 0);
    QCOMPARE(nm.readAll(), "PyInit_mkRenderLayerModule\ngetPluginVersion\ninitPlugin\n");
    QLibrary library(host.pluginFile());
    const auto getVersion = reinterpret_cast<const char *(*)()>(
        library.resolve("getPluginVersion"));
    const HostCalls calls;
    QCOMPARE(getVersion(), "15.3");
    // Once is enough.
    library.resolve("initPlugin")();
    QCOMPARE(calls.lines(), QStringList());
    library.unload();
}

void tst_Module::construction()
{
    QCOMPARE(constructionCalls.join('\n'),
             "mkController::getMainWindow()\n"
             "mkIconManager::get(\"General/DeleteOffNormal.svg\")\n"
             "mkShortcut::addKey(\"Render Layer\", \"Delete\", \"Delete\")\n"
             "mkController::getDockWindowManager()\n"
             "mkIconManager::getIcon(\"ModuleRenderLayer\", \"\")\n"
             "QMKDockWindowManager::add(\"Render Layer\", \"Rendering\", \"Toolclip_Layers\", "
             "\"Layers\", 0, true)\n"
             "mkIconManager::getIcon(\"CreateNew\", \"\")\n"
             "mkIconManager::getIcon(\"Duplicate\", \"\")\n"
             "mkIconManager::getIcon(\"SelectNode\", \"\")\n"
             "mkIconManager::getIcon(\"Delete\", \"\")\n"
             "mkIconManager::getIcon(\"Reset\", \"\")\n"
             "mkIconManager::getIcon(\"Activate\", \"\")\n"
             "mkController::addCB(\"materialRenamed\")\n"
             "mkController::addCB(\"mkRenderLayerModuleUpdateLayers\")\n"
             "mkController::addCB(\"mkTransform::changedTransformation\")");
    QMainWindow *const panel = host.panel();
    QCOMPARE(module()->getWidget(), panel);
    QCOMPARE(module()->getFlags(), quint64(0x8010));
    QCOMPARE(module()->getName() + ' ' + module()->getGroup(), "Render Layer Rendering");
    QCOMPARE(host.tree()->parentWidget(), panel->centralWidget());
    QCOMPARE(host.tree()->minimumSize(), QSize(0, 120));
    QCOMPARE(host.tree()->sizePolicy(),
             QSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding));
    const auto *const dock = qobject_cast<QMKDockWidget *>(panel->parentWidget());
    QVERIFY(dock && dock->isVisible() && !dock->windowIcon().isNull());
    QCOMPARE(dock->windowTitle() + '|' + host.window()->menuBar()->actions().first()->text(),
             "Render Layer|Rendering");
}

void tst_Module::namedMessages()
{
    const auto send = [this](const char *name, const char *material, const QString &expected) {
        host.rebuild();
        host.select({ "A/b", "A" });
        host.material("red")->setName("crimson");
        const HostCalls calls;
        host.send(name, host.material(material));
        const bool rebuilt = expected.endsWith("rebuild");
        QCOMPARE(name + (' ' + calls.commands()), name + (' ' + expected));
        QCOMPARE(host.row("A/a")->text(12), rebuilt ? "crimson" : "red");
        QCOMPARE(host.selected(), rebuilt ? "A/b*" : "A A/b*");
        host.material("crimson")->setName("red");
    };
    send("mkRenderLayerModuleUpdateLayers", "", "rebuild");
    send("materialRenamed", "crimson", "isMaterialInUse(crimson) rebuild");
    send("materialRenamed", "blue", "isMaterialInUse(blue)");
    send("materialRenamed", "", "");
    // Without a store it is not even a failure.
    const osg::MaterialPtr red = host.material("red");
    mkScenegraph::setScene({});
    const LogLines log;
    host.send("materialRenamed", red);
    QCOMPARE(log.lines, QStringList());
}

void tst_Module::transformationRepaints()
{
    const HostCalls calls;
    // To be painted, node rows ask for their icons.
    QTRY_VERIFY((HostCalls::clear(), host.settle(), calls.lines().empty()));
    host.send("mkTransform::changedTransformation");
    host.settle();
    QVERIFY(!calls.lines({ "mkIconManager::get" }).empty());
}

void tst_Module::messageIds()
{
    for (const quint64 id : { 16U, 32768U, 0U, 17U, 32784U }) {
        const bool wanted = id == 16 || id == 32768;
        host.select({ "B", "A" });
        host.tree()->setColumnWidth(0, 700);
        mkMessage message("any", id);
        const HostCalls calls;
        QVERIFY(!module()->receivedMessage(message));
        QCOMPARE(calls.commands(), wanted ? "rebuild" : "");
        QCOMPARE(calls.lines({ "osg::traverse" }).size(), wanted ? 1 : 0);
        QCOMPARE(host.selected(), wanted ? "B*" : "A B*");
        // Unlike commands this makes the column narrower, too.
        QCOMPARE(host.tree()->columnWidth(0) < 700, wanted);
    }
    const LogLines log;
    mkMessage message("any", mkMessage::SceneLoaded);
    const Interception interception(
        [](const char *call) { return qstrcmp(call, "osg::traverse") ? void() : throw 1; });
    QVERIFY(!module()->receivedMessage(message));
    QCOMPARE(log.lines.join('|'),
             "mkRenderLayerModule::receivedMessage : An unknown exception occurred!");
}

void tst_Module::withoutPanel()
{
    const osg::MaterialPtr red = host.material("red");
    delete host.panel();
    QVERIFY(!module()->getWidget());
    const HostCalls calls;
    host.send("materialRenamed", red);
    host.rebuild();
    host.send("mkTransform::changedTransformation");
    for (const char *slot : { "clearStatusBar", "activate", "confirmDeleteSelected" }) {
        QVERIFY(QMetaObject::invokeMethod(module(), slot));
    }
    QAction *const hovered = nullptr;
    QVERIFY(QMetaObject::invokeMethod(module(), "updateStatusBar", Q_ARG(QAction *, hovered)));
    QCOMPARE(calls.lines(), QStringList());
    host.send("any", red, mkMessage::SceneLoaded);
    QCOMPARE(calls.lines({ "osg::traverse" }).size(), 1);
    QVERIFY(QMetaObject::invokeMethod(module(), "reset"));
    QCOMPARE(calls.commands(), "resetRenderLayerAttributes(scene)");
}

/// A short session; what is in use when the library goes leaves nothing behind.
void tst_Module::use(bool leaveOpen)
{
    host.action("Create Layer")->trigger();
    host.drop(host.cell("A/b", 0).center(), host.materialFormat, host.materialPayload("red"));
    host.select({ "A/b" });
    const ModalAnswers answers(ModalAnswers::agree);
    host.action("Apply Attributes to Selected ...")->trigger();
    QCOMPARE(host.values(host.attributes(0, "b")), "00000000000 red");
    host.openMenu("A/b")->setVisible(leaveOpen);
    host.select({ "A" });
    host.action("Rename Layer")->trigger();
    QVERIFY(leaveOpen ? host.editor() != nullptr : host.type("A", Qt::Key_Escape));
}

void tst_Module::sessions()
{
    for (int i = 0; i < 20; ++i) {
        use(i % 2 == 1);
        cleanup();
        init();
    }
}

/// A start in which a host call throws leaves nothing behind, and can be tried again.
void tst_Module::failedStart()
{
    host.unloadPlugin();
    const QString nothing = traces();
    int failing = 0;
    for (bool failed = true; failed; ++failing) {
        void *const library = dlopen(qPrintable(host.pluginFile()), RTLD_NOW);
        const auto initPlugin = reinterpret_cast<void (*)()>(dlsym(library, "initPlugin"));
        try {
            int calls = 0;
            const Interception interception([&](const char *) {
                if (calls++ == failing) {
                    throw std::runtime_error("hostile");
                }
            });
            initPlugin();
            failed = false;
        } catch (const std::runtime_error &) {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QCOMPARE(traces(), nothing);
        }
        // Every other library goes without having been started.
        if (failed && failing % 2 == 0) {
            initPlugin();
        }
        if (host.panel()) {
            QVERIFY(traces().startsWith("1 modules, 1+1 docks, 7 keys"));
            delete host.panel();
        }
        const Range range = loadedPlugin();
        dlclose(library);
        bury(range);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QVERIFY(failing > 20);
    host.loadPlugin();
}

QTEST_MAIN(tst_Module)
#include "tst_module.moc"
