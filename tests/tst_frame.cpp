#include "HostFixture.h"

#include "mkShortcut/mkShortcut.h"

#include <QCheckBox>
#include <QDialog>
#include <QDockWidget>
#include <QItemDelegate>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMessageBox>
#include <QMetaMethod>
#include <QScopeGuard>
#include <QTest>
#include <QToolBar>
#include <QTranslator>

/// The tree's frame: columns, modes, context menu, keys.
class tst_Frame : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void columns();
    void modes();
    void slotTable();
    void menu();
    void listedKeys();
    void enabling();
    void commands();
    void onlyLayersAreRenamed();
    void translations();

private:
    /// One digit for each of the tree's own entries, in the menu's order.
    QString enabled() const;

    HostFixture host;
};

void tst_Frame::init()
{
    host.reset();
    host.addLayer("A", { "a", "b" });
    host.addLayer("B", { "c", "d" });
    host.addLayer("C", { "a", "e" }, false);
    host.rebuild();
}

void tst_Frame::columns()
{
    QStringList labels;
    for (int column = 0; column < host.tree()->columnCount(); ++column) {
        labels += host.tree()->headerItem()->text(column);
        auto *const delegate = host.tree()->itemDelegateForColumn(column);
        QCOMPARE(qobject_cast<QItemDelegate *>(delegate) != nullptr, column == 12);
    }
    QCOMPARE(labels.join(' '),
             QStringLiteral("Layer Visible VisibleInAlpha PrimaryVisibility VisibleInReflections "
                            "VisibleInRefractions CastShadows ReceiveShadows DoubleSided "
                            "VisibleForPhotons CastShadowsOnShadowMaterial UseOverrideMaterial "
                            "OverrideMaterial"));
}

void tst_Frame::modes()
{
    const QTreeWidget *const tree = host.tree();
    QVERIFY(tree->acceptDrops() && !tree->dragEnabled());
    QCOMPARE(tree->dragDropMode(), QAbstractItemView::DropOnly);
    QVERIFY(tree->allColumnsShowFocus() && tree->rootIsDecorated());
    QCOMPARE(tree->focusPolicy(), Qt::StrongFocus);
    // Clicks in any column select rows, with Ctrl and Shift several.
    host.click("A/a", 3);
    host.click("B", 0, Qt::ControlModifier);
    QCOMPARE(host.selected(), QStringLiteral("A/a B*"));
    host.click("C", 5, Qt::ShiftModifier);
    QCOMPARE(host.selected(), QStringLiteral("A/a B B/c B/d C*"));
}

/// Hosts and scripts may call slots by name.
void tst_Frame::slotTable()
{
    const QMetaObject *const meta = host.tree()->metaObject();
    QCOMPARE(meta->className(), "mkNodeListWidget");
    QStringList signatures;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        QCOMPARE(method.methodType(), QMetaMethod::Slot);
        QCOMPARE(method.access() == QMetaMethod::Public, signatures.size() < 5);
        signatures += QString::fromLatin1(method.methodSignature());
    }
    QCOMPARE(signatures.join(' '),
             QStringLiteral("createLayer(QString) createLayer() duplicateLayer() deleteSelected() "
                            "selectNodes() renameLayer() changedItem(QTreeWidgetItem*,int) "
                            "deleteNodes() deleteLayers() showPopup(QPoint) "
                            "doubleClicked(QTreeWidgetItem*,int) moveUpNode() moveDownNode() "
                            "addSelectedNodes() cleanup() applyAttributesToSelected() "
                            "expanded(QTreeWidgetItem*) collapsed(QTreeWidgetItem*) "
                            "clickedSelectAll() clearOverrideMaterial()"));
}

void tst_Frame::menu()
{
    const auto *const menu = host.tree()->findChild<QMenu *>();
    QVERIFY(menu->isTearOffEnabled());
    QStringList entries;
    for (const QAction *action : menu->actions()) {
        entries += action->isSeparator() ? "-" : action->text();
        // Keys are the tree's, whatever the menu shows.
        QVERIFY(action->shortcut().isEmpty());
    }
    QCOMPARE(entries.mid(0, 15).join('|'),
             QStringLiteral("Create Layer|Rename Layer\tCtrl+R|Delete\tDelete|"
                            "Duplicate Layer\tCtrl+D|Select All\tCtrl+A|Move Up\tCtrl+Up|"
                            "Move Down\tCtrl+Down|-|Apply Attributes to Selected ...|-|"
                            "Add Selected Nodes|Select Nodes\tCtrl+N|-|Cleanup|"
                            "Clear Override Material"));
    QVERIFY(!host.action("Clear Override Material")->icon().isNull());
    QVERIFY(host.action("Cleanup")->icon().isNull());
}

