#include "AttributesView.h"
#include "HostFixture.h"
#include "LayerPanel.h"
#include "LayerStatus.h"
#include "MainWindow.h"
#include "SceneEdits.h"
#include "SceneTree.h"
#include "SceneWatcher.h"
#include "mkKernel/mkController.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QtTest>

#include <QDockWidget>
#include <QHeaderView>
#include <QHelpEvent>
#include <QScopeGuard>
#include <QToolTip>
#include <QUndoStack>

namespace {

QImage iconOf(const QModelIndex &index)
{
    return index.data(Qt::DecorationRole).value<QIcon>().pixmap(16).toImage();
}

QString statusText(const HostFixture &host)
{
    return host.window()->statusBar()->currentMessage();
}

} // namespace

/// What the workbench's window tells of the layers, and what it sets on their panel.
class tst_window : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("XDG_CONFIG_HOME", directory.path().toUtf8()); }
    void init() { host.reset(); }

    void namesActiveLayers();
    void marksChangedNodes();
    void tellsRowsWithoutNodeApart();
    void saysWhatIsNotDone();
    void headersCanBeRead();
    void keepsLayout();

private:
    QTemporaryDir directory;
    HostFixture host;
};

void tst_window::namesActiveLayers()
{
    SceneWatcher watcher;
    const LayerPanel panel(host.panel());
    LayerStatus status(&watcher);
    connect(&panel, &LayerPanel::changed, &status, &LayerStatus::refresh, Qt::QueuedConnection);
    host.addLayer("A", { "a" });
    host.addLayer("B", { "b" });
    HostFixture::rebuild();
    QCOMPARE(status.text(), "No layer is active");
    host.select({ "A" });
    host.clickTool("Activate Layer");
    host.select({ "B/b" });
    host.clickTool("Activate Layer");
    QTRY_COMPARE(status.text(), "Active: A, B");
    host.select({ "A" });
    host.clickTool("Activate Layer");
    QTRY_COMPARE(status.text(), "Active: B, A");
    host.select({ "B" });
    host.key(Qt::Key_F2);
    QVERIFY(host.type("Glass"));
    QTRY_COMPARE(status.text(), "Active: Glass, A");
    host.select({ "A" });
    host.key(Qt::Key_Delete);
    QTRY_COMPARE(status.text(), "Active: Glass, A (deleted)");
    host.clickTool("Reset Layer");
    QTRY_COMPARE(status.text(), "No layer is active");
    // Neither what cannot be activated, nor what belongs to another scene.
    HostFixture::store()->activateNode(0, host.node("e"));
    HostFixture::store()->activateLayer(7);
    watcher.deliver();
    QCOMPARE(status.text(), "No layer is active");
    HostFixture::store()->activateLayer(0);
    host.reset();
    watcher.deliver();
    QCOMPARE(status.text(), "No layer is active");
}

void tst_window::marksChangedNodes()
{
    SceneWatcher watcher;
    const SceneTree tree(&watcher);
    const AttributesView view(&watcher);
    const auto *const table = view.findChild<QTreeWidget *>();
    const QModelIndex row = tree.model()->index(0, 0, tree.model()->index(0, 0));
    const QImage plain = iconOf(row);
    host.addLayer("A", { "a" });
    const auto attributes = host.attributes(0, "a");
    const osg::MaterialPtr red = HostFixture::material("red");
    red->setColor({ 1, 0, 0, 1 });
    host.selectInHost({ "a" });
    // Activates the layer, and says how the node's row and the table look.
    const auto shown = [&] {
        HostFixture::store()->activateLayer(0);
        watcher.deliver();
        return QString(row.data(Qt::ForegroundRole).isValid() ? "dim " : "")
               + table->topLevelItem(0)->text(1) + ' ' + table->topLevelItem(11)->text(1);
    };
    QCOMPARE(shown(), "On Empty");
    QCOMPARE(iconOf(row), plain);

    HostFixture::flag(attributes, 6) = false;
    attributes->setOverrideMaterial(red);
    QCOMPARE(shown(), "On red");
    const QImage marked = iconOf(row);
    QVERIFY(marked != plain);
    QCOMPARE(row.data(Qt::ToolTipRole).toString(),
             "/scene/a\nOff: Cast shadows\nOverride material, not used: red");
    attributes->setUseOverrideMaterial(true);
    HostFixture::flag(attributes, 1) = false;
    QCOMPARE(shown(), "dim Off red");
    QVERIFY(iconOf(row) != marked);
    QCOMPARE(iconOf(row).pixelColor(12, 12), QColor(Qt::red));
    mkNodeUtils::resetRenderLayerAttributes(mkScenegraph::getRoot());
    watcher.deliver();
    QCOMPARE(iconOf(row), plain);
    QVERIFY(!row.data(Qt::ForegroundRole).isValid());
    QCOMPARE(table->topLevelItem(0)->text(1), "On");
}

