#include "HostFixture.h"

#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"

#include <QHeaderView>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

/// The tree is a picture of the store: what the rebuild reads, keeps, and keeps quiet about.
class tst_Sync : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void rebuild();
    void damagedStore();
    void expansion();
    void firstColumn();
    void newRowsFit();
    void reusedIds();
    void rebuildIsSilent();
    void activationFollowsTheSelection();

private:
    /// Rebuilds through a command that keeps the selection.
    void rebuildKeeping() const
    {
        const ModalAnswers answers(ModalAnswers::agree);
        host.action("Apply Attributes to Selected ...")->trigger();
    }

    HostFixture host;
};

void tst_Sync::init()
{
    host.reset();
    host.addLayers();
}

void tst_Sync::rebuild()
{
    const HostCalls calls;
    host.rebuild();
    QCOMPARE(calls.lines({ "mkScenegraph::", "mkRenderLayer::" }).join(' '),
             "mkScenegraph::getRenderLayer() mkRenderLayer::isEmpty() "
             "mkRenderLayer::getAttachment()");
    host.node("b")->setName("木");
    host.material("red")->setName("röd");
    host.rebuild();
    QCOMPARE(host.rows(), "A[a 木] B[c d] C[a e]");
    QCOMPARE(host.cells("A/a"), "11111111110 röd");
    QVERIFY(!host.row("A/a")->data(1, Qt::CheckStateRole).isValid());
    // Layer rows show only their name.
    QCOMPARE(host.cells(host.row("A")), QString(12, ' '));
    QVERIFY(!host.row("A")->data(0, Qt::DecorationRole).isValid());
    // Whether a node is to be seen just now is not for its icon to say.
    host.flag(host.attributes(0, "a"), 1) = false;
    host.store()->activateNode(0, host.node("a"));
    QVERIFY(host.row("A/a")->data(0, Qt::DecorationRole).value<QPixmap>().toImage()
            == mkIconManager::get("Node/Geometry.svg").toImage());
    // What was looked at stays in sight.
    host.select({ "A" });
    host.tree()->setColumnWidth(5, 3000);
    host.settle();
    host.tree()->horizontalScrollBar()->setValue(200);
    host.rebuild();
    QCOMPARE(host.tree()->horizontalScrollBar()->value(), 200);
    host.tree()->setColumnWidth(5, 100);
    QVERIFY(!mkController::isModified());
}

void tst_Sync::damagedStore()
{
    for (const auto &entry : { osg::Ptr<osg::Group>(), osg::Group::create() }) {
        init();
        host.select({ "A", "B" });
        host.store()->getAttachment()->addEntry(entry);
        // Names are the store's, whatever the tree shows and whatever else is there.
        host.addLayer("A1");
        const HostCalls calls;
        host.key(Qt::Key_D, Qt::ControlModifier);
        QCOMPARE(calls.commands().section(" rebuild", 0, 0), "copyLayer(0, A2) copyLayer(1, B1)");
        QCOMPARE(host.rows(), QString());
        // It cannot be shown, but cleaned up.
        host.action("Cleanup")->trigger();
        QCOMPARE(host.rows(), "A[a b] B[c d] C[a e] A1[] A2[a b] B1[c d]");

        host.store()->getAttachment()->getLayer(0)->replaceAttributes(host.node("a"), entry);
        host.rebuild();
        QCOMPARE(host.rows(), host.stored());
        QCOMPARE(host.cells("A/a"), QString(12, ' '));
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
    }
    host.select({ "C" });
    host.key(Qt::Key_Right);
    host.key(Qt::Key_Left);
    QCOMPARE(calls.lines({ "mkRenderLayer::setCollapseState" }).join(' '),
             "mkRenderLayer::setCollapseState(2, 1) mkRenderLayer::setCollapseState(2, 0)");
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
    host.rebuild();
    QCOMPARE(tree->columnWidth(0), narrow);
    host.row("C")->setExpanded(true);
    const int wide = tree->columnWidth(0);
    tree->resizeColumnToContents(0);
    QCOMPARE(tree->columnWidth(0), wide);
    tree->setColumnWidth(0, wide + 100);
    host.row("C")->setExpanded(false);
    host.row("C")->setExpanded(true);
    QCOMPARE(tree->columnWidth(0), wide + 100);
    tree->headerItem()->setText(0, QString(100, 'W'));
    host.row("B")->setExpanded(false);
    host.row("B")->setExpanded(true);
    QCOMPARE(tree->columnWidth(0), tree->header()->sectionSizeHint(0));
    tree->headerItem()->setText(0, "Layer");
}

