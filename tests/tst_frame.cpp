#include "HostFixture.h"

#include "mkKernel/mkSelectionManager.h"
#include "mkShortcut/mkShortcut.h"

#include <QCheckBox>
#include <QDialog>
#include <QItemDelegate>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMetaMethod>
#include <QScopeGuard>
#include <QTest>
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
    void menuOfAnEmptyTree();
    void enabling_data();
    void enabling();
    void commands_data();
    void commands();
    void renamingNeedsASelectedRow();
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

void tst_Frame::menuOfAnEmptyTree()
{
    host.reset();
    QVERIFY(host.openMenu("")->isVisible());
    host.closeMenu();
    QCOMPARE(enabled(), QStringLiteral("100010000000"));
}

void tst_Frame::enabling_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("tip");
    const auto row = [](const QString &path, const QStringList &selection, const QString &expected,
                        const QString &tip) {
        const QString name = path + ", " + selection.join(' ');
        QTest::newRow(qPrintable(name)) << path << selection << expected << tip;
    };
    const QString ofLayer = "Select nodes of layer 'A'";
    const QString ofNode = "Select node 'a'";
    row("", { "A" }, "100010000010", "");
    row("A", {}, "111111111111", ofLayer);
    row("A", { "A" }, "111111111111", ofLayer);
    row("A", { "B" }, "111111111111", ofLayer);
    row("A", { "A", "B" }, "101111111111", "");
    row("A", { "A/a", "B/c" }, "101111111111", "");
    row("A", { "A", "B/c" }, "101110011111", "");
    // Rows under a closed layer do not count.
    row("A", { "A", "C/e" }, "111111111111", ofLayer);
    row("A", { "C/a", "C/e" }, "111111111111", ofLayer);
    row("A/a", {}, "101011111111", ofNode);
    row("A/a", { "B/d" }, "101011111111", ofNode);
    row("A/a", { "A/a", "A/b" }, "101011111111", "");
    row("A/a", { "A", "A/a" }, "101010011111", "");
}

void tst_Frame::enabling()
{
    QFETCH(QString, path);
    QFETCH(QStringList, selection);
    QFETCH(QString, expected);
    QFETCH(QString, tip);
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
    QCOMPARE(enabled(), expected);
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
}

void tst_Frame::commands_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<QString>("done");
    QTest::addColumn<QString>("selected");
    const auto row = [](const char *trigger, const QStringList &selection, const char *done,
                        const char *selected) {
        const QString name = QString(trigger) + ", " + selection.join(' ');
        QTest::newRow(qPrintable(name)) << selection << done << selected;
    };
    const char *const all = "A A/a A/b B* B/c B/d C";
    row("Ctrl+A", { "B" }, "", all);
    row("Ctrl+D", { "B" }, "copyLayer(1, B1) rebuild setModified(1)", "B*");
    row("Ctrl+N", { "A/b" }, "mkScopedUndo(true) selectNode(b) ~mkScopedUndo()", "A/b*");
    row("Ctrl+R", { "B" }, "editing", "B*");
    row("Ctrl+R", { "A/a" }, "", "A/a*");
    row("Ctrl+R", { "B", "C/e" }, "", "B* C/e");
    row("Ctrl+R", {}, "", "");
    row("F2", { "B" }, "editing", "B*");
    row("F2", { "B", "A" }, "", "A B*");
    row("Ctrl+Up", { "B" }, "moveUpLayer(1) rebuild", "B*");
    row("Ctrl+Down", { "B" }, "moveDownLayer(1) rebuild", "B*");
    row("Del", { "B" }, "subLayer(B) rebuild setModified(1)", "");
    row("Del", { "B/c", "A" },
        "subLayer(A) rebuild setModified(1) subNode(0, c) rebuild setModified(1)", "");
    // A key that is taken is not the view's any more, also when nothing comes of it.
    row("Ctrl+Down", { "A", "B/c" }, "", "A* B/c");
    // Everything else is the view's own: search, editing, moving, selecting.
    row("D", { "A" }, "", "B/d*");
    row("Ctrl+Shift+D", { "B" }, "", "B*");
    row("Ctrl+Alt+N", { "B" }, "", "B*");
    row("Ctrl+Del", { "B" }, "", "B*");
    row("Shift+Del", { "B" }, "", "B*");
    row("Num+Del", { "B" }, "", "B*");
    row("Shift+F2", { "B", "A" }, "editing", "A B*");
    row("Down", { "A" }, "", "A/a*");
    row("Shift+Down", { "A" }, "", "A A/a*");
    row("Ctrl+Shift+Down", { "A" }, "", "A");
    row("Ctrl+Space", { "A" }, "", "");

    row("Create Layer", { "B" }, "addLayer(Layer) rebuild setModified(1)", "B*");
    row("Rename Layer", { "B", "C/e" }, "editing", "B* C/e");
    row("Delete", { "B" }, "subLayer(B) rebuild setModified(1)", "");
    row("Duplicate Layer", { "B" }, "copyLayer(1, B1) rebuild setModified(1)", "B*");
    row("Select All", { "B" }, "", all);
    row("Move Up", { "B" }, "moveUpLayer(1) rebuild", "B*");
    row("Move Down", { "B" }, "moveDownLayer(1) rebuild", "B*");
    row("Add Selected Nodes", { "B" }, "addNode(1, e) rebuild setModified(1)", "B*");
    row("Select Nodes", { "A/b" }, "mkScopedUndo(true) selectNode(b) ~mkScopedUndo()", "A/b*");
    row("Cleanup", {}, "cleanup(scene) rebuild", "");
}

