#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkdMaterial.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkUtils/mkTrace.h"

#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScopeGuard>
#include <QScopedValueRollback>
#include <QTest>

#include <stdexcept>

namespace {

using Action = std::function<void(HostFixture &)>;

/// Something that the plug-in is asked to do, once `prepare` has made it ready.
struct Command
{
    const char *name;
    Action prepare;
    Action run;
    bool script = false;
};

/// What the host does when it is called; the answer is the interceptor's.
struct Attack
{
    const char *name;
    std::function<bool()> strike;
    /// Once more for every later call.
    bool lasting;
};

/// Where keys go while a name is typed; null when none is.
QLineEdit *editor()
{
    return qobject_cast<QLineEdit *>(QApplication::focusWidget());
}

/// What the event loop does next, and that it takes away what was deleted.
void goOn()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

Action selecting(const QStringList &paths)
{
    return [paths](HostFixture &host) { host.select(paths); };
}

Action choosing(const QString &action)
{
    return [action](HostFixture &host) { host.action(action)->trigger(); };
}

Action pressing(int key, Qt::KeyboardModifiers modifiers = {})
{
    return [key, modifiers](HostFixture &host) { host.key(key, modifiers); };
}

Action renaming(const QString &name)
{
    return [name](HostFixture &host) {
        host.key(Qt::Key_F2);
        if (editor()) {
            editor()->setText(name);
            QTest::keyClick(editor(), Qt::Key_Return);
        }
        goOn();
    };
}

Action clickingTool(const QString &text)
{
    return [text](HostFixture &host) { host.clickTool(text); };
}

Action sending(const std::string &name, std::uint64_t id = 0)
{
    return [name, id](HostFixture &) {
        mkMessage message(name, id);
        message.set("material", mkMaterials::getMaterials().front());
        mkController::sendMessage(message);
    };
}

Action running(const char *statement)
{
    return [statement](HostFixture &) {
        if (!mkScript::run(statement)) {
            throw std::logic_error("seen by the script");
        }
    };
}

void nothing(HostFixture &) {}

std::vector<Command> commands()
{
    const auto dropNodes = [](HostFixture &host) {
        host.drop(host.cell("B", 1).center(), "application/mosk-tree-item", QByteArray(8, '\1'));
    };
    const auto dropMaterial = [](HostFixture &host) {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << mkdMaterial("blue");
        host.drop(host.cell("A/b", 1).center(), "application/mosk-decoupled-materials", bytes);
    };
    const auto clickClear = [](HostFixture &host) {
        const QPoint corner = host.cell("A/a", 12).topLeft();
        QTest::mouseClick(host.tree()->viewport(), Qt::LeftButton, {}, corner + QPoint(12, 10));
    };
    const auto expansion = [](const char *layer, bool expanded) {
        return [layer, expanded](HostFixture &host) { host.row(layer)->setExpanded(expanded); };
    };
    return {
        { "create layer", nothing, choosing("Create Layer") },
        { "rename", selecting({ "A" }), renaming("new") },
        { "rename, duplicate", selecting({ "A" }), renaming("B") },
        { "duplicate", selecting({ "A", "B" }), pressing(Qt::Key_D, Qt::ControlModifier) },
        { "delete", selecting({ "B", "A/a", "A/b" }), pressing(Qt::Key_Delete) },
        { "confirmed delete", selecting({ "C", "B/c" }), clickingTool("Delete") },
        { "move node", selecting({ "A/b" }), pressing(Qt::Key_Up, Qt::ControlModifier) },
        { "move nodes", selecting({ "A/a", "B/c" }), pressing(Qt::Key_Down, Qt::ControlModifier) },
        { "move layers", selecting({ "B", "C" }), pressing(Qt::Key_Up, Qt::ControlModifier) },
        { "select node", selecting({ "A/b" }), choosing("Select Nodes") },
        { "select nodes", selecting({ "A/b", "B" }), choosing("Select Nodes") },
        { "add nodes", selecting({ "A/b", "C" }), choosing("Add Selected Nodes") },
        { "cleanup", nothing, choosing("Cleanup") },
        { "apply attributes", selecting({ "A", "B/c" }),
          choosing("Apply Attributes to Selected ...") },
        { "clear materials", selecting({ "A/a", "A/b" }), choosing("Clear Override Material") },
        { "toggle", nothing, [](HostFixture &host) { host.doubleClick("A/b", 3); } },
        { "clear button", nothing, clickClear },
        { "expand", nothing, expansion("C", true) },
        { "collapse", nothing, expansion("A", false) },
        { "drop nodes", nothing, dropNodes },
        { "drop the root",
          [](HostFixture &) { mkSelectionManager::selectNodes({ mkScenegraph::getRootNode() }); },
          dropNodes },
        { "drop material", nothing, dropMaterial },
        { "activate", selecting({ "A", "B/c" }), clickingTool("Activate Layer") },
        { "reset", nothing, clickingTool("Reset Layer") },
        { "paint", nothing, [](HostFixture &host) { host.tree()->viewport()->grab(); } },
        { "update message", nothing, sending("mkRenderLayerModuleUpdateLayers") },
        { "material message", nothing, sending("materialRenamed") },
        { "transform message", nothing, sending("mkTransform::changedTransformation") },
        { "merge message", nothing, sending("sceneMerged", mkMessage::SceneMerged) },
        { "script: create", nothing, running("createRenderLayer('X')"), true },
        { "script: add", nothing, running("addNodesToRenderLayer(mkHost.getSelectedNodes(), 'A')"),
          true },
        { "script: set flags", nothing,
          running("setNodeVisibilityFlags(mkHost.findNode('c'), *[True] * 11, 'red')"), true },
        { "script: reset flags", nothing,
          running("resetNodeVisibilityFlags(mkHost.findNode('group'))"), true },
        { "script: activate", nothing, running("activateRenderLayer('A')"), true },
        { "script: reset", nothing, running("resetRenderLayers()"), true },
        { "script: restore", nothing, running("activateRenderLayerState('s')"), true },
    };
}

std::vector<Attack> attacks()
{
    const auto fail = []() -> bool { throw std::runtime_error("no"); };
    const auto failOddly = []() -> bool { throw 1; };
    const auto emptyAnswer = [] { return false; };
    const auto rebuild = [] {
        HostFixture::rebuild();
        return true;
    };
    const auto dropLayer = [] {
        HostFixture::store()->subLayer("A");
        return true;
    };
    const auto dropAndTell = [] {
        HostFixture::store()->subLayer("A");
        HostFixture::store()->subLayer("B");
        HostFixture::rebuild();
        return true;
    };
    return {
        { "throws", fail, false },
        { "keeps throwing oddly", failOddly, true },
        { "answers nothing", emptyAnswer, false },
        { "has nothing", emptyAnswer, true },
        { "keeps rebuilding", rebuild, true },
        { "drops a layer", dropLayer, false },
        { "drops layers and tells", dropAndTell, false },
    };
}

/// Answers every dialog the way that goes on with the command.
void agree(QWidget *modal)
{
    if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
        box->buttons().first()->click();
    } else {
        modal->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    }
}

} // namespace

