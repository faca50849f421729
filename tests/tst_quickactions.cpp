#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QMessageBox>
#include <QPushButton>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QToolBar>
#include <QToolButton>

/// The tool bar, the status bar, the confirmation of deletions, activation and reset.
class tst_QuickActions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void toolBar();
    void menuEndsWithSharedActions();
    void buttonsReachTheTree();
    void menuTipsReachTheStatusBar();
    void toolTipsReachTheStatusBar();
    void deletionIsConfirmed_data();
    void deletionIsConfirmed();
    void activation_data();
    void activation();
    void reset_data();
    void reset();

private:
    QToolBar *bar() const { return host.panel()->findChild<QToolBar *>("QuickActionBar"); }
    void press(const QString &text) const;
    QString own(const char *node) const
    {
        return host.values(mkNodeUtils::getRenderAttributes(host.node(node)));
    }

    HostFixture host;
};

void tst_QuickActions::init()
{
    host.reset();
    host.addLayer("A", { "a", "b" });
    host.addLayer("B", { "group" });
    host.rebuild();
}

/// Clicks the tool button of this text.
void tst_QuickActions::press(const QString &text) const
{
    for (QAction *action : bar()->actions()) {
        if (action->text() == text) {
            QTest::mouseClick(bar()->widgetForAction(action), Qt::LeftButton);
            return;
        }
    }
    QFAIL("no such button");
}

void tst_QuickActions::toolBar()
{
    QStringList shown;
    int right = -1;
    for (QAction *action : bar()->actions()) {
        shown += action->text() + ": " + action->statusTip();
        const QWidget *const button = bar()->widgetForAction(action);
        QVERIFY(button->isVisible() && !action->icon().isNull() && button->x() > right);
        right = button->geometry().right();
    }
    const QStringList expected{ "Create Layer: Creates a new layer",
                                "Duplicate Layer: Duplicates the currently selected layer",
                                "Select Nodes: Selects the nodes",
                                "Delete: Deletes the currently selected layer or node",
                                "Reset Layer: Deactivates all layers",
                                "Activate Layer: Activates the layer" };
    QCOMPARE(shown, expected);
    QCOMPARE(host.panel()->toolBarArea(bar()), Qt::BottomToolBarArea);
    QCOMPARE(bar()->allowedAreas(), Qt::ToolBarAreas(Qt::BottomToolBarArea));
    QVERIFY(!bar()->isMovable() && !bar()->isFloatable() && !bar()->isFloating());
    QCOMPARE(bar()->contextMenuPolicy(), Qt::ActionsContextMenu);
    QCOMPARE(bar()->windowTitle(), QStringLiteral("QuickActions"));
}

void tst_QuickActions::menuEndsWithSharedActions()
{
    const QList<QAction *> entries = host.tree()->findChild<QMenu *>()->actions();
    const QList<QAction *> buttons = bar()->actions();
    const int last = entries.size() - 1;
    QVERIFY(entries[last - 2]->isSeparator());
    QCOMPARE(entries[last - 1], buttons[5]);
    QCOMPARE(entries[last], buttons[4]);
}

void tst_QuickActions::buttonsReachTheTree()
{
    press("Create Layer");
    QCOMPARE(host.rows(), QStringLiteral("A[a b] B[group] Layer[]"));
    host.select({ "A" });
    press("Duplicate Layer");
    QCOMPARE(host.rows(), QStringLiteral("A[a b] B[group] Layer[] A1[a b]"));
    host.select({ "A/b" });
    const HostCalls calls;
    press("Select Nodes");
    QCOMPARE(calls.count("mkSelectionManager::selectNode"), 1);
    QCOMPARE(mkScenegraph::getSelectedRootNodes().size(), std::size_t(1));
    QVERIFY(mkScenegraph::getSelectedRootNodes().front() == host.node("b"));
}

void tst_QuickActions::menuTipsReachTheStatusBar()
{
    const auto said = [this] { return host.statusBar()->currentMessage(); };
    host.select({ "A/a" });
    host.statusBar()->showMessage("old");
    QMenu *const menu = host.openMenu("A/a");
    QCOMPARE(said(), QString());
    const auto hover = [menu](QAction *action) {
        QTest::mouseMove(menu, menu->actionGeometry(action).center() - QPoint(1, 0));
        QTest::mouseMove(menu, menu->actionGeometry(action).center());
    };
    hover(host.action("Reset Layer"));
    QTRY_COMPARE(said(), QStringLiteral("Deactivates all layers"));
    hover(host.action("Select Nodes"));
    QTRY_COMPARE(said(), QStringLiteral("Select node 'a'"));
    hover(host.action("Cleanup"));
    QTRY_COMPARE(said(), QString());
    QTest::keyClick(menu, Qt::Key_Up);
    QTRY_COMPARE(said(), QStringLiteral("Select node 'a'"));
    for (int i = 0; i < 3; ++i) {
        QTest::keyClick(menu, Qt::Key_Down);
    }
    QTRY_COMPARE(said(), QStringLiteral("Activates the layer"));
    QTest::keyClick(menu, Qt::Key_Escape);
    QVERIFY(!menu->isVisible());
    QCOMPARE(said(), QString());
}

void tst_QuickActions::toolTipsReachTheStatusBar()
{
    for (QAction *action : bar()->actions()) {
        QWidget *const button = bar()->widgetForAction(action);
        QEvent enter(QEvent::Enter);
        QApplication::sendEvent(button, &enter);
        QStatusTipEvent tip(button->statusTip());
        QApplication::sendEvent(button, &tip);
        QCOMPARE(host.statusBar()->currentMessage(), action->statusTip());
    }
}

