#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkKernelServices/mkScopedUndo.h"

#include <QLineEdit>
#include <QMessageBox>
#include <QScopeGuard>
#include <QTest>
#include <QUndoStack>

/// Creating, renaming, duplicating and moving layers, moving nodes, selecting scene nodes.
class tst_Layers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void creation();
    void renaming();
    void duplication();
    void moves();
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

void tst_Layers::creation()
{
    const auto check = [this](const QStringList &present, const QString &name,
                              const QString &made) {
        host.reset();
        for (const QString &layer : present) {
            host.addLayer(layer, { "a" });
        }
        host.rebuild();
        const HostCalls calls;
        QMetaObject::invokeMethod(host.tree(), "createLayer", Q_ARG(QString, name));
        QCOMPARE(calls.commands(), "addLayer(" + made + ") rebuild setModified(1)");
        QCOMPARE(host.rows(), host.stored());
    };
    check({}, "", "Layer");
    check({ "Layer", "Layer1" }, "", "Layer2");
    check({ "Layer2", "Layer" }, "", "Layer1");
    check({ "layer" }, "", "Layer");
    check({ "Bäume 木" }, "Bäume 木", "Bäume 木1");
    // Nodes' names are free.
    check({ "Layer" }, "a", "a");
}

/// In the real editor, with the real keys.
void tst_Layers::renaming()
{
    const auto check = [this](const QString &typed, const QString &calls, int warnings = 0) {
        init();
        host.addLayer("D");
        host.rebuild();
        const ModalAnswers answers([](QWidget *modal) {
            auto *const box = qobject_cast<QMessageBox *>(modal);
            const auto ok = qScopeGuard([box] { ModalAnswers::agree(box); });
            QCOMPARE(box->windowTitle() + ": " + box->text(),
                     QStringLiteral("Render Layer: Name is not unique, please choose a different "
                                    "one."));
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
            const QPointer<QLineEdit> editor = host.editor();
            QVERIFY(editor && editor->text() == "B");
            QTest::keyClick(editor, Qt::Key_Delete);
            for (const QChar letter : typed) {
                QTest::sendKeyEvent(QTest::Click, editor, Qt::Key_unknown, QString(letter), {});
            }
            QTest::keyClick(editor, end);
            QTRY_VERIFY(!editor);
            QCOMPARE(made.commands(), end == Qt::Key_Escape ? QString() : calls);
            QCOMPARE(host.tree()->columnWidth(0) > narrow,
                     end == Qt::Key_Return && !calls.isEmpty());
        }
        QCOMPARE(answers.count(), warnings);
        // The selection follows the name that was typed, be it another layer's.
        QCOMPARE(host.selected(), typed.isEmpty() ? QString() : typed + '*');
        QCOMPARE(host.rows(), host.stored());
        QVERIFY(!mkController::isModified());
    };
    check("Bäume 木", "setLayerName(1, Bäume 木) rebuild");
    check("a", "setLayerName(1, a) rebuild");
    check("A", "rebuild", 1);
    check("D", "rebuild", 2);
    check("", "rebuild");
    check("B", "");
}

void tst_Layers::duplication()
{
    const auto check = [this](const QStringList &selection, const QString &calls) {
        init();
        for (int i = 1; i <= 10; ++i) {
            host.addLayer('A' + QString::number(i));
        }
        host.rebuild();
        host.select(selection);
        // A name is taken if the store has it, whatever the tree shows and whatever else is there.
        host.store()->getAttachment()->addEntry(osg::Group::create());
        const HostCalls made;
        host.key(Qt::Key_D, Qt::ControlModifier);
        QCOMPARE(made.commands(), calls.isEmpty() ? calls : calls + " rebuild setModified(1)");
    };
    check({}, "");
    check({ "C", "A" }, "copyLayer(0, A11) copyLayer(2, C1)");
    // The names given out count, too.
    check({ "A", "A1" }, "copyLayer(0, A11) copyLayer(4, A12)");
    check({ "A/a", "B", "B/a" }, "copyLayer(1, B1)");
    check({ "A/a", "B/a" }, "");

    init();
    host.select({ "A", "C" });
    host.action("Duplicate Layer")->trigger();
    QCOMPARE(host.rows(), QStringLiteral("A[a b c d] B[a b] C[c d] D[] A1[a b c d] C1[c d]"));
    QCOMPARE(host.selected(), QStringLiteral("A*"));
}

void tst_Layers::moves()
{
    const auto check = [this](const QStringList &selection, const QString &up, const QString &down,
                              const QString &selected = {}) {
        for (const Qt::Key key : { Qt::Key_Up, Qt::Key_Down }) {
            init();
            host.select(selection);
            const QString before = host.selected().remove('*');
            const QString calls = key == Qt::Key_Up ? up : down;
            const HostCalls made;
            host.key(key, Qt::ControlModifier);
            QCOMPARE(before + ": " + made.commands(),
                     before + ": " + (calls.isEmpty() ? calls : calls + " rebuild"));
            QCOMPARE(host.selected().remove('*'),
                     calls.isEmpty() || selected.isEmpty() ? before : selected);
            QCOMPARE(host.rows(), host.stored());
            QVERIFY(!mkController::isModified());
        }
    };
    check({}, "", "");
    // One row is handed to the store, which knows where the ends are.
    check({ "A" }, "moveUpLayer(0)", "moveDownLayer(0)");
    check({ "D" }, "moveUpLayer(3)", "moveDownLayer(3)");
    check({ "B/b" }, "moveUpNode(1, b)", "moveDownNode(1, b)");
    check({ "C", "B" }, "moveUpLayer(1) moveUpLayer(2)", "moveDownLayer(2) moveDownLayer(1)");
    check({ "A", "C" }, "", "moveDownLayer(2) moveDownLayer(0)");
    check({ "D", "B" }, "moveUpLayer(1) moveUpLayer(3)", "");
    check({ "A/c", "A/b" }, "moveUpNode(0, b) moveUpNode(0, c)",
          "moveDownNode(0, c) moveDownNode(0, b)");
    check({ "A/a", "A/c" }, "", "moveDownNode(0, c) moveDownNode(0, a)");
    check({ "B/b", "A/d", "A/b" }, "moveUpNode(0, b) moveUpNode(0, d) moveUpNode(1, b)", "");
    check({ "B/a", "A/d" }, "moveUpNode(0, d)", "moveDownNode(1, a)");
    check({ "B", "A/b" }, "", "");
    // Rows under a closed layer do not count, but one of them may be the first.
    check({ "C/d", "C/c" }, "", "");
    check({ "C/d", "A", "B" }, "", "moveDownLayer(1) moveDownLayer(0)", "A B");
    check({ "B", "C/d" }, "moveUpLayer(1)", "moveDownLayer(1)", "B");
    check({ "C/d", "B" }, "moveUpNode(2, d)", "moveDownNode(2, d)", "C/d");
}

void tst_Layers::selectingNodes()
{
    const auto check = [this](const QStringList &selection, const QString &nodes) {
        init();
        host.node("e")->setName("gone");
        host.store()->addNode(0, host.node("gone"));
        host.rebuild();
        host.kill("gone");
        host.select(selection);
        const HostCalls made;
        host.key(Qt::Key_N, Qt::ControlModifier);
        const QString command = nodes.startsWith('[')
                                    ? "selectNodes(" + nodes + ") scrollToNodes(" + nodes + ")"
                                    : "selectNode(" + nodes + ")";
        QCOMPARE(made.commands(), nodes.isEmpty()
                                      ? QString()
                                      : "mkScopedUndo(true) " + command + " ~mkScopedUndo()");
        QVERIFY(!mkController::isModified());
    };
    check({}, "");
    check({ "C/d" }, "d");
    check({ "C" }, "[c, d]");
    check({ "D" }, "[]");
    check({ "C", "D", "B" }, "[a, b, c, d]");
    check({ "B/a", "A/c", "A/a" }, "[a, c, a]");
    check({ "A", "B/b" }, "[b, a, b, c, d]");
    check({ "B/b", "B" }, "[a, b]");
    // Rows under a closed layer do not count among others.
    check({ "C/d", "B/a", "A/b" }, "[a, b]");
    // The node of this row is dead.
    check({ "A/gone" }, "[]");
    check({ "A/gone", "B/b", "B/a" }, "[b, a]");
    check({ "A" }, "[a, b, c, d]");
    // What is selected already makes no step to undo.
    const int steps = mkUndo::stack()->count();
    host.key(Qt::Key_N, Qt::ControlModifier);
    QCOMPARE(mkUndo::stack()->count(), steps);
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
