#include "HostFixture.h"

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkUtils/mkTrace.h"

#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QUndoStack>

#include <stdexcept>
#include <thread>

namespace {

/// What an expression is worth in Python: its repr, or the name of the exception that it raises.
QString py(const QString &expression)
{
    LogLines log;
    mkScript::run(qPrintable("try: mkHost.logInfo(repr(" + expression
                             + "))\nexcept BaseException as e: mkHost.logInfo(type(e).__name__)"));
    return log.lines.join('|');
}

/// What Python prints on its sys.stderr while `action` runs.
template <typename Action>
QString errorsOf(const Action &action)
{
    mkScript::run("import io, sys\nsys.stderr = io.StringIO()");
    action();
    LogLines log;
    mkScript::run("mkHost.logInfo(sys.stderr.getvalue())\nsys.stderr = sys.__stderr__");
    return log.lines.join('|');
}

/// The stages of the start-up as a library sees them, and what scripts do before the panel exists.
QStringList stages;
const mkPythonRegister registration([](mkPythonRegisterFactory::Level level) {
    stages += QString("%1 %2").arg(level).arg(mkScript::isRunning() ? "running" : "not running");
    if (level == mkPythonRegisterFactory::AfterInterpreter) {
        stages += py("__import__('mkRenderLayerModule').createRenderLayer('Early')");
        stages += py("__import__('mkRenderLayerModule').activateRenderLayer('Early')");
        stages += py("__import__('mkRenderLayerModule').addNodesToRenderLayer("
                     "[mkHost.getRoot()], 'Early')");
        stages += py("__import__('mkRenderLayerModule').resetRenderLayers()");
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
    void docstrings_data();
    void docstrings();
    void createLayer_data();
    void createLayer();
    void addNodes_data();
    void addNodes();
    void addNodesOneByOne();
    void activate();
    void flags_data();
    void flags();
    void flagsGoDown();
    void states();
    void refusals_data();
    void refusals();
    void nodes();
    void nodesOutsideTheScene();
    void selectionAndMaterials();
    void openScene();
    void reading();
    void scripts_data();
    void scripts();
    void surroundings();
    void exceptions();
    void interruptions();
    void withoutPanel();
    void cleanupTestCase();

private:
    QString valuesOf(const QString &name) const
    {
        return HostFixture::values(mkNodeUtils::getRenderAttributes(host->node(name)));
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
    mkScript::run("n = mkHost.findNode('a')");
}

void tst_Scripting::startUp()
{
    QCOMPARE(stages.join(", "), "0 not running, 1 running, None, None, None, None, 1");
    const int imported = startUpCalls.indexOf("mkScript::run(\"import mkRenderLayerModule\")");
    QVERIFY(imported >= 0);
    QCOMPARE(startUpCalls.value(imported + 1),
             "mkScript::run(\"from mkRenderLayerModule import *\")");
    QVERIFY(startUpCalls.value(imported + 2).startsWith("mkController::addCB("));
    QCOMPARE(py("[n for n in vars(mkRenderLayerModule) if n[0] != '_']"),
             "['createRenderLayer', 'addNodesToRenderLayer', 'activateRenderLayer', "
             "'resetRenderLayers', 'setNodeVisibilityFlags', 'resetNodeVisibilityFlags', "
             "'activateRenderLayerState']");
    QCOMPARE(py("setNodeVisibilityFlags is mkRenderLayerModule.setNodeVisibilityFlags"), "True");
    QCOMPARE(py("mkRenderLayerModule.__doc__"), "None");
}

void tst_Scripting::docstrings_data()
{
    const QString name = "Activates a renderlayer.\n\n@param name: The name of the layer.\n\n"
                         "@type name: string";
    const QString node = "@param node: The root node.\n\n@type node: NodePtr";
    QString all = "Sets the visibility flags and the override material for a given node and its "
                  "children.\n\n"
                  + node;
    const std::pair<const char *, const char *> flags[] = {
        { "visible", "Visibility" },
        { "visibleInAlpha", "Visibility in alpha" },
        { "primaryVisibility", "Primary visibility" },
        { "visibleInReflections", "Visibility in reflections" },
        { "visibleInRefractions", "Visibility in refractions" },
        { "castShadows", "Cast shadows" },
        { "receiveShadows", "Receive shadows" },
        { "doubleSided", "Double sided" },
        { "visibleForPhotons", "Visible for Photons" },
        { "castShadowOnShadowMaterial",
          "If off, the objects don't cast shadows from the Ibl onto the shadow material" },
        { "useOverrideMaterial", "If off, the objects don't use the override material" },
    };
    for (const auto &flag : flags) {
        all += QString("\n\n@param %1: %2: On/Off.\n\n@type %1: bool").arg(flag.first, flag.second);
    }
    all += "\n\n@param overrideMaterial: the name of the override material, defaults to none: "
           "string.\n\n@type overrideMaterial: string";

    QTest::addColumn<QString>("text");
    QTest::newRow("createRenderLayer") << name;
    QTest::newRow("activateRenderLayer") << name;
    QTest::newRow("addNodesToRenderLayer")
        << "Add nodes to a renderlayer.\n\n@param nodes: The pointers to the nodes.\n\n@type "
           "nodeName: vector of pointers \n\n@param layerName: The name of the layer.\n\n@type "
           "layerName: string";
    QTest::newRow("resetRenderLayers") << "Resets all activated render layers.\n\n";
    QTest::newRow("setNodeVisibilityFlags") << all;
    QTest::newRow("resetNodeVisibilityFlags")
        << "Resets the node visibility flags for a given node and its children.\n\n" + node;
    QTest::newRow("activateRenderLayerState")
        << "Activates stored node visibility states for the whole scene.\n\n@param name: Stored "
           "name of the render layer state.\n\n@type name: string";
}

void tst_Scripting::docstrings()
{
    QFETCH(QString, text);
    const QString name = QTest::currentDataTag();
    LogLines log;
    mkScript::run(qPrintable("mkHost.logInfo(" + name
                             + ".__doc__)\nimport contextlib, io\n"
                               "with contextlib.redirect_stdout(io.StringIO()) as out: help("
                             + name + ")\nmkHost.logInfo(out.getvalue())"));
    QCOMPARE(log.lines.value(0), '\n' + text);
    // No signature but the one that says nothing.
    QCOMPARE(log.lines.value(1).section('\n', 2, 3),
             name + "(...)\n    " + text.section('\n', 0, 0));
}

void tst_Scripting::createLayer_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("newName");
    QTest::newRow("name") << "'Bäume'"
                          << "Bäume";
    QTest::newRow("keyword") << "name='x'"
                             << "x";
    QTest::newRow("taken") << "'A'"
                           << "A1";
    QTest::newRow("empty") << "''"
                           << "Layer";
    QTest::newRow("None") << "None"
                          << "Layer";
}

void tst_Scripting::createLayer()
{
    QFETCH(QString, call);
    QFETCH(QString, newName);
    QCOMPARE(py("createRenderLayer(" + call + ')'), "None");
    QCOMPARE(host->rows(), "A[a b] a[] " + newName + "[]");
    QVERIFY(mkController::isModified());
}

void tst_Scripting::addNodes_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("rows");
    QTest::addColumn<bool>("modified");
    const QString before = "A[a b] a[]";
    const QString after = "A[a b c d] a[]";
    QTest::newRow("list") << "[c, d], 'A'" << after << true;
    QTest::newRow("tuple, keywords") << "layerName='A', nodes=(c, d)" << after << true;
    QTest::newRow("any sequence") << "collections.deque([c, d]), 'A'" << after << true;
    QTest::newRow("None between") << "[None, c, None, d], 'A'" << after << true;
    QTest::newRow("twice") << "[c, d, c], 'A'" << after << true;
    QTest::newRow("other case") << "[c, d], 'a'"
                                << "A[a b] a[c d]" << true;
    QTest::newRow("unknown layer") << "[c], 'B'" << before << true;
    QTest::newRow("no layer") << "[c], None" << before << false;
    QTest::newRow("nothing") << "[], 'A'" << before << false;
    QTest::newRow("only None") << "[None], 'A'" << before << false;
}

void tst_Scripting::addNodes()
{
    QFETCH(QString, call);
    QFETCH(bool, modified);
    mkScript::run("import collections\nc, d = mkHost.findNode('c'), mkHost.findNode('d')");
    const HostCalls calls;
    QCOMPARE(py("addNodesToRenderLayer(" + call + ')'), "None");
    QTEST(host->rows(), "rows");
    QCOMPARE(mkController::isModified(), modified);
    QCOMPARE(calls.count("mkScenegraph::getRenderLayer") > 0, modified);
}

void tst_Scripting::addNodesOneByOne()
{
    const HostCalls calls;
    HostFixture::rebuild();
    const int readsOfARebuild = calls.count("mkRenderLayer::getAttachment");
    HostCalls::clear();
    py("addNodesToRenderLayer(mkHost.getRoot().children[2:5], 'A')");
    QCOMPARE(calls.lines({ "mkRenderLayer::addNode", "mkController::setModified" }),
             QStringList({ "mkRenderLayer::addNode(\"A\", \"c\")", "mkController::setModified(1)",
                           "mkRenderLayer::addNode(\"A\", \"d\")", "mkController::setModified(1)",
                           "mkRenderLayer::addNode(\"A\", \"e\")",
                           "mkController::setModified(1)" }));
    QCOMPARE(calls.count("mkRenderLayer::getAttachment"), 3 * readsOfARebuild);
}

void tst_Scripting::activate()
{
    // The layer "A" only; "a" is a node row of it and a layer.
    QCOMPARE(py("activateRenderLayer('A')"), "None");
    QCOMPARE(host->selected(), "A*");
    QCOMPARE(valuesOf("a"), "01111111110 Empty");
    QCOMPARE(valuesOf("b"), "11111111110 Empty");

    host->addLayer("Last", { "c" });
    host->rebuild();
    const HostCalls calls;
    QCOMPARE(py("activateRenderLayer(name='a')"), "None");
    QCOMPARE(calls.lines({ "mkRenderLayer::activate", "mkController::updateRender" }),
             QStringList({ "mkRenderLayer::activateNode(0, \"a\")",
                           "mkController::updateRender(false)", "mkRenderLayer::activateLayer(1)",
                           "mkController::updateRender(false)" }));
    QCOMPARE(host->selected(), "a*");

    // What is selected does not depend on the keys that the user holds down meanwhile.
    QWindow *const window = host->window()->windowHandle();
    QTest::keyPress(window, Qt::Key_Control, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::keyboardModifiers(), Qt::ControlModifier);
    py("activateRenderLayer('Last')");
    QTest::keyRelease(window, Qt::Key_Control);
    QCOMPARE(host->selected(), "Last*");

    HostCalls::clear();
    QCOMPARE(py("activateRenderLayer(None)"), "None");
    QCOMPARE(host->selected(), "Last*");
    QCOMPARE(py("activateRenderLayer('last')"),
             "mkRenderLayerModule::activateRenderLayer: Couldn't find layer 'last'!|None");
    QCOMPARE(host->selected(), QString());
    QCOMPARE(calls.count("mkRenderLayer::activate"), 0);
    QVERIFY(!mkController::isModified());
}

void tst_Scripting::flags_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("outcome");
    QTest::addColumn<QString>("values");
    const QString nine = "n, 1, False, 1, False, 1, False, 1, False";
    const QString byKeyword = "visible=False, visibleInAlpha=True, primaryVisibility=False, "
                              "visibleInReflections=True, visibleInRefractions=False, "
                              "castShadows=True, receiveShadows=False, doubleSided=True";
    const auto ok = [](const char *name, const QString &arguments, const QString &values) {
        QTest::newRow(name) << arguments << "None" << values;
    };
    const auto refused = [](const char *name, const QString &arguments) {
        QTest::newRow(name) << arguments << "ArgumentError"
                            << "none";
    };
    ok("9", nine, "10101010110 Empty");
    ok("10", nine + ", False", "10101010010 Empty");
    ok("10 by keyword", nine + ", visibleForPhotons=False", "10101010010 Empty");
    ok("11", nine + ", False, False", "10101010000 Empty");
    ok("12", nine + ", False, False, True", "10101010001 Empty");
    ok("13", nine + ", False, True, True, 'red'", "10101010011 red");
    ok("9 by keyword", "node=n, " + byKeyword, "01010101110 Empty");
    ok("13 by keyword",
       "overrideMaterial='blue', useOverrideMaterial=True, visibleForShadowMaterial=False, "
       "visibleForPhotons=True, node=n, "
           + byKeyword,
       "01010101101 blue");
    ok("material not used", nine + ", True, True, False, 'red'", "10101010110 Empty");
    ok("unknown material", nine + ", True, True, True, 'Red'", "10101010111 Empty");
    ok("None", "None" + nine.mid(1), "none");
    refused("8", nine.section(',', 0, 7));
    refused("14", nine + ", True, True, True, 'red', 1");
    refused("gap", nine + ", useOverrideMaterial=True, overrideMaterial='red'");
    refused("gap of one", nine + ", visibleForShadowMaterial=False");
    refused("unknown keyword", nine + ", castShadowOnShadowMaterial=True");
    refused("no node", "'a'" + nine.mid(1));
    refused("list of nodes", "[n]" + nine.mid(1));
    refused("no flag", nine.section(',', 0, 7) + ", 'x'");
    refused("no material name", nine + ", True, True, True, None");
}

void tst_Scripting::flags()
{
    QFETCH(QString, arguments);
    const HostCalls calls;
    QTEST(py("setNodeVisibilityFlags(" + arguments + ')'), "outcome");
    QTEST(valuesOf("a"), "values");
    QCOMPARE(calls.count("mkMaterials::findMaterial"),
             int(valuesOf("a").contains(QRegularExpression("^.{10}1")) ? 1 : 0));
    // The tree, the document and the render are left alone.
    QCOMPARE(host->cells("A/a"), "01111111110 Empty");
    QVERIFY(!mkController::isModified());
    QCOMPARE(calls.count("mkController::updateRender"), 0);
}

void tst_Scripting::flagsGoDown()
{
    mkScript::run("g = mkHost.findNode('group')");
    {
        const HostCalls calls;
        py("setNodeVisibilityFlags(g, *[False] * 8)");
        const QStringList lines = calls.lines(
            { "FieldContainer::changed", "Raytracing", "mkNodeUtils::apply" });
        QCOMPARE(lines.mid(0, 4).join('\n'),
                 QStringList({ "RaytracingGeoAttachment::create()",
                               "FieldContainer::changed(\"group\", 0, External)",
                               "FieldContainer::changed(RaytracingGeoAttachment, all, External)",
                               "mkNodeUtils::applyRenderLayerAttributes(\"group\", "
                               "RaytracingGeoAttachment)" })
                     .join('\n'));
    }
    const auto attachment = mkNodeUtils::getRenderAttributes(host->node("group"));
    QCOMPARE(valuesOf("g2"), "00000000110 Empty");
    QCOMPARE(valuesOf("a"), "none");
    py("setNodeVisibilityFlags(g, *[True] * 11, 'red')");
    QVERIFY(mkNodeUtils::getRenderAttributes(host->node("group")) == attachment);
    QCOMPARE(valuesOf("g1"), "11111111111 red");

    QCOMPARE(py("resetNodeVisibilityFlags(node=mkHost.findNode('g1'))"), "None");
    QCOMPARE(valuesOf("g1"), "11111111110 Empty");
    QCOMPARE(valuesOf("g2"), "11111111111 red");
    QCOMPARE(py("resetNodeVisibilityFlags(None)"), "None");
    QCOMPARE(py("resetRenderLayers()"), "None");
    QCOMPARE(valuesOf("g2"), "11111111110 Empty");
    QCOMPARE(valuesOf("a"), "none");
}

void tst_Scripting::states()
{
    // A drawable below a drawable, and one that has lost its attributes.
    const osg::NodePtr below = osg::Node::create();
    below->setName("below");
    below->setCore(osg::Geometry::create());
    host->node("a")->addChild(below);
    mkScript::run("flags = lambda name, on: setNodeVisibilityFlags(mkHost.findNode(name), *[on] * "
                  "8)\nflags('scene', False)");
    QCOMPARE(py("mkHost.storeRenderLayerState('Dark')"), "8");
    QVERIFY(mkController::isModified());
    mkScript::run("resetRenderLayers()\nsetNodeVisibilityFlags(n, *[True] * 11, 'red')");
    host->node("b")->subAttachment(osg::RaytracingGeoAttachment::_type.getGroupId());
    py("flags('c', False)");
    mkController::setModified(0);

    const HostCalls calls;
    QCOMPARE(py("activateRenderLayerState(None)"), "None");
    QCOMPARE(valuesOf("a"), "11111111111 red");
    QCOMPARE(py("activateRenderLayerState(name='Dark')"), "None");
    QCOMPARE(valuesOf("a"), "00000000110 Empty");
    QCOMPARE(valuesOf("below"), "11111111111 red"); // not descended to
    QCOMPARE(valuesOf("g2"), "00000000110 Empty");
    QCOMPARE(valuesOf("group"), "11111111110 Empty"); // no drawable
    QCOMPARE(valuesOf("b"), "none");

    // An unknown name, which case makes it, resets every drawable that has attributes.
    mkScript::run("flags('group', False)");
    QCOMPARE(py("activateRenderLayerState('dark')"), "None");
    for (const char *name : { "a", "below", "c", "g1" }) {
        QCOMPARE(valuesOf(name), "11111111110 Empty");
    }
    QCOMPARE(valuesOf("group"), "00000000110 Empty");
    QCOMPARE(valuesOf("b"), "none");
    QVERIFY(!mkController::isModified());
    QCOMPARE(calls.count("mkController::updateRender"), 0);
    QCOMPARE(py("mkHost.storeRenderLayerState('')"), "ValueError");
}

void tst_Scripting::refusals_data()
{
    QTest::addColumn<QString>("exception");
    const char *const refused[] = {
        "createRenderLayer()",
        "createRenderLayer(1)",
        "createRenderLayer(b'x')",
        "createRenderLayer('x', 'y')",
        "createRenderLayer(title='x')",
        "addNodesToRenderLayer([n])",
        "addNodesToRenderLayer(n, 'A')",
        "addNodesToRenderLayer('', 'A')",
        "addNodesToRenderLayer(b'', 'A')",
        "addNodesToRenderLayer('abc', 'A')",
        "addNodesToRenderLayer(None, 'A')",
        "addNodesToRenderLayer([n, 1], 'A')",
        "addNodesToRenderLayer({n}, 'A')",
        "addNodesToRenderLayer({0: n}, 'A')",
        "addNodesToRenderLayer(iter([n]), 'A')",
        "addNodesToRenderLayer([n], 1)",
        "activateRenderLayer(n)",
        "resetRenderLayers(1)",
        "resetNodeVisibilityFlags()",
        "resetNodeVisibilityFlags('a')",
        "activateRenderLayerState(1)",
        "mkHost.findNode(None)",
        "mkHost.getNodeAttributes(None)",
        "mkHost.selectNodes([1])",
    };
    for (const char *call : refused) {
        QTest::newRow(call) << "ArgumentError";
    }
    QTest::newRow("createRenderLayer('\\ud800')") << "UnicodeEncodeError";
}

void tst_Scripting::refusals()
{
    const HostCalls calls;
    QTEST(py(QTest::currentDataTag()), "exception");
    QCOMPARE(host->rows(), "A[a b] a[]");
    QCOMPARE(calls.lines().size(), 1); // the statement itself
}

void tst_Scripting::nodes()
{
    const std::map<const char *, const char *> facts{
        { "mkHost.getRoot()", "<mkHost.Node '/scene'>" },
        { "mkHost.getRoot().parent", "None" },
        { "[c.name for c in mkHost.getRoot().children]", "['a', 'b', 'c', 'd', 'e', 'group']" },
        { "(n.name, n.path, n.kind, n.alive)", "('a', '/scene/a', 'Geometry', True)" },
        { "n == mkHost.findNode('a') and n != mkHost.findNode('b') and n != 'a'", "True" },
        { "{n: 1}[mkHost.getRoot().children[0]]", "1" },
        { "mkHost.findNode('g2').parent", "<mkHost.Node '/scene/group'>" },
        { "mkHost.findNode('A')", "None" },
        { "mkHost.findNodeByPath('/scene/group/g2')", "<mkHost.Node '/scene/group/g2'>" },
        { "mkHost.findNodeByPath('/scene')", "<mkHost.Node '/scene'>" },
        { "[mkHost.findNodeByPath(p) for p in ('', '/', 'scene', '/scene/', '/scene/g2', '/sce')]",
          "[None, None, None, None, None, None]" },
        { "setattr(n, 'nmae', 1)", "AttributeError" },
        { "setattr(n, 'name', 'x')", "AttributeError" },
        { "mkHost.Node()", "RuntimeError" },
    };
    for (const auto &fact : facts) {
        QCOMPARE(py(fact.first), fact.second);
    }

    // Names that occur twice, and one with a slash.
    host->node("a")->setName("group");
    host->node("g1")->setName("x/y");
    QCOMPARE(py("mkHost.findNode('group').kind"), "'Geometry'");
    QCOMPARE(py("[m.kind for m in mkHost.findNodes('group')]"), "['Geometry', 'Group']");
    QCOMPARE(py("mkHost.findNodeByPath('/scene/group/x/y').kind"), "'Geometry'");
}

void tst_Scripting::nodesOutsideTheScene()
{
    mkScript::run("g, g1 = mkHost.findNode('group'), mkHost.findNode('g1')\n"
                  "addNodesToRenderLayer([g1], 'A')");
    mkScenegraph::removeNode(host->node("group"));
    QCOMPARE(py("g"), "<mkHost.Node 'group', not in the scene>");
    QCOMPARE(py("(g.alive, g1.alive, g == g1, hash(g) == hash(g))"), "(False, False, False, True)");
    for (const char *use :
         { "g.name", "g.path", "g.kind", "g1.parent", "g.children", "mkHost.getNodeAttributes(g)",
           "resetNodeVisibilityFlags(g)", "addNodesToRenderLayer([n, g], 'a')" }) {
        QCOMPARE(py(use), "ReferenceError");
    }
    QCOMPARE(host->rows(), "A[a b g1] a[]");
    QCOMPARE(py("mkHost.getLayerNodes('A')[2]"), "<mkHost.Node 'g1', not in the scene>");
    QCOMPARE(py("mkHost.getLayerAttributes('A', g1)['visible']"), "True");

    // The scene that a script's nodes come from may be gone altogether.
    host->reset();
    QCOMPARE(py("n"), "<mkHost.Node 'a', not in the scene>");
    QCOMPARE(py("n == mkHost.findNode('a')"), "False");
    QVERIFY(errorsOf([] {
                mkScript::run("n.name");
            }).contains("ReferenceError: The node 'a' is not in the scene any more."));
}

void tst_Scripting::selectionAndMaterials()
{
    py("mkHost.selectNodes([mkHost.findNode('c'), None, n])");
    QCOMPARE(py("[m.name for m in mkHost.getSelectedNodes()]"), "['c', 'a']");
    py("mkHost.selectNodes(())");
    QCOMPARE(py("mkHost.getSelectedNodes()"), "[]");
    mkUndo::stack()->undo();
    QCOMPARE(int(mkSelectionManager::getSelectedNodes().size()), 2);

    HostFixture::material("blue")->setColor({ 0, 0.5, 1, 1 });
    QCOMPARE(py("mkHost.getMaterialNames()"), "['red', 'blue']");
    QCOMPARE(py("mkHost.getMaterialColor('blue')"), "(0.0, 0.5, 1.0, 1.0)");
    QCOMPARE(py("mkHost.getMaterialColor('Blue')"), "None");
}

void tst_Scripting::openScene()
{
    const auto noReader = qScopeGuard([] { mkScenegraph::setReader({}); });
    mkScenegraph::setReader([](const QString &file) {
        if (file != "ok.gltf") {
            throw std::runtime_error("There is no such file.");
        }
        mkScenegraph::Document document;
        document.root = osg::Node::create();
        document.root->setName("new");
        document.file = file;
        return document;
    });
    QCOMPARE(py("mkHost.openScene('missing.gltf')"), "RuntimeError");
    QCOMPARE(py("(mkHost.getRoot().name, mkHost.getSceneFile())"), "('scene', '')");
    QCOMPARE(py("mkHost.openScene(file='ok.gltf')"), "None");
    QCOMPARE(py("(mkHost.getRoot().name, mkHost.getSceneFile())"), "('new', 'ok.gltf')");
    QCOMPARE(py("mkHost.getRoot().kind"), "''");
}

void tst_Scripting::reading()
{
    QCOMPARE(py("mkHost.getLayerNames()"), "['A', 'a']");
    QCOMPARE(py("[m.name for m in mkHost.getLayerNodes('A')]"), "['a', 'b']");
    QCOMPARE(py("mkHost.getLayerAttributes('A', n)['visible']"), "False");
    QCOMPARE(py("mkHost.getLayerNodes('B')"), "LookupError");
    QCOMPARE(py("mkHost.getLayerAttributes('a', n)"), "LookupError");
    QCOMPARE(py("mkHost.getNodeAttributes(n)"), "None");

    // What is read has the setter's keywords and the right values.
    py("setNodeVisibilityFlags(n, 1, 0, 0, 1, 1, 0, 1, 0, 1, 0, 1, 'red')");
    QCOMPARE(py("setNodeVisibilityFlags(mkHost.findNode('b'), **mkHost.getNodeAttributes(n))"),
             "None");
    QCOMPARE(valuesOf("b"), "10011010101 red");
    host->store()->getAttachment()->getLayer(0)->replaceAttributes(host->node("a"), osg::NullFC);
    QCOMPARE(py("mkHost.getLayerAttributes('A', n)"), "None");

    LogLines log;
    mkScript::run("mkHost.logInfo('50% ä'); mkHost.logWarning('w'); mkHost.logError(text='e')");
    QCOMPARE(log.lines.join(' '), "50% ä w e");
    mkScript::run("import pydoc\nmkHost.logInfo(pydoc.plain(pydoc.render_doc(mkHost)))");
    for (const char *name : { "findNodeByPath(...)", "class Node", "storeRenderLayerState(...)" }) {
        QVERIFY(log.lines.last().contains(name));
    }
}

void tst_Scripting::scripts_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("errors");
    const auto row = [](const char *name, const QByteArray &source, int status,
                        const QString &errors = {}) {
        QTest::newRow(name) << source << status << errors;
    };
    row("fine", "x = 1\r\nassert __name__ == '__main__'", 0);
    row("encoding line", "# -*- coding: latin-1 -*-\nassert '\xe4' == '\\xe4'", 0);
    row("exit", "raise SystemExit", 0);
    row("exit 0", "import sys\nsys.exit(0)\n1 / 0", 0);
    row("exit 3", "import sys\nsys.exit(3)", 3);
    row("exit text", "import sys\nsys.exit('no layer')", 1, "^no layer\n$");
    row("raises", "def f():\n    return 1 / 0\n\nf()", 1,
        "^Traceback \\(most recent call last\\):\n  File \"/.*/script.py\", line 4, in <module>\n"
        "    f\\(\\)\n  File \"/.*/script.py\", line 2, in f\n    return 1 / 0\n(.*\n)?"
        "ZeroDivisionError: division by zero\n$");
    row("syntax", "x = 1\nx =", 1, "File \"/.*/script.py\", line 2\n(.*\n)*SyntaxError:");
    row("null byte", QByteArray("x = 1\0y", 7), 1, "Error: source code string cannot contain null");
    row("not UTF-8", "x = '\xff'", 1, "SyntaxError: .*utf-8");
}

