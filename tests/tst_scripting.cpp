#include "HostFixture.h"

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QTest>

#include <stdexcept>

namespace {

/// The stages of the start-up as a library sees them, and what scripts do before the panel exists.
QStringList stages;
const mkPythonRegister registration([](mkPythonRegisterFactory::Level level) {
    stages += QString("%1 %2").arg(level).arg(mkScript::isRunning());
    if (level == mkPythonRegisterFactory::AfterInterpreter) {
        for (const char *call :
             { "createRenderLayer('Early')", "activateRenderLayer('Early')",
               "addNodesToRenderLayer([mkHost.getRoot()], 'Early')", "resetRenderLayers()" }) {
            stages += HostFixture::python(QString("__import__('mkRenderLayerModule').") + call);
        }
        stages += QString::number(mkScenegraph::getRenderLayer()->isEmpty());
    }
});

} // namespace

/// Python: start-up, the plug-in's seven functions, the host's module, scripts, the end.
class tst_Scripting : public QObject
{
    Q_OBJECT

public:
    tst_Scripting();

private Q_SLOTS:
    void init();
    void startUp();
    void createLayer();
    void addNodes();
    void activate();
    void flags();
    void flagsGoDown();
    void states();
    void refusals();
    void nodes();
    void exceptions();
    void withoutPanel();

private:
    /// What nodes have of their own.
    QString values(const QStringList &names) const
    {
        QStringList texts;
        for (const QString &name : names) {
            texts += host->values(mkNodeUtils::getRenderAttributes(host->node(name)));
        }
        return texts.join(", ");
    }

    std::unique_ptr<HostFixture> host;
    QStringList startUpCalls;
};

tst_Scripting::tst_Scripting()
{
    const HostCalls calls;
    host = std::make_unique<HostFixture>(true);
    startUpCalls = calls.lines({ "mkScript::run", "mkController::addCB" });
}

void tst_Scripting::init()
{
    host->reset();
    host->addLayer("A", { "a", "b" });
    host->addLayer("a");
    HostFixture::flag(host->attributes(0, "a"), 1) = false;
    host->rebuild();
    mkScript::run("n, b, c, d, e, group = mkHost.getRoot().children");
}

void tst_Scripting::startUp()
{
    QCOMPARE(stages.join(", "), "0 0, 1 1, None, None, None, None, 1");
    const QString calls = startUpCalls.join(' ');
    QVERIFY(calls.contains("mkScript::run(\"import mkRenderLayerModule\") "
                           "mkScript::run(\"from mkRenderLayerModule import *\") "
                           "mkController::addCB("));
    // A stage that this version of the plug-in does not know.
    const HostCalls later;
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::Level(2));
    QCOMPARE(later.lines(), QStringList());
    // The texts are long and stand nowhere else; that none begins with a signature is in the sums.
    mkScript::run("import hashlib\n"
                  "seven = [f for n, f in vars(mkRenderLayerModule).items() if n[0] != '_']");
    host->expect(
        { { "[f.__name__ for f in seven]",
            "['createRenderLayer', 'addNodesToRenderLayer', 'activateRenderLayer', "
            "'resetRenderLayers', 'setNodeVisibilityFlags', 'resetNodeVisibilityFlags', "
            "'activateRenderLayerState']" },
          { "[hashlib.md5(f.__doc__.encode()).hexdigest()[:8] for f in seven]",
            "['e46a7575', '537fb85d', 'e46a7575', '859af288', 'd6c9333a', '3df0ccf5', "
            "'5c9b3d78']" },
          { "setNodeVisibilityFlags is mkRenderLayerModule.setNodeVisibilityFlags", "True" },
          { "mkRenderLayerModule.__doc__", "None" } });
}

void tst_Scripting::createLayer()
{
    for (const char *name : { "'Bäume'", "name='x'", "'A'", "''", "None" }) {
        mkController::setModified(0);
        host->expect({ { QString("createRenderLayer(%1)").arg(name), "None" } });
        QVERIFY(mkController::isModified());
    }
    QCOMPARE(host->rows(), "A[a b] a[] Bäume[] x[] A1[] Layer[] Layer1[]");
}

