#include "HostFixture.h"

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkOpenSGUtils/mkMaterials.h"

#include <QTest>

/// What scripts do with the host's own module, and that the panel shows it.
class tst_HostScripting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void layers_data();
    void layers();
    void attributes();
    void refusals();
    void states();
    void finding();
    void iterables();
    void materials();
    void thousands();

private:
    HostFixture host{ true };
};

void tst_HostScripting::init()
{
    host.reset();
    host.addLayer("A", { "a", "b", "c" });
    host.addLayer("B", {}, false);
    host.rebuild();
    mkScript::run(
        "a, b, c, d, group, g1 = map(mkHost.findNode, ['a', 'b', 'c', 'd', 'group', 'g1'])\n"
        "root = mkHost.getRoot()");
}

void tst_HostScripting::layers_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("rows");
    const auto row = [](const char *call, const char *value, const char *rows) {
        QTest::newRow(call) << value << rows;
    };
    row("createLayer()", "'Layer'", "A[a b c] B[] Layer[]");
    row("createLayer('A')", "'A1'", "A[a b c] B[] A1[]");
    row("renameLayer('A', 'ä')", "None", "ä[a b c] B[]");
    row("removeLayer('A')", "None", "B[]");
    row("duplicateLayer('A')", "'A1'", "A[a b c] B[] A1[a b c]");
    row("duplicateLayer('A', 'X')", "'X'", "A[a b c] B[] X[a b c]");
    row("moveLayer('A', 1)", "None", "B[] A[a b c]");
    row("moveLayer('B', -2)", "None", "B[] A[a b c]");
    row("addLayerNodes('B', (n for n in root if n.name > 'b'))", "4", "A[a b c] B[c d e group]");
    row("addLayerNodes('A', [a, d, d])", "1", "A[a b c d] B[]");
    row("addLayerNodes('A', group)", "1", "A[a b c group] B[]");
    row("removeLayerNodes('A', {c, a})", "None", "A[b] B[]");
    row("removeLayerNodes('A')", "None", "A[] B[]");
    row("moveLayerNode('A', a, 2)", "None", "A[b c a] B[]");
    row("moveLayerNode('A', c, -3)", "None", "A[c a b] B[]");
}

void tst_HostScripting::layers()
{
    QFETCH(QString, value);
    QFETCH(QString, rows);
    const HostCalls calls;
    host.expect({ { QString("mkHost.") + QTest::currentDataTag(), value } });
    QCOMPARE(calls.commands().count("rebuild"), 1);
    QVERIFY(mkController::isModified());
    QCOMPARE(host.stored(), rows);
    QCOMPARE(host.rows(), rows);
}

void tst_HostScripting::attributes()
{
    host.python("mkHost.setLayerAttributes('A', castShadows=False, overrideMaterial='red')");
    host.python("mkHost.setLayerAttributes('A', [a], visible=False, useOverrideMaterial=True)");
    QCOMPARE(host.cells("A/a"), "01111011111 red");
    QCOMPARE(host.cells("A/b"), "11111011110 red");
    const Announcements heard(host.attributes(0, "c"));
    host.python("mkHost.setLayerAttributes('A', {a, c}, overrideMaterial=None)");
    QCOMPARE(heard.lines.size(), 1);
    QCOMPARE(host.cells("A/a"), "01111011110 Empty");
    QCOMPARE(host.cells("A/c"), "11111011110 Empty");
    // What is read can be set; also where the layer has lost a member's attributes.
    host.store()->getAttachment()->getLayer(0)->replaceAttributes(host.node("b"), osg::NullFC);
    host.python("mkHost.setLayerAttributes('A', b, **mkHost.getLayerAttributes('A', a))");
    QCOMPARE(host.cells("A/b"), host.cells("A/a"));
    // The scene shows it only then.
    host.expect({ { "mkHost.getNodeAttributes(a)", "None" },
                  { "mkHost.activateLayer('A', (n for n in [a, b]))", "None" },
                  { "[mkHost.getNodeAttributes(n)['visible'] for n in (a, b)]", "[False, False]" },
                  { "mkHost.getNodeAttributes(c)", "None" },
                  { "mkHost.activateLayer('A')", "None" },
                  { "mkHost.getNodeAttributes(c)['castShadows']", "False" } });
    host.expect({ { "mkHost.isLayerExpanded('B')", "False" },
                  { "mkHost.setLayerExpanded('B')", "None" },
                  { "mkHost.addLayerNodes('B', a)", "1" },
                  { "mkHost.isLayerExpanded('B')", "True" } });
    QVERIFY(host.row("B")->isExpanded());
}

