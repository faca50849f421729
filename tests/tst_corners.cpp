#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkUtils/mkTrace.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStyleFactory>
#include <QStyledItemDelegate>
#include <QTest>

#include <stdexcept>

namespace {

/// Sizes that no other delegate would ask for.
class WideDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const override
    {
        return { 700, 40 };
    }
};

} // namespace

/// Where the panel meets bad luck, or what the user seldom does.
class tst_Corners : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    // First: once the library was loaded anew, scripts hold functions of the old one.
    void scriptInterrupted();
    void widthOfFirstColumn();
    void picture();
    void failuresWithinCommands();
    void dragFromEmptySpace();
    void keysOfTheDialog();
    void panelClosedByHost();
    void rowsTakenDown();
    void unsubscribing();

private:
    using Act = std::function<void()>;
    /// Runs `act` with `strike` called at the host operation, or at all when that is empty, but for
    /// icons: views ask for those.
    static void striking(const QByteArray &call, const Act &strike, const Act &act);

    std::unique_ptr<HostFixture> host = std::make_unique<HostFixture>(true);
};

void tst_Corners::init()
{
    if (!host->panel()) {
        host->unloadPlugin();
        host->loadPlugin();
    }
    host->reset();
    host->addLayer("A", { "a", "b", "c" });
    host->addLayer("B", { "d", "e" });
    host->addLayer("C", { "g1" }, false);
    host->attributes(0, "b")->setOverrideMaterial(host->material("red"));
    host->rebuild();
}

void tst_Corners::striking(const QByteArray &call, const Act &strike, const Act &act)
{
    bool within = false;
    const auto off = qScopeGuard([] { mkTrace::setInterceptor({}); });
    mkTrace::setInterceptor([&](const char *name) {
        const bool wanted = call.isEmpty() ? !QByteArray(name).startsWith("mkIconManager")
                                           : call == name;
        if (wanted && !within) {
            within = true;
            const auto done = qScopeGuard([&] { within = false; });
            strike();
        }
    });
    act();
}

/// What widens the column is what a view that remembers nothing would measure.
void tst_Corners::widthOfFirstColumn()
{
    const QString name = "a rather long name of a node, longer than the header";
    host->node("g2")->setName(name.toStdString());
    host->addLayer("D", { name });
    host->rebuild();
    QTreeWidget *const tree = host->tree();
    const std::unique_ptr<QStyle> style(QStyleFactory::create("windows"));
    WideDelegate delegate;
    const auto restore = qScopeGuard([tree] {
        tree->setItemDelegateForColumn(0, nullptr);
        tree->setStyleSheet({});
        tree->setStyle(nullptr);
        tree->setFont({});
        tree->headerItem()->setText(0, "Layer");
        tree->resetIndentation();
        tree->setIconSize({});
    });
    const std::vector<Act> changes{
        [] {},
        [tree] { tree->setStyleSheet("QTreeView::item { padding-left: 40px; }"); },
        [tree] { tree->setStyleSheet("QTreeView::item { padding-left: 4px; }"); },
        [tree] { tree->setStyleSheet({}); },
        [tree] { tree->setFont(QFont("Sans", 30)); },
        [tree, &style] { tree->setStyle(style.get()); },
        [tree] { tree->setIndentation(90); },
        [tree] {
            tree->setIconSize({ 4, 4 });
        },
        [this] { host->node("a")->setName("x"); },
        [this] { host->row("D")->setHidden(true); },
        [this] { host->row("A")->setText(0, QString(30, 'w')); },
        [this] { host->kill("g1"); },
        [tree] { tree->headerItem()->setText(0, QString(50, 'W')); },
        [tree, &delegate] { tree->setItemDelegateForColumn(0, &delegate); },
    };
    for (std::size_t i = 0; i < changes.size(); ++i) {
        changes[i]();
        host->settle();
        tree->setColumnWidth(0, 1);
        host->row("C")->setExpanded(false);
        host->row("C")->setExpanded(true);
        const int width = tree->columnWidth(0);
        tree->resizeColumnToContents(0);
        QVERIFY2(width == tree->columnWidth(0), QByteArray::number(int(i)));
    }
}