Q_DECLARE_METATYPE(Command)
Q_DECLARE_METATYPE(Action)

/// A host that fails, answers with nothing, or calls back while the panel is at work.
class tst_Hostile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void eachCallOfEachCommand_data();
    void eachCallOfEachCommand();
    void messageWhileNameIsTyped_data();
    void messageWhileNameIsTyped();
    void whileDialogsAreOpen_data();
    void whileDialogsAreOpen();
    void commandWithinACommand_data();
    void commandWithinACommand();

private:
    bool perform(const Command &command, const mkTrace::Interceptor &interceptor);
    void recovers();

    // The interpreter starts only once in a process.
    std::unique_ptr<HostFixture> host = std::make_unique<HostFixture>(true);
};

void tst_Hostile::init()
{
    if (!host->panel()) {
        host->unloadPlugin();
        host->loadPlugin();
    }
    QApplication::setActiveWindow(host->window());
    host->reset();
    host->addLayer("A", { "a", "b" });
    host->addLayer("B", { "c", "group" });
    host->addLayer("C", { "d" }, false);
    host->attributes(0, "a")->setOverrideMaterial(host->material("red"));
    mkSelectionManager::selectNodes({ mkNodePtr(host->node("d")), mkNodePtr(host->node("e")) });
    host->rebuild();
}

/// The panel is as it should be after the next rebuild, and works.
void tst_Hostile::recovers()
{
    QVERIFY(host->tree()->updatesEnabled());
    QVERIFY(!host->tree()->signalsBlocked());
    host->rebuild();
    QCOMPARE(host->rows(), host->stored());
    host->action("Create Layer")->trigger();
    QCOMPARE(host->rows(), host->stored());
    QVERIFY(host->row("Layer") || host->row("Layer1"));
    QVERIFY(mkController::isModified());
}

void tst_Hostile::eachCallOfEachCommand_data()
{
    QTest::addColumn<Command>("command");
    for (const Command &command : commands()) {
        QTest::newRow(command.name) << command;
    }
}

