#include "HostFixture.h"

#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QHeaderView>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

/// The tree is a picture of the store: rebuild, expansion, selection memory.
class tst_Sync : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void showsTheStore();
    void damagedStore();
    void expansion();
    void firstColumn();
    void newRowsFit();
    void wholeSelection();
    void currentRow();
    void rebuildIsSilent();
    void activation();

private:
    using Change = std::function<void(mkRenderLayer &)>;
    static void nothing(mkRenderLayer &) {}
    /// Rebuilds through a command that keeps the selection; `change` comes right before.
    void rebuildKeeping(const Change &change = nothing);

    HostFixture host;
};

void tst_Sync::init()
{
    host.reset();
    host.addLayer("A", { "a", "b" });
    host.addLayer("B", { "a", "c" });
    host.addLayer("a", { "d" });
    host.addLayer("C", { "e", "d" }, false);
    host.rebuild();
}

void tst_Sync::showsTheStore()
{
    // Positions and names are the store's, whatever they were before.
    host.node("b")->setName("木");
    host.store()->setLayerName(1, "Bäume");
    host.store()->moveUpLayer(1);
    host.store()->moveDownNode(1, host.node("a"));
    QCOMPARE(host.rows(), QStringLiteral("A[a b] B[a c] a[d] C[e d]"));
    const HostCalls calls;
    host.rebuild();
    const QStringList expected{ "mkScenegraph::getRenderLayer()", "mkRenderLayer::isEmpty()",
                                "mkRenderLayer::getAttachment()" };
    QCOMPARE(calls.lines({ "mkScenegraph::", "mkRenderLayer::" }), expected);
    QCOMPARE(host.rows(), QStringLiteral("Bäume[a c] A[木 a] a[d] C[e d]"));
    // What was looked at stays in sight.
    host.select({ "A" });
    host.tree()->setColumnWidth(5, 3000);
    host.settle();
    host.tree()->horizontalScrollBar()->setValue(200);
    host.rebuild();
    QCOMPARE(host.tree()->horizontalScrollBar()->value(), 200);
    host.tree()->setColumnWidth(5, 100);
    host.tree()->horizontalScrollBar()->setValue(0);
    host.select({});
    // Whether a node is to be seen just now is not for its icon to say.
    const auto icon = [this] {
        return host.row("A/a")->data(0, Qt::DecorationRole).value<QPixmap>().toImage();
    };
    const QImage visible = icon();
    host.flag(host.attributes(1, "a"), 1) = false;
    host.store()->activateNode(1, host.node("a"));
    QVERIFY(visible == mkIconManager::get("Node/Geometry.svg").toImage() && icon() == visible);
    QVERIFY(!mkController::isModified());

    host.select({ "A" });
    for (const char *name : { "A", "Bäume", "a", "C" }) {
        host.store()->subLayer(name);
    }
    // Rows of lost layers have nobody to tell.
    calls.clear();
    host.row("A")->setExpanded(false);
    host.row("C")->setExpanded(true);
    QCOMPARE(calls.count("mkRenderLayer::setCollapseState"), 0);
    host.rebuild();
    QCOMPARE(host.rows(), QString());
    QVERIFY(!host.tree()->currentItem() && host.tree()->updatesEnabled());
}

void tst_Sync::damagedStore()
{
    for (const auto &entry : { osg::Ptr<osg::Group>(), osg::Group::create() }) {
        init();
        host.store()->getAttachment()->addEntry(entry);
        host.rebuild();
        QCOMPARE(host.rows(), QString());
        // It cannot be shown, but cleaned up.
        host.action("Cleanup")->trigger();
        QCOMPARE(host.rows(), QStringLiteral("A[a b] B[a c] a[d] C[e d]"));

        host.store()->getAttachment()->getLayer(0)->replaceAttributes(host.node("a"), entry);
        host.flag(host.attributes(0, "b"), 4) = false;
        host.rebuild();
        QCOMPARE(host.rows(), host.stored());
        QCOMPARE(host.cells("A/a"), QString(12, ' '));
        QCOMPARE(host.cells("A/b"), QStringLiteral("11101111110 Empty"));
    }
}