/// A delegate that measures each cell anew gives the same picture.
void tst_Corners::picture()
{
    QTreeWidget *const tree = host->tree();
    host->node("d")->setName("");
    QStyledItemDelegate plain;
    QAbstractItemDelegate *const own = tree->itemDelegate();
    const auto restore = qScopeGuard([&] { tree->setItemDelegate(own); });
    for (const int fontSize : { 9, 20 }) {
        tree->setFont(QFont("Sans", fontSize));
        const auto grab = [&](QAbstractItemDelegate *delegate) {
            tree->setItemDelegate(delegate);
            host->rebuild();
            host->key(Qt::Key_A, Qt::ControlModifier);
            host->settle();
            return tree->grab().toImage();
        };
        QVERIFY(grab(own) == grab(&plain));
    }
    tree->setFont({});
}

/// What is moved, renamed, toggled or cleaned up leaves the document as it was, whatever throws;
/// and the rows are the store's again as soon as events are handled.
void tst_Corners::failuresWithinCommands()
{
    const std::vector<std::pair<QString, Act>> commands{
        { "B", [this] { host->key(Qt::Key_Up, Qt::ControlModifier); } },
        { "A/b", [this] { host->key(Qt::Key_Down, Qt::ControlModifier); } },
        { "A", [this] { host->key(Qt::Key_F2), host->type("new"); } },
        { "A", [this] { host->key(Qt::Key_F2), host->type("B"); } },
        { "A", [this] { host->doubleClick("A/b", 3); } },
        { "A", [this] { host->action("Cleanup")->trigger(); } },
        { "A", [this] { host->rebuild(); } },
    };
    const ModalAnswers answers(ModalAnswers::agree);
    for (const auto &[selected, command] : commands) {
        int calls = 1;
        for (int place = 0; place < calls; ++place) {
            init();
            host->select({ selected });
            calls = 0;
            striking(
                {},
                [&] {
                    if (calls++ == place) {
                        throw std::runtime_error("no");
                    }
                },
                command);
            host->settle();
            QCOMPARE(host->rows(), HostFixture::stored());
            QVERIFY(!mkController::isModified());
        }
    }
}

void tst_Corners::dragFromEmptySpace()
{
    host->select({ "A/b" });
    QWidget *const viewport = host->tree()->viewport();
    for (const Qt::KeyboardModifiers modifiers : { Qt::NoModifier, Qt::ShiftModifier }) {
        QTest::mousePress(viewport, Qt::LeftButton, modifiers, host->emptySpace());
        QMouseEvent move(QEvent::MouseMove, host->cell("A/a", 1).center(), Qt::NoButton,
                         Qt::LeftButton, modifiers);
        QApplication::sendEvent(viewport, &move);
        QTest::mouseRelease(viewport, Qt::LeftButton, modifiers, host->emptySpace());
        QCOMPARE(host->selected(), QStringLiteral("A/b*"));
    }
    // After a press on a row the view selects as always.
    QTest::mousePress(viewport, Qt::LeftButton, {}, host->cell("A/c", 1).center());
    QMouseEvent move(QEvent::MouseMove, host->cell("B", 1).center(), Qt::NoButton, Qt::LeftButton,
                     {});
    QApplication::sendEvent(viewport, &move);
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, host->cell("B", 1).center());
    QVERIFY(host->row("A/c")->isSelected() && host->row("B")->isSelected());
}

