#include "HostFixture.h"

#include "mkKernel/mkController.h"

#include <QTest>

/// Deletion, adding the host's selected nodes, clean-up.
class tst_Members : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void deletion();
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
}

void tst_Members::deletion()
{
    const auto check = [this](const QStringList &selection, const QString &calls,
                              const QString &rows, const QString &selected = {}) {
        init();
        host.select(selection);
        const HostCalls made;
        host.key(Qt::Key_Delete);
        QCOMPARE(made.commands(), calls);
        QCOMPARE(host.rows(), rows);
        QCOMPARE(host.stored(), rows);
        QCOMPARE(host.selected(), selected);
    };
    const QString end = " rebuild setModified(1)";
    check({}, "", "A[a b c] Bäume[a d] C[a e]");
    check({ "C", "Bäume" }, "subLayer(Bäume) subLayer(C)" + end, "A[a b c]");
    check({ "Bäume/d", "A/c", "A/a" }, "subNode(1, d) subNode(0, c) subNode(0, a)" + end,
          "A[b] Bäume[a] C[a e]");
    check({ "A", "Bäume/d", "Bäume/a" }, "subLayer(A)" + end + " subNode(0, a) subNode(0, d)" + end,
          "Bäume[] C[a e]");
    check({ "A/b", "A" }, "subLayer(A)" + end, "Bäume[a d] C[a e]");
    // Rows under a closed layer are spared.
    check({ "C/a" }, "", "A[a b c] Bäume[a d] C[a e]", "C/a*");
    check({ "C/a", "A/a" }, "subNode(0, a)" + end, "A[b c] Bäume[a d] C[a e]", "C/a*");
    // A row whose node is gone has nothing to hand to the store, but asks it all the same.
    init();
    host.kill("b");
    host.select({ "A/b", "A/c" });
    const HostCalls made;
    host.key(Qt::Key_Delete);
    QCOMPARE(made.commands(), "subNode(0, null) subNode(0, c)" + end);
    QCOMPARE(host.rows(), QStringLiteral("A[a] Bäume[a d] C[a e]"));
}

void tst_Members::addingNodes()
{
    const auto check = [this](const QStringList &selection, const QStringList &nodes,
                              const QString &calls,
                              const QString &rows = "A[a b c] Bäume[a d] C[a e]") {
        init();
        host.selectInHost(nodes);
        host.select(selection);
        const HostCalls made;
        host.action("Add Selected Nodes")->trigger();
        QCOMPARE(made.commands(), selection.isEmpty()
                                      ? calls
                                      : QString(calls + " rebuild setModified(1)").trimmed());
        QCOMPARE(host.rows(), rows);
        QCOMPARE(host.stored(), rows);
        QCOMPARE(host.selected(), selection.isEmpty() ? QString() : selection.first() + '*');
    };
    check({}, { "e" }, "");
    check({ "A" }, {}, "");
    check({ "Bäume" }, { "e", "b" }, "addNode(1, e) addNode(1, b)",
          "A[a b c] Bäume[a d e b] C[a e]");
    check({ "A", "A/b", "A/a", "C/e", "C/a" }, { "g2", "d" },
          "addNode(0, g2) addNode(0, d) addNode(2, g2) addNode(2, d)",
          "A[a b c g2 d] Bäume[a d] C[a e g2 d]");
    check({ "A/c" }, { "g1", "group" }, "addNode(0, group)", "A[a b c group] Bäume[a d] C[a e]");
    // What a layer takes is the store's to say.
    check({ "A" }, { "c" }, "addNode(0, c)");
    check({ "A" }, { "scene" }, "addNode(0, scene)");
}

void tst_Members::cleaningUp()
{
    for (const char *name : { "a", "d" }) {
        mkScenegraph::removeNode(host.node(name));
    }
    host.rebuild();
    QCOMPARE(host.rows(), QStringLiteral("A[a b c] Bäume[a d] C[a e]"));
    mkController::setModified(0);
    host.select({ "A/b", "C" });
    host.action("Cleanup")->trigger();
    QCOMPARE(host.rows(), QStringLiteral("A[b c] Bäume[] C[e]"));
    QCOMPARE(host.stored(), host.rows());
    QCOMPARE(host.selected(), QStringLiteral("A/b*"));
    QVERIFY(!mkController::isModified());
}

HOST_TEST_MAIN(tst_Members)
#include "tst_members.moc"
