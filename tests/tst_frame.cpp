#include "HostFixture.h"
#include "PanelCommands.h"

#include "mkKernel/mkController.h"
#include "mkQt4Ext/QMKCollapsibleFrame.h"
#include "mkShortcut/mkShortcut.h"

#include <QCheckBox>
#include <QDockWidget>
#include <QItemDelegate>
#include <QLineEdit>
#include <QMessageBox>
#include <QMetaMethod>
#include <QTest>
#include <QToolBar>
#include <QTranslator>

/// The frame around the rows: modes, texts, context menu, keys, tool bar, status bar.
class tst_Frame : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void modes();
    void slotTable();
    void enabling();
    void commands();
    void menuTipsReachTheStatusBar();
    void texts();

private:
    HostFixture host;
};

void tst_Frame::init()
{
    host.reset();
    host.addLayers();
    host.selectInHost({ "e", "b" });
}

void tst_Frame::modes()
{
    const QTreeWidget *const tree = host.tree();
    QCOMPARE(tree->dragDropMode(), QAbstractItemView::DropOnly);
    QCOMPARE(tree->selectionBehavior(), QAbstractItemView::SelectRows);
    QVERIFY(tree->allColumnsShowFocus() && tree->rootIsDecorated());
    QCOMPARE(tree->focusPolicy(), Qt::StrongFocus);
    for (int column = 0; column < tree->columnCount(); ++column) {
        auto *const delegate = tree->itemDelegateForColumn(column);
        QCOMPARE(qobject_cast<QItemDelegate *>(delegate) != nullptr, column == 12);
    }
    auto *const bar = host.panel()->findChild<QToolBar *>("QuickActionBar");
    QCOMPARE(host.panel()->toolBarArea(bar), Qt::BottomToolBarArea);
    QCOMPARE(bar->allowedAreas(), Qt::ToolBarAreas(Qt::BottomToolBarArea));
    QVERIFY(!bar->isMovable() && !bar->isFloatable());
    QCOMPARE(bar->contextMenuPolicy(), Qt::ActionsContextMenu);
    for (QAction *action : bar->actions()) {
        QVERIFY(bar->widgetForAction(action)->isVisible() && !action->icon().isNull());
    }
    const auto *const menu = tree->findChild<QMenu *>();
    QVERIFY(menu->isTearOffEnabled());
    QCOMPARE(menu->actions().mid(16), QList({ bar->actions()[5], bar->actions()[4] }));
    for (const QAction *action : menu->actions()) {
        // Keys are the tree's, whatever the menu shows.
        QVERIFY(action->shortcut().isEmpty());
    }
    QVERIFY(!host.action("Clear Override Material")->icon().isNull());
}

/// Hosts and scripts may call slots by name.
void tst_Frame::slotTable()
{
    const QMetaObject *const meta = host.tree()->metaObject();
    QStringList signatures{ meta->className() };
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        QCOMPARE(method.methodType(), QMetaMethod::Slot);
        QCOMPARE(method.access() == QMetaMethod::Public, signatures.size() < 6);
        signatures += QString::fromLatin1(method.methodSignature());
    }
    QCOMPARE(signatures.join(' '),
             "mkNodeListWidget createLayer(QString) createLayer() duplicateLayer() "
             "deleteSelected() selectNodes() renameLayer() changedItem(QTreeWidgetItem*,int) "
             "deleteNodes() deleteLayers() showPopup(QPoint) doubleClicked(QTreeWidgetItem*,int) "
             "moveUpNode() moveDownNode() addSelectedNodes() cleanup() "
             "applyAttributesToSelected() expanded(QTreeWidgetItem*) collapsed(QTreeWidgetItem*) "
             "clickedSelectAll() clearOverrideMaterial()");
    // Nothing comes of those that are about a row, without one.
    const HostCalls calls;
    QTreeWidgetItem *const none = nullptr;
    for (const char *slot : { "expanded", "collapsed" }) {
        QVERIFY(QMetaObject::invokeMethod(host.tree(), slot, Q_ARG(QTreeWidgetItem *, none)));
    }
    for (const char *slot : { "changedItem", "doubleClicked" }) {
        QVERIFY(QMetaObject::invokeMethod(host.tree(), slot, Q_ARG(QTreeWidgetItem *, none),
                                          Q_ARG(int, 1)));
    }
    QCOMPARE(calls.commands(), QString());
}