/// Nothing is changed, though a part could have been, and the reason has a name.
void tst_HostScripting::refusals()
{
    mkScript::run("gone = mkHost.findNode('e')\nmkHost.addLayerNodes('B', gone)");
    mkScenegraph::removeNode(host.node("e"));
    host.rebuild();
    const QString before = host.rows();
    mkController::setModified(0);
    host.expect({
        { "mkHost.renameLayer('A', '')", "ValueError: A render layer needs a name." },
        { "mkHost.renameLayer('A', 'B')", "ValueError: There is a render layer 'B' already." },
        { "mkHost.removeLayer('C')", "LookupError: There is no render layer 'C'." },
        { "mkHost.moveLayer('A', 2)", "IndexError: There is no place 2 among 2." },
        { "mkHost.moveLayer('A', 1.0)",
          "TypeError: 'float' object cannot be interpreted as an integer" },
        { "mkHost.addLayerNodes('A', [d, root])",
          "ValueError: The root of the scene cannot be in a render layer." },
        { "mkHost.addLayerNodes('A', [d, None])",
          "TypeError: element 1 is None, where a Node is wanted" },
        { "mkHost.addLayerNodes('A', [d, gone])",
          "ReferenceError: The node 'e' is not in the scene any more." },
        { "mkHost.removeLayerNodes('A', [a, d])",
          "LookupError: The node 'd' is not in the render layer 'A'." },
        { "mkHost.setLayerAttributes('A', [a, d], visible=False)",
          "LookupError: The node 'd' is not in the render layer 'A'." },
        { "mkHost.setLayerAttributes('A', visible=False, overrideMaterial='gold')",
          "LookupError: There is no material 'gold'." },
        { "mkHost.setLayerAttributes('A', visible=False, castShadow=False)",
          "TypeError: setLayerAttributes() has no attribute 'castShadow'; did you mean "
          "'castShadows'?" },
        { "mkHost.setLayerAttributes('A', visible='off')",
          "TypeError: the attribute 'visible' is True or False, not 'off'" },
        { "mkHost.storeRenderLayerState('')", "ValueError: A state needs a name." },
        { "mkHost.removeRenderLayerState('s')", "LookupError: There is no state 's'." },
        { "mkHost.renameLayer('A', 'A')", "None" },
        { "mkHost.addLayerNodes('A', [a, b])", "0" },
        { "mkHost.setLayerExpanded('A', not mkHost.isLayerExpanded('A'))", "None" },
    });
    QCOMPARE(host.rows(), before);
    QCOMPARE(host.values(host.attributes(0, "a")), "11111111110 Empty");
    QVERIFY(!mkController::isModified());
    // What has left the scene can still be taken out.
    host.expect({ { "mkHost.removeLayerNodes('B', mkHost.getLayerNodes('B'))", "None" },
                  { "mkHost.cleanupLayers()", "False" } });
    QCOMPARE(host.rows(), "A[a b c] B[]");
}

void tst_HostScripting::states()
{
    host.expect({ { "mkHost.storeRenderLayerState('all')", "7" },
                  { "mkHost.storeRenderLayerState('some', group)", "2" },
                  { "mkHost.getRenderLayerStates()", "['all', 'some']" },
                  { "mkHost.getRenderLayerStates(a)", "['all']" },
                  { "mkHost.removeRenderLayerState('all', group)", "2" },
                  { "mkHost.getRenderLayerStates(group)", "['some']" },
                  { "mkHost.removeRenderLayerState('all')", "5" },
                  { "mkHost.getRenderLayerStates()", "['some']" } });
}

