#include "HostFixture.h"

#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"

#include <QScrollBar>
#include <QSignalSpy>
#include <QStyledItemDelegate>
#include <QTest>

/// The tree is a picture of the store: what the rebuild reads, keeps, and keeps quiet about.
class tst_Sync : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void rebuild();
    void damagedStore();
    void firstColumn();
    void newRowsFit();
    void rebuildIsSilent();
    void restoredRows();

private:
    HostFixture host;
};

/// With a panel of its own, whatever the test before has done to it.
void tst_Sync::init()
{
    host.unloadPlugin();
    host.loadPlugin();
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
    QVERIFY(!host.row("A/a")->data(1, Qt::CheckStateRole).isValid());
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
    // What a listener makes current meanwhile is selected, where nothing was before.
    host.select({});
    connect(host.tree()->model(), &QAbstractItemModel::rowsInserted, host.tree(), [this] {
        host.tree()->setCurrentItem(host.row("B"), 0, QItemSelectionModel::NoUpdate);
    });
    host.rebuild();
    QCOMPARE(host.selected(), "B*");
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

/// Widened, when a layer is opened, to what a view that remembers nothing would measure; never
/// narrowed. The picture is that view's, too.
void tst_Sync::firstColumn()
{
    QTreeWidget *const tree = host.tree();
    host.node("e")->setName("a node with a name that is longer than the column was wide before");
    host.node("d")->setName("");
    host.rebuild();
    QAbstractItemDelegate *const own = tree->itemDelegate();
    QStyledItemDelegate plain;
    tree->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const std::function<void()> changes[] = {
        [tree] { tree->setStyleSheet("QTreeView::item { padding-left: 40px; }"); },
        [tree] { tree->setStyleSheet({}); },
        [tree] { tree->setFont(QFont("Sans", 30)); },
        [tree] { tree->setIconSize(QSize(4, 4)); },
        [this] { host.node("a")->setName("x"); },
        [this] { host.store()->subNode(2, host.node("e")); },
        [tree] { tree->headerItem()->setText(0, QString(50, 'W')); },
    };
    for (const auto &change : changes) {
        change();
        host.settle();
        tree->setColumnWidth(0, 1);
        const int narrow = tree->columnWidth(0);
        host.row("C")->setExpanded(false);
        host.rebuild();
        QCOMPARE(tree->columnWidth(0), narrow);
        host.row("C")->setExpanded(true);
        const int width = tree->columnWidth(0);
        host.settle();
        const QImage picture = tree->grab().toImage();
        tree->setItemDelegate(&plain);
        tree->resizeColumnToContents(0);
        QCOMPARE(width, tree->columnWidth(0));
        host.settle();
        QVERIFY2(tree->grab().toImage() == picture, QByteArray::number(int(&change - changes)));
        tree->setItemDelegate(own);
        tree->setColumnWidth(0, width + 100);
        host.row("C")->setExpanded(false);
        host.row("C")->setExpanded(true);
        QCOMPARE(tree->columnWidth(0), width + 100);
    }
}

/// To the rows as they are after the command.
void tst_Sync::newRowsFit()
{
    const QString name(80, 'w');
    const std::function<void()> commands[] = {
        [this] { host.action("Add Selected Nodes")->trigger(); },
        [this] { host.drop(host.cell("B", 1).center(), host.nodeFormat, QByteArray(8, '\1')); },
        [&] {
            host.key(Qt::Key_F2);
            host.type(name);
        },
    };
    for (const auto &command : commands) {
        init();
        host.node("g1")->setName(name.toStdString());
        host.selectInHost({ name });
        host.select({ "B" });
        host.tree()->setColumnWidth(0, 1);
        command();
        const int width = host.tree()->columnWidth(0);
        host.tree()->resizeColumnToContents(0);
        QCOMPARE(host.tree()->columnWidth(0), width);
    }
}

void tst_Sync::rebuildIsSilent()
{
    QTreeWidget *const tree = host.tree();
    // Two layers of one name.
    host.store()->setLayerName(2, "A");
    host.store()->setCollapseState(2, 1);
    host.rebuild();
    host.select({ "A", "A/b", "B/c", "A/e" });
    QSignalSpy expanded(tree, &QTreeWidget::itemExpanded);
    QSignalSpy changed(tree, &QTreeWidget::itemChanged);
    QSignalSpy current(tree, &QTreeWidget::currentItemChanged);
    int heard = 0;
    QObject watch;
    connect(tree, &QTreeWidget::itemSelectionChanged, &watch, [&] {
        ++heard;
        // Of rows that are there still, and know by then that they are not selected.
        QVERIFY(host.row("B/c"));
        QCOMPARE(host.selected(), QString());
        QVERIFY(tree->selectedItems().isEmpty());
    });
    connect(tree->model(), &QAbstractItemModel::rowsInserted, &watch,
            [&] { QVERIFY(!tree->updatesEnabled()); });
    const ModalAnswers answers(ModalAnswers::agree);
    host.action("Apply Attributes to Selected ...")->trigger();
    QVERIFY(tree->updatesEnabled() && !tree->signalsBlocked());
    QCOMPARE(host.selected(), "A* A/b B/c A/e");
    QCOMPARE(expanded.size() + changed.size(), 0);
    // That the old rows go is told, what is restored is not.
    QCOMPARE(heard, 1);
    QCOMPARE(current.size(), 1);
}

/// Of many rows, some beside each other, the same ones.
void tst_Sync::restoredRows()
{
    QStringList names;
    for (int i = 0; i < 1100; ++i) {
        host.addLayer(QString::number(i));
        if (i % 540 > 0) {
            names += QString::number(i);
        }
    }
    host.rebuild();
    host.select(names);
    const QString selected = host.selected();
    host.key(Qt::Key_Up, Qt::ControlModifier);
    QCOMPARE(host.selected(), selected);
}

QTEST_MAIN(tst_Sync)
#include "tst_sync.moc"