/// False when an exception comes out.
bool tst_Hostile::perform(const Command &command, const mkTrace::Interceptor &interceptor)
{
    init();
    command.prepare(*host);
    const ModalAnswers answers(agree);
    const auto endInterception = qScopeGuard([] { mkTrace::setInterceptor({}); });
    mkTrace::setInterceptor(interceptor);
    try {
        command.run(*host);
    } catch (...) {
        return false;
    }
    return true;
}

/// Of each host operation that a command calls, the first two calls are struck, one at a time.
void tst_Hostile::eachCallOfEachCommand()
{
    QFETCH(Command, command);
    std::vector<int> places;
    std::map<QByteArray, int> seen;
    int calls = 0;
    QVERIFY(perform(command, [&](const char *call) {
        // Nothing leaves a destructor.
        if (++seen[call] <= 2 && !strchr(call, '~')) {
            places.push_back(calls);
        }
        ++calls;
        return true;
    }));
    for (const Attack &attack : attacks()) {
        for (const int place : places) {
            const LogLines log;
            bool striking = false;
            bool thrown = false;
            QByteArray victim;
            calls = 0;
            const bool ended = perform(command, [&](const char *call) {
                if (striking) {
                    return true;
                }
                const int now = calls++;
                if (now < place || (now > place && !attack.lasting) || strchr(call, '~')) {
                    return true;
                }
                victim = call;
                const QScopedValueRollback<bool> guard(striking, true);
                thrown = true;
                const bool answer = attack.strike();
                thrown = false;
                return answer;
            });
            const QByteArray story = QByteArray(attack.name) + " at call "
                                     + QByteArray::number(place) + ", " + victim;
            QVERIFY2(ended || (command.script && !victim.isEmpty()), story);
            QVERIFY2(!thrown || !ended || !log.lines.isEmpty(), story);
            goOn();
            recovers();
            if (QTest::currentTestFailed()) {
                qWarning("%s: %s", command.name, story.constData());
                return;
            }
        }
    }
}

void tst_Hostile::messageWhileNameIsTyped_data()
{
    QTest::addColumn<QString>("event");
    QTest::addColumn<QString>("rows");
    QTest::newRow("nothing else") << QString() << QStringLiteral("new[a b] B[c group] C[d]");
    QTest::newRow("layer moved") << "moved" << QStringLiteral("B[c group] new[a b] C[d]");
    QTest::newRow("layer gone") << "gone" << QStringLiteral("B[c group] C[d]");
    QTest::newRow("a script goes on") << "script" << QStringLiteral("wn[a b] B[c group] C[d]");
    QTest::newRow("a click elsewhere") << "click" << QStringLiteral("wn[a b] B[c group] C[d]");
    QTest::newRow("a namesake came") << "namesake" << QStringLiteral("A[a b] B[c group] C[d] A[]");
}

/// What was typed stays, or goes, but becomes no other layer's name; and no key goes astray.
void tst_Hostile::messageWhileNameIsTyped()
{
    QFETCH(QString, event);
    QFETCH(QString, rows);
    host->select({ "A" });
    host->key(Qt::Key_F2);
    QVERIFY(editor());
    QTest::keyClicks(editor(), "wn");
    QTest::keyClick(editor(), Qt::Key_Left);
    if (event == "moved") {
        host->store()->moveDownLayer(0);
    } else if (event == "gone") {
        host->store()->subLayer("A");
    } else if (event == "namesake") {
        host->store()->addLayer("A");
    } else if (event == "script" || event == "click") {
        // To another row, and so away from what is typed, which then counts.
        event == "click" ? host->click("B", 1) : running("activateRenderLayer('B')")(*host);
        goOn();
        QCOMPARE(host->selected(), QStringLiteral("B*"));
    }
    host->rebuild();
    goOn();
    QCOMPARE(host->rows(), host->stored());
    if (event.isEmpty() || event == "moved") {
        QVERIFY(editor());
        QCOMPARE(editor()->text(), QStringLiteral("wn"));
        QTest::keyClick(editor(), Qt::Key_Backspace);
        QTest::keyClicks(editor(), "ne");
        QTest::keyClick(editor(), Qt::Key_Delete);
        QTest::keyClicks(editor(), "w");
        // The key is on its way when the next message comes.
        QTest::keyClick(editor(), Qt::Key_Return);
        host->rebuild();
        goOn();
        QCOMPARE(editor()->text(), QStringLiteral("new"));
        QTest::keyClick(editor(), Qt::Key_Return);
        goOn();
    }
    QCOMPARE(host->rows(), host->stored());
    QCOMPARE(host->rows(), rows);
    QCOMPARE(QApplication::focusWidget(), host->tree());
}

