#include "HostFixture.h"
#include "ImportProcess.h"
#include "MaterialsModel.h"
#include "OSGSystem/Geometry.h"
#include "SceneEdits.h"
#include "SceneImporter.h"
#include "SceneTree.h"
#include "SceneWatcher.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QtTest>

#include <QMimeData>
#include <QProcess>
#include <QUndoStack>

#include <random>

using osg::NodePtr;

namespace {

/// A node and all below it, by their names or, with `kinds`, by name and kind.
QString nodeText(const NodePtr &node, bool kinds = false)
{
    QStringList below;
    for (const NodePtr &child : node->getChildren()) {
        below += nodeText(child, kinds);
    }
    return QString(mkNodeUtils::getName(node))
           + (kinds ? QString(":") + node->getCore()->getType().getName() : QString())
           + (below.isEmpty() ? "" : '(' + below.join(' ') + ')');
}

/// The rows as a view would read them, levels that were not asked for yet included.
QString rowText(QAbstractItemModel *model, const QModelIndex &index)
{
    model->fetchMore(index);
    QStringList below;
    for (int row = 0; row < model->rowCount(index); ++row) {
        const QModelIndex child = model->index(row, 0, index);
        below += child.parent() == index && child.row() == row ? rowText(model, child) : "lost";
    }
    return index.data().toString() + (below.isEmpty() ? "" : '(' + below.join(' ') + ')');
}

QByteArray gltf(const QByteArray &nodes, const QByteArray &roots, const QByteArray &rest = {})
{
    return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[)" + roots
           + R"(]}],"nodes":[)" + nodes + ']' + rest + '}';
}

} // namespace

class tst_workbench : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("XDG_CONFIG_HOME", directory.filePath("config").toUtf8()); }
    void init() { host.reset(); }
    void imports();
    void importsDeepScenes();
    void treeSelectionIsTheHosts();
    void treeFollowsRandomEdits();
    void rowsDropOnLayers();
    void materials();
    void program();

private:
    QString write(const QString &name, const QByteArray &content) const
    {
        QFile file(directory.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(content) >= 0 ? file.fileName() : "";
    }

    QTemporaryDir directory;
    HostFixture host;
};

void tst_workbench::imports()
{
    const auto imported = [this](const char *name, const QByteArray &content) {
        return nodeText(importScene(write(name, content)).root, true);
    };
    const QByteArray contents =
        R"(,"meshes":[{"name":"box","primitives":[{"attributes":{"POSITION":0}}]}],
        "accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],
        "bufferViews":[{"buffer":0,"byteLength":36}],
        "buffers":[{"byteLength":36,"uri":"data:application/octet-stream;base64,)"
        + QByteArray(QByteArray(36, '\0').toBase64()) + R"("}])";
    QCOMPARE(imported("several.gltf",
                      gltf(R"({"name":"r","children":[1,2]},{"name":"plain","mesh":0},
                 {"name":"moved","mesh":0,"translation":[1,2,3]},{"name":"s"})",
                           "0,3", contents)),
             "several:Group(r:Group(plain:Geometry moved:Transform(box:Geometry)) s:Group)");
    // A root with a mesh can be put into layers; two materials make two geometries.
    QCOMPARE(imported("mesh.gltf", gltf(R"({"name":"r","mesh":0})", "0", contents)),
             "r:Group(box:Geometry)");
    QCOMPARE(imported("two.obj", "o both\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl m\nf 1 2 3\n"
                                 "usemtl n\nf 3 2 1\n"),
             "two.obj:Group(both:Group(both:Geometry n:Geometry))");
}

void tst_workbench::importsDeepScenes()
{
    QByteArray nodes;
    for (int i = 1; i <= 20000; ++i) {
        nodes += R"({"children":[)" + QByteArray::number(i) + "]},";
    }
    const QString file = write("deep.gltf", gltf(nodes + R"({"name":"last"})", "0"));
    mkScenegraph::setScene(readForeignScene(file, {}));
    QVERIFY(host.node("last"));
}