void tst_Frame::listedKeys()
{
    QStringList keys;
    for (const mkShortcut::Entry &entry : mkShortcut::getKeys()) {
        QCOMPARE(entry.group, QStringLiteral("Render Layer"));
        keys += entry.keys + ": " + entry.description;
    }
    QCOMPARE(keys.join(", "),
             QStringLiteral("Delete: Delete, Ctrl+D: Duplicate Layer, Ctrl+R: Rename Layer, "
                            "Ctrl+A: Select All, Ctrl+N: Select Nodes, Ctrl+Up: Move Item Up, "
                            "Ctrl+Down: Move Item Down"));
}

QString tst_Frame::enabled() const
{
    QString digits;
    for (const QAction *action : host.tree()->findChild<QMenu *>()->actions().mid(0, 15)) {
        digits += action->isSeparator() ? "" : action->isEnabled() ? "1" : "0";
    }
    return digits;
}

void tst_Frame::enabling()
{
    const auto check = [this](const QString &path, const QStringList &selection,
                              const QString &expected, const QString &tip) {
        init();
        // Every request starts afresh, but the module's entries are not the tree's to touch.
        for (const char *before : { "B/c", "" }) {
            host.openMenu(before);
            host.closeMenu();
        }
        host.action("Activate Layer")->setEnabled(false);
        host.select(selection);
        const QMenu *const menu = host.openMenu(path);
        const QPoint position = menu->pos();
        host.closeMenu();
        const QString request = path + " with " + selection.join(' ') + ": ";
        QCOMPARE(request + enabled(), request + expected);
        QStringList tips;
        for (const QAction *action : menu->actions().mid(0, 15)) {
            tips += action->statusTip();
        }
        QCOMPARE(tips.join(QString()), tip);
        QCOMPARE(host.action("Select Nodes")->statusTip(), tip);
        if (!path.isEmpty()) {
            QCOMPARE(position, host.tree()->viewport()->mapToGlobal(host.cell(path, 0).center()));
        }
        QVERIFY(!host.action("Activate Layer")->isEnabled());
        host.action("Activate Layer")->setEnabled(true);
        QCOMPARE(host.action("Reset Layer")->statusTip(), QStringLiteral("Deactivates all layers"));
    };
    const QString ofLayer = "Select nodes of layer 'A'";
    const QString ofNode = "Select node 'a'";
    check("", { "A" }, "100010000010", "");
    check("A", {}, "111111111111", ofLayer);
    check("A", { "B" }, "111111111111", ofLayer);
    check("A", { "A", "B" }, "101111111111", "");
    check("A", { "A/a", "B/c" }, "101111111111", "");
    check("A", { "A", "B/c" }, "101110011111", "");
    // Rows under a closed layer do not count.
    check("A", { "A", "C/e" }, "111111111111", ofLayer);
    check("A", { "C/a", "C/e" }, "111111111111", ofLayer);
    check("A/a", { "B/d" }, "101011111111", ofNode);
    check("A/a", { "A/a", "A/b" }, "101011111111", "");
    check("A/a", { "A", "A/a" }, "101010011111", "");
    host.reset();
    host.openMenu("");
    host.closeMenu();
    QCOMPARE(enabled(), QStringLiteral("100010000000"));
}

