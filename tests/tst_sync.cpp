#include "HostFixture.h"

#include "mkKernel/mkController.h"

#include <QDialog>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTest>

using Change = std::function<void()>;
Q_DECLARE_METATYPE(Change)

/// The tree is a picture of the store: rebuild, expansion, selection memory.
class tst_Sync : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void showsTheStore();
    void asksTheStoreOnce();
    void emptiedStore();
    void damagedStore_data();
    void damagedStore();
    void missingAttributes_data() { damagedStore_data(); }
    void missingAttributes();
    void expansionIsTheStores();
    void expansionReachesTheStore();
    void expansionOfLostLayers();
    void firstColumn();
    void wholeSelection_data();
    void wholeSelection();
    void currentRow_data();
    void currentRow();
    void rebuildIsSilent();
    void activation_data();
    void activation();

private:
    /// Takes a node out of the scene and out of layers A and B; nothing keeps it alive then.
    void kill(const char *name);
    /// Rebuilds through a command that keeps the selection; `change` comes right before.
    void rebuildKeeping(const Change &change);
    static void addSelectionColumns();
    static void selectionCase(
        const char *name, const QStringList &selection, const QString &expected,
        const Change &change = [] {});

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

void tst_Sync::kill(const char *name)
{
    for (const unsigned layer : { 0U, 1U }) {
        host.store()->subNode(layer, host.node(name));
    }
    mkScenegraph::removeNode(host.node(name));
}

void tst_Sync::showsTheStore()
{
    host.reset();
    QCOMPARE(host.rows(), QString());
    host.addLayer("Bäume", { "a", "b" });
    host.addLayer("Empty", {}, false);
    QCOMPARE(host.rows(), QString());
    host.rebuild();
    QCOMPARE(host.rows(), QStringLiteral("Bäume[a b] Empty[]"));
    // Positions and names are the store's, whatever they were before.
    host.node("b")->setName("木");
    host.store()->moveUpLayer(1);
    host.store()->moveDownNode(1, host.node("a"));
    host.rebuild();
    QCOMPARE(host.rows(), QStringLiteral("Empty[] Bäume[木 a]"));
    QCOMPARE(host.rows(), host.stored());
    // Whether a node is to be seen just now is not for its icon to say.
    const auto icon = [this] {
        return host.row("Bäume/a")->data(0, Qt::DecorationRole).value<QPixmap>().toImage();
    };
    const QImage visible = icon();
    host.flag(host.attributes(1, "a"), 1) = false;
    host.store()->activateNode(1, host.node("a"));
    QVERIFY(!visible.isNull() && icon() == visible);
    QVERIFY(!mkController::isModified());
}

void tst_Sync::asksTheStoreOnce()
{
    const HostCalls calls;
    host.rebuild();
    const QStringList expected{ "mkScenegraph::getRenderLayer()", "mkRenderLayer::isEmpty()",
                                "mkRenderLayer::getAttachment()" };
    QCOMPARE(calls.lines({ "mkScenegraph::", "mkRenderLayer::" }), expected);
}

void tst_Sync::emptiedStore()
{
    host.select({ "A" });
    for (const char *name : { "A", "B", "a", "C" }) {
        host.store()->subLayer(name);
    }
    host.rebuild();
    QCOMPARE(host.rows(), QString());
    QVERIFY(!host.tree()->currentItem() && host.tree()->selectedItems().isEmpty());
    QVERIFY(host.tree()->updatesEnabled() && !host.tree()->signalsBlocked());
}

void tst_Sync::damagedStore_data()
{
    QTest::addColumn<bool>("foreign");
    QTest::newRow("null entry") << false;
    QTest::newRow("foreign entry") << true;
}

void tst_Sync::damagedStore()
{
    QFETCH(bool, foreign);
    host.store()->getAttachment()->addEntry(foreign ? osg::Group::create()
                                                    : osg::Ptr<osg::Group>());
    host.rebuild();
    QCOMPARE(host.rows(), QString());
    // It cannot be shown, but cleaned up.
    host.action("Cleanup")->trigger();
    QCOMPARE(host.rows(), QStringLiteral("A[a b] B[a c] a[d] C[e d]"));
}