void tst_workbench::treeSelectionIsTheHosts()
{
    SceneWatcher watcher;
    SceneTree tree(&watcher);
    tree.resize(200, 200);
    tree.show();
    const auto click = [&tree](int row, Qt::KeyboardModifiers modifiers) {
        const QModelIndex index = tree.model()->index(row, 0, tree.model()->index(0, 0));
        QTest::mouseClick(tree.viewport(), Qt::LeftButton, modifiers,
                          tree.visualRect(index).center());
    };
    // The host's, in its order, and the rows, sorted.
    const auto selection = [&tree] {
        QStringList texts;
        for (const QModelIndex &index : tree.selectionModel()->selectedIndexes()) {
            texts += index.data().toString();
        }
        texts.sort();
        QString nodes;
        for (const mkNodePtr &node : mkSelectionManager::getSelectedNodes()) {
            nodes += mkNodeUtils::getName(node.get()) + QString(' ');
        }
        return nodes + "| " + texts.join(' ');
    };
    click(1, {});
    click(3, Qt::ControlModifier);
    QCOMPARE(selection(), "b d | b d");
    mkUndo::stack()->undo();
    QCOMPARE(selection(), "b | b");
    host.selectInHost({ "g2", "a", "c" });
    QCOMPARE(selection(), "g2 a c | a c g2");

    // Nodes that nobody has told the tree about yet.
    NodePtr added;
    for (int i = 0; i < 200; ++i) {
        host.node("group")->addChild(added = osg::Node::create());
        added->setName("n" + std::to_string(i));
    }
    mkSelectionManager::selectNode(added);
    QCOMPARE(selection(), "n199 | n199");
    tree.collapseAll();
    QVERIFY(tree.revealNodes({ host.node("n150"), mkNodePtr() }));
    QVERIFY(tree.indexAt(tree.viewport()->rect().center()).data().toString().startsWith("n1"));
    mkScenegraph::removeNode(added);
    watcher.deliver();
    QCOMPARE(selection(), "| ");
}

