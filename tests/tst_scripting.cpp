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

#include <QRegularExpression>
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

/// What each expression is worth, one a line.
void expect(std::initializer_list<std::pair<QString, QString>> values)
{
    for (const auto &[expression, value] : values) {
        QCOMPARE(expression + " gives " + py(expression), expression + " gives " + value);
    }
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
        for (const char *call :
             { "createRenderLayer('Early')", "activateRenderLayer('Early')",
               "addNodesToRenderLayer([mkHost.getRoot()], 'Early')", "resetRenderLayers()" }) {
            stages += py(QString("__import__('mkRenderLayerModule').") + call);
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
    void docstrings();
    void createLayer();
    void addNodes();
    void activate();
    void flags();
    void flagsGoDown();
    void states();
    void refusals();
    void nodes();
    void nodesOutsideTheScene();
    void openScene();
    void reading();
    void scripts();
    void exceptions();
    void interruptions();
    void withoutPanel();
    void cleanupTestCase();

private:
    QString valuesOf(const QString &name) const
    {
        return HostFixture::values(mkNodeUtils::getRenderAttributes(host->node(name)));
    }
    /// Of several nodes, each after its name.
    QString values(const QStringList &names) const
    {
        QStringList texts;
        for (const QString &name : names) {
            texts += name + ' ' + valuesOf(name);
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
    QCOMPARE(stages.join(", "), "0 not running, 1 running, None, None, None, None, 1");
    const int imported = startUpCalls.indexOf("mkScript::run(\"import mkRenderLayerModule\")");
    QVERIFY(imported >= 0);
    QCOMPARE(startUpCalls.value(imported + 1),
             "mkScript::run(\"from mkRenderLayerModule import *\")");
    QVERIFY(startUpCalls.value(imported + 2).startsWith("mkController::addCB("));
    // A stage that this version of the plug-in does not know.
    const HostCalls calls;
    mkPythonRegisterFactory::run(mkPythonRegisterFactory::Level(2));
    QCOMPARE(calls.lines(), QStringList());
    expect({ { "[n for n in vars(mkRenderLayerModule) if n[0] != '_']",
               "['createRenderLayer', 'addNodesToRenderLayer', 'activateRenderLayer', "
               "'resetRenderLayers', 'setNodeVisibilityFlags', 'resetNodeVisibilityFlags', "
               "'activateRenderLayerState']" },
             { "setNodeVisibilityFlags is mkRenderLayerModule.setNodeVisibilityFlags", "True" },
             { "mkRenderLayerModule.__doc__", "None" } });
}

void tst_Scripting::docstrings()
{
    const QString name = "Activates a renderlayer.\n\n@param name: The name of the layer.\n\n"
                         "@type name: string";
    const QString node = "@param node: The root node.\n\n@type node: NodePtr";
    QString flags = "Sets the visibility flags and the override material for a given node and its "
                    "children.\n\n"
                    + node;
    for (const QString &parameter : QStringList{
             "visible: Visibility", "visibleInAlpha: Visibility in alpha",
             "primaryVisibility: Primary visibility",
             "visibleInReflections: Visibility in reflections",
             "visibleInRefractions: Visibility in refractions", "castShadows: Cast shadows",
             "receiveShadows: Receive shadows", "doubleSided: Double sided",
             "visibleForPhotons: Visible for Photons",
             "castShadowOnShadowMaterial: If off, the objects don't cast shadows from the Ibl onto "
             "the shadow material",
             "useOverrideMaterial: If off, the objects don't use the override material" }) {
        flags += "\n\n@param " + parameter + ": On/Off.\n\n@type " + parameter.section(':', 0, 0)
                 + ": bool";
    }
    flags += "\n\n@param overrideMaterial: the name of the override material, defaults to none: "
             "string.\n\n@type overrideMaterial: string";
    const std::pair<QString, QString> texts[] = {
        { "createRenderLayer", name },
        { "activateRenderLayer", name },
        { "addNodesToRenderLayer",
          "Add nodes to a renderlayer.\n\n@param nodes: The pointers to the nodes.\n\n@type "
          "nodeName: vector of pointers \n\n@param layerName: The name of the layer.\n\n@type "
          "layerName: string" },
        { "resetRenderLayers", "Resets all activated render layers.\n\n" },
        { "setNodeVisibilityFlags", flags },
        { "resetNodeVisibilityFlags",
          "Resets the node visibility flags for a given node and its children.\n\n" + node },
        { "activateRenderLayerState",
          "Activates stored node visibility states for the whole scene.\n\n@param name: Stored "
          "name of the render layer state.\n\n@type name: string" },
    };
    for (const auto &[function, text] : texts) {
        LogLines log;
        mkScript::run(qPrintable("mkHost.logInfo(" + function + ".__doc__)"));
        // Without a signature.
        QCOMPARE(function + log.lines.join(""), function + '\n' + text);
    }
}

void tst_Scripting::createLayer()
{
    for (const char *name : { "'Bäume'", "name='x'", "'A'", "''", "None" }) {
        mkController::setModified(0);
        expect({ { QString("createRenderLayer(%1)").arg(name), "None" } });
        QVERIFY(mkController::isModified());
    }
    QCOMPARE(host->rows(), "A[a b] a[] Bäume[] x[] A1[] Layer[] Layer1[]");
}

void tst_Scripting::addNodes()
{
    const auto add = [this](const QString &arguments, const QString &layer, const QString &added) {
        init();
        QString commands;
        for (const QChar node : added) {
            commands += QString("addNode(%1, %2) rebuild setModified(1) ").arg(layer).arg(node);
        }
        const HostCalls calls;
        expect({ { "addNodesToRenderLayer(" + arguments + ')', "None" } });
        QCOMPARE(arguments + ": " + calls.commands(), arguments + ": " + commands.trimmed());
        QCOMPARE(host->rows(), HostFixture::stored());
    };
    add("[c, d], 'A'", "A", "cd");
    add("layerName='A', nodes=(c, d)", "A", "cd");
    add("__import__('collections').deque([None, c, None, d, c]), 'A'", "A", "cdc");
    QCOMPARE(host->rows(), "A[a b c d] a[]");
    add("[c, d], 'a'", "a", "cd");
    QCOMPARE(host->rows(), "A[a b] a[c d]");
    host->node("c")->setName(std::string(60, 'c'));
    host->tree()->setColumnWidth(0, 1);
    py("addNodesToRenderLayer([c], 'a')");
    QVERIFY(host->tree()->columnWidth(0) > 200);
    add("[c], 'B'", "B", "c");
    QCOMPARE(host->rows(), "A[a b] a[]");
    for (const char *nothing : { "[c], None", "[], 'A'", "[None], 'A'" }) {
        add(nothing, "", "");
    }
}

void tst_Scripting::activate()
{
    // The layer "A" only; "a" is a node row of it and a layer.
    expect({ { "activateRenderLayer('A')", "None" } });
    QCOMPARE(valuesOf("a"), "01111111110 Empty");
    QCOMPARE(valuesOf("b"), "11111111110 Empty");
    const HostCalls calls;
    expect({ { "activateRenderLayer(name='a')", "None" } });
    QCOMPARE(calls.commands(),
             "activateNode(0, a) updateRender(false) activateLayer(1) updateRender(false)");
    QCOMPARE(host->selected(), "a*");

    // What is selected does not depend on the keys that the user holds down meanwhile.
    QWindow *const window = host->window()->windowHandle();
    QTest::keyPress(window, Qt::Key_Control, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::keyboardModifiers(), Qt::ControlModifier);
    py("activateRenderLayer('A')");
    QTest::keyRelease(window, Qt::Key_Control);
    QCOMPARE(host->selected(), "A*");

    HostCalls::clear();
    expect({ { "activateRenderLayer(None)", "None" } });
    QCOMPARE(host->selected(), "A*");
    expect({ { "activateRenderLayer('B')",
               "mkRenderLayerModule::activateRenderLayer: Couldn't find layer 'B'!|None" } });
    QCOMPARE(host->selected(), QString());
    QCOMPARE(calls.commands(), QString());
}

void tst_Scripting::flags()
{
    const auto set = [this](const QString &arguments, const char *values) {
        init();
        py("setNodeVisibilityFlags(" + arguments + ')');
        QCOMPARE(arguments + " sets " + valuesOf("a"), arguments + " sets " + values);
        // The tree, the document and the render are left alone.
        QCOMPARE(host->cells("A/a"), "01111111110 Empty");
        QVERIFY(!mkController::isModified());
    };
    const QString nine = "n, 1, False, 1, False, 1, False, 1, False";
    set(nine, "10101010110 Empty");
    set(nine + ", False", "10101010010 Empty");
    set(nine + ", False, False", "10101010000 Empty");
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
    for (const QString &wrong : { nine.section(',', 0, 7), nine + ", overrideMaterial='red'",
                                  nine + ", visibleForShadowMaterial=False",
                                  nine + ", castShadowOnShadowMaterial=True" }) {
        set(wrong, "none");
        expect({ { "setNodeVisibilityFlags(" + wrong + ')', "ArgumentError" } });
    }
}

void tst_Scripting::flagsGoDown()
{
    const HostCalls calls;
    // When the node is told, the attributes are there.
    QList<bool> attached;
    mkTrace::setInterceptor([&](const char *call) {
        if (!qstrcmp(call, "FieldContainer::changed")) {
            attached += bool(mkNodeUtils::getRenderAttributes(host->node("group")));
        }
    });
    py("setNodeVisibilityFlags(group, *[False] * 8)");
    mkTrace::setInterceptor({});
    QVERIFY(attached.value(0));
    const QStringList made = calls.lines(
        { "FieldContainer::changed", "Raytracing", "mkNodeUtils::apply" });
    QCOMPARE(made.mid(0, 4).join('\n'),
             "RaytracingGeoAttachment::create()\n"
             "FieldContainer::changed(\"group\", 0, External)\n"
             "FieldContainer::changed(RaytracingGeoAttachment, all, External)\n"
             "mkNodeUtils::applyRenderLayerAttributes(\"group\", RaytracingGeoAttachment)");
    const auto attachment = mkNodeUtils::getRenderAttributes(host->node("group"));
    py("setNodeVisibilityFlags(group, *[True] * 11, 'red')");
    py("setNodeVisibilityFlags(group, *[True] * 10, False, 'red')");
    QCOMPARE(valuesOf("group"), "11111111110 Empty");
    {
        const Announcements announced(attachment);
        py("setNodeVisibilityFlags(group, *[True] * 11, 'red')");
        QCOMPARE(announced.lines.value(0), "11111111111 red all");
    }
    QVERIFY(mkNodeUtils::getRenderAttributes(host->node("group")) == attachment);
    HostCalls::clear();
    expect({ { "resetNodeVisibilityFlags(node=mkHost.findNode('g1'))", "None" },
             { "resetNodeVisibilityFlags(None)", "None" } });
    QCOMPARE(calls.count("mkNodeUtils::reset"), 1);
    QCOMPARE(values({ "group", "g1", "g2", "a" }), "group 11111111111 red, g1 11111111110 Empty, "
                                                   "g2 11111111111 red, a none");
    expect({ { "resetRenderLayers()", "None" } });
    QCOMPARE(values({ "group", "g2", "a" }),
             "group 11111111110 Empty, g2 11111111110 Empty, a none");
}

void tst_Scripting::states()
{
    // A drawable below a drawable, and one that has lost its attributes.
    const osg::NodePtr below = osg::Node::create();
    below->setName("below");
    below->setCore(osg::Geometry::create());
    host->node("a")->addChild(below);
    py("setNodeVisibilityFlags(mkHost.getRoot(), *[False] * 8)");
    expect({ { "mkHost.storeRenderLayerState('Dark')", "8" },
             { "mkHost.storeRenderLayerState('')", "ValueError" } });
    QVERIFY(mkController::isModified());
    mkScript::run("resetRenderLayers()\nsetNodeVisibilityFlags(n, *[True] * 11, 'red')");
    host->node("b")->addChild(host->node("c"));
    host->node("b")->subAttachment(osg::RaytracingGeoAttachment::_type.getGroupId());
    mkController::setModified(0);

    expect({ { "activateRenderLayerState(None)", "None" } });
    QCOMPARE(valuesOf("a"), "11111111111 red");
    // Nothing below a drawable is restored, and nothing but drawables.
    expect({ { "activateRenderLayerState(name='Dark')", "None" } });
    QCOMPARE(values({ "a", "below", "g2", "group", "b", "c" }),
             "a 00000000110 Empty, below 11111111111 red, g2 00000000110 Empty, "
             "group 11111111110 Empty, b none, c 00000000110 Empty");

    // An unknown name, which case makes it, resets every drawable that has attributes.
    py("setNodeVisibilityFlags(group, *[False] * 8)");
    expect({ { "activateRenderLayerState('dark')", "None" } });
    QCOMPARE(values({ "a", "below", "g1", "group", "b" }),
             "a 11111111110 Empty, below 11111111110 Empty, g1 11111111110 Empty, "
             "group 00000000110 Empty, b none");
    QVERIFY(!mkController::isModified());
}

void tst_Scripting::refusals()
{
    for (const char *call :
         { "createRenderLayer(1)", "createRenderLayer(b'x')", "createRenderLayer(title='x')",
           "addNodesToRenderLayer(n, 'A')", "addNodesToRenderLayer('', 'A')",
           "addNodesToRenderLayer(b'', 'A')", "addNodesToRenderLayer(None, 'A')",
           "addNodesToRenderLayer([n, 1], 'A')", "addNodesToRenderLayer({n}, 'A')",
           "addNodesToRenderLayer({0: n}, 'A')", "resetNodeVisibilityFlags('a')",
           "mkHost.findNode(None)", "mkHost.getNodeAttributes(None)", "mkHost.selectNodes([1])" }) {
        const HostCalls calls;
        expect({ { call, "ArgumentError" } });
        QCOMPARE(calls.lines().size(), 1); // the statement itself
    }
    expect({ { "createRenderLayer('\\ud800')", "UnicodeEncodeError" } });
}

void tst_Scripting::nodes()
{
    expect({
        { "mkHost.getRoot()", "<mkHost.Node '/scene'>" },
        { "mkHost.getRoot().parent", "None" },
        { "(n.name, n.path, n.kind, n.alive)", "('a', '/scene/a', 'Geometry', True)" },
        { "n == mkHost.findNode('a') and n != b and n != 'a'", "True" },
        { "{n: 1}[mkHost.getRoot().children[0]]", "1" },
        { "mkHost.findNode('g2').parent", "<mkHost.Node '/scene/group'>" },
        { "mkHost.findNode('A')", "None" },
        { "mkHost.findNodeByPath('/scene/group/g2')", "<mkHost.Node '/scene/group/g2'>" },
        { "mkHost.findNodeByPath('/scene')", "<mkHost.Node '/scene'>" },
        { "{mkHost.findNodeByPath(p) for p in ('', '/', 'scene', '/scene/', '/scene/g2', '/sce')}",
          "{None}" },
        { "setattr(n, 'nmae', 1)", "AttributeError" },
        { "setattr(n, 'name', 'x')", "AttributeError" },
        { "mkHost.Node()", "RuntimeError" },
    });
    // Names that occur twice, and one with a slash.
    host->node("a")->setName("group");
    host->node("g1")->setName("x/y");
    expect({ { "mkHost.findNode('group') == n", "True" },
             { "mkHost.findNodes('group') == [n, group]", "True" },
             { "mkHost.findNodeByPath('/scene/group/x/y').kind", "'Geometry'" } });
}

void tst_Scripting::nodesOutsideTheScene()
{
    mkScript::run("g1 = mkHost.findNode('g1')\naddNodesToRenderLayer([g1], 'A')");
    mkScenegraph::removeNode(host->node("group"));
    expect({ { "group", "<mkHost.Node 'group', not in the scene>" },
             { "(group.alive, g1.alive, group == g1, group in {group})",
               "(False, False, False, True)" } });
    for (const char *use :
         { "group.name", "group.path", "group.kind", "g1.parent", "group.children",
           "mkHost.getNodeAttributes(group)", "resetNodeVisibilityFlags(group)",
           "addNodesToRenderLayer([n, group], 'a')" }) {
        expect({ { use, "ReferenceError" } });
    }
    QCOMPARE(host->rows(), "A[a b g1] a[]");
    expect({ { "mkHost.getLayerNodes('A')[2]", "<mkHost.Node 'g1', not in the scene>" },
             { "mkHost.getLayerAttributes('A', g1)['visible']", "True" } });

    // The scene that a script's nodes come from may be gone altogether.
    host->reset();
    expect({ { "n", "<mkHost.Node 'a', not in the scene>" },
             { "n == mkHost.findNode('a')", "False" } });
    QVERIFY(errorsOf([] {
                mkScript::run("n.name");
            }).contains("ReferenceError: The node 'a' is not in the scene any more."));
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
    const QString scene = "(mkHost.getRoot().name, mkHost.getRoot().kind, mkHost.getSceneFile())";
    expect({ { "mkHost.openScene('missing.gltf')", "RuntimeError" },
             { scene, "('scene', 'Group', '')" },
             { "mkHost.openScene(file='ok.gltf')", "None" },
             { scene, "('new', '', 'ok.gltf')" } });
}

void tst_Scripting::reading()
{
    // What is read has the setter's keywords and the right values.
    expect({ { "mkHost.getNodeAttributes(n)", "None" },
             { "setNodeVisibilityFlags(n, 1, 0, 0, 1, 1, 0, 1, 0, 1, 0, 1, 'red')", "None" },
             { "setNodeVisibilityFlags(b, **mkHost.getNodeAttributes(n))", "None" } });
    QCOMPARE(valuesOf("b"), "10011010101 red");
    host->store()->getAttachment()->getLayer(0)->replaceAttributes(host->node("b"), osg::NullFC);
    HostFixture::material("blue")->setColor({ 0, 0.5, 1, 1 });
    expect({ { "mkHost.getLayerNames()", "['A', 'a']" },
             { "mkHost.getLayerNodes('A') == [n, b]", "True" },
             { "mkHost.getLayerNodes('B')", "LookupError" },
             { "mkHost.getLayerAttributes('A', n)['visible']", "False" },
             { "mkHost.getLayerAttributes('A', b)", "None" },
             { "mkHost.getLayerAttributes('a', n)", "LookupError" },
             { "mkHost.getMaterialNames()", "['red', 'blue']" },
             { "mkHost.getMaterialColor('blue')", "(0.0, 0.5, 1.0, 1.0)" },
             { "mkHost.getMaterialColor('Blue')", "None" },
             { "mkHost.selectNodes([c, None, n])", "None" },
             { "mkHost.getSelectedNodes() == [c, n]", "True" },
             { "mkHost.selectNodes(())", "None" },
             { "mkHost.getSelectedNodes()", "[]" } });
    mkUndo::stack()->undo();
    QCOMPARE(int(mkSelectionManager::getSelectedNodes().size()), 2);

    LogLines log;
    mkScript::run("mkHost.logInfo('50% ä'); mkHost.logWarning('w'); mkHost.logError(text='e')");
    QCOMPARE(log.lines.join(' '), "50% ä w e");
    mkScript::run("import pydoc\nmkHost.logInfo(pydoc.plain(pydoc.render_doc(mkHost)))");
    for (const char *name : { "findNodeByPath(...)", "class Node", "storeRenderLayerState(...)" }) {
        QVERIFY(log.lines.last().contains(name));
    }
}

void tst_Scripting::scripts()
{
    const QTemporaryDir directory;
    QDir::setCurrent(directory.path());
    const auto run = [](const QByteArray &source, int status, const QString &errors) {
        QFile file("script.py");
        QVERIFY(source.isEmpty() ? file.remove() : file.open(QIODevice::WriteOnly));
        file.write(source);
        file.close();
        bool ok = false;
        int exitStatus = -1;
        const QString printed = errorsOf([&] {
            ok = mkScript::runFile("script.py", { "--layer", "Bäume" });
            exitStatus = mkScript::getExitStatus();
        });
        const QRegularExpression expected(QRegularExpression::anchoredPattern(errors),
                                          QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(expected.match(printed).hasMatch(), qPrintable(source + " printed " + printed));
        QCOMPARE(exitStatus, status);
        QCOMPARE(ok, status == 0);
    };
    const QString before = py("(sys.argv, sys.path)");
    run("import sys, os\r\nseen = sys.argv, __name__, os.path.isabs(__file__), "
        "os.path.samefile(sys.path[0], os.path.dirname(__file__))",
        0, "");
    expect({ { "seen", "(['script.py', '--layer', 'Bäume'], '__main__', True, True)" },
             { "(sys.argv, sys.path)", before },
             { "__file__", "NameError" } });
    run("# -*- coding: latin-1 -*-\nassert '\xe4' == '\\xe4'", 0, "");
    run("raise SystemExit", 0, "");
    run("import sys\nsys.exit(3)", 3, "");
    run("import sys\nsys.exit('no layer')", 1, "no layer\n");
    run("def f():\n    return 1 / 0\n\nf()", 1,
        "Traceback \\(most recent call last\\):\n  File \"/[^\n]*/script.py\", line 4, in "
        "<module>\n"
        "    f\\(\\)\n  File \"/[^\n]*/script.py\", line 2, in f\n    return 1 / 0\n.*"
        "ZeroDivisionError: division by zero\n");
    run("x = 1\nx =", 1, ".*File \"/[^\n]*/script.py\", line 2\n.*SyntaxError:.*");
    run(QByteArray("x = 1\0y", 7), 1, ".*Error: source code string cannot contain null.*");
    run("", 1, "Couldn't read the script 'script.py': .*");
    QVERIFY(!mkScript::run(nullptr));
}

void tst_Scripting::exceptions()
{
    const auto off = qScopeGuard([] { mkTrace::setInterceptor({}); });
    const auto failsAt = [](const char *hostCall, const char *statement) {
        bool failed = false;
        mkTrace::setInterceptor([&failed, hostCall](const char *call) {
            if (!qstrcmp(call, hostCall) && !std::exchange(failed, true)) {
                throw std::runtime_error("the host is out of order");
            }
        });
        const QString printed = errorsOf([statement] { QVERIFY(!mkScript::run(statement)); });
        mkTrace::setInterceptor({});
        QVERIFY2(printed.startsWith("Traceback")
                     && printed.endsWith("RuntimeError: the host is out of order\n"),
                 qPrintable(printed));
    };
    // From C++ through Python and back, in a host function and in one of the plug-in.
    failsAt("osg::traverse", "mkHost.findNode('a')");
    failsAt("mkRenderLayer::addLayer", "createRenderLayer('x')");
    // Where only the rebuild fails, what was added is shown by the next one and not lost.
    for (const char *statement : { "createRenderLayer('y')", "addNodesToRenderLayer([n], 'y')" }) {
        mkController::setModified(0);
        failsAt("mkRenderLayer::getAttachment", statement);
        host->settle();
        QCOMPARE(host->rows(), HostFixture::stored());
        QVERIFY(mkController::isModified());
    }
    QCOMPARE(HostFixture::stored(), "A[a b] a[] y[a]");
}

void tst_Scripting::interruptions()
{
    bool ok = true;
    std::thread other([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        mkScript::interrupt();
    });
    errorsOf([&ok] { ok = mkScript::run("while True: pass"); });
    other.join();
    QVERIFY(!ok);
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
    const QString printed = errorsOf(
        [&] { ok = mkScript::run("beats = False\nwhile True: pass"); });
    QVERIFY(!ok && busy && !mkScript::isBusy());
    QVERIFY2(printed.endsWith("KeyboardInterrupt\n"), qPrintable(printed));
    expect({ { "beats", "True" } });
    mkScript::setHeartbeat({});
    mkScript::run("import time\nend = time.time() + 0.2\nwhile time.time() < end: pass");
    QCOMPARE(beats, 3);
}

void tst_Scripting::withoutPanel()
{
    host->addLayer("X");
    delete host->panel();
    const QString before = HostFixture::stored();
    expect({ { "createRenderLayer('Y')", "None" },
             { "addNodesToRenderLayer([n], 'X')", "None" },
             { "activateRenderLayer('nope')", "None" },
             { "setNodeVisibilityFlags(n, *[False] * 8)", "None" } });
    QCOMPARE(HostFixture::stored(), before);
    QVERIFY(!mkController::isModified());
    QCOMPARE(valuesOf("a"), "00000000110 Empty");
    expect({ { "resetRenderLayers()", "None" } });
    QCOMPARE(valuesOf("a"), "11111111110 Empty");
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