void tst_Sync::missingAttributes()
{
    QFETCH(bool, foreign);
    const osg::RenderLayerPtr layer = host.store()->getAttachment()->getLayer(0);
    layer->replaceAttributes(host.node("a"),
                             foreign ? osg::Group::create() : osg::Ptr<osg::Group>());
    host.flag(host.attributes(0, "b"), 4) = false;
    host.rebuild();
    QCOMPARE(host.rows(), host.stored());
    for (int column = 1; column <= 12; ++column) {
        QVERIFY(!host.row("A/a")->data(column, Qt::DisplayRole).isValid());
        QVERIFY(!host.row("A/a")->data(column, Qt::UserRole).isValid());
    }
    QCOMPARE(host.cells("A/b"), QStringLiteral("11101111110 Empty"));
}

void tst_Sync::expansionIsTheStores()
{
    for (const unsigned state : { 0U, 1U, 7U, 0U }) {
        host.store()->setCollapseState(1, state);
        const HostCalls calls;
        host.rebuild();
        QCOMPARE(host.row("B")->isExpanded(), state != 0);
        QVERIFY(host.row("A")->isExpanded() && !host.row("C")->isExpanded());
        QCOMPARE(calls.count("mkRenderLayer::setCollapseState"), 0);
    }
}

void tst_Sync::expansionReachesTheStore()
{
    const HostCalls calls;
    host.select({ "C" });
    for (const bool open : { true, false }) {
        calls.clear();
        host.key(open ? Qt::Key_Right : Qt::Key_Left);
        const QString expected = QString("mkRenderLayer::setCollapseState(3, %1)").arg(int(open));
        QCOMPARE(calls.lines({ "mkRenderLayer::setCollapseState" }), QStringList{ expected });
        host.rebuild();
        QCOMPARE(host.row("C")->isExpanded(), open);
        QVERIFY(!mkController::isModified());
    }
}

void tst_Sync::expansionOfLostLayers()
{
    for (const char *name : { "A", "B", "a", "C" }) {
        host.store()->subLayer(name);
    }
    const HostCalls calls;
    host.row("A")->setExpanded(false);
    host.row("C")->setExpanded(true);
    QCOMPARE(calls.count("mkRenderLayer::setCollapseState"), 0);
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
        host.row("C")->setExpanded(false);
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
        change();
        qobject_cast<QDialog *>(modal)->accept();
    });
    host.action("Apply Attributes to Selected ...")->trigger();
    QCOMPARE(answers.count(), 1);
}

void tst_Sync::addSelectionColumns()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("expected");
}

void tst_Sync::selectionCase(const char *name, const QStringList &selection,
                             const QString &expected, const Change &change)
{
    QTest::newRow(name) << selection << change << expected;
}

void tst_Sync::wholeSelection_data()
{
    addSelectionColumns();
    selectionCase("here and there", { "C", "B/c", "A" }, "A* B/c C");
    selectionCase("neighbours", { "B", "A/a", "A/b", "A" }, "A* A/a A/b B");
    selectionCase("hidden row", { "B", "C/e" }, "B*");
    selectionCase("only a hidden row", { "C/e" }, "");
    selectionCase("layer named like nodes", { "a" }, "a*");
    selectionCase("second of two", { "B/a" }, "B/a*");
    selectionCase("both of two", { "B/a", "A/a" }, "A/a* B/a");
    selectionCase("renamed", { "A", "A/a", "B/c" }, "B/c*",
                  [this] { host.store()->setLayerName(0, "b"); });
    selectionCase("two of one name now", { "B" }, "B*",
                  [this] { host.store()->setLayerName(0, "B"); });
    selectionCase("moved", { "A", "B/c" }, "B/c* A", [this] { host.store()->moveDownLayer(0); });
    selectionCase("taken out", { "A/a", "A/b", "B" }, "A/b*", [this] {
        host.store()->subNode(0, host.node("a"));
        host.store()->subLayer("B");
    });
    selectionCase("in another layer now", { "A/b", "B" }, "B*", [this] {
        host.store()->subNode(0, host.node("b"));
        host.store()->addNode(1, host.node("b"));
    });
    selectionCase("closed now", { "A/b" }, "A/b*",
                  [this] { host.store()->setCollapseState(0, 0); });
}

void tst_Sync::wholeSelection()
{
    QFETCH(QStringList, selection);
    QFETCH(Change, change);
    QFETCH(QString, expected);
    host.select(selection);
    rebuildKeeping(change);
    QCOMPARE(host.selected(), expected);
    QCOMPARE(host.rows(), host.stored());
    for (int i = 0; i < host.tree()->topLevelItemCount(); ++i) {
        QCOMPARE(host.tree()->topLevelItem(i)->isExpanded(),
                 host.store()->getAttachment()->getLayer(std::size_t(i))->getState() != 0);
    }
}

