#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkKernel/mkModuleBase.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkUtils/mkTrace.h"

#include <QHeaderView>
#include <QLibrary>
#include <QMenuBar>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryFile>
#include <QTest>

#include <stdexcept>

#include <unistd.h>

namespace {

const QString pluginFile = QStringLiteral(MK_PLUGIN_DIR "/mkRenderLayerModule.so");

/// What arrives at the standard error file while the message is sent.
QString errorsOf(mkMessage &message)
{
    QTemporaryFile file;
    file.open();
    const int previous = dup(STDERR_FILENO);
    dup2(file.handle(), STDERR_FILENO);
    mkController::sendMessage(message);
    dup2(previous, STDERR_FILENO);
    close(previous);
    file.seek(0);
    return QString::fromUtf8(file.readAll());
}

} // namespace

/// The library's entry points, and the module's life and messages. Each test loads it anew.
class tst_Module : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { host.reset(); }
    void entryPoints();
    void construction();
    void namedMessages();
    void hookThatThrows();
    void transformationRepaints();
    void messageIds();
    void stateIdsFollowTheFile();
    void hookKeepsExceptions();
    void withoutPanel();
    void unloading();

private:
    static void send(const char *name);
    static mkModuleBase *module() { return mkController::getModules().front(); }

    std::unique_ptr<HostFixture> host;
    QStringList constructionCalls;
};

void tst_Module::init()
{
    const HostCalls calls;
    host = std::make_unique<HostFixture>();
    constructionCalls = calls.lines(
        { "mkController::getMainWindow", "mkController::getDock",
          "mkShortcut::addKey(\"Render Layer\", \"Delete\"", "QMKDockWindowManager::add",
          "QMKToolBar::addAction(\"Create Layer\"", "mkController::addCB", "mkIconManager::get" });
    host->addLayer("A", { "a", "b" });
    host->addLayer("B", { "c" });
    host->attributes(0, "a")->setOverrideMaterial(host->material("red"));
    host->rebuild();
}

void tst_Module::send(const char *name)
{
    mkMessage message(name);
    mkController::sendMessage(message);
}

void tst_Module::entryPoints()
{
    QProcess nm;
    nm.start("nm", { "-D", "--defined-only", "--format=just-symbols", pluginFile });
    QVERIFY(nm.waitForFinished() && nm.exitCode() == 0);
    QCOMPARE(nm.readAll(), "PyInit_mkRenderLayerModule\ngetPluginVersion\ninitPlugin\n");

    QLibrary library(pluginFile);
    const auto getVersion = reinterpret_cast<const char *(*)()>(
        library.resolve("getPluginVersion"));
    const auto initPlugin = reinterpret_cast<void (*)()>(library.resolve("initPlugin"));
    const QWidget *const panel = host->panel();
    const HostCalls calls;
    QCOMPARE(getVersion(), "15.3");
    initPlugin();
    QCOMPARE(calls.lines(), QStringList());
    QCOMPARE(host->panel(), panel);
    library.unload();
}