void tst_Sync::expansion()
{
    const HostCalls calls;
    for (const unsigned state : { 0U, 1U, 7U }) {
        host.store()->setCollapseState(1, state);
        calls.clear();
        host.rebuild();
        QCOMPARE(host.row("B")->isExpanded(), state != 0);
        QVERIFY(host.row("A")->isExpanded() && !host.row("C")->isExpanded());
        QCOMPARE(calls.count("mkRenderLayer::setCollapseState"), 0);
    }
    host.select({ "C" });
    for (const bool open : { true, false }) {
        calls.clear();
        host.key(open ? Qt::Key_Right : Qt::Key_Left);
        QCOMPARE(calls.lines({ "mkRenderLayer::setCollapseState" }).join(' '),
                 QString("mkRenderLayer::setCollapseState(3, %1)").arg(int(open)));
        host.rebuild();
        QCOMPARE(host.row("C")->isExpanded(), open);
    }
    QVERIFY(!mkController::isModified());
}

/// Widened to what rows and header need, never narrowed; only when a layer is opened.
void tst_Sync::firstColumn()
{
    QTreeWidget *const tree = host.tree();
    host.node("e")->setName("a node with a name that is longer than the column was wide before");
    host.rebuild();
    tree->setColumnWidth(0, 1);
    const int narrow = tree->columnWidth(0);
    const int other = tree->columnWidth(1);
    host.rebuild();
    QCOMPARE(tree->columnWidth(0), narrow);
    host.row("C")->setExpanded(true);
    const int wide = tree->columnWidth(0);
    tree->resizeColumnToContents(0);
    QCOMPARE(tree->columnWidth(0), wide);
    for (const int extra : { 0, 100 }) {
        tree->setColumnWidth(0, narrow);
        host.row("C")->setExpanded(false);
        QCOMPARE(tree->columnWidth(0), narrow);
        tree->setColumnWidth(0, wide + extra);
        host.row("C")->setExpanded(true);
        QCOMPARE(tree->columnWidth(0), wide + extra);
    }
    tree->headerItem()->setText(0, QString(100, 'W'));
    host.row("B")->setExpanded(false);
    host.row("B")->setExpanded(true);
    QCOMPARE(tree->columnWidth(0), tree->header()->sectionSizeHint(0));
    tree->headerItem()->setText(0, "Layer");
    QCOMPARE(tree->columnWidth(1), other);
}

void tst_Sync::rebuildKeeping(const Change &change)
{
    const ModalAnswers answers([&](QWidget *modal) {
        change(*host.store());
        ModalAnswers::agree(modal);
    });
    host.action("Apply Attributes to Selected ...")->trigger();
    QCOMPARE(answers.count(), 1);
}

/// The first column is fitted to the rows as they are after the command.
void tst_Sync::newRowsFit()
{
    const QString name(80, 'w');
    const auto check = [&](const std::function<void()> &add) {
        init();
        host.node("g1")->setName(name.toStdString());
        host.selectInHost({ name });
        host.select({ "B" });
        QTreeWidget *const tree = host.tree();
        tree->setColumnWidth(0, 1);
        add();
        const int width = tree->columnWidth(0);
        tree->resizeColumnToContents(0);
        QVERIFY(width > 400);
        QCOMPARE(tree->columnWidth(0), width);
    };
    check([&] { QMetaObject::invokeMethod(host.tree(), "createLayer", Q_ARG(QString, name)); });
    check([&] {
        host.store()->setLayerName(1, name.toStdString());
        host.action("Duplicate Layer")->trigger();
    });
    check([&] { host.action("Add Selected Nodes")->trigger(); });
    check([&] {
        // The column was fitted to the old name before.
        host.row("A")->setExpanded(false);
        host.row("A")->setExpanded(true);
        host.tree()->setColumnWidth(0, 1);
        host.key(Qt::Key_F2);
        host.type(name);
    });
    check([&] { host.drop(host.cell("B", 1).center(), host.nodeFormat, QByteArray(8, '\1')); });
}

void tst_Sync::wholeSelection()
{
    const auto check = [this](const QStringList &selection, const QString &expected,
                              const Change &change = nothing) {
        init();
        host.select(selection);
        rebuildKeeping(change);
        const QString before = selection.join(' ') + " -> ";
        QCOMPARE(before + host.selected(), before + expected);
        QVERIFY(!host.row("C")->isExpanded());
    };
    check({ "C", "B/c", "A" }, "A* B/c C");
    check({ "B", "A/a", "A/b", "A" }, "A* A/a A/b B");
    check({ "B", "C/e" }, "B*");
    check({ "C/e" }, "");
    // The layer is named like nodes.
    check({ "a" }, "a*");
    check({ "B/a" }, "B/a*");
    check({ "A", "A/a", "B/c" }, "B/c*", [](auto &store) { store.setLayerName(0, "b"); });
    check({ "B" }, "B*", [](auto &store) { store.setLayerName(0, "B"); });
    check({ "A", "B/c" }, "B/c* A", [](auto &store) { store.moveDownLayer(0); });
    check({ "A/b", "B" }, "B*", [this](auto &store) {
        store.subNode(0, host.node("b"));
        store.addNode(1, host.node("b"));
    });
    check({ "A/b" }, "A/b*", [](auto &store) { store.setCollapseState(0, 0); });
    QVERIFY(!host.row("A")->isExpanded());
}