void tst_Scripting::scripts()
{
    QFETCH(QByteArray, source);
    QFETCH(int, status);
    QFETCH(QString, errors);
    const QTemporaryDir directory;
    QFile file(directory.filePath("script.py"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(source) == source.size());
    file.close();
    bool ok = false;
    int exitStatus = -1;
    const QString printed = errorsOf([&] {
        ok = mkScript::runFile(file.fileName());
        exitStatus = mkScript::getExitStatus();
    });
    QCOMPARE(ok, status == 0);
    QCOMPARE(exitStatus, status);
    QVERIFY2(printed.contains(QRegularExpression(errors)), qPrintable(printed));
    QCOMPARE(printed.isEmpty(), errors.isEmpty());
}

void tst_Scripting::surroundings()
{
    const QTemporaryDir directory;
    QDir::setCurrent(directory.path());
    QFile file("script.py");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("import sys, os\nseen = sys.argv, os.path.isabs(__file__), os.path.samefile("
               "sys.path[0], os.path.dirname(__file__))");
    file.close();
    const QString before = py("sys.argv, sys.path");
    QVERIFY(mkScript::runFile("script.py", { "--layer", "Bäume" }));
    QCOMPARE(py("seen"), "(['script.py', '--layer', 'Bäume'], True, True)");
    QCOMPARE(py("sys.argv, sys.path"), before);
    QCOMPARE(py("__file__"), "NameError");

    for (const char *missing : { "missing.py", "." }) {
        bool ok = true;
        const QString printed = errorsOf([&] { ok = mkScript::runFile(missing); });
        QVERIFY(!ok);
        QVERIFY2(printed.startsWith(QString("Couldn't read the script '%1': ").arg(missing)),
                 qPrintable(printed));
    }
    QVERIFY(!mkScript::run(nullptr));
}

void tst_Scripting::exceptions()
{
    // From C++ through Python and back, in a host function and in one of the plug-in.
    const auto off = qScopeGuard([] { mkTrace::setInterceptor({}); });
    mkTrace::setInterceptor([](const char *call) -> bool {
        if (!qstrcmp(call, "mkRenderLayer::addLayer") || !qstrcmp(call, "osg::traverse")) {
            throw std::runtime_error("the host is out of order");
        }
        return true;
    });
    for (const char *call : { "createRenderLayer('x')", "mkHost.findNode('a')" }) {
        const QString printed = errorsOf([call] { QVERIFY(!mkScript::run(call)); });
        QVERIFY2(printed.startsWith("Traceback")
                     && printed.endsWith("RuntimeError: the host is out of order\n"),
                 qPrintable(printed));
    }
    mkTrace::setInterceptor({});
    QCOMPARE(py("createRenderLayer('x')"), "None");

    // Where only the rebuild fails, what was added is shown and not lost.
    for (const char *call : { "createRenderLayer('y')", "addNodesToRenderLayer([n], 'y')" }) {
        mkController::setModified(0);
        bool failed = false;
        mkTrace::setInterceptor([&failed](const char *name) -> bool {
            if (!qstrcmp(name, "mkRenderLayer::getAttachment") && !std::exchange(failed, true)) {
                throw std::runtime_error("the host is out of order");
            }
            return true;
        });
        QVERIFY(errorsOf([call] { QVERIFY(!mkScript::run(call)); }).contains("out of order"));
        mkTrace::setInterceptor({});
        QCOMPARE(host->rows(), HostFixture::stored());
        QVERIFY(mkController::isModified());
    }
    QCOMPARE(HostFixture::stored(), "A[a b] a[] x[] y[a]");
}

void tst_Scripting::interruptions()
{
    bool ok = true;
    std::thread other([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        mkScript::interrupt();
    });
    const QString printed = errorsOf([&] { ok = mkScript::run("while True: pass"); });
    other.join();
    QVERIFY(!ok);
    QVERIFY2(printed.endsWith("KeyboardInterrupt\n"), qPrintable(printed));

    // Nothing runs: nothing is interrupted, now or later.
    mkScript::interrupt();
    QVERIFY(mkScript::run("for i in range(100000): pass"));

    // The heartbeat runs within a statement, may run Python itself, and is not left on.
    int beats = 0;
    bool busy = false;
    mkScript::setHeartbeat([&] {
        busy = mkScript::isBusy();
        mkScript::run("beats = True");
        if (++beats == 3) {
            mkScript::interrupt();
        }
    });
    errorsOf([&] { ok = mkScript::run("beats = False\nwhile True: pass"); });
    QVERIFY(!ok);
    QCOMPARE(beats, 3);
    QVERIFY(busy);
    QCOMPARE(py("beats"), "True");
    mkScript::setHeartbeat({});
    errorsOf([] {
        mkScript::run("import time\nend = time.time() + 0.2\nwhile time.time() < end: pass");
    });
    QCOMPARE(beats, 3);
    QVERIFY(!mkScript::isBusy());
}

void tst_Scripting::withoutPanel()
{
    host->addLayer("X");
    py("setNodeVisibilityFlags(n, *[False] * 8)");
    delete host->panel();
    const QString before = HostFixture::stored();
    QCOMPARE(py("createRenderLayer('Y')"), "None");
    QCOMPARE(py("addNodesToRenderLayer([n], 'X')"), "None");
    QCOMPARE(py("activateRenderLayer('nope')"), "None");
    QCOMPARE(HostFixture::stored(), before);
    QVERIFY(!mkController::isModified());
    QCOMPARE(py("resetRenderLayers()"), "None");
    QCOMPARE(valuesOf("a"), "11111111110 Empty");
    QCOMPARE(py("setNodeVisibilityFlags(n, *[False] * 8)"), "None");
    QCOMPARE(valuesOf("a"), "00000000110 Empty");
}

void tst_Scripting::cleanupTestCase()
{
    LogLines log;
    mkScript::run("import atexit\natexit.register(mkHost.logInfo, 'bye')");
    mkScript::stop();
    QCOMPARE(log.lines.join('|'), "bye");
    QVERIFY(!mkScript::isRunning());
    QVERIFY(!mkScript::run("mkHost.logInfo('again')"));
    mkScript::start();
    QVERIFY(!mkScript::isRunning());
}

HOST_TEST_MAIN(tst_Scripting)
#include "tst_scripting.moc"