/// Return is OK each time, and Space only marks a box.
void tst_Corners::keysOfTheDialog()
{
    host->select({ "A" });
    for (const bool cancelled : { true, false, false }) {
        const ModalAnswers answers([cancelled](QWidget *modal) {
            QTest::keyClick(modal->focusWidget(), Qt::Key_Space);
            QVERIFY(modal->isVisible());
            if (cancelled) {
                modal->findChild<QDialogButtonBox *>()
                    ->button(QDialogButtonBox::Cancel)
                    ->setFocus();
                QTest::keyClick(modal->focusWidget(), Qt::Key_Space);
            } else {
                QTest::keyClick(modal->focusWidget(), Qt::Key_Return);
            }
        });
        const QString before = host->cells("A/a");
        host->action("Apply Attributes to Selected ...")->trigger();
        QCOMPARE(answers.count(), 1);
        QVERIFY((host->cells("A/a") == before) == cancelled);
    }
}

/// The host deletes the panel in the middle of what it is called for.
void tst_Corners::panelClosedByHost()
{
    const std::vector<Act> acts{
        [this] { host->send("sceneLoaded", osg::NullFC, mkMessage::SceneLoaded); },
        [this] { host->click(host->clearButton(host->row("A/b"))); },
        [this] {
            host->drop(host->cell("A/c", 1).center(), host->materialFormat,
                       host->materialPayload("blue"));
        },
        [this] { host->drop(host->cell("A", 1).center(), host->nodeFormat, QByteArray(8, '\1')); },
    };
    for (const bool throwing : { false, true }) {
        for (const Act &act : acts) {
            int calls = 1;
            for (int place = 0; place < calls; ++place) {
                init();
                host->selectInHost({ "d" });
                calls = 0;
                striking(
                    {},
                    [&] {
                        if (calls++ == place) {
                            delete host->panel();
                            if (throwing) {
                                throw std::runtime_error("no");
                            }
                        }
                    },
                    act);
                host->settle();
                QVERIFY(place >= calls || !host->panel());
            }
        }
    }
}

/// Rows and the list of the selected ones agree whenever somebody hears that the selection changed.
void tst_Corners::rowsTakenDown()
{
    QTreeWidget *const tree = host->tree();
    int heard = 0;
    const auto listener = connect(tree, &QTreeWidget::itemSelectionChanged, this, [&] {
        ++heard;
        const QList<QTreeWidgetItem *> selected = tree->selectedItems();
        for (const char *path : { "A", "A/a", "A/b", "B", "B/d" }) {
            QTreeWidgetItem *const row = host->row(path);
            QVERIFY(row && row->isSelected() == selected.contains(row));
        }
    });
    const auto off = qScopeGuard([&listener] { disconnect(listener); });
    host->select({ "A", "A/b", "B/d" });
    heard = 0;
    host->rebuild();
    QCOMPARE(heard, 1);
}

/// What was added by then stays, and is shown.
void tst_Corners::scriptInterrupted()
{
    const auto off = qScopeGuard([] { mkScript::setHeartbeat({}); });
    mkScript::setHeartbeat([] { mkScript::interrupt(); });
    const HostCalls calls;
    const bool ended = mkScript::run("nodes = [mkHost.findNode(name) for name in 'de']\n"
                                     "addNodesToRenderLayer(nodes * 50000, 'A')");
    QVERIFY(!ended && calls.count("mkRenderLayer::addNode") > 2);
    QCOMPARE(host->stored(), QStringLiteral("A[a b c d e] B[d e] C[g1]"));
    QCOMPARE(host->rows(), host->stored());
    QVERIFY(mkController::isModified());
}

/// Else messages would be delivered to a library that is gone.
void tst_Corners::unsubscribing()
{
    int calls = 0;
    const Act fail = [&calls] {
        ++calls;
        throw std::runtime_error("no");
    };
    striking("mkController::subCB", fail, [this] { host->unloadPlugin(); });
    host->loadPlugin();
    QCOMPARE(calls, 3);
}

HOST_TEST_MAIN(tst_Corners)
#include "tst_corners.moc"