void tst_Frame::enabling()
{
    const auto check = [this](const QString &path, const QStringList &selection,
                              const QString &expected, const QString &tip) {
        // Every request starts afresh, but the module's entries are not the tree's to touch.
        host.action("Activate Layer")->setEnabled(false);
        host.select(selection);
        QMenu *const menu = host.openMenu(path);
        if (!path.isEmpty()) {
            QCOMPARE(menu->pos(),
                     host.tree()->viewport()->mapToGlobal(host.cell(path, 0).center()));
        }
        menu->hide();
        QString enabled;
        for (const QAction *action : menu->actions().mid(0, 15)) {
            enabled += action->isSeparator() ? "" : action->isEnabled() ? "1" : "0";
        }
        const QString request = path + " with " + selection.join(' ') + ": ";
        QCOMPARE(request + enabled, request + expected);
        QCOMPARE(host.action("Select Nodes")->statusTip(), tip);
        QVERIFY(!host.action("Activate Layer")->isEnabled());
        host.action("Activate Layer")->setEnabled(true);
    };
    const QString ofLayer = "Select nodes of layer 'A'";
    check("", { "A" }, "100010000010", "");
    check("A", {}, "111111111111", ofLayer);
    check("A", { "A", "B" }, "101111111111", "");
    check("A", { "A", "B/c" }, "101110011111", "");
    // Rows under a closed layer do not count.
    check("A", { "A", "C/e" }, "111111111111", ofLayer);
    check("A/a", { "B/d" }, "101011111111", "Select node 'a'");
    check("A/a", { "A/a", "A/b" }, "101011111111", "");
    check("A/a", { "A", "A/a" }, "101010011111", "");
    host.reset();
    check("", {}, "100010000000", "");
}

void tst_Frame::commands()
{
    const ModalAnswers answers(ModalAnswers::agree);
    for (const PanelCommand &command : panelCommands()) {
        init();
        host.select(command.selection);
        host.tree()->setColumnWidth(0, 1);
        const int narrow = host.tree()->columnWidth(0);
        const HostCalls calls;
        host.trigger(command.trigger);
        QStringList done{ calls.commands() };
        if (host.editor()) {
            done += "editing";
            QTest::keyClick(host.editor(), Qt::Key_Escape);
        }
        done += host.tree()->columnWidth(0) > narrow ? "fit" : "";
        done.removeAll("");
        QCOMPARE(command.trigger + ": " + done.join(' '), command.trigger + ": " + command.done);
        QCOMPARE(host.selected(), command.selected);
        QCOMPARE(host.rows(), host.stored());
    }
}

void tst_Frame::menuTipsReachTheStatusBar()
{
    const auto said = [this] { return host.panel()->statusBar()->currentMessage(); };
    host.select({ "A/a" });
    host.panel()->statusBar()->showMessage("old");
    QMenu *const menu = host.openMenu("A/a");
    QCOMPARE(said(), QString());
    const auto hover = [menu](QAction *action) {
        QTest::mouseMove(menu, menu->actionGeometry(action).center() - QPoint(1, 0));
        QTest::mouseMove(menu, menu->actionGeometry(action).center());
    };
    hover(host.action("Select Nodes"));
    QTRY_COMPARE(said(), "Select node 'a'");
    hover(host.action("Cleanup"));
    QTRY_COMPARE(said(), QString());
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Down);
    QTRY_COMPARE(said(), "Activates the layer");
    QTest::keyClick(menu, Qt::Key_Escape);
    QVERIFY(!menu->isVisible());
    QCOMPARE(said(), QString());
}

/// Names the context in front of each text, as a translation of everything would.
class Contexts : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *text, const char *, int) const override
    {
        return QString("%1:%2").arg(context, text);
    }
};