/// A key press, or a click on a menu entry.
void tst_Frame::commands()
{
    QFETCH(QStringList, selection);
    QFETCH(QString, done);
    QFETCH(QString, selected);
    const QString trigger = QString(QTest::currentDataTag()).section(", ", 0, 0);
    mkSelectionManager::selectNode(host.node("e"));
    host.select(selection);
    const HostCalls calls;
    if (QAction *const entry = host.action(trigger)) {
        QMenu *const menu = host.openMenu("A");
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(entry).center());
    } else {
        const int key = QKeySequence(trigger)[0];
        host.key(key & ~int(Qt::KeyboardModifierMask),
                 Qt::KeyboardModifiers(key & int(Qt::KeyboardModifierMask)));
    }
    QString happened = calls.commands();
    if (QWidget *const editor = host.tree()->findChild<QLineEdit *>()) {
        happened += "editing";
        QTest::keyClick(editor, Qt::Key_Escape);
    }
    QCOMPARE(happened, done);
    QCOMPARE(host.selected(), selected);
}

void tst_Frame::renamingNeedsASelectedRow()
{
    host.select({ "B" });
    host.key(Qt::Key_Space, Qt::ControlModifier);
    QCOMPARE(host.tree()->currentItem(), host.row("B"));
    host.key(Qt::Key_F2);
    QVERIFY(!host.tree()->findChild<QLineEdit *>());
}

void tst_Frame::onlyLayersAreRenamed()
{
    for (const char *path : { "A/a", "B" }) {
        host.doubleClick(path, 0);
        auto *const editor = host.tree()->findChild<QLineEdit *>();
        QCOMPARE(editor != nullptr, path == QStringLiteral("B"));
        delete editor;
    }
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
    for (const QAction *action : host.openMenu("A")->actions()) {
        const bool ofModule = !action->statusTip().isEmpty() && action->text() != "Select Nodes";
        QVERIFY(action->isSeparator() || action->text().startsWith("mkNodeListWidget:")
                || (ofModule && action->text().startsWith("mkRenderLayerModule:")
                    && action->statusTip().startsWith("mkRenderLayerModule:")));
    }
    host.closeMenu();
    QTreeWidgetItem *const row = host.row("A/a");
    QCOMPARE(row->text(1) + ' ' + row->text(11) + ' ' + row->text(12),
             QStringLiteral("RenderLayer:On RenderLayer:Off mkNodeItem:Empty"));
    host.doubleClick("A/a", 1);
    QCOMPARE(row->text(1), QStringLiteral("mkNodeListWidget:Off"));
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
