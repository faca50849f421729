#include "AttributesView.h"
#include "HostFixture.h"
#include "LogView.h"
#include "MainWindow.h"
#include "MaterialsModel.h"
#include "OSGSystem/Geometry.h"
#include "SceneImporter.h"
#include "SceneTree.h"
#include "SceneWatcher.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkQt4Ext/QMKDockWindowManager.h"

#include <QtTest>

#include <QMessageBox>
#include <QMimeData>
#include <QProcess>
#include <QPushButton>
#include <QScopeGuard>
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

struct Run
{
    int status = -1;
    QString out;
    QString err;
};

} // namespace

class tst_workbench : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("XDG_CONFIG_HOME", directory.filePath("config").toUtf8()); }
    void init() { host.reset(); }

    void importsNodes();
    void importsMaterials();
    void refusesFiles();
    void importsDeepScenes();

    void treeSelectionIsTheHosts();
    void treeFollowsRandomEdits();
    void filesCutShort();
    void treeShowsHiddenNodes();
    void rowsDropOnLayers();
    void materials();
    void logIsBounded();

    void program();
    void askedBeforeChangesAreLost();

private:
    QString write(const QString &name, const QByteArray &content) const;
    Run run(const QStringList &arguments) const;

    QTemporaryDir directory;
    HostFixture host;
};

QString tst_workbench::write(const QString &name, const QByteArray &content) const
{
    QFile file(directory.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qUtf8Printable(name));
    }
    return file.fileName();
}

Run tst_workbench::run(const QStringList &arguments) const
{
    QProcess process;
    process.setWorkingDirectory(directory.path());
    process.start(MK_WORKBENCH, arguments);
    Run result;
    if (process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit) {
        result.status = process.exitCode();
    }
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

void tst_workbench::importsNodes()
{
    const QByteArray meshes =
        R"(,"meshes":[{"name":"box","primitives":[{"attributes":{"POSITION":0}}]}],
        "accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3",
                      "min":[0,0,0],"max":[1,1,0]}],
        "bufferViews":[{"buffer":0,"byteLength":36}],
        "buffers":[{"byteLength":36,"uri":"data:application/octet-stream;base64,)"
        + QByteArray(QByteArray(36, '\0').toBase64()) + R"("}],
        "cameras":[{"type":"perspective","perspective":{"yfov":1,"znear":1}}])";
    const auto imported = [this](const char *name, const QByteArray &content) {
        return nodeText(importScene(write(name, content)).root, true);
    };
    QCOMPARE(imported("one.gltf", gltf(R"({"name":"a","children":[1]},{"name":"b"})", "0")),
             "a:Group(b:Group)");
    QCOMPARE(imported("several.gltf",
                      gltf(R"({"name":"a"},{"name":"b","translation":[1,2,3]})", "0,1")),
             "several:Group(a:Group b:Transform)");
    QCOMPARE(imported("contents.gltf",
                      gltf(R"({"name":"r","children":[1,2,3]},{"name":"plain","mesh":0},
                   {"name":"moved","mesh":0,"translation":[1,2,3]},{"name":"eye","camera":0})",
                           "0", meshes)),
             "r:Group(plain:Geometry moved:Transform(box:Geometry) eye:Camera)");
    // A root with a mesh can be put into layers; two materials make two geometries.
    QCOMPARE(imported("mesh.gltf", gltf(R"({"name":"r","mesh":0})", "0", meshes)),
             "r:Group(box:Geometry)");
    QCOMPARE(imported("two.obj", "o both\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl m\nf 1 2 3\n"
                                 "usemtl n\nf 3 2 1\n"),
             "two.obj:Group(both:Group(both:Geometry n:Geometry))");
}

void tst_workbench::importsMaterials()
{
    const mkScenegraph::Document document = importScene(MK_SCENES "/studio.gltf");
    QStringList tyres;
    int drawables = 0;
    osg::traverse(document.root, [&](const NodePtr &node) {
        if (const osg::Ptr<osg::Geometry> geometry{ node->getCore() }) {
            ++drawables;
            const auto &indices = geometry->indices;
            if (indices.empty() || !geometry->getMaterial()
                || *std::max_element(indices.begin(), indices.end())
                       >= geometry->positions.size()) {
                tyres += QString("damaged ") + mkNodeUtils::getName(node);
            } else if (QString(mkNodeUtils::getName(node->getParent())).endsWith("_tyre")) {
                tyres += QString::fromStdString(geometry->getMaterial()->getName());
            }
        }
        return osg::Action::Continue;
    });
    QCOMPARE(tyres.join(' '), "rubber rubber rubber rubber");
    QVERIFY(drawables > 20);
    QCOMPARE(document.materials.size(), std::size_t(13));
    QCOMPARE(document.materials.back()->getName(), std::string("clay"));
    QVERIFY(document.materials.front()->getColor() != osg::Material::Color({ 1, 1, 1, 1 }));
}