/// What is said where; "~" stands for the tree's context, "^" for the module's.
void tst_Frame::texts()
{
    Contexts contexts;
    host.unloadPlugin();
    QCoreApplication::installTranslator(&contexts);
    host.loadPlugin();
    init();
    const auto *const bar = host.panel()->findChild<QToolBar *>();
    const auto *const dock = qobject_cast<QDockWidget *>(host.panel()->parentWidget());
    QStringList said{ host.panel()->windowTitle(), dock->toggleViewAction()->toolTip(),
                      bar->windowTitle() };
    const auto compare = [&said](const QString &expected) {
        const QString texts = said.join('|').replace("mkNodeListWidget:", "~");
        QCOMPARE(texts.split("mkRenderLayerModule:").join('^'), expected);
        said.clear();
    };
    compare("mkRenderLayerGUI:Render Layer|^Layers|^QuickActions");
    for (int column = 0; column < host.tree()->columnCount(); ++column) {
        said += host.tree()->headerItem()->text(column);
    }
    compare("~Layer|~Visible|~VisibleInAlpha|~PrimaryVisibility|~VisibleInReflections|"
            "~VisibleInRefractions|~CastShadows|~ReceiveShadows|~DoubleSided|~VisibleForPhotons|"
            "~CastShadowsOnShadowMaterial|~UseOverrideMaterial|~OverrideMaterial");
    for (const char *path : { "A", "A/a" }) {
        QMenu *const menu = host.openMenu(path);
        menu->hide();
        for (const QAction *action : menu->actions().mid(0, 15)) {
            said += action->isSeparator() ? "-" : action->text() + action->statusTip();
        }
        compare(QString("~Create Layer|~Rename Layer\tCtrl+R|~Delete\tDelete|~Duplicate Layer\t"
                        "Ctrl+D|~Select All\tCtrl+A|~Move Up\tCtrl+Up|~Move Down\tCtrl+Down|-|"
                        "~Apply Attributes to Selected ...|-|~Add Selected Nodes|~Select Nodes\t"
                        "Ctrl+N~%1'|-|~Cleanup|~Clear Override Material")
                    .arg(strlen(path) > 1 ? "Select node 'a" : "Select nodes of layer 'A"));
    }
    for (const QAction *action : bar->actions()) {
        said += action->text() + action->statusTip();
    }
    compare("^Create Layer^Creates a new layer|"
            "^Duplicate Layer^Duplicates the currently selected layer|"
            "^Select Nodes^Selects the nodes|^Delete^Deletes the currently selected layer or node|"
            "^Reset Layer^Deactivates all layers|^Activate Layer^Activates the layer");
    const auto &keys = mkShortcut::getKeys();
    for (auto key = keys.end() - 7; key != keys.end(); ++key) {
        said += key->group + ' ' + key->keys + ": " + key->description;
    }
    compare("~Render Layer Delete: ~Delete|~Render Layer Ctrl+D: ~Duplicate Layer|"
            "~Render Layer Ctrl+R: ~Rename Layer|~Render Layer Ctrl+A: ~Select All|"
            "~Render Layer Ctrl+N: ~Select Nodes|~Render Layer Ctrl+Up: ~Move Item Up|"
            "~Render Layer Ctrl+Down: ~Move Item Down");
    QTreeWidgetItem *const row = host.row("A/b");
    host.doubleClick(row, 2);
    said << row->text(1) << row->text(2) << row->text(11) << row->text(12);
    compare("RenderLayer:On|~Off|RenderLayer:Off|mkNodeItem:Empty");
    {
        const ModalAnswers answers([&](QWidget *modal) {
            said += modal->windowTitle();
            if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
                said += box->text() + QString::number(box->icon());
                for (const QAbstractButton *button : box->buttons()) {
                    said += button->text();
                }
                said.last() += box->parent() == host.panel() ? "" : box->parent() ? "?" : " alone";
                box->buttons().last()->click();
            } else {
                QMap<int, QString> boxes;
                for (const QCheckBox *check : modal->findChildren<QCheckBox *>()) {
                    boxes[check->y()] = check->text();
                }
                said += boxes.values();
                said += modal->findChild<QMKCollapsibleFrame *>()->getCaption();
                modal->close();
            }
        });
        host.trigger("tool mkRenderLayerModule:Delete");
        host.row("A")->setText(0, "B");
        host.selectInHost({ "scene" });
        host.drop(host.cell("B", 1).center(), host.nodeFormat, QByteArray(8, '\1'));
        host.select({ "B" });
        QMetaObject::invokeMethod(host.tree(), "applyAttributesToSelected");
    }
    compare("^Render Layer|^Delete selection?2|^Delete|^Cancel|"
            "~Render Layer|~Name is not unique, please choose a different one.2|"
            "QPlatformTheme:OK alone|"
            "mkNodeItem:Render Layer|mkNodeItem:Adding the root node is not allowed!2|"
            "QPlatformTheme:OK alone|mkAttributesGUI:Attributes|mkAttributesGUI:Visible|"
            "mkAttributesGUI:Visible in Alpha|mkAttributesGUI:Primary Visibility|"
            "mkAttributesGUI:Visible in Reflections|mkAttributesGUI:Visible in Refractions|"
            "mkAttributesGUI:Cast Shadows|mkAttributesGUI:Receive Shadows|"
            "mkAttributesGUI:Double Sided|mkAttributesGUI:Visible for Photons|"
            "mkAttributesGUI:Cast Shadows on Shadow Material|"
            "mkAttributesGUI:Use Override Material|mkAttributesGUI:Attributes");
    QMetaObject::invokeMethod(host.tree(), "createLayer");
    QVERIFY(host.row("mkNodeListWidget:Layer"));
    QCoreApplication::removeTranslator(&contexts);
    host.unloadPlugin();
    host.loadPlugin();
}

QTEST_MAIN(tst_Frame)
#include "tst_frame.moc"