/// Key presses, and clicks on menu entries. Where the first column is fitted, "fit" is the last.
void tst_Frame::commands()
{
    const auto check = [this](const QString &trigger, const QStringList &selection,
                              const QString &done, const QString &selected) {
        init();
        host.selectInHost({ "e" });
        host.select(selection);
        host.tree()->setColumnWidth(0, 1);
        const int narrow = host.tree()->columnWidth(0);
        const HostCalls calls;
        if (QAction *const entry = host.action(trigger)) {
            QMenu *const menu = host.openMenu("A");
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(entry).center());
        } else {
            const int key = QKeySequence(trigger)[0];
            host.key(key & ~int(Qt::KeyboardModifierMask),
                     Qt::KeyboardModifiers(key & int(Qt::KeyboardModifierMask)));
        }
        QString happened = trigger + ": " + calls.commands();
        if (host.editor()) {
            happened += "editing";
            QTest::keyClick(host.editor(), Qt::Key_Escape);
        }
        happened += host.tree()->columnWidth(0) > narrow ? " fit" : "";
        QCOMPARE(happened, trigger + ": " + done);
        QCOMPARE(host.selected(), selected);
    };
    const char *const all = "A A/a A/b B* B/c B/d C";
    check("Ctrl+A", { "B" }, "", all);
    check("Ctrl+D", { "B" }, "copyLayer(1, B1) rebuild setModified(1) fit", "B*");
    check("Ctrl+N", { "A/b" }, "mkScopedUndo(true) selectNode(b) ~mkScopedUndo()", "A/b*");
    check("Ctrl+R", { "B" }, "editing", "B*");
    check("Ctrl+R", { "A/a" }, "", "A/a*");
    check("Ctrl+R", { "B", "C/e" }, "", "B* C/e");
    check("Ctrl+R", {}, "", "");
    check("F2", { "B" }, "editing", "B*");
    check("F2", { "B", "A" }, "", "A B*");
    check("Ctrl+Up", { "B" }, "moveUpLayer(1) rebuild", "B*");
    check("Ctrl+Down", { "B" }, "moveDownLayer(1) rebuild", "B*");
    check("Del", { "B/c", "A" },
          "subLayer(A) rebuild setModified(1) subNode(0, c) rebuild setModified(1)", "");
    // A key that is taken is not the view's any more, also when nothing comes of it.
    check("Ctrl+Down", { "A", "B/c" }, "", "A* B/c");
    // Everything else is the view's own: search, editing, moving, selecting.
    check("D", { "A" }, "", "B/d*");
    check("Ctrl+Shift+D", { "B" }, "", "B*");
    check("Ctrl+Alt+N", { "B" }, "", "B*");
    check("Shift+Del", { "B" }, "", "B*");
    check("Num+Del", { "B" }, "", "B*");
    check("Shift+F2", { "B", "A" }, "editing", "A B*");
    check("Down", { "A" }, "", "A/a*");
    check("Ctrl+Shift+Down", { "A" }, "", "A");
    check("Ctrl+Space", { "A" }, "", "");

    check("Create Layer", { "B" }, "addLayer(Layer) rebuild setModified(1) fit", "B*");
    check("Rename Layer", { "B", "C/e" }, "editing", "B* C/e");
    check("Delete", { "B" }, "subLayer(B) rebuild setModified(1)", "");
    check("Duplicate Layer", { "B" }, "copyLayer(1, B1) rebuild setModified(1) fit", "B*");
    check("Select All", { "B" }, "", all);
    check("Move Up", { "B" }, "moveUpLayer(1) rebuild", "B*");
    check("Move Down", { "B" }, "moveDownLayer(1) rebuild", "B*");
    check("Add Selected Nodes", { "B" }, "addNode(1, e) rebuild setModified(1) fit", "B*");
    check("Select Nodes", { "A/b" }, "mkScopedUndo(true) selectNode(b) ~mkScopedUndo()", "A/b*");
    check("Cleanup", {}, "cleanup(scene) rebuild", "");
    check("Clear Override Material", { "A/b" }, "rebuild setModified(1) fit", "A/b*");
}

void tst_Frame::onlyLayersAreRenamed()
{
    for (const char *path : { "A/a", "B" }) {
        host.doubleClick(path, 0);
        QCOMPARE(host.editor() != nullptr, path == QStringLiteral("B"));
    }
    host.type("B", Qt::Key_Escape);
    // Nor is a current row that is not selected.
    host.key(Qt::Key_Space, Qt::ControlModifier);
    QCOMPARE(host.tree()->currentItem(), host.row("B"));
    host.key(Qt::Key_F2);
    QVERIFY(!host.editor());
}

/// Names the context in front of each text, as a translation of everything would.
class Contexts : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *text, const char *, int) const override
    {
        return context + QStringLiteral(":") + text;
    }
};