void tst_Scripting::addNodes()
{
    const auto add = [this](const QString &arguments, const QString &layer, const QString &added) {
        init();
        QStringList commands;
        for (const QChar node : added) {
            commands += QString("addNode(%1, %2) rebuild setModified(1)").arg(layer).arg(node);
        }
        const HostCalls calls;
        host->expect({ { "addNodesToRenderLayer(" + arguments + ')', "None" } });
        QCOMPARE(arguments + ": " + calls.commands(), arguments + ": " + commands.join(' '));
        QCOMPARE(host->rows(), HostFixture::stored());
    };
    add("layerName='A', nodes=(c, d)", "A", "cd");
    add("__import__('collections').deque([None, c, None, d, c]), 'A'", "A", "cdc");
    QCOMPARE(host->rows(), "A[a b c d] a[]");
    add("[c], 'B'", "B", "c");
    for (const char *nothing : { "[c], None", "[], 'A'", "[None], 'A'" }) {
        add(nothing, "", "");
    }
    host->node("c")->setName(std::string(60, 'c'));
    host->tree()->setColumnWidth(0, 1);
    const int narrow = host->tree()->columnWidth(0);
    host->python("addNodesToRenderLayer([c], 'a')");
    QVERIFY(host->tree()->columnWidth(0) > 2 * narrow);
}

void tst_Scripting::activate()
{
    const HostCalls calls;
    // "a" is a node row and a layer; what differs in case is another one.
    host->expect({ { "activateRenderLayer(name='a')", "None" } });
    QCOMPARE(calls.commands(),
             "activateNode(0, a) updateRender(false) activateLayer(1) updateRender(false)");
    QCOMPARE(host->selected(), "a*");
    QCOMPARE(values({ "a", "b" }), "01111111110 Empty, none");
    // What is selected does not depend on the keys that the user holds down meanwhile.
    QWindow *const window = host->window()->windowHandle();
    QTest::keyPress(window, Qt::Key_Control, Qt::ControlModifier);
    host->python("activateRenderLayer('A')");
    QTest::keyRelease(window, Qt::Key_Control);
    QCOMPARE(host->selected(), "A*");
    HostCalls::clear();
    host->expect({ { "activateRenderLayer(None)", "None" } });
    QCOMPARE(host->selected(), "A*");
    host->expect({ { "activateRenderLayer('B')",
                     "mkRenderLayerModule::activateRenderLayer: Couldn't find layer 'B'!|None" } });
    QCOMPARE(host->selected() + calls.commands(), QString());
}

void tst_Scripting::flags()
{
    const auto set = [this](const QString &arguments, const char *expected,
                            const char *result = "None") {
        init();
        host->expect({ { "setNodeVisibilityFlags(" + arguments + ')', result } });
        QCOMPARE(arguments + " sets " + values({ "a" }), arguments + " sets " + expected);
        // The tree, the document and the render are left alone.
        QCOMPARE(host->cells("A/a"), "01111111110 Empty");
        QVERIFY(!mkController::isModified());
    };
    const QString nine = "n, 1, False, 1, False, 1, False, 1, False";
    set(nine, "10101010110 Empty");
    set(nine + ", False, False, True", "10101010001 Empty");
    set(nine + ", False, True, True, 'red'", "10101010011 red");
    set(nine + ", True, True, False, 'red'", "10101010110 Empty");
    set(nine + ", True, True, True, 'Red'", "10101010111 Empty");
    set("overrideMaterial='blue', useOverrideMaterial=True, visibleForShadowMaterial=False, "
        "visibleForPhotons=True, node=n, visible=False, visibleInAlpha=True, "
        "primaryVisibility=False, visibleInReflections=True, visibleInRefractions=False, "
        "castShadows=True, receiveShadows=False, doubleSided=True",
        "01010101101 blue");
    set("None" + nine.mid(1), "none");
    // Too few, not in one run, and not the keyword of the docstring.
    set(nine.section(',', 0, 7), "none", "ArgumentError");
    set(nine + ", visibleForShadowMaterial=False", "none", "ArgumentError");
    set(nine + ", castShadowOnShadowMaterial=True", "none", "ArgumentError");
}

