#include "HostFixture.h"

#include <QTest>

/// The tree is a picture of the store: rebuild, expansion, selection memory.
class tst_Sync : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { host.reset(); }
    void showsTheStore();

private:
    HostFixture host;
};

void tst_Sync::showsTheStore()
{
    QCOMPARE(host.rows(), QString());
    host.addLayer("Bäume", { "a", "b" });
    host.addLayer("Empty", {}, false);
    QCOMPARE(host.rows(), QString());
    host.rebuild();
    QCOMPARE(host.rows(), QStringLiteral("Bäume[a b] Empty[]"));
    QVERIFY(host.row("Bäume")->isExpanded());
    QVERIFY(!host.row("Empty")->isExpanded());
}

HOST_TEST_MAIN(tst_Sync)
#include "tst_sync.moc"
