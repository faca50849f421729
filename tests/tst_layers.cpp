#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkKernelServices/mkScopedUndo.h"

#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScopeGuard>
#include <QTest>
#include <QUndoStack>

/// Creating, renaming, duplicating and moving layers, moving nodes, selecting scene nodes.
class tst_Layers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void creation_data();
    void creation();
    void renaming_data();
    void renaming();
    void duplication_data();
    void duplication();
    void copiesAreShown();
    void moves_data();
    void moves();
    void selectingNodes_data();
    void selectingNodes();
    void selectingNodesIsOneStep();

private:
    HostFixture host;
};

void tst_Layers::init()
{
    host.reset();
    host.addLayer("A", { "a", "b", "c", "d" });
    host.addLayer("B", { "a", "b" });
    host.addLayer("C", { "c", "d" }, false);
    host.addLayer("D");
    host.rebuild();
}

void tst_Layers::creation_data()
{
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("made");
    const auto row = [](const QStringList &present, const QString &name, const QString &made) {
        QTest::newRow(qPrintable(present.join(' ') + " + " + name)) << present << name << made;
    };
    row({}, "", "Layer");
    row({ "Layer" }, "", "Layer1");
    row({ "Layer", "Layer1" }, "", "Layer2");
    row({ "Layer2", "Layer" }, "", "Layer1");
    row({ "layer" }, "", "Layer");
    row({ "Layer" }, "Foo", "Foo");
    row({ "Foo1", "Foo" }, "Foo", "Foo2");
    row({ "Bäume 木" }, "Bäume 木", "Bäume 木1");
    // Nodes' names are free.
    row({ "Layer" }, "a", "a");
}

void tst_Layers::creation()
{
    QFETCH(QStringList, present);
    QFETCH(QString, name);
    QFETCH(QString, made);
    host.reset();
    for (const QString &layer : qAsConst(present)) {
        host.addLayer(layer, { "a" });
    }
    host.rebuild();
    host.tree()->setColumnWidth(0, 1);
    const int narrow = host.tree()->columnWidth(0);
    const HostCalls calls;
    QMetaObject::invokeMethod(host.tree(), "createLayer", Q_ARG(QString, name));
    QCOMPARE(calls.commands(), "addLayer(" + made + ") rebuild setModified(1)");
    QCOMPARE(host.tree()->topLevelItem(present.size())->text(0), made);
    QCOMPARE(host.rows(), host.stored());
    QVERIFY(host.tree()->columnWidth(0) > narrow);
}

void tst_Layers::renaming_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("calls");
    QTest::addColumn<int>("warnings");
    const auto row = [](const QString &typed, const QString &calls, int warnings = 0) {
        QTest::newRow(qPrintable(typed)) << typed << calls << warnings;
    };
    row("X", "setLayerName(1, X) rebuild");
    row("Bäume 木", "setLayerName(1, Bäume 木) rebuild");
    row("a", "setLayerName(1, a) rebuild");
    row("A", "rebuild", 1);
    row("D", "rebuild", 2);
    row("", "rebuild");
    row("B", "");
}

/// In the real editor, with the real keys.
void tst_Layers::renaming()
{
    QFETCH(QString, typed);
    QFETCH(QString, calls);
    QFETCH(int, warnings);
    host.addLayer("D");
    host.rebuild();
    QStringList shown;
    const ModalAnswers answers([&shown](QWidget *modal) {
        auto *const box = qobject_cast<QMessageBox *>(modal);
        const auto ok = qScopeGuard([box] { box->button(QMessageBox::Ok)->click(); });
        shown += box->windowTitle() + ": " + box->text();
        QVERIFY(!box->parent());
        QCOMPARE(box->buttons().size(), 1);
        QCOMPARE(box->icon(), QMessageBox::Warning);
    });
    for (const Qt::Key end : { Qt::Key_Escape, Qt::Key_Return }) {
        host.tree()->setColumnWidth(0, 1);
        const int narrow = host.tree()->columnWidth(0);
        const HostCalls made;
        host.select({ "B" });
        host.key(Qt::Key_F2);
        const QPointer<QLineEdit> editor = host.tree()->findChild<QLineEdit *>();
        QVERIFY(editor && editor->text() == "B");
        QTest::keyClick(editor, Qt::Key_Delete);
        for (const QChar letter : typed) {
            QTest::sendKeyEvent(QTest::Click, editor, Qt::Key_unknown, QString(letter), {});
        }
        QTest::keyClick(editor, end);
        QTRY_VERIFY(!editor);
        QCOMPARE(made.commands(), end == Qt::Key_Escape ? QString() : calls);
        QCOMPARE(host.tree()->columnWidth(0) > narrow, end == Qt::Key_Return && !calls.isEmpty());
    }
    QCOMPARE(answers.count(), warnings);
    for (const QString &text : qAsConst(shown)) {
        QCOMPARE(text, QStringLiteral("Render Layer: Name is not unique, please choose a different "
                                      "one."));
    }
    // The selection follows the name that was typed, be it another layer's.
    QCOMPARE(host.selected(), typed.isEmpty() ? QString() : typed + '*');
    QCOMPARE(host.rows(), host.stored());
    QVERIFY(!mkController::isModified());
}