void tst_Sync::currentRow()
{
    const auto check = [this](const QStringList &selection, const QString &expected,
                              const Change &change = nothing) {
        init();
        host.select(selection);
        change(*host.store());
        host.rebuild();
        const QString before = selection.join(' ') + " -> ";
        QCOMPARE(before + host.selected(), before + expected);
        QVERIFY(!host.row("C")->isExpanded());
    };
    check({ "B/a", "A/a", "A" }, "B/a*");
    check({ "a" }, "a*");
    check({ "C/e" }, "C/e*");
    check({}, "");
    check({ "B", "A" }, "", [this](auto &) { host.tree()->currentItem()->setSelected(false); });
    check({ "B" }, "", [](auto &store) { store.setLayerName(1, "b"); });
    check({ "A/b", "A" }, "A/b*", [](auto &store) { store.moveDownLayer(0); });
    check({ "A/a" }, "", [this](auto &store) { store.subNode(0, host.node("a")); });
    // Without its node all that a row has is its text, also when another container has its id.
    check({ "A/b" }, "", [this](auto &) { host.kill("b"); });
    check({ "A/a" }, "a*", [this](auto &) { host.kill("a"); });
    check({ "A/a" }, "a*", [this](auto &) {
        const std::uint32_t id = host.node("a")->getId();
        host.kill("a");
        std::vector<osg::FieldContainerPtr> others;
        while (!osg::FieldContainerFactory::the()->getContainer(id)) {
            others.push_back(osg::Group::create());
        }
        host.rebuild();
    });
}

void tst_Sync::rebuildIsSilent()
{
    QTreeWidget *const tree = host.tree();
    host.select({ "A", "B/c" });
    QSignalSpy expanded(tree, &QTreeWidget::itemExpanded);
    QSignalSpy collapsed(tree, &QTreeWidget::itemCollapsed);
    QSignalSpy changed(tree, &QTreeWidget::itemChanged);
    QSignalSpy current(tree, &QTreeWidget::currentItemChanged);
    QSignalSpy selection(tree, &QTreeWidget::itemSelectionChanged);
    bool painting = false;
    const auto watch = connect(tree->model(), &QAbstractItemModel::rowsInserted, this,
                               [&] { painting = painting || tree->updatesEnabled(); });
    rebuildKeeping();
    disconnect(watch);
    QVERIFY(!painting);
    QCOMPARE(expanded.size() + collapsed.size() + changed.size(), 0);
    // That the old rows go is told, what is restored is not.
    QCOMPARE(selection.size(), 1);
    QCOMPARE(current.size(), 1);
    QVERIFY(tree->updatesEnabled() && !tree->signalsBlocked());
    host.click("B", 0);
    QCOMPARE(current.size(), 2);
}

void tst_Sync::activation()
{
    const auto check = [this](const QStringList &selection, bool kept, const QString &expected) {
        host.select(selection);
        if (kept) {
            rebuildKeeping();
        }
        const HostCalls calls;
        host.action("Activate Layer")->trigger();
        QCOMPARE(calls.commands(), expected + "updateRender(false)");
    };
    // What a node has of its own afterwards: below a member, members of the layer go by themselves.
    host.addLayer("D", { "g1", "group" });
    host.flag(host.attributes(4, "group"), 1) = false;
    host.flag(host.attributes(4, "g1"), 2) = false;
    host.rebuild();
    check({ "D" }, false, "activateLayer(4) ");
    for (const char *const node : { "group", "g1", "g2" }) {
        const auto own = mkNodeUtils::getRenderAttributes(host.node(node));
        QCOMPARE(host.values(own).left(2), node == QString("g1") ? "10" : "01");
    }
    check({}, false, "");
    check({ "C/e", "A" }, false, "activateNode(3, e) activateLayer(0) ");
    check({ "B/a", "A" }, false, "activateNode(1, a) activateLayer(0) ");
    // Where layers share a node the last one wins, so that the order matters.
    check({ "B/a", "C", "A", "B/c" }, true,
          "activateLayer(0) activateNode(1, a) activateNode(1, c) activateLayer(3) ");
}

HOST_TEST_MAIN(tst_Sync)
#include "tst_sync.moc"