void tst_QuickActions::deletionIsConfirmed_data()
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<QString>("rows");
    QTest::newRow("delete") << "Delete"
                            << "A[b]";
    QTest::newRow("cancel") << "Cancel"
                            << "A[a b] B[group]";
    QTest::newRow("escape") << "escape"
                            << "A[a b] B[group]";
    QTest::newRow("close") << "close"
                           << "A[a b] B[group]";
}

void tst_QuickActions::deletionIsConfirmed()
{
    QFETCH(QString, way);
    QFETCH(QString, rows);
    host.select({ "A/a", "B" });
    ModalAnswers answers([this, &way](QWidget *modal) {
        auto *const box = qobject_cast<QMessageBox *>(modal);
        const auto answer = qScopeGuard([&] {
            if (way == "escape") {
                QTest::keyClick(box, Qt::Key_Escape);
            } else if (way == "close") {
                box->close();
            } else {
                QTest::mouseClick(box->buttons()[way == "Delete" ? 0 : 1], Qt::LeftButton);
            }
        });
        QCOMPARE(box->parentWidget(), host.panel());
        QCOMPARE(box->windowTitle(), QStringLiteral("Render Layer"));
        QCOMPARE(box->text(), QStringLiteral("Delete selection?"));
        QCOMPARE(box->icon(), QMessageBox::Warning);
        QCOMPARE(box->buttons().size(), 2);
        QCOMPARE(box->buttons()[0]->text().remove('&'), QStringLiteral("Delete"));
        QCOMPARE(box->buttonRole(box->buttons()[0]), QMessageBox::AcceptRole);
        QCOMPARE(box->buttons()[1]->text().remove('&'), QStringLiteral("Cancel"));
        QCOMPARE(box->buttonRole(box->buttons()[1]), QMessageBox::RejectRole);
    });
    press("Delete");
    QCOMPARE(answers.count(), 1);
    QCOMPARE(host.rows(), rows);
    QCOMPARE(host.stored(), rows);
    QCOMPARE(mkController::isModified(), way == "Delete");
    QVERIFY(!host.panel()->findChild<QMessageBox *>());
}

void tst_QuickActions::activation_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<QString>("reached");
    QTest::newRow("node") << QStringList{ "A/b" } << "b";
    QTest::newRow("layer") << QStringList{ "A" } << "a b";
    QTest::newRow("group, with all below") << QStringList{ "B/group" } << "group g1 g2";
    QTest::newRow("mixed") << QStringList{ "B", "A/a" } << "a group g1 g2";
    QTest::newRow("nothing") << QStringList() << "";
}

void tst_QuickActions::activation()
{
    QFETCH(QStringList, selection);
    QFETCH(QString, reached);
    for (const auto &member :
         { std::pair<unsigned, const char *>{ 0, "a" }, { 0, "b" }, { 1, "group" } }) {
        host.flag(host.attributes(member.first, member.second), 6) = false;
    }
    host.rebuild();
    host.select(selection);
    const HostCalls calls;
    QSignalSpy rendered(mkController::the(), &mkController::rendered);
    press("Activate Layer");
    QCOMPARE(calls.lines({ "mkController::updateRender" }),
             QStringList{ "mkController::updateRender(false)" });
    for (const char *name : { "scene", "a", "b", "c", "group", "g1", "g2" }) {
        const bool expected = reached.split(' ').contains(name);
        QCOMPARE(own(name), expected ? "11111011110 Empty" : "none");
    }
    QVERIFY(rendered.wait());
    QCOMPARE(rendered.size(), 1);
    QVERIFY(!mkController::isModified());
    QCOMPARE(calls.count("mkRenderLayer::isEmpty"), 0);
}

void tst_QuickActions::reset_data()
{
    QTest::addColumn<bool>("fromMenu");
    QTest::newRow("button") << false;
    QTest::newRow("menu") << true;
}

void tst_QuickActions::reset()
{
    QFETCH(bool, fromMenu);
    host.flag(host.attributes(0, "a"), 1) = false;
    host.flag(host.attributes(1, "group"), 2) = false;
    host.select({ "A", "B" });
    press("Activate Layer");
    QCOMPARE(own("a"), QStringLiteral("01111111110 Empty"));
    QCOMPARE(own("g2"), QStringLiteral("10111111110 Empty"));
    host.select({});
    const HostCalls calls;
    if (fromMenu) {
        QMenu *const menu = host.openMenu("A");
        QTest::mouseClick(menu, Qt::LeftButton, {},
                          menu->actionGeometry(host.action("Reset Layer")).center());
    } else {
        press("Reset Layer");
    }
    QCOMPARE(calls.count("mkNodeUtils::resetRenderLayerAttributes"), 1);
    QCOMPARE(calls.count("mkController::"), 0);
    QCOMPARE(calls.count("mkRenderLayer::isEmpty"), 0);
    for (const char *name : { "a", "b", "group", "g1", "g2" }) {
        QCOMPARE(own(name), QStringLiteral("11111111110 Empty"));
    }
    QCOMPARE(own("c"), QStringLiteral("none"));
    QCOMPARE(host.values(host.attributes(0, "a")), QStringLiteral("01111111110 Empty"));
    QVERIFY(!mkController::isModified());
}

HOST_TEST_MAIN(tst_QuickActions)
#include "tst_quickactions.moc"