void tst_Layers::duplication_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<QString>("calls");
    const auto row = [](const QStringList &selection, const QString &calls) {
        QTest::newRow(qPrintable(selection.join(' ')))
            << selection << (calls.isEmpty() ? calls : calls + " rebuild setModified(1)");
    };
    row({}, "");
    row({ "D" }, "copyLayer(3, D1)");
    row({ "C", "A" }, "copyLayer(0, A11) copyLayer(2, C1)");
    // The names given out count, too.
    row({ "A", "A1" }, "copyLayer(0, A11) copyLayer(4, A12)");
    row({ "A/a", "B", "B/a" }, "copyLayer(1, B1)");
    row({ "A/a", "B/a" }, "");
}

void tst_Layers::duplication()
{
    QFETCH(QStringList, selection);
    QFETCH(QString, calls);
    for (int i = 1; i <= 10; ++i) {
        host.addLayer('A' + QString::number(i));
    }
    host.rebuild();
    host.select(selection);
    // A name is taken if the store has it, whatever the tree shows and whatever else is there.
    host.store()->getAttachment()->addEntry(osg::Group::create());
    const HostCalls made;
    host.key(Qt::Key_D, Qt::ControlModifier);
    QCOMPARE(made.commands(), calls);
}

void tst_Layers::copiesAreShown()
{
    host.select({ "A", "C" });
    host.tree()->setColumnWidth(0, 1);
    const int narrow = host.tree()->columnWidth(0);
    host.action("Duplicate Layer")->trigger();
    QVERIFY(host.tree()->columnWidth(0) > narrow);
    QCOMPARE(host.rows(), QStringLiteral("A[a b c d] B[a b] C[c d] D[] A1[a b c d] C1[c d]"));
    QCOMPARE(host.selected(), QStringLiteral("A*"));
}

void tst_Layers::moves_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<bool>("up");
    QTest::addColumn<QString>("calls");
    QTest::addColumn<QString>("selected");
    const auto row = [](const QStringList &selection, const QString &up, const QString &down,
                        const char *selected) {
        const QString name = selection.join(' ');
        QTest::newRow(qPrintable("up " + name)) << selection << true << up << selected;
        QTest::newRow(qPrintable("down " + name)) << selection << false << down << selected;
    };
    row({}, "", "", "");
    row({ "B" }, "moveUpLayer(1)", "moveDownLayer(1)", "B");
    // One row is handed to the store, which knows where the ends are.
    row({ "A" }, "moveUpLayer(0)", "moveDownLayer(0)", "A");
    row({ "D" }, "moveUpLayer(3)", "moveDownLayer(3)", "D");
    row({ "A/a" }, "moveUpNode(0, a)", "moveDownNode(0, a)", "A/a");
    row({ "B/b" }, "moveUpNode(1, b)", "moveDownNode(1, b)", "B/b");
    row({ "C", "B" }, "moveUpLayer(1) moveUpLayer(2)", "moveDownLayer(2) moveDownLayer(1)", "B C");
    row({ "A", "C" }, "", "moveDownLayer(2) moveDownLayer(0)", "A C");
    row({ "D", "B" }, "moveUpLayer(1) moveUpLayer(3)", "", "B D");
    row({ "A/c", "A/b" }, "moveUpNode(0, b) moveUpNode(0, c)",
        "moveDownNode(0, c) moveDownNode(0, b)", "A/b A/c");
    row({ "A/a", "A/c" }, "", "moveDownNode(0, c) moveDownNode(0, a)", "A/a A/c");
    row({ "B/b", "A/d", "A/b" }, "moveUpNode(0, b) moveUpNode(0, d) moveUpNode(1, b)", "",
        "A/b A/d B/b");
    row({ "B/a", "A/d" }, "moveUpNode(0, d)", "moveDownNode(1, a)", "A/d B/a");
    row({ "B", "A/b" }, "", "", "");
    // Rows under a closed layer do not count, but one of them may be the first.
    row({ "C/d", "C/c" }, "", "", "");
    row({ "C/d", "A", "B" }, "", "moveDownLayer(1) moveDownLayer(0)", "A B");
    row({ "B", "C/d" }, "moveUpLayer(1)", "moveDownLayer(1)", "B");
    row({ "C/d", "B" }, "moveUpNode(2, d)", "moveDownNode(2, d)", "C/d");
}

