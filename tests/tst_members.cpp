#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"

#include <QTest>

/// Deletion, adding the host's selected nodes, clean-up.
class tst_Members : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void deletion_data();
    void deletion();
    void deletionOfDeadNodes();
    void addingNodes_data();
    void addingNodes();
    void cleaningUp();

private:
    HostFixture host;
};

void tst_Members::init()
{
    host.reset();
    host.addLayer("A", { "a", "b", "c" });
    host.addLayer("Bäume", { "a", "d" });
    host.addLayer("C", { "a", "e" }, false);
    host.rebuild();
    host.tree()->setColumnWidth(0, 1);
}

void tst_Members::deletion_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<QString>("calls");
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QString>("selected");
    const auto row = [](const QStringList &selection, const QString &calls, const QString &rows,
                        const QString &selected = QString()) {
        QTest::newRow(qPrintable(selection.join(' '))) << selection << calls << rows << selected;
    };
    const QString end = " rebuild setModified(1)";
    row({}, "", "A[a b c] Bäume[a d] C[a e]");
    row({ "A" }, "subLayer(A)" + end, "Bäume[a d] C[a e]");
    row({ "C", "Bäume" }, "subLayer(Bäume) subLayer(C)" + end, "A[a b c]");
    row({ "Bäume/d", "A/c", "A/a" }, "subNode(1, d) subNode(0, c) subNode(0, a)" + end,
        "A[b] Bäume[a] C[a e]");
    row({ "A", "Bäume/d", "Bäume/a" }, "subLayer(A)" + end + " subNode(0, a) subNode(0, d)" + end,
        "Bäume[] C[a e]");
    row({ "A/b", "A" }, "subLayer(A)" + end, "Bäume[a d] C[a e]");
    // Rows under a closed layer are spared.
    row({ "C/a" }, "", "A[a b c] Bäume[a d] C[a e]", "C/a*");
    row({ "C/a", "A/a" }, "subNode(0, a)" + end, "A[b c] Bäume[a d] C[a e]", "C/a*");
    row({ "A", "C/a" }, "subLayer(A)" + end, "Bäume[a d] C[a e]");
}

void tst_Members::deletion()
{
    QFETCH(QStringList, selection);
    QFETCH(QString, calls);
    QFETCH(QString, rows);
    QFETCH(QString, selected);
    for (const bool byKey : { true, false }) {
        init();
        const int narrow = host.tree()->columnWidth(0);
        host.select(selection);
        const HostCalls made;
        byKey ? host.key(Qt::Key_Delete) : host.action("Delete")->trigger();
        QCOMPARE(made.commands(), calls);
        QCOMPARE(host.rows(), rows);
        QCOMPARE(host.stored(), rows);
        QCOMPARE(host.selected(), selected);
        QCOMPARE(mkController::isModified(), !calls.isEmpty());
        QCOMPARE(host.tree()->columnWidth(0), narrow);
    }
}

/// A row whose node is gone has nothing to hand to the store, but asks it all the same.
void tst_Members::deletionOfDeadNodes()
{
    host.store()->subNode(0, host.node("b"));
    mkScenegraph::removeNode(host.node("b"));
    host.select({ "A/b", "A/c" });
    const HostCalls made;
    host.key(Qt::Key_Delete);
    QCOMPARE(made.commands(),
             QStringLiteral("subNode(0, null) subNode(0, c) rebuild setModified(1)"));
    QCOMPARE(host.rows(), QStringLiteral("A[a] Bäume[a d] C[a e]"));
}

void tst_Members::addingNodes_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<QStringList>("nodes");
    QTest::addColumn<QString>("added");
    QTest::addColumn<QString>("rows");
    const auto row = [](const QStringList &selection, const QStringList &nodes,
                        const QString &added, const QString &rows = "A[a b c] Bäume[a d] C[a e]") {
        const QString name = selection.join(' ') + " + " + nodes.join(' ');
        QTest::newRow(qPrintable(name)) << selection << nodes << added << rows;
    };
    row({}, { "e" }, "");
    row({ "A" }, {}, "");
    row({ "Bäume" }, { "e", "b" }, "addNode(1, e) addNode(1, b)", "A[a b c] Bäume[a d e b] C[a e]");
    row({ "A/c" }, { "e" }, "addNode(0, e)", "A[a b c e] Bäume[a d] C[a e]");
    row({ "C/e" }, { "b" }, "addNode(2, b)", "A[a b c] Bäume[a d] C[a e b]");
    row({ "A", "A/b", "A/a", "C/e", "C/a" }, { "g2", "d" },
        "addNode(0, g2) addNode(0, d) addNode(2, g2) addNode(2, d)",
        "A[a b c g2 d] Bäume[a d] C[a e g2 d]");
    row({ "A" }, { "g1", "group" }, "addNode(0, group)", "A[a b c group] Bäume[a d] C[a e]");
    // What a layer takes is the store's to say.
    row({ "A" }, { "c" }, "addNode(0, c)");
    row({ "A" }, { "scene" }, "addNode(0, scene)");
}

void tst_Members::addingNodes()
{
    QFETCH(QStringList, selection);
    QFETCH(QStringList, nodes);
    QFETCH(QString, added);
    QFETCH(QString, rows);
    std::vector<mkNodePtr> inHost;
    for (const QString &name : qAsConst(nodes)) {
        inHost.emplace_back(host.node(name));
    }
    mkSelectionManager::selectNodes(inHost);
    const int narrow = host.tree()->columnWidth(0);
    host.select(selection);
    const HostCalls made;
    host.action("Add Selected Nodes")->trigger();
    const bool done = !selection.isEmpty();
    QStringList expected = added.isEmpty() ? QStringList() : QStringList{ added };
    QCOMPARE(made.commands(),
             done ? (expected + QStringList{ "rebuild setModified(1)" }).join(' ') : QString());
    QCOMPARE(host.rows(), rows);
    QCOMPARE(host.stored(), rows);
    QCOMPARE(host.tree()->columnWidth(0) > narrow, done);
    QCOMPARE(host.selected(), done ? selection.first() + '*' : QString());
}

void tst_Members::cleaningUp()
{
    for (const char *name : { "a", "d" }) {
        mkScenegraph::removeNode(host.node(name));
    }
    host.rebuild();
    QCOMPARE(host.rows(), QStringLiteral("A[a b c] Bäume[a d] C[a e]"));
    mkController::setModified(0);
    const int narrow = host.tree()->columnWidth(0);
    host.select({ "A/b", "C" });
    const HostCalls made;
    host.action("Cleanup")->trigger();
    QCOMPARE(made.commands(), QStringLiteral("cleanup(scene) rebuild"));
    QCOMPARE(host.rows(), QStringLiteral("A[b c] Bäume[] C[e]"));
    QCOMPARE(host.stored(), host.rows());
    QCOMPARE(host.selected(), QStringLiteral("A/b*"));
    QCOMPARE(host.tree()->columnWidth(0), narrow);
    QVERIFY(!mkController::isModified());
}

HOST_TEST_MAIN(tst_Members)
#include "tst_members.moc"