/// The first column is fitted to the rows as they are after the command.
void tst_Sync::newRowsFit()
{
    const QString name(80, 'w');
    const std::function<void()> commands[] = {
        [&] { QMetaObject::invokeMethod(host.tree(), "createLayer", Q_ARG(QString, name)); },
        [&] {
            host.store()->setLayerName(1, name.toStdString());
            host.action("Duplicate Layer")->trigger();
        },
        [&] {
            // The column was fitted to the old name before.
            host.row("A")->setExpanded(false);
            host.row("A")->setExpanded(true);
            host.tree()->setColumnWidth(0, 1);
            host.key(Qt::Key_F2);
            host.type(name);
        },
        [&] { host.drop(host.cell("B", 1).center(), host.nodeFormat, QByteArray(8, '\1')); },
    };
    for (const auto &command : commands) {
        init();
        host.node("g1")->setName(name.toStdString());
        host.selectInHost({ name });
        host.select({ "B" });
        host.tree()->setColumnWidth(0, 1);
        const int narrow = host.tree()->columnWidth(0);
        command();
        const int width = host.tree()->columnWidth(0);
        host.tree()->resizeColumnToContents(0);
        QCOMPARE(host.tree()->columnWidth(0), width);
        QVERIFY(width > 2 * narrow);
    }
}

/// Without its node all that a row has is its text, also when another container has its id.
void tst_Sync::reusedIds()
{
    host.addLayer("a", { "c" });
    host.rebuild();
    host.select({ "A/a" });
    const std::uint32_t id = host.node("a")->getId();
    host.kill("a");
    std::vector<osg::FieldContainerPtr> others;
    while (!osg::FieldContainerFactory::the()->getContainer(id)) {
        others.push_back(osg::Group::create());
    }
    host.rebuild();
    QCOMPARE(host.selected(), "a*");
}

void tst_Sync::rebuildIsSilent()
{
    QTreeWidget *const tree = host.tree();
    host.select({ "A", "B/c" });
    QSignalSpy expanded(tree, &QTreeWidget::itemExpanded);
    QSignalSpy changed(tree, &QTreeWidget::itemChanged);
    QSignalSpy current(tree, &QTreeWidget::currentItemChanged);
    QSignalSpy selection(tree, &QTreeWidget::itemSelectionChanged);
    bool painting = false;
    const auto watch = connect(tree->model(), &QAbstractItemModel::rowsInserted, this,
                               [&] { painting = painting || tree->updatesEnabled(); });
    rebuildKeeping();
    disconnect(watch);
    QVERIFY(!painting && tree->updatesEnabled() && !tree->signalsBlocked());
    QCOMPARE(host.selected(), "A* B/c");
    QCOMPARE(expanded.size() + changed.size(), 0);
    // That the old rows go is told, what is restored is not.
    QCOMPARE(selection.size(), 1);
    QCOMPARE(current.size(), 1);
}

/// Where layers share a node the last one wins, so that the order matters.
void tst_Sync::activationFollowsTheSelection()
{
    const auto activated = [this](const QStringList &selection, bool kept) {
        host.select(selection);
        if (kept) {
            rebuildKeeping();
        }
        const HostCalls calls;
        host.action("Activate Layer")->trigger();
        return calls.commands().section(" updateRender", 0, 0);
    };
    QCOMPARE(activated({ "C/e", "A" }, false), "activateNode(2, e) activateLayer(0)");
    QCOMPARE(activated({ "B/d", "C", "A", "B/c" }, false),
             "activateNode(1, d) activateLayer(2) activateLayer(0) activateNode(1, c)");
    QCOMPARE(activated({ "B/d", "C", "A", "B/c" }, true),
             "activateLayer(0) activateNode(1, c) activateNode(1, d) activateLayer(2)");
}

HOST_TEST_MAIN(tst_Sync)
#include "tst_sync.moc"