void tst_Scripting::flagsGoDown()
{
    const HostCalls calls;
    // When the node is told, the attributes are there.
    QList<bool> attached;
    {
        const Interception interception([&](const char *call) {
            if (!qstrcmp(call, "FieldContainer::changed")) {
                attached += bool(mkNodeUtils::getRenderAttributes(host->node("group")));
            }
        });
        host->python("setNodeVisibilityFlags(group, *[False] * 8)");
    }
    QVERIFY(attached.value(0));
    QCOMPARE(calls.lines({ "FieldContainer::changed", "Raytracing", "mkNodeUtils::apply" })
                 .mid(0, 4)
                 .join('\n'),
             "RaytracingGeoAttachment::create()\n"
             "FieldContainer::changed(\"group\", 0, External)\n"
             "FieldContainer::changed(RaytracingGeoAttachment, all, External)\n"
             "mkNodeUtils::applyRenderLayerAttributes(\"group\", RaytracingGeoAttachment)");
    const auto attachment = mkNodeUtils::getRenderAttributes(host->node("group"));
    {
        const Announcements announced(attachment);
        host->python("setNodeVisibilityFlags(group, *[True] * 11, 'red')");
        QCOMPARE(announced.lines.value(0), "11111111111 red all");
    }
    QVERIFY(mkNodeUtils::getRenderAttributes(host->node("group")) == attachment);
    HostCalls::clear();
    host->expect({ { "resetNodeVisibilityFlags(node=mkHost.findNode('g1'))", "None" },
                   { "resetNodeVisibilityFlags(None)", "None" } });
    QCOMPARE(calls.lines({ "mkNodeUtils::reset" }).size(), 1);
    QCOMPARE(values({ "group", "g1", "a" }), "11111111111 red, 11111111110 Empty, none");
    host->expect({ { "resetRenderLayers()", "None" } });
    QCOMPARE(values({ "group", "g2" }), "11111111110 Empty, 11111111110 Empty");
}

void tst_Scripting::states()
{
    // A drawable below a drawable, and one that has lost its attributes.
    const osg::NodePtr below = osg::Node::create();
    below->setName("below");
    below->setCore(osg::Geometry::create());
    host->node("a")->addChild(below);
    host->python("setNodeVisibilityFlags(mkHost.getRoot(), *[False] * 8)");
    host->expect({ { "mkHost.storeRenderLayerState('Dark')", "8" },
                   { "mkHost.storeRenderLayerState('')", "ValueError" } });
    mkScript::run("resetRenderLayers()\nsetNodeVisibilityFlags(n, *[True] * 11, 'red')");
    host->node("b")->addChild(host->node("c"));
    host->node("b")->subAttachment(osg::RaytracingGeoAttachment::_type.getGroupId());
    mkController::setModified(0);
    host->expect({ { "activateRenderLayerState(None)", "None" } });
    QCOMPARE(values({ "a" }), "11111111111 red");
    // Nothing below a drawable is restored, and nothing but drawables.
    host->expect({ { "activateRenderLayerState(name='Dark')", "None" } });
    QCOMPARE(values({ "a", "below", "g2", "group", "b", "c" }),
             "00000000110 Empty, 11111111111 red, 00000000110 Empty, 11111111110 Empty, none, "
             "00000000110 Empty");
    // An unknown name, which case makes it, resets every drawable that has attributes.
    host->python("setNodeVisibilityFlags(group, *[False] * 8)");
    host->expect({ { "activateRenderLayerState('dark')", "None" } });
    QCOMPARE(values({ "a", "below", "g1", "group", "b" }),
             "11111111110 Empty, 11111111110 Empty, 11111111110 Empty, 00000000110 Empty, none");
    QVERIFY(!mkController::isModified());
}

void tst_Scripting::refusals()
{
    for (const char *call :
         { "createRenderLayer(b'x')", "createRenderLayer(title='x')", "resetRenderLayers(1)",
           "addNodesToRenderLayer(None, 'A')", "addNodesToRenderLayer([n, 1], 'A')",
           "resetNodeVisibilityFlags('a')" }) {
        const HostCalls calls;
        host->expect({ { call, "ArgumentError" } });
        QCOMPARE(calls.lines().size(), 1); // the statement itself
    }
}