void tst_Module::construction()
{
    const QStringList expected{ "mkController::getMainWindow()",
                                "mkIconManager::get(\"General/DeleteOffNormal.svg\")",
                                "mkShortcut::addKey(\"Render Layer\", \"Delete\", \"Delete\")",
                                "mkController::getDockWindowManager()",
                                "mkIconManager::getIcon(\"ModuleRenderLayer\", \"\")",
                                "QMKDockWindowManager::add(\"Render Layer\", \"Rendering\", "
                                "\"Toolclip_Layers\", \"Layers\", 0, true)",
                                "mkIconManager::getIcon(\"CreateNew\", \"\")",
                                "mkIconManager::getIcon(\"Duplicate\", \"\")",
                                "mkIconManager::getIcon(\"SelectNode\", \"\")",
                                "mkIconManager::getIcon(\"Delete\", \"\")",
                                "mkIconManager::getIcon(\"Reset\", \"\")",
                                "mkIconManager::getIcon(\"Activate\", \"\")",
                                "QMKToolBar::addAction(\"Create Layer\")",
                                "mkController::addCB(\"materialRenamed\")",
                                "mkController::addCB(\"mkRenderLayerModuleUpdateLayers\")",
                                "mkController::addCB(\"mkTransform::changedTransformation\")" };
    QCOMPARE(constructionCalls, expected);
    QMainWindow *const panel = host->panel();
    QCOMPARE(module()->getWidget(), panel);
    QCOMPARE(module()->getFlags(), quint64(0x8010));
    QCOMPARE(module()->getName() + ' ' + module()->getGroup(), "Render Layer Rendering");
    QCOMPARE(panel->windowTitle(), "Render Layer");
    QCOMPARE(host->tree()->parentWidget(), panel->centralWidget());
    QCOMPARE(host->tree()->minimumSize(), QSize(0, 120));
    QCOMPARE(host->tree()->sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(host->tree()->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
    const auto *const dock = qobject_cast<QMKDockWidget *>(panel->parentWidget());
    QVERIFY(dock && dock->isVisible() && !dock->windowIcon().isNull());
    QCOMPARE(dock->windowTitle(), "Render Layer");
    QCOMPARE(host->window()->menuBar()->actions().first()->text(), "Rendering");
}

void tst_Module::namedMessages()
{
    const auto send = [this](const char *name, const char *material, const QString &calls) {
        host->rebuild();
        host->select({ "A/b", "A" });
        host->material("red")->setName("crimson");
        mkMessage message(name);
        if (*material) {
            message.set("material", host->material(material));
        }
        const HostCalls made;
        const bool rebuilt = calls.endsWith("rebuild");
        QCOMPARE(errorsOf(message), "");
        QCOMPARE(name + (' ' + made.commands()), name + (' ' + calls));
        QCOMPARE(host->row("A/a")->text(12), rebuilt ? "crimson" : "red");
        QCOMPARE(host->selected(), rebuilt ? "A/b*" : "A A/b*");
        host->material("crimson")->setName("red");
    };
    send("mkRenderLayerModuleUpdateLayers", "", "rebuild");
    send("materialRenamed", "crimson", "isMaterialInUse(crimson) rebuild");
    send("materialRenamed", "blue", "isMaterialInUse(blue)");
    send("materialRenamed", "", "");
    send("mkTransform::changedTransformation", "", "");
    send("sceneLoaded", "crimson", "");

    {
        // Without a store it is not even a failure.
        const osg::MaterialPtr red = host->material("red");
        mkScenegraph::setScene({});
        const LogLines log;
        HostFixture::send("materialRenamed", red);
        QCOMPARE(log.lines, QStringList());
    }
    mkMessage message("materialRenamed");
    message.set("material", 5);
    const HostCalls calls;
    QCOMPARE(errorsOf(message).section('\n', 0, 0),
             "mkMessage::get : Attribute 'material' has wrong type (is:'int' != "
             "req:'osg::Ptr<osg::Material>')!");
    QCOMPARE(calls.commands(), "");
}

void tst_Module::hookThatThrows()
{
    struct Failing : mkModuleBase
    {
        Failing()
            : mkModuleBase("Failing", "Rendering", mkMessage::SceneLoaded, nullptr)
        {}
        void update() override { throw std::runtime_error("no"); }
    } failing;
    const LogLines log;
    QSignalSpy rendered(mkController::the(), &mkController::rendered);
    mkController::updateRender(true);
    QCOMPARE(rendered.size(), 1);
    QCOMPARE(log.lines, QStringList("mkController: mkModuleBase::update failed: no"));
}

void tst_Module::transformationRepaints()
{
    struct : QObject
    {
        bool eventFilter(QObject *, QEvent *event) override
        {
            paints += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
        int paints = 0;
    } watcher;
    host->tree()->viewport()->installEventFilter(&watcher);
    do {
        watcher.paints = 0;
        QTest::qWait(50);
    } while (watcher.paints > 0);
    send("mkTransform::changedTransformation");
    QTRY_COMPARE(watcher.paints, 1);
}

void tst_Module::messageIds()
{
    for (const quint64 id : { 16U, 32768U, 0U, 17U, 32784U }) {
        const bool wanted = id == 16 || id == 32768;
        host->select({ "B", "A" });
        host->tree()->setColumnWidth(0, 700);
        mkMessage message("any", id);
        const HostCalls calls;
        QVERIFY(!module()->receivedMessage(message));
        QCOMPARE(calls.commands(), wanted ? "rebuild" : "");
        QCOMPARE(calls.count("osg::traverse"), wanted ? 1 : 0);
        QCOMPARE(host->selected(), wanted ? "B*" : "A B*");
        // Unlike commands this makes the column narrower, too.
        QCOMPARE(host->tree()->columnWidth(0) < 700, wanted);
    }
}

void tst_Module::stateIdsFollowTheFile()
{
    for (const bool merge : { false, true }) {
        mkScenegraph::Document document;
        document.root = osg::Node::create();
        document.root->setCore(osg::Group::create());
        const osg::NodePtr bare = osg::Node::create();
        const osg::NodePtr child = osg::Node::create();
        document.root->addChild(bare);
        bare->addChild(child);
        // States of the root and of a node far below; one of them of a layer that the file lacks.
        std::vector<osg::RaytracingGeoAttachmentPtr> attributes;
        for (const osg::NodePtr &node : { document.root, child }) {
            attributes.push_back(osg::RaytracingGeoAttachmentBase::create());
            attributes.back()->storeState("known", 700007);
            attributes.back()->storeState("unknown", 700008);
            node->addAttachment(attributes.back());
        }
        const osg::RenderLayerPtr layer = osg::RenderLayer::create("L");
        document.containers[700007] = layer;
        merge ? mkScenegraph::mergeScene(document) : mkScenegraph::setScene(document);
        for (const osg::RaytracingGeoAttachmentPtr &entry : attributes) {
            QCOMPARE(entry->getStateLayerId("known"), layer->getId());
            QCOMPARE(entry->getStateLayerId("unknown"), 700008U);
        }
    }
}

void tst_Module::hookKeepsExceptions()
{
    const auto stop = qScopeGuard([] { mkTrace::setInterceptor({}); });
    const LogLines log;
    mkMessage message("any", mkMessage::SceneLoaded);
    for (const char *failing : { "mkRenderLayer::getAttachment", "osg::traverse" }) {
        mkTrace::setInterceptor(
            [failing](const char *call) { qstrcmp(call, failing) == 0 ? throw 1 : void(); });
        QVERIFY(!module()->receivedMessage(message));
    }
    const QString line = "mkRenderLayerModule::receivedMessage : An unknown exception occurred!";
    QCOMPARE(log.lines, QStringList({ line, line }));
    mkTrace::setInterceptor({});
    send("mkRenderLayerModuleUpdateLayers");
    QCOMPARE(host->rows(), "A[a b] B[c]");
}

void tst_Module::withoutPanel()
{
    mkMessage renamed("materialRenamed");
    renamed.set("material", host->material("red"));
    delete host->panel();
    QVERIFY(!module()->getWidget());
    const HostCalls calls;
    mkController::sendMessage(renamed);
    send("mkRenderLayerModuleUpdateLayers");
    send("mkTransform::changedTransformation");
    QCOMPARE(calls.lines(), QStringList());
    mkMessage loaded("any", mkMessage::SceneLoaded);
    mkController::sendMessage(loaded);
    QCOMPARE(calls.count("osg::traverse"), 1);
    QCOMPARE(calls.commands(), QString());
}

void tst_Module::unloading()
{
    const HostCalls calls;
    host.reset();
    QCOMPARE(calls.lines({ "mkController::subCB" }).join(' '),
             "mkController::subCB(\"materialRenamed\") "
             "mkController::subCB(\"mkRenderLayerModuleUpdateLayers\") "
             "mkController::subCB(\"mkTransform::changedTransformation\")");
    QVERIFY(mkController::getModules().empty());
}

HOST_TEST_MAIN(tst_Module)
#include "tst_module.moc"
