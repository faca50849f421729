#include "HostFixture.h"
#include "Translations.h"

#include <QDockWidget>
#include <QLocale>
#include <QMenuBar>
#include <QTest>

class tst_translations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void panelSpeaksGerman();
};

void tst_translations::panelSpeaksGerman()
{
    QVERIFY(!Translations::install(QLocale(QLocale::Welsh), { MK_TRANSLATIONS }));
    QVERIFY(Translations::install(QLocale(QLocale::English), { MK_TRANSLATIONS }));
    QVERIFY(Translations::install(QLocale(QLocale::German), { "nowhere", MK_TRANSLATIONS }));
    HostFixture host;
    host.reset();
    QCOMPARE(host.panel()->windowTitle(), "Render-Ebene");
    QCOMPARE(host.window()->menuBar()->actions().constFirst()->text(), "Rendern");
    const auto *dock = host.window()->findChild<QDockWidget *>("Render Layer");
    QCOMPARE(dock->windowTitle(), "Render-Ebene");

    QVERIFY(host.clickTool("Ebene anlegen"));
    QCOMPARE(host.rows(), "Ebene[]");
    host.store()->addNode(0, host.node("a"));
    HostFixture::rebuild();
    const QTreeWidgetItem *header = host.tree()->headerItem();
    QCOMPARE(header->text(0), "Ebene");
    QCOMPARE(header->text(1), "Sichtbar");
    QCOMPARE(header->text(12), "Ersatzmaterial");
    QCOMPARE(host.row("Ebene/a")->text(1), "An");
    QCOMPARE(host.row("Ebene/a")->text(12), "Leer");
    host.doubleClick("Ebene/a", 1);
    QCOMPARE(host.row("Ebene/a")->text(1), "Aus");
    HostFixture::rebuild();
    QCOMPARE(host.row("Ebene/a")->text(1), "Aus");

    QVERIFY(host.action("Attribute auf Auswahl anwenden ..."));
    // The key stands behind a tab.
    QVERIFY(!host.action("Ebene umbenennen")->text().section('\t', 1).isEmpty());
}

QTEST_MAIN(tst_translations)
#include "tst_translations.moc"
