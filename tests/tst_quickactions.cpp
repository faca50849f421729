#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QMessageBox>
#include <QPushButton>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QToolBar>

/// The tool bar, the status bar, the confirmation of deletions, activation and reset.
class tst_QuickActions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void toolBar();
    void menuTipsReachTheStatusBar();
    void deletionIsConfirmed();
    void activationAndReset();

private:
    QToolBar *bar() const { return host.panel()->findChild<QToolBar *>("QuickActionBar"); }

    HostFixture host;
};

void tst_QuickActions::init()
{
    host.reset();
    host.addLayer("A", { "a", "b" });
    host.addLayer("B", { "group" });
    host.rebuild();
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
    QCOMPARE(bar()->windowTitle(), "QuickActions");

    host.select({ "B" });
    const HostCalls calls;
    host.clickTool("Create Layer");
    host.clickTool("Duplicate Layer");
    QCOMPARE(calls.commands(),
             "addLayer(Layer) rebuild setModified(1) copyLayer(1, B1) rebuild setModified(1)");

    // The menu ends with two of them.
    const QList<QAction *> entries = host.tree()->findChild<QMenu *>()->actions();
    const QList<QAction *> buttons = bar()->actions();
    QVERIFY(entries[entries.size() - 3]->isSeparator());
    QCOMPARE(entries.mid(entries.size() - 2), QList<QAction *>({ buttons[5], buttons[4] }));
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
    QTRY_COMPARE(said(), "Deactivates all layers");
    hover(host.action("Select Nodes"));
    QTRY_COMPARE(said(), "Select node 'a'");
    hover(host.action("Cleanup"));
    QTRY_COMPARE(said(), QString());
    QTest::keyClick(menu, Qt::Key_Up);
    QTRY_COMPARE(said(), "Select node 'a'");
    for (int i = 0; i < 3; ++i) {
        QTest::keyClick(menu, Qt::Key_Down);
    }
    QTRY_COMPARE(said(), "Activates the layer");
    QTest::keyClick(menu, Qt::Key_Escape);
    QVERIFY(!menu->isVisible());
    QCOMPARE(said(), QString());
}

void tst_QuickActions::deletionIsConfirmed()
{
    for (const char *way : { "Cancel", "escape", "close", "Delete" }) {
        host.select({ "A/a", "B" });
        ModalAnswers answers([this, way = QString(way)](QWidget *modal) {
            auto *const box = qobject_cast<QMessageBox *>(modal);
            QString buttons;
            for (QAbstractButton *button : box->buttons()) {
                buttons +=
                    QString("%1 %2 ").arg(button->text().remove('&')).arg(box->buttonRole(button));
            }
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
            QCOMPARE(box->windowTitle(), "Render Layer");
            QCOMPARE(box->text(), "Delete selection?");
            QCOMPARE(box->icon(), QMessageBox::Warning);
            // Accepts and rejects.
            QCOMPARE(buttons, "Delete 0 Cancel 1 ");
        });
        host.clickTool("Delete");
        QCOMPARE(answers.count(), 1);
        const bool deleted = qstrcmp(way, "Delete") == 0;
        QCOMPARE(host.rows(), deleted ? "A[b]" : "A[a b] B[group]");
        QCOMPARE(mkController::isModified(), deleted);
        QVERIFY(!host.panel()->findChild<QMessageBox *>());
    }
}

void tst_QuickActions::activationAndReset()
{
    const auto own = [this](const QStringList &names) {
        QStringList texts;
        for (const QString &name : names) {
            texts += host.values(mkNodeUtils::getRenderAttributes(host.node(name)));
        }
        return texts.join(", ");
    };
    host.flag(host.attributes(0, "a"), 1) = false;
    host.flag(host.attributes(1, "group"), 2) = false;
    for (const bool fromMenu : { false, true }) {
        host.select({ "A/a", "B" });
        const HostCalls calls;
        host.clickTool("Select Nodes");
        QCOMPARE(calls.count("mkSelectionManager::selectNodes([\"a\", \"group\"])"), 1);
        HostCalls::clear();
        QSignalSpy rendered(mkController::the(), &mkController::rendered);
        host.clickTool("Activate Layer");
        QCOMPARE(calls.commands(), "activateNode(0, a) activateLayer(1) updateRender(false)");
        QVERIFY(rendered.wait());
        QCOMPARE(rendered.size(), 1);
        QCOMPARE(own({ "a", "group", "g2" }),
                 "01111111110 Empty, 10111111110 Empty, 10111111110 Empty");
        HostCalls::clear();
        if (fromMenu) {
            QMenu *const menu = host.openMenu("A");
            QTest::mouseClick(menu, Qt::LeftButton, {},
                              menu->actionGeometry(host.action("Reset Layer")).center());
        } else {
            host.clickTool("Reset Layer");
        }
        QCOMPARE(calls.count("mkNodeUtils::resetRenderLayerAttributes"), 1);
        QCOMPARE(calls.commands(), QString());
        QCOMPARE(own({ "a", "g2", "c" }), "11111111110 Empty, 11111111110 Empty, none");
    }
}

HOST_TEST_MAIN(tst_QuickActions)
#include "tst_quickactions.moc"