void tst_Scripting::nodes()
{
    // What is read has the setter's keywords.
    host->expect({ { "setNodeVisibilityFlags(n, 1, 0, 0, 1, 1, 0, 1, 0, 1, 0, 1, 'red')", "None" },
                   { "setNodeVisibilityFlags(b, **mkHost.getNodeAttributes(n))", "None" },
                   { "(n.name, n.path, n.kind, n.alive)", "('a', '/scene/a', 'Geometry', True)" },
                   { "n == mkHost.findNode('a') and n != b and n != 'a'", "True" },
                   { "mkHost.findNodeByPath('/scene/group/g2').parent == group", "True" },
                   { "mkHost.findNodeByPath('/scene/')", "None" },
                   { "setattr(n, 'nmae', 1)", "AttributeError" },
                   { "mkHost.getLayerNodes('A') == [n, b]", "True" },
                   { "mkHost.getLayerNodes('B')", "LookupError" },
                   { "mkHost.getLayerAttributes('a', n)", "LookupError" },
                   { "addNodesToRenderLayer([group], 'A')", "None" } });
    QCOMPARE(values({ "b" }), "10011010101 red");
    mkScenegraph::removeNode(host->node("group"));
    host->expect({ { "group", "<mkHost.Node 'group', not in the scene>" },
                   { "(group.alive, group in {group}, group == n)", "(False, True, False)" },
                   { "group.children", "ReferenceError" },
                   { "addNodesToRenderLayer([n, group], 'a')", "ReferenceError" } });
    QCOMPARE(host->rows(), "A[a b group] a[]");
    host->reset();
    host->expect({ { "n.name", "ReferenceError: The node 'a' is not in the scene any more." } });
}

/// From C++ through Python and back, in a host function and in the plug-in's.
void tst_Scripting::exceptions()
{
    const auto failsAt = [](const char *hostCall, const char *statement) {
        bool failed = false;
        const Interception interception([&failed, hostCall](const char *call) {
            if (!qstrcmp(call, hostCall) && !std::exchange(failed, true)) {
                throw std::runtime_error("out of order");
            }
        });
        HostFixture::expect({ { statement, "RuntimeError: out of order" } });
    };
    failsAt("osg::traverse", "mkHost.findNode('a')");
    failsAt("mkRenderLayer::addLayer", "createRenderLayer('x')");
    // Where only the rebuild fails, the next one shows what was added.
    for (const char *statement : { "createRenderLayer('y')", "addNodesToRenderLayer([n], 'y')" }) {
        mkController::setModified(0);
        failsAt("mkRenderLayer::getAttachment", statement);
        host->python("activateRenderLayer('y')");
        QCOMPARE(host->selected(), "y*");
        QCOMPARE(host->rows(), HostFixture::stored());
        QVERIFY(mkController::isModified());
    }
    QCOMPARE(HostFixture::stored(), "A[a b] a[] y[a]");
}

void tst_Scripting::withoutPanel()
{
    {
        const Interception closing([this](const char *call) {
            if (!qstrcmp(call, "mkRenderLayer::activateNode")) {
                delete host->panel();
            }
        });
        host->python("activateRenderLayer('a')");
    }
    QVERIFY(!host->panel());
    const QString before = HostFixture::stored();
    host->expect({ { "createRenderLayer('Y')", "None" },
                   { "addNodesToRenderLayer([n], 'A')", "None" },
                   { "activateRenderLayer('nope')", "None" },
                   { "setNodeVisibilityFlags(n, *[False] * 8)", "None" } });
    QCOMPARE(HostFixture::stored(), before);
    QCOMPARE(values({ "a" }), "00000000110 Empty");
    host->expect({ { "resetRenderLayers()", "None" } });
    QCOMPARE(values({ "a" }), "11111111110 Empty");
    QVERIFY(!mkController::isModified());
    // Python keeps the module and its name.
    host->unloadPlugin();
    QVERIFY(mkScript::run("import colorsys, gc; gc.collect()"));
}

QTEST_MAIN(tst_Scripting)
#include "tst_scripting.moc"
