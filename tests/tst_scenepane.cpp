#include "HostFixture.h"
#include "MaterialsPane.h"
#include "OSGSystem/Geometry.h"
#include "OSGSystem/Light.h"
#include "SceneEdits.h"
#include "ScenePane.h"
#include "SceneTree.h"
#include "SceneWatcher.h"
#include "SearchField.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QtTest>

#include <QCheckBox>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QUndoStack>

#include <random>

using osg::NodePtr;

namespace {

void give(const NodePtr &node, const char *material)
{
    osg::Ptr<osg::Geometry>(node->getCore())->setMaterial(HostFixture::material(material));
}

QString nodeText(const NodePtr &node)
{
    QStringList below;
    for (const NodePtr &child : node->getChildren()) {
        below += nodeText(child);
    }
    const osg::Ptr<osg::DrawableBase> core(node->getCore());
    return QString(mkNodeUtils::getName(node))
           + (core && core->getMaterial() ? QString(":") + mkMaterials::getName(core->getMaterial())
                                          : "")
           + (below.isEmpty() ? "" : '(' + below.join(' ') + ')');
}

/// The scene, its materials, and what the panel shows of layer "L".
QString everything(const HostFixture &host)
{
    QString text = nodeText(mkScenegraph::getRoot());
    for (const osg::MaterialPtr &material : mkMaterials::getMaterials()) {
        text += QString(" ") + mkMaterials::getName(material);
    }
    for (int i = 0; i < host.row("L")->childCount(); ++i) {
        const QTreeWidgetItem *const row = host.row("L")->child(i);
        text += ' ' + row->text(0) + '=' + row->text(11) + row->text(12);
    }
    return text;
}

/// Rows in sight, parents before children; what a search found has a star.
QString rows(const QTreeView *tree)
{
    QStringList names;
    for (QModelIndex row = tree->model()->index(0, 0); row.isValid(); row = tree->indexBelow(row)) {
        names += row.data().toString() + (row.data(Qt::FontRole).value<QFont>().bold() ? "*" : "");
    }
    return names.join(' ');
}

QString selection()
{
    QStringList names;
    for (const mkNodePtr &node : mkSelectionManager::getSelectedNodes()) {
        names += mkNodeUtils::getName(node.get());
    }
    return names.join(' ');
}

} // namespace

class tst_scenepane : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { host.reset(); }

    void searches();
    void searchLeavesTheTreeAsItWas();
    void selects();
    void editsAreUndone();
    void asksBeforeMaterialInUseIsDeleted();
    void shadowMaterials();

private:
    HostFixture host;
};

void tst_scenepane::searches()
{
    SceneWatcher watcher;
    ScenePane pane(&watcher);
    pane.show();
    give(host.node("a"), "red");
    give(host.node("g1"), "red");
    give(host.node("g2"), "blue");
    host.node("b")->setCore(osg::Light::create());
    host.node("c")->setName("two words");
    host.node("d")->setName("Gn.1");
    auto *const field = pane.findChild<SearchField *>();
    auto *const found = pane.findChild<SceneTree *>("foundNodes");
    const struct
    {
        const char *text;
        const char *shown;
    } cases[] = {
        { "g1", "scene group g1*" },
        { "G", "scene Gn.1* group* g1* g2*" },
        { "g kind:mesh", "scene Gn.1* group g1* g2*" },
        { "g?", "scene group g1* g2*" },
        { "g*1", "scene Gn.1* group g1*" },
        { "kind:light", "scene b*" },
        { "material:re kind:mesh", "scene a* group g1*" },
        { "\"two w\"", "scene two words*" },
        { "n.", "scene Gn.1*" },
        { "nothing", "" },
    };
    for (const auto &each : cases) {
        field->setText(each.text);
        QTRY_COMPARE(rows(found), each.shown);
        QVERIFY(found->isVisible());
    }
    // The scene changes while it is being searched.
    host.node("e")->setName("nothing1");
    QTRY_COMPARE(rows(found), "scene nothing1*");
    mkScenegraph::removeNode(host.node("nothing1"));
    QTRY_COMPARE(rows(found), "");
}