void tst_HostScripting::finding()
{
    const auto core = osg::Ptr<osg::Geometry>(host.node("g2")->getCore());
    core->setMaterial(host.material("red"));
    host.node("b")->setName("x[1]");
    host.node("c")->setName("a");
    const auto find = [](const char *what) {
        return QString("[n.path for n in mkHost.findNodes(%1)]").arg(what);
    };
    host.expect({
        { find("'g?'"), "['/scene/group/g1', '/scene/group/g2']" },
        { find("name='x[1]'"), "['/scene/x[1]']" },
        { find("name='G*'"), "[]" },
        { find("'[!a-e]*', kind='Geo*'"), "['/scene/x[1]', '/scene/group/g1', '/scene/group/g2']" },
        { find("path='/scene/a'"), "['/scene/a', '/scene/a']" },
        { find("path='/*/g1'"), "['/scene/group/g1']" },
        { find("material='r*'"), "['/scene/group/g2']" },
        { find("material=mkHost.findMaterial('red')"), "['/scene/group/g2']" },
        { find("below=group"), "['/scene/group/g1', '/scene/group/g2']" },
        { "[n.name for n in group]", "['g1', 'g2']" },
        { "[n.name for n in root.walk()]", "['a', 'x[1]', 'a', 'd', 'e', 'group', 'g1', 'g2']" },
        { "(root.index, group.index, g1.index, root.material)", "(None, 5, 0, None)" },
        { "len({n.id for n in root.walk()})", "8" },
    });
}

/// Also where the plug-in takes a list.
void tst_HostScripting::iterables()
{
    mkScript::run("def broken():\n    yield a\n    raise OSError('no more')");
    host.expect({ { "mkHost.selectNodes({a: 1, b: 2}.keys())", "None" },
                  { "mkHost.getSelectedNodes() == [a, b]", "True" },
                  { "addNodesToRenderLayer((n for n in (a, None, d)), 'B')", "None" },
                  { "addNodesToRenderLayer(broken(), 'A')", "OSError: no more" },
                  { "mkHost.addLayerNodes('A', broken())", "OSError: no more" },
                  { "addNodesToRenderLayer(iter([d, 'a']), 'A')",
                    "ArgumentError: element 1 is of type 'str', where a Node is wanted" } });
    QCOMPARE(host.rows(), "A[a b c] B[a d]");
}

void tst_HostScripting::materials()
{
    host.python("mkHost.setLayerAttributes('A', a, overrideMaterial=mkHost.findMaterial('red'))");
    mkScript::run("red = mkHost.findMaterial('red')\n"
                  "red.name, red.color, red.metallic, red.ior = 'scarlet', (1, 0.25, 0), 0.5, 99\n"
                  "red.emission, red.alphaMode, red.shadowMaterial = [2, 0, 0], 'mask', True");
    // The panel has heard of the name.
    QCOMPARE(host.cells("A/a"), "11111111110 scarlet");
    host.expect(
        { { "red", "<mkHost.Material 'scarlet'>" },
          { "(red.color, red.metallic, red.ior)", "((1.0, 0.25, 0.0, 1.0), 0.5, 10.0)" },
          { "(red.emission, red.alphaMode, red.shadowMaterial)",
            "((2.0, 0.0, 0.0), 'mask', True)" },
          { "red in mkHost.getMaterials() and red == mkHost.findMaterial('scarlet')", "True" },
          { "mkHost.findMaterial('red')", "None" },
          { "mkHost.createMaterial('blue')", "<mkHost.Material 'blue1'>" },
          { "mkHost.getMaterialNames()", "['scarlet', 'blue', 'blue1']" },
          { "setattr(red, 'name', 'blue')", "ValueError: There is a material 'blue' already." },
          { "setattr(red, 'colour', 1)", "AttributeError: Material has no attribute 'colour'." },
          { "setattr(red, 'color', (1, 2))", "ValueError: 4 numbers are wanted." },
          { "setattr(red, 'roughness', float('nan'))",
            "ValueError: A finite number is wanted." } });
}

/// One call, one rebuild, however many there are; in a time that is linear in their number.
void tst_HostScripting::thousands()
{
    const osg::NodePtr parent = host.node("group");
    for (int i = 0; i < 10000; ++i) {
        const osg::NodePtr node = osg::Node::create();
        node->setName("n" + std::to_string(i));
        parent->addChild(node);
    }
    for (const char *call : { "mkHost.addLayerNodes('B', group.walk())",
                              "mkHost.setLayerAttributes('B', castShadows=False)",
                              "mkHost.activateLayer('B')", "mkHost.removeLayerNodes('B')" }) {
        const HostCalls calls;
        host.python(call);
        const bool shows = !QByteArray(call).contains("activate");
        QCOMPARE(calls.commands().count("rebuild"), shows ? 1 : 0);
    }
    QCOMPARE(host.row("B")->childCount(), 0);
    host.expect({ { "mkHost.getNodeAttributes(g1)['castShadows']", "False" } });
}

QTEST_MAIN(tst_HostScripting)
#include "tst_hostscripting.moc"