void tst_workbench::refusesFiles()
{
    mkScenegraph::setReader([](const QString &wanted) { return importScene(wanted); });
    const NodePtr open = mkScenegraph::getRoot();
    const auto refused = [](const QString &file, const QString &reason) {
        QString answer = "opened";
        try {
            mkScenegraph::openFile(file);
        } catch (const std::runtime_error &error) {
            answer = error.what();
        }
        QVERIFY2(answer.contains(reason), qUtf8Printable(file + ": " + answer));
    };
    QFile studio(MK_SCENES "/studio.gltf");
    QVERIFY(studio.open(QIODevice::ReadOnly));
    refused(directory.filePath("missing.gltf"), "There is no such file.");
    refused(directory.path(), "It is a directory.");
    refused(write("empty.gltf", ""), "The file is empty.");
    refused(write("truncated.gltf", studio.read(5000)),
            "The file is damaged or not of the format that its name promises.");
    refused(write("unknown.txt1", "text"), "The file is of an unknown format.");
    refused(write("no.gltf", R"({"asset":{"version":"2.0"}})"), "GLTF: No scene");
    refused(write("nothing.gltf", gltf("", "")), "The file holds no scene.");
    refused(write("circle.gltf", gltf(R"({"children":[1]},{"children":[0]})", "0")), "recursive");
    QCOMPARE(mkScenegraph::getRoot(), open);
}

void tst_workbench::importsDeepScenes()
{
    constexpr int depth = 100000;
    QByteArray nodes;
    for (int i = 0; i < depth; ++i) {
        nodes += QByteArray(R"({"children":[)") + QByteArray::number(i + 1) + "]},";
    }
    const QString file = write("deep.gltf", gltf(nodes + "{}", "0"));
    int levels = 0;
    osg::traverse(importScene(file).root, [&levels](const NodePtr &) {
        ++levels;
        return osg::Action::Continue;
    });
    QCOMPARE(levels, depth + 1);
    QVERIFY_EXCEPTION_THROWN(importScene(file, [](int) { return false; }), ImportCancelled);
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
    mkSelectionManager::selectNodes({ host.node("g2"), host.node("a"), host.node("c") });
    QCOMPARE(selection(), "g2 a c | a c g2");

    // Nodes that nobody has told the tree about yet, the last of them far down and folded away.
    NodePtr added;
    for (int i = 0; i < 200; ++i) {
        added = osg::Node::create();
        added->setName("n" + std::to_string(i));
        host.node("group")->addChild(added);
    }
    mkSelectionManager::selectNode(added);
    QCOMPARE(selection(), "n199 | n199");
    tree.collapseAll();
    mkScenegraph::scrollToNodes({ host.node("n150"), mkNodePtr() });
    const QString shown = tree.indexAt(tree.viewport()->rect().center()).data().toString();
    QVERIFY2(QRegularExpression("^n1(49|50|51)$").match(shown).hasMatch(), qUtf8Printable(shown));

    mkScenegraph::removeNode(added);
    watcher.deliver();
    QCOMPARE(selection(), "| ");
    tree.scrollToTop();
    click(0, {});
    QCOMPARE(selection(), "a | a");
}