void tst_Layers::moves()
{
    QFETCH(QStringList, selection);
    QFETCH(bool, up);
    QFETCH(QString, calls);
    QFETCH(QString, selected);
    host.select(selection);
    const QString before = host.selected();
    host.tree()->setColumnWidth(0, 1);
    const int narrow = host.tree()->columnWidth(0);
    const HostCalls made;
    host.key(up ? Qt::Key_Up : Qt::Key_Down, Qt::ControlModifier);
    if (calls.isEmpty()) {
        QCOMPARE(made.commands(), QString());
        QCOMPARE(host.selected(), before);
    } else {
        QCOMPARE(made.commands(), calls + " rebuild");
        QCOMPARE(host.selected().remove('*'), selected);
    }
    QCOMPARE(host.rows(), host.stored());
    QCOMPARE(host.tree()->columnWidth(0), narrow);
    QVERIFY(!mkController::isModified());
}

void tst_Layers::selectingNodes_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<QString>("nodes");
    const auto row = [](const QStringList &selection, const QString &nodes) {
        QTest::newRow(qPrintable(selection.join(' '))) << selection << nodes;
    };
    row({}, "");
    row({ "A/b" }, "b");
    row({ "C/d" }, "d");
    row({ "B" }, "[a, b]");
    row({ "C" }, "[c, d]");
    row({ "D" }, "[]");
    row({ "C", "D", "B" }, "[a, b, c, d]");
    row({ "B/a", "A/c", "A/a" }, "[a, c, a]");
    row({ "A", "B/b" }, "[b, a, b, c, d]");
    row({ "B/b", "B" }, "[a, b]");
    // The node of this row is dead.
    row({ "A/gone" }, "[]");
    row({ "A/gone", "B/b", "B/a" }, "[b, a]");
    row({ "A" }, "[a, b, c, d]");
}

void tst_Layers::selectingNodes()
{
    QFETCH(QStringList, selection);
    QFETCH(QString, nodes);
    host.node("e")->setName("gone");
    host.store()->addNode(0, host.node("gone"));
    host.rebuild();
    host.store()->subNode(0, host.node("gone"));
    mkScenegraph::removeNode(host.node("gone"));
    mkController::setModified(0);
    host.select(selection);
    const HostCalls made;
    host.key(Qt::Key_N, Qt::ControlModifier);
    const QString command = nodes.startsWith('[')
                                ? "selectNodes(" + nodes + ") scrollToNodes(" + nodes + ")"
                                : "selectNode(" + nodes + ")";
    QCOMPARE(made.commands(),
             nodes.isEmpty() ? QString() : "mkScopedUndo(true) " + command + " ~mkScopedUndo()");
    QVERIFY(!mkController::isModified());
}

void tst_Layers::selectingNodesIsOneStep()
{
    for (const char *path : { "A/b", "C" }) {
        host.select({ path });
        host.key(Qt::Key_N, Qt::ControlModifier);
    }
    QCOMPARE(int(mkScenegraph::getSelectedRootNodes().size()), 2);
    mkUndo::stack()->undo();
    QCOMPARE(int(mkScenegraph::getSelectedRootNodes().size()), 1);
    QVERIFY(mkScenegraph::getSelectedRootNodes()[0] == host.node("b"));
    mkUndo::stack()->undo();
    QVERIFY(mkScenegraph::getSelectedRootNodes().empty());
}

HOST_TEST_MAIN(tst_Layers)
#include "tst_layers.moc"