void tst_scenepane::searchLeavesTheTreeAsItWas()
{
    SceneWatcher watcher;
    ScenePane pane(&watcher);
    pane.show();
    auto *const field = pane.findChild<SearchField *>();
    auto *const all = pane.findChild<SceneTree *>("sceneTree");
    auto *const found = pane.findChild<SceneTree *>("foundNodes");
    host.selectInHost({ "a", "g2" });
    all->collapse(all->model()->index(5, 0, all->model()->index(0, 0)));
    const QString before = rows(all);
    pane.beginSearch();
    QTest::keyClicks(field, "g");
    QTRY_COMPARE(rows(found), "scene group* g1* g2*");
    QTest::keyClick(field, Qt::Key_Escape);
    QTRY_VERIFY(all->isVisible());
    QCOMPARE(rows(all), before);
    QCOMPARE(selection(), "a g2");

    // What the host wants to be seen ends a search that does not show it, and no other.
    QTest::keyClicks(field, "g");
    QTRY_VERIFY(found->isVisible());
    mkScenegraph::scrollToNodes({ host.node("g1") });
    QVERIFY(!field->text().isEmpty());
    mkScenegraph::scrollToNodes({ host.node("b") });
    QTRY_VERIFY(all->isVisible());

    // Rows are added to a selection that is partly out of sight.
    QTest::keyClicks(field, "g1");
    QTRY_COMPARE(rows(found), "scene group g1*");
    QTest::keyClick(field, Qt::Key_Down);
    found->selectAll();
    QCOMPARE(selection(), "g1");
}