void tst_Hostile::whileDialogsAreOpen_data()
{
    QTest::addColumn<Command>("command");
    QTest::addColumn<QString>("event");
    const QByteArrayList asking{ "rename, duplicate", "confirmed delete", "drop the root",
                                 "apply attributes" };
    for (const Command &command : commands()) {
        for (const QString event : { "message", "layers gone", "new scene", "panel", "dock" }) {
            // In the warning about a name Qt itself is at work with the panel, below the slot.
            const bool deletes = event == "panel" || event == "dock";
            if (asking.contains(command.name) && !(deletes && command.name == asking.first())) {
                QTest::addRow("%s, %s", command.name, qPrintable(event)) << command << event;
            }
        }
    }
}

void tst_Hostile::whileDialogsAreOpen()
{
    QFETCH(Command, command);
    QFETCH(QString, event);
    const ModalAnswers answers([&](QWidget *modal) {
        const QPointer<QWidget> dialog = modal;
        if (event == "layers gone") {
            host->store()->subLayer("A");
            host->store()->subLayer("C");
        } else if (event == "new scene") {
            host->reset();
            host->addLayer("Z", { "e" });
        } else if (event == "panel") {
            delete host->panel();
        } else if (event == "dock") {
            delete host->panel()->parentWidget();
        }
        host->rebuild();
        QVERIFY(!host->tree() || host->rows() == host->stored());
        if (dialog) {
            agree(dialog);
        }
    });
    command.prepare(*host);
    command.run(*host);
    QCOMPARE(answers.count(), 1);
    if (!host->tree()) {
        // What is left answers to nothing.
        for (const Command &candidate : commands()) {
            if (QByteArray(candidate.name).endsWith("message")) {
                candidate.run(*host);
            }
        }
        return;
    }
    QCOMPARE(host->rows(), host->stored());
    if (event == "new scene") {
        QCOMPARE(host->rows(), QStringLiteral("Z[e]"));
        QCOMPARE(host->values(host->attributes(0, "e")), QStringLiteral("11111111110 Empty"));
    }
    recovers();
}

void tst_Hostile::commandWithinACommand_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<Action>("inner");
    QTest::addColumn<QString>("stored");
    const Action createTwo = [](HostFixture &with) {
        with.action("Create Layer")->trigger();
        with.action("Create Layer")->trigger();
    };
    const Action longName = [](HostFixture &) {
        HostFixture::store()->addLayer(std::string(80, 'x'));
        HostFixture::rebuild();
        goOn();
    };
    QTest::newRow("duplicate, other rows are still to come")
        << "activateLayer" << pressing(Qt::Key_D, Qt::ControlModifier)
        << "A[a b] B[c group] C[d] A1[a b] C1[d]";
    QTest::newRow("delete layers, and nodes of rows that moved")
        << "activateLayer" << pressing(Qt::Key_Delete) << "B[c group]";
    QTest::newRow("create, names that no row shows yet")
        << "activateLayer" << createTwo << "A[a b] B[c group] C[d] Layer[] Layer1[]";
    QTest::newRow("message while rows are drawn, events are handled")
        << "getAttachment" << longName << "A[a b] B[c group] C[d] " + QString(80, 'x') + "[]";
}

/// A host call of activating A, B/c and C, or of the rebuild before it, does something to the
/// panel.
void tst_Hostile::commandWithinACommand()
{
    QFETCH(QString, call);
    QFETCH(Action, inner);
    QFETCH(QString, stored);
    host->select({ "A", "B/c", "C" });
    host->tree()->setColumnWidth(0, 30);
    bool struck = false;
    const auto endInterception = qScopeGuard([] { mkTrace::setInterceptor({}); });
    mkTrace::setInterceptor([&](const char *name) {
        if (("mkRenderLayer::" + call).toLatin1() == name && !std::exchange(struck, true)) {
            inner(*host);
        }
        return true;
    });
    sending("mkRenderLayerModuleUpdateLayers")(*host);
    host->select({ "A", "B/c", "C" });
    host->clickTool("Activate Layer");
    goOn();
    QVERIFY(struck);
    QCOMPARE(host->stored(), stored);
    QCOMPARE(host->rows(), stored);
    const int width = host->tree()->columnWidth(0);
    host->tree()->resizeColumnToContents(0);
    QVERIFY(host->tree()->columnWidth(0) <= width);
}

HOST_TEST_MAIN(tst_Hostile)
#include "tst_hostile.moc"