void tst_Sync::currentRow_data()
{
    addSelectionColumns();
    selectionCase("node", { "B/a", "A/a", "A" }, "B/a*");
    selectionCase("layer", { "B", "A" }, "B*");
    selectionCase("layer named like nodes", { "a" }, "a*");
    selectionCase("hidden row", { "C/e" }, "C/e*");
    selectionCase("none", {}, "");
    selectionCase("not selected", { "B", "A" }, "",
                  [this] { host.tree()->currentItem()->setSelected(false); });
    selectionCase("renamed", { "A" }, "", [this] { host.store()->setLayerName(0, "X"); });
    selectionCase("only the case", { "B" }, "", [this] { host.store()->setLayerName(1, "b"); });
    selectionCase("moved", { "A/b", "A" }, "A/b*", [this] {
        host.store()->moveDownLayer(0);
        host.store()->moveUpNode(1, host.node("b"));
    });
    selectionCase("taken out", { "A/a" }, "", [this] { host.store()->subNode(0, host.node("a")); });
    // Without its node all that a row has is its text.
    selectionCase("dead", { "A/b" }, "", [this] { kill("b"); });
    selectionCase("dead, named like a layer", { "A/a" }, "a*", [this] { kill("a"); });
    selectionCase("id used again", { "A/a" }, "a*", [this] {
        const std::uint32_t id = host.node("a")->getId();
        kill("a");
        std::vector<osg::FieldContainerPtr> others;
        while (!osg::FieldContainerFactory::the()->getContainer(id)) {
            others.push_back(osg::Group::create());
        }
        host.rebuild();
    });
}

void tst_Sync::currentRow()
{
    QFETCH(QStringList, selection);
    QFETCH(Change, change);
    QFETCH(QString, expected);
    host.select(selection);
    change();
    host.rebuild();
    QCOMPARE(host.selected(), expected);
    QVERIFY(!host.row("C")->isExpanded());
}

void tst_Sync::rebuildIsSilent()
{
    QTreeWidget *const tree = host.tree();
    host.select({ "A", "B/c" });
    const HostCalls calls;
    QSignalSpy expanded(tree, &QTreeWidget::itemExpanded);
    QSignalSpy collapsed(tree, &QTreeWidget::itemCollapsed);
    QSignalSpy changed(tree, &QTreeWidget::itemChanged);
    QSignalSpy current(tree, &QTreeWidget::currentItemChanged);
    QSignalSpy selection(tree, &QTreeWidget::itemSelectionChanged);
    bool painting = false;
    connect(tree->model(), &QAbstractItemModel::rowsInserted, this,
            [&painting, tree] { painting = painting || tree->updatesEnabled(); });
    rebuildKeeping([] {});
    disconnect(tree->model(), nullptr, this, nullptr);
    QVERIFY(!painting);
    for (const QSignalSpy *spy : { &expanded, &collapsed, &changed }) {
        QCOMPARE(spy->size(), 0);
    }
    // That the old rows go is told, what is restored is not.
    QCOMPARE(selection.size(), 1);
    QCOMPARE(current.size(), 1);
    current.clear();
    QVERIFY(tree->updatesEnabled() && !tree->signalsBlocked());
    host.click("B", 0);
    QCOMPARE(current.size(), 1);
}

void tst_Sync::activation_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<bool>("kept");
    QTest::addColumn<QString>("expected");
    const QString render = "updateRender(false)";
    using Paths = QStringList;
    QTest::newRow("none") << Paths() << false << render;
    QTest::newRow("hidden row") << Paths{ "C/e", "A" } << false
                                << "activateNode(3, e) activateLayer(0) " + render;
    QTest::newRow("as selected") << Paths{ "B/a", "A" } << false
                                 << "activateNode(1, a) activateLayer(0) " + render;
    // Where layers share a node the last one wins, so that the order matters.
    QTest::newRow("as restored") << Paths{ "B/a", "C", "A", "B/c" } << true
                                 << "activateLayer(0) activateNode(1, a) activateNode(1, c) "
                                    "activateLayer(3) "
                                        + render;
}

void tst_Sync::activation()
{
    QFETCH(QStringList, selection);
    QFETCH(bool, kept);
    QFETCH(QString, expected);
    host.select(selection);
    if (kept) {
        rebuildKeeping([] {});
    }
    const HostCalls calls;
    host.action("Activate Layer")->trigger();
    QCOMPARE(calls.commands(), expected);
}

HOST_TEST_MAIN(tst_Sync)
#include "tst_sync.moc"