void tst_scenepane::selects()
{
    SceneWatcher watcher;
    ScenePane pane(&watcher);
    pane.show();
    auto *const tree = pane.findChild<SceneTree *>("sceneTree");
    const auto trigger = [tree](const QString &text) {
        for (QAction *action : tree->actions()) {
            if (action->text().startsWith(text)) {
                action->trigger();
            }
        }
    };
    give(host.node("a"), "red");
    give(host.node("g1"), "red");
    QTest::keyClick(tree, Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(selection(), "a b c d e group g1 g2");
    mkUndo::stack()->undo();
    QCOMPARE(selection(), "");
    host.selectInHost({ "group" });
    trigger("Collapse Below");
    QCOMPARE(rows(tree), "scene a b c d e group");
    trigger("Select Children");
    QCOMPARE(selection(), "g1 g2");
    QCOMPARE(rows(tree), "scene a b c d e group g1 g2");
    trigger("Select by Material");
    QCOMPARE(selection(), "a g1");
}

void tst_scenepane::editsAreUndone()
{
    const unsigned seed = qEnvironmentVariable("MK_RANDOM_SEED", "1").toUInt();
    std::mt19937 random(seed);
    const auto upTo = [&random](std::size_t count) { return random() % count; };
    give(host.node("a"), "red");
    give(host.node("g1"), "blue");
    host.addLayer("L", { "a", "g1", "group" });
    host.attributes(0, "a")->setOverrideMaterial(HostFixture::material("blue"));
    host.attributes(0, "a")->setUseOverrideMaterial(true);
    HostFixture::rebuild();
    QStringList states{ everything(host) };
    while (mkUndo::stack()->count() < 60) {
        std::vector<mkNodePtr> nodes;
        osg::traverse(mkScenegraph::getRoot(), [&nodes](const NodePtr &node) {
            nodes.emplace_back(node);
            return osg::Action::Continue;
        });
        std::shuffle(nodes.begin(), nodes.end(), random);
        const auto &materials = mkMaterials::getMaterials();
        const std::string name = "n" + std::to_string(upTo(30));
        switch (upTo(6)) {
        case 0:
            nodes.resize(upTo(4));
            SceneEdits::removeNodes(nodes);
            break;
        case 1:
            if (!materials.empty()) {
                SceneEdits::renameMaterial(materials[upTo(materials.size())], name);
            }
            break;
        case 2:
            if (!materials.empty()) {
                SceneEdits::removeMaterial(materials[upTo(materials.size())]);
            }
            break;
        case 3: {
            mkScenegraph::Document document;
            document.root = osg::Node::create();
            document.root->setName(name);
            document.materials = { osg::Material::create() };
            document.materials.front()->setName(name);
            const osg::Ptr<osg::Geometry> core = osg::Geometry::create();
            core->setMaterial(document.materials.front());
            document.root->setCore(core);
            SceneEdits::merge(document);
            break;
        }
        default:
            SceneEdits::renameNode(nodes.front().get(), name);
        }
        if (mkUndo::stack()->count() == states.size()) {
            states += everything(host);
        }
    }
    for (const int direction : { -1, 1, -1 }) {
        for (int step = 0; step < states.size() - 1; ++step) {
            mkController::setModified(0);
            direction < 0 ? mkUndo::stack()->undo() : mkUndo::stack()->redo();
            const QString &expected = states[mkUndo::stack()->index()];
            QVERIFY2(everything(host) == expected && mkController::isModified(),
                     qUtf8Printable(QString("seed %1, at %2:\n%3\n%4")
                                        .arg(seed)
                                        .arg(mkUndo::stack()->index())
                                        .arg(everything(host), expected)));
        }
    }
}

void tst_scenepane::asksBeforeMaterialInUseIsDeleted()
{
    SceneWatcher watcher;
    MaterialsPane pane(&watcher);
    pane.show();
    auto *const list = pane.findChild<QListView *>();
    const auto deleteFirst = [&] {
        list->setCurrentIndex(list->model()->index(0, 0));
        list->setFocus();
        pane.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&pane));
        QTest::keyClick(list, Qt::Key_Delete);
    };
    give(host.node("g1"), "red");
    host.addLayer("L", { "a" });
    host.attributes(0, "a")->setOverrideMaterial(HostFixture::material("red"));
    HostFixture::rebuild();
    QString where;
    QMessageBox::StandardButton button = QMessageBox::Cancel;
    const ModalAnswers answers([&](QWidget *widget) {
        auto *const box = qobject_cast<QMessageBox *>(widget);
        where = box->informativeText();
        box->button(button)->click();
    });
    deleteFirst();
    QCOMPARE(where, "layer L: overrides /scene/a\n/scene/group/g1");
    QVERIFY(host.material("red"));
    button = QMessageBox::Yes;
    deleteFirst();
    QVERIFY(!host.material("red"));
    QCOMPARE(host.cells("L/a"), "11111111110 Empty");
    // Nothing has this one.
    pane.findChild<SearchField *>()->setText("BLU");
    QCOMPARE(list->model()->rowCount(), 1);
    deleteFirst();
    QCOMPARE(answers.count(), 2);
    QTRY_COMPARE(list->model()->rowCount(), 0);
}

void tst_scenepane::shadowMaterials()
{
    SceneWatcher watcher;
    MaterialsPane pane(&watcher);
    pane.show();
    const osg::MaterialPtr red = HostFixture::material("red");
    auto *const list = pane.findChild<QListView *>("materials");
    auto *const box = pane.findChild<QCheckBox *>("shadowMaterial");
    const auto shown = [&](int row) {
        list->setCurrentIndex(list->model()->index(row, 0));
        return box->isEnabled() && box->isChecked();
    };
    QVERIFY(!box->isEnabled());
    QVERIFY(!shown(0));
    box->click();
    QVERIFY(red->isShadowMaterial() && mkController::isModified());
    QVERIFY(!shown(1) && shown(0));
    mkUndo::stack()->undo();
    QVERIFY(!red->isShadowMaterial());
    QTRY_VERIFY(!box->isChecked());
    red->setShadowMaterial(true);
    QTRY_VERIFY(box->isChecked());
}

QTEST_MAIN(tst_scenepane)
#include "tst_scenepane.moc"