void tst_workbench::treeFollowsRandomEdits()
{
    SceneWatcher watcher;
    SceneTree tree(&watcher);
    tree.show();
    QAbstractItemModel *const model = tree.model();
    const QAbstractItemModelTester tester(model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    const auto upTo = [&random](std::size_t count) { return random() % count; };
    int named = 0;
    for (int round = 0; round < 150; ++round) {
        for (std::size_t edits = 1 + upTo(12); edits > 0; --edits) {
            std::vector<NodePtr> nodes;
            osg::traverse(mkScenegraph::getRoot(), [&nodes](const NodePtr &node) {
                nodes.push_back(node);
                return osg::Action::Continue;
            });
            const NodePtr one = nodes[upTo(nodes.size())];
            const NodePtr other = nodes[upTo(nodes.size())];
            switch (upTo(4)) {
            case 0:
                // Also makes a small tree that is attached only when done.
                for (NodePtr parent = one; parent;
                     parent = upTo(2) ? parent->getChildren().back() : nullptr) {
                    const NodePtr added = osg::Node::create();
                    added->setName("x" + std::to_string(named++));
                    parent->addChild(added);
                }
                break;
            case 1:
                if (one->getParent()) {
                    one->getParent()->subChild(one);
                }
                break;
            case 2:
                if (one->getParent()) {
                    other->addChild(one);
                }
                break;
            default:
                one->setName("y" + std::to_string(named++));
            }
        }
        watcher.deliver();
        const QString expected = nodeText(mkScenegraph::getRoot());
        const QString shown = rowText(model, model->index(0, 0));
        QVERIFY2(shown == expected, qUtf8Printable(QString("seed %1, round %2:\n%3\n%4")
                                                       .arg(seed)
                                                       .arg(round)
                                                       .arg(shown, expected)));
    }
}

/// A file that ends early is refused or read in part, and always comes to an end.
void tst_workbench::filesCutShort()
{
    const QByteArray whole = "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\n"
                             "property float y\nproperty float z\nelement face 2\n"
                             "property list uchar int vertex_indices\nend_header\n"
                             "0 0 0\n1 0 0\n1 1 0\n0 1 0\n3 0 1 2\n3 0 2 3\n";
    const int header = whole.indexOf("0 0 0");
    for (int length = 1; length <= whole.size(); ++length) {
        const QString file = write("cut.ply", whole.left(length));
        try {
            importScene(file);
            QVERIFY2(length >= header - 1, qPrintable(QString::number(length)));
        } catch (const std::runtime_error &refusal) {
            QVERIFY(*refusal.what() && length < whole.size());
        }
    }
}

void tst_workbench::treeShowsHiddenNodes()
{
    SceneWatcher watcher;
    SceneTree tree(&watcher);
    AttributesView view(&watcher);
    const auto *const table = view.findChild<QTreeWidget *>();
    const auto shown = [&] {
        watcher.deliver();
        const QModelIndex row = tree.model()->index(0, 0, tree.model()->index(0, 0));
        return QString("%1%2 %3 %4 %5")
            .arg(row.data(Qt::ForegroundRole).isValid() ? "dim" : "plain",
                 row.data(Qt::FontRole).value<QFont>().italic() ? " italic" : "")
            .arg(table->topLevelItem(0)->text(1), table->topLevelItem(1)->text(1),
                 table->topLevelItem(11)->text(1));
    };
    host.addLayer("A", { "a" });
    HostFixture::flag(host.attributes(0, "a"), 1) = false;
    host.attributes(0, "a")->setOverrideMaterial(HostFixture::material("red"));
    mkSelectionManager::selectNode(host.node("a"));
    QCOMPARE(shown(), "plain On On Empty");
    HostFixture::store()->activateLayer(0);
    QCOMPARE(shown(), "dim italic Off On red");
    mkNodeUtils::resetRenderLayerAttributes(mkScenegraph::getRoot());
    QCOMPARE(shown(), "plain On On Empty");
}

void tst_workbench::rowsDropOnLayers()
{
    SceneWatcher watcher;
    const SceneTree tree(&watcher);
    const MaterialsModel list(&watcher);
    host.addLayer("A");
    HostFixture::rebuild();
    const auto drop = [this](const QString &path, QMimeData *data) {
        const std::unique_ptr<QMimeData> owned(data);
        const QString format = data->formats().first();
        host.drop(host.cell(path, 0).center(), format, data->data(format));
    };
    mkSelectionManager::selectNodes({ host.node("b"), host.node("d") });
    drop("A", tree.model()->mimeData(tree.selectionModel()->selectedIndexes()));
    QCOMPARE(host.rows(), "A[b d]");
    drop("A/d", list.mimeData({ list.index(1) }));
    QCOMPARE(host.cells("A/d"), "11111111110 blue");
    // The panel has the new name of a node that it shows.
    const HostCalls calls;
    const QModelIndex root = tree.model()->index(0, 0);
    tree.model()->setData(tree.model()->index(3, 0, root), "dd");
    tree.model()->setData(tree.model()->index(4, 0, root), "ee");
    QCOMPARE(host.rows(), "A[b dd]");
    QCOMPARE(calls.count("mkRenderLayer::isEmpty"), 1);
}

void tst_workbench::materials()
{
    SceneWatcher watcher;
    MaterialsModel list(&watcher);
    const QAbstractItemModelTester tester(&list,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    host.addLayer("A", { "a" });
    host.attributes(0, "a")->setOverrideMaterial(HostFixture::material("red"));
    HostFixture::rebuild();

    QVERIFY(list.setData(list.index(0), "blue", Qt::EditRole));
    QCOMPARE(host.cells("A/a").section(' ', 1), "blue1");
    QVERIFY(mkController::isModified());
    mkController::setModified(0);
    for (const char *name : { "", "blue1", "blue" }) {
        QVERIFY(!list.setData(list.index(0), name, Qt::EditRole));
    }
    QVERIFY(!mkController::isModified());

    list.remove(list.index(0));
    QCOMPARE(list.rowCount(), 1);
    QVERIFY(!HostFixture::material("blue1"));
    mkMaterials::addMaterial(osg::Material::create());
    watcher.deliver();
    QCOMPARE(list.rowCount(), 2);
    host.reset();
    QCOMPARE(list.index(0).data().toString(), "red");
}

void tst_workbench::logIsBounded()
{
    LogView view;
    for (int i = 0; i < 6000; ++i) {
        view.appendPlainText(QString::number(i));
    }
    mkLog::warning("<b>last</b>");
    QVERIFY(view.blockCount() <= 5001);
    QVERIFY(view.toPlainText().endsWith("\n<b>last</b>"));
}

void tst_workbench::program()
{
    const auto expect = [this](const QStringList &arguments, int status, const QString &out,
                               const QString &err) {
        const Run result = run(arguments);
        const QByteArray story = qUtf8Printable(arguments.join(' ') + ": " + result.err);
        QVERIFY2(result.status == status && result.err.contains(err), story);
        QCOMPARE(result.out, out);
    };
    const QString studio = MK_SCENES "/studio.gltf";
    const QString script = write("script.py", "import sys\nprint(sys.argv[1:])\n"
                                              "createRenderLayer('Paint')\n");
    const QString failing = write("failing.py", "raise ValueError('no good')\n");
    expect({ "--batch", MK_SCENES "/courtyard.obj" }, 0, "", "");
    expect({ "--batch", "--script", script, "--script", script, studio, "--", "--style", "y" }, 0,
           "['--style', 'y']\n['--style', 'y']\n", "");
    expect({ "--batch", "--script", failing, "--script", script }, 1, "", "ValueError: no good");
    expect({ "--batch", "--script", "no.py" }, 1, "", "no.py");
    expect({ "--batch", "no.gltf2" }, 1, "", "workbench: no.gltf2: There is no such file.");
    expect({ "--bad" }, 1, "", "Unknown option 'bad'");
    expect({ "--batch", studio, studio }, 1, "", "Only one scene");
    expect({ "--batch", "--plugins", "nowhere" }, 0, "",
           "There is no plug-in directory 'nowhere'!");
    const QString ending = write("ending.py", "import atexit\natexit.register(print, 'bye')\n");
    expect({ "--batch", "--script", ending }, 0, "bye\n", "");
    expect({ "--batch", "--script", MK_SCENES "/studio.py", studio }, 0,
           "Paint\n  body: everything on\n  mirrors: everything on\n"
           "Glass\n  glass: without primaryVisibility, castShadows\n  glass_panel: untouched\n"
           "Shadow catcher\n  floor: untouched\n"
           "Reflections\n  mirror_wall: untouched\n  clay_probes: everything on, in clay\n",
           "");
    expect({ "--version" }, 0, "workbench 15.3\n", "");
    expect({ "--snapshot", "nowhere/picture.png" }, 1, "",
           "nowhere/picture.png: the picture cannot be written");
    // Pictures show what scripts did, and nothing was written for a user who is not there.
    expect({ "--snapshot", "plain.png", studio }, 0, "", "");
    expect({ "--snapshot", "layer.png", studio, "--script", script }, 0, "[]\n", "");
    const QImage plain(directory.filePath("plain.png"));
    const QImage layer(directory.filePath("layer.png"));
    {
        const auto restore = qScopeGuard([] { qputenv("QT_QPA_PLATFORM", "offscreen"); });
        for (const char *name : { "QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY" }) {
            qunsetenv(name);
        }
        expect({ studio }, 1, "", "workbench: There is no display.");
        expect({ "--bad" }, 1, "", "Unknown option 'bad'");
        expect({ "--snapshot", "again.png", studio }, 0, "", "");
    }
    QVERIFY(plain.width() > 1000 && plain.size() == layer.size() && plain != layer);
    QVERIFY(!QFile::exists(directory.filePath("config/mkRenderLayerModule")));
}

void tst_workbench::askedBeforeChangesAreLost()
{
    MainWindow window(false);
    window.completeLayout();
    window.show();
    QString informative;
    QMessageBox::StandardButton button = QMessageBox::Ok;
    const ModalAnswers answers([&](QWidget *widget) {
        auto *const box = qobject_cast<QMessageBox *>(widget);
        informative = box->informativeText();
        box->button(button)->click();
    });
    QVERIFY(!window.openFile(directory.filePath("missing.gltf")));
    QCOMPARE(informative, "There is no such file.");
    QVERIFY(window.openFile(MK_SCENES "/studio.gltf"));
    QCOMPARE(window.windowTitle(), "studio.gltf[*] - Workbench");
    mkController::setModified(1);
    QVERIFY(window.isWindowModified());
    button = QMessageBox::Cancel;
    QVERIFY(!window.close());
    QVERIFY(informative.contains("cannot save"));
    button = QMessageBox::Discard;
    QVERIFY(window.close());
    mkController::setMainWindow(host.window());
}

HOST_TEST_MAIN(tst_workbench)
#include "tst_workbench.moc"