void tst_workbench::treeFollowsRandomEdits()
{
    SceneWatcher watcher;
    SceneTree tree(&watcher);
    tree.show();
    QAbstractItemModel *const model = tree.model();
    const QAbstractItemModelTester tester(model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    std::mt19937 random(qEnvironmentVariable("MK_RANDOM_SEED", "1").toUInt());
    const auto upTo = [&random](std::size_t count) { return random() % count; };
    for (int edit = 0; edit < 1000; ++edit) {
        std::vector<NodePtr> nodes;
        osg::traverse(mkScenegraph::getRoot(), [&nodes](const NodePtr &node) {
            nodes.push_back(node);
            return osg::Action::Continue;
        });
        const NodePtr one = nodes[upTo(nodes.size())];
        const auto kind = upTo(4);
        if (kind == 0) {
            // Also makes a small tree that is attached only when done.
            for (NodePtr parent = one; parent;
                 parent = upTo(2) ? parent->getChildren().back() : nullptr) {
                parent->addChild(osg::Node::create());
                parent->getChildren().back()->setName("x" + std::to_string(edit));
            }
        } else if (kind == 1 && one->getParent()) {
            one->getParent()->subChild(one);
        } else if (kind == 2 && one->getParent()) {
            nodes[upTo(nodes.size())]->addChild(one);
        } else if (kind == 3) {
            one->setName("y" + std::to_string(edit));
        }
        if (upTo(6) == 0) {
            watcher.deliver();
            QCOMPARE(rowText(model, model->index(0, 0)), nodeText(mkScenegraph::getRoot()));
        }
    }
}

void tst_workbench::rowsDropOnLayers()
{
    SceneWatcher watcher;
    const SceneTree tree(&watcher);
    const MaterialsModel list(&watcher);
    host.addLayer("A");
    host.rebuild();
    const auto drop = [this](const QString &path, QMimeData *data) {
        const std::unique_ptr<QMimeData> owned(data);
        const QString format = data->formats().first();
        host.drop(host.cell(path, 0).center(), format, data->data(format));
    };
    host.selectInHost({ "b", "d" });
    drop("A", tree.model()->mimeData(tree.selectionModel()->selectedIndexes()));
    QCOMPARE(host.rows(), "A[b d]");
    drop("A/d", list.mimeData({ list.index(1) }));
    QCOMPARE(host.cells("A/d"), "11111111110 blue");
    // The panel has the new name of a node that it shows.
    const QModelIndex root = tree.model()->index(0, 0);
    tree.model()->setData(tree.model()->index(3, 0, root), "dd");
    QCOMPARE(host.rows(), "A[b dd]");
}

void tst_workbench::materials()
{
    SceneWatcher watcher;
    MaterialsModel list(&watcher);
    const QAbstractItemModelTester tester(&list,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    host.addLayer("A", { "a" });
    host.attributes(0, "a")->setOverrideMaterial(host.material("red"));
    host.rebuild();
    QVERIFY(list.setData(list.index(0), "blue", Qt::EditRole));
    QCOMPARE(host.cells("A/a"), "11111111110 blue1");
    for (const char *name : { "", "blue1", "blue" }) {
        mkController::setModified(0);
        QVERIFY(!list.setData(list.index(0), name, Qt::EditRole) && !mkController::isModified());
    }
    SceneEdits::removeMaterial(list.material(list.index(0)));
    watcher.deliver();
    QVERIFY(list.rowCount() == 1 && !host.material("blue1"));
    mkMaterials::addMaterial(osg::Material::create());
    watcher.deliver();
    QCOMPARE(list.rowCount(), 2);
    host.reset();
    QCOMPARE(list.index(0).data().toString(), "red");
}

void tst_workbench::program()
{
    const auto expect = [this](const QStringList &arguments, int status, const QString &out,
                               const QString &err) {
        QProcess process;
        process.setWorkingDirectory(directory.path());
        process.start(MK_WORKBENCH, arguments);
        QVERIFY(process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit);
        const QString errors = process.readAllStandardError();
        QVERIFY2(process.exitCode() == status && errors.contains(err),
                 qUtf8Printable(arguments.join(' ') + ": " + errors));
        QCOMPARE(QString(process.readAllStandardOutput()), out);
    };
    const QString studio = MK_SCENES "/studio.gltf";
    const QString script = write("script.py",
                                 "import sys, atexit\nprint(sys.argv[1:])\n"
                                 "createRenderLayer('Paint')\natexit.register(print, 'bye')\n");
    const QString failing = write("failing.py", "raise ValueError('no good')\n");
    expect({ "--batch", "--script", script, "--script", script, studio, "--", "--style", "y" }, 0,
           "['--style', 'y']\n['--style', 'y']\nbye\nbye\n", "");
    expect({ "--batch", "--script", failing, "--script", script }, 1, "", "ValueError: no good");
    expect({ "--batch", "--script", "no.py" }, 1, "", "no.py");
    expect({ "--batch", "no.gltf2" }, 1, "", "workbench: no.gltf2: There is no such file.");
    expect({ "--bad" }, 1, "", "Unknown option 'bad'");
    expect({ "--batch", studio, studio }, 1, "", "Only one scene");
    expect({ "--batch", "--script", MK_SCENES "/studio.py", studio }, 0,
           "Paint\n  body: everything on\n  mirrors: everything on\n"
           "Glass\n  glass: without primaryVisibility, castShadows\n  glass_panel: untouched\n"
           "Shadow catcher\n  floor: untouched\n"
           "Reflections\n  mirror_wall: untouched\n  clay_probes: everything on, in clay\n",
           "");
    expect({ "--snapshot", "nowhere/picture.png" }, 1, "",
           "nowhere/picture.png: the picture cannot be written");
    // Pictures show what scripts did, and nothing was written for a user who is not there.
    expect({ "--snapshot", "plain.png", studio }, 0, "", "");
    expect({ "--snapshot", "layer.png", studio, "--script", script }, 0, "[]\nbye\n", "");
    const QImage plain(directory.filePath("plain.png"));
    const QImage layer(directory.filePath("layer.png"));
    QVERIFY(plain.width() > 1000 && plain.size() == layer.size() && plain != layer);
    QVERIFY(!QFile::exists(directory.filePath("config/mkRenderLayerModule")));
    qunsetenv("QT_QPA_PLATFORM");
    for (const char *variable : { "", "WAYLAND_DISPLAY", "DISPLAY" }) {
        qunsetenv("DISPLAY");
        qunsetenv("WAYLAND_DISPLAY");
        qputenv(variable, ":9876");
        expect({ studio }, 1, "",
               *variable ? "workbench: The display :9876 does not answer."
                         : "workbench: There is no display.");
    }
    expect({ "--snapshot", "again.png", studio }, 0, "", "");
    qputenv("QT_QPA_PLATFORM", "offscreen");
}

QTEST_MAIN(tst_workbench)
#include "tst_workbench.moc"