void tst_window::tellsRowsWithoutNodeApart()
{
    const LayerPanel panel(host.panel());
    host.addLayer("A", { "a", "g1" });
    HostFixture::rebuild();
    const auto icon = [this](const QString &path) {
        return host.row(path)->data(0, Qt::DecorationRole).value<QPixmap>().toImage();
    };
    const auto tip = [this](const QString &path) {
        const QPoint place = host.cell(path, 0).center();
        QHelpEvent event(QEvent::ToolTip, place, host.tree()->viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(host.tree()->viewport(), &event);
        return QToolTip::text();
    };
    const QImage there = icon("A/g1");
    QCOMPARE(tip("A/g1"), "/scene/group/g1");
    SceneEdits::removeNodes({ host.node("group") });
    QVERIFY(icon("A/g1") != there);
    QCOMPARE(icon("A/a"), there);
    QVERIFY(tip("A/g1").startsWith("/group/g1\n"));
    mkUndo::stack()->undo();
    QCOMPARE(icon("A/g1"), there);
}

void tst_window::saysWhatIsNotDone()
{
    SceneWatcher watcher;
    const LayerStatus status(&watcher);
    host.addLayer("A", { "a" });
    HostFixture::rebuild();
    const auto drop = [this] {
        host.drop(host.cell("A/a", 0).center(), HostFixture::materialFormat,
                  HostFixture::materialPayload("red"));
        HostFixture::settle();
    };
    host.doubleClick("A/a", 11);
    drop();
    QCOMPARE(statusText(host), "");
    host.doubleClick("A/a", 11);
    drop();
    QVERIFY(statusText(host).startsWith("red is set but not used yet"));

    const LogLines log;
    mkScenegraph::getRenderLayer()->addNode(0, mkScenegraph::getRoot());
    QVERIFY(log.lines.join(' ').contains("root 'scene' cannot be in a layer"));
}

void tst_window::headersCanBeRead()
{
    LayerPanel panel(host.panel());
    QHeaderView *const header = host.tree()->header();
    const auto fits = [header](int column) {
        return header->sectionSize(column) >= header->sectionSizeHint(column);
    };
    for (const int width : { 500, 3000 }) {
        host.panel()->resize(width, 400);
        panel.fitColumns();
        for (int column = 0; column < header->count(); ++column) {
            QVERIFY(fits(column));
        }
    }
    // A little less than what all would like.
    int wanted = header->sectionSize(0) - 20;
    for (int column = 1; column < header->count(); ++column) {
        wanted += header->sectionSizeHint(column);
    }
    host.panel()->resize(wanted + host.panel()->width() - host.tree()->viewport()->width(), 400);
    panel.fitColumns();
    QVERIFY(!fits(10) && fits(1));
    QVERIFY(header->length() <= host.tree()->viewport()->width());
    QCOMPARE(header->textElideMode(), Qt::ElideMiddle);
    QVERIFY(host.tree()->headerItem()->toolTip(10).startsWith("CastShadowsOnShadowMaterial\n"));
}

void tst_window::keepsLayout()
{
    const auto restore = qScopeGuard([this] { mkController::setMainWindow(host.window()); });
    mkController::setModified(0);
    QSize size;
    {
        MainWindow window(false);
        window.completeLayout();
        window.show();
        HostFixture::settle();
        window.setWindowState({});
        window.resize(700, 500);
        window.findChild<QDockWidget *>("Log")->close();
        HostFixture::settle();
        size = window.size();
        QVERIFY(window.close());
    }
    MainWindow window(false);
    window.completeLayout();
    window.show();
    HostFixture::settle();
    QCOMPARE(window.size(), size);
    QVERIFY(window.findChild<QDockWidget *>("Log")->isHidden());
    QVERIFY(!window.findChild<QDockWidget *>("Scene")->isHidden());
}

QTEST_MAIN(tst_window)
#include "tst_window.moc"