void tst_Frame::translations()
{
    Contexts contexts;
    host.unloadPlugin();
    QCoreApplication::installTranslator(&contexts);
    const auto reload = qScopeGuard([&] {
        QCoreApplication::removeTranslator(&contexts);
        host.unloadPlugin();
        host.loadPlugin();
    });
    host.loadPlugin();
    host.rebuild();
    QCOMPARE(host.panel()->windowTitle(), QStringLiteral("mkRenderLayerGUI:Render Layer"));
    for (int column = 0; column < 13; ++column) {
        QVERIFY(host.tree()->headerItem()->text(column).startsWith("mkNodeListWidget:"));
    }
    for (const QAction *action : host.openMenu("A")->actions().mid(0, 15)) {
        const QString tip = action->statusTip();
        QVERIFY(action->isSeparator() || action->text().startsWith("mkNodeListWidget:"));
        QVERIFY(tip.isEmpty() || tip.startsWith("mkNodeListWidget:Select nodes of layer '"));
    }
    host.closeMenu();
    for (const QAction *action : host.panel()->findChild<QToolBar *>()->actions()) {
        QVERIFY(action->text().startsWith("mkRenderLayerModule:")
                && action->statusTip().startsWith("mkRenderLayerModule:"));
    }
    const auto *const dock = qobject_cast<QDockWidget *>(host.panel()->parentWidget());
    QCOMPARE(dock->toggleViewAction()->toolTip(), QStringLiteral("mkRenderLayerModule:Layers"));
    QTreeWidgetItem *const row = host.row("A/a");
    QCOMPARE(row->text(1) + ' ' + row->text(11) + ' ' + row->text(12),
             QStringLiteral("RenderLayer:On RenderLayer:Off mkNodeItem:Empty"));
    host.doubleClick("A/a", 1);
    QCOMPARE(row->text(1), QStringLiteral("mkNodeListWidget:Off"));
    QCOMPARE(host.openMenu(row)->actions().size(), 18);
    QVERIFY(host.action("mkNodeListWidget:Select Nodes")
                ->statusTip()
                .startsWith("mkNodeListWidget:Select node '"));
    host.closeMenu();
    QCOMPARE(host.panel()->findChild<QToolBar *>()->windowTitle(),
             QStringLiteral("mkRenderLayerModule:QuickActions"));
    QStringList asked;
    {
        const ModalAnswers answers([&asked](QWidget *modal) {
            auto *const box = qobject_cast<QMessageBox *>(modal);
            asked += box->windowTitle() + '|' + box->text();
            for (const QAbstractButton *button : box->buttons()) {
                asked.last() += '|' + button->text();
            }
            box->buttons().last()->click();
        });
        host.clickTool("mkRenderLayerModule:Delete");
        host.row("A")->setText(0, "B");
        host.selectInHost({ "scene" });
        host.drop(host.cell("B", 1).center(), host.nodeFormat, QByteArray(8, '\1'));
    }
    const QString ok = "QPlatformTheme:OK";
    QCOMPARE(asked.join('\n'),
             "mkRenderLayerModule:Render Layer|mkRenderLayerModule:Delete selection?|"
             "mkRenderLayerModule:Delete|mkRenderLayerModule:Cancel\n"
             "mkNodeListWidget:Render Layer|mkNodeListWidget:Name is not unique, please choose a "
             "different one.|"
                 + ok + "\nmkNodeItem:Render Layer|mkNodeItem:Adding the root node is not allowed!|"
                 + ok);
    QMetaObject::invokeMethod(host.tree(), "createLayer");
    QVERIFY(host.row("mkNodeListWidget:Layer"));
    const auto &keys = mkShortcut::getKeys();
    const auto translated = [](const mkShortcut::Entry &key) {
        return key.group == "mkNodeListWidget:Render Layer"
               && key.description.startsWith("mkNodeListWidget:");
    };
    QCOMPARE(int(std::count_if(keys.begin(), keys.end(), translated)), 7);
    const ModalAnswers cancel([](QWidget *dialog) {
        QCOMPARE(dialog->windowTitle(), QStringLiteral("mkAttributesGUI:Attributes"));
        for (const QCheckBox *box : dialog->findChildren<QCheckBox *>()) {
            QVERIFY(box->text().startsWith("mkAttributesGUI:"));
        }
        static_cast<QDialog *>(dialog)->reject();
    });
    host.select({ "A" });
    QMetaObject::invokeMethod(host.tree(), "applyAttributesToSelected");
    QCOMPARE(cancel.count(), 1);
}

HOST_TEST_MAIN(tst_Frame)
#include "tst_frame.moc"
