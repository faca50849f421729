#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkUtils/mkTrace.h"

#include <QLineEdit>
#include <QScopeGuard>
#include <QScopedValueRollback>
#include <QTest>

#include <stdexcept>

namespace {

using Action = std::function<void(HostFixture &)>;

/// Something that the plug-in is asked to do with these rows selected, and these nodes in the host.
struct Command
{
    const char *name;
    QStringList selection;
    Action run;
    QStringList nodes = { "d", "e" };
};

/// What the host does when it is called.
struct Attack
{
    const char *name;
    std::function<void()> strike;
    /// Once more for every later call.
    bool lasting;
};

Action choosing(const QString &action)
{
    return [action](HostFixture &host) { host.action(action)->trigger(); };
}

Action pressing(int key)
{
    return [key](HostFixture &host) {
        host.key(key, key == Qt::Key_Delete ? Qt::NoModifier : Qt::ControlModifier);
    };
}

Action renaming(const QString &name)
{
    return [name](HostFixture &host) {
        host.key(Qt::Key_F2);
        host.type(name);
    };
}

Action clickingTool(const QString &text)
{
    return [text](HostFixture &host) { host.clickTool(text); };
}

Action expanding(const char *layer, bool open)
{
    return [layer, open](HostFixture &host) { host.row(layer)->setExpanded(open); };
}

Action sending(const std::string &name, std::uint64_t id = 0)
{
    return [name, id](HostFixture &) {
        HostFixture::send(name, mkMaterials::getMaterials().front(), id);
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

void dropNodes(HostFixture &host)
{
    host.drop(host.cell("B", 1).center(), host.nodeFormat, QByteArray(8, '\1'));
}

void dropMaterial(HostFixture &host)
{
    host.drop(host.cell("A/b", 1).center(), host.materialFormat, host.materialPayload("blue"));
}

/// The first four ask something.
std::vector<Command> commands()
{
    return {
        { "rename, duplicate", { "A" }, renaming("B") },
        { "confirmed delete", { "C", "B/c" }, clickingTool("Delete") },
        { "drop the root", {}, dropNodes, { "scene" } },
        { "apply attributes", { "A", "B/c" }, choosing("Apply Attributes to Selected ...") },
        { "create layer", {}, choosing("Create Layer") },
        { "rename", { "A" }, renaming("new") },
        { "duplicate", { "A", "B" }, pressing(Qt::Key_D) },
        { "delete", { "B", "A/a", "A/b" }, pressing(Qt::Key_Delete) },
        { "move node", { "A/b" }, pressing(Qt::Key_Up) },
        { "move nodes", { "A/a", "B/c" }, pressing(Qt::Key_Down) },
        { "move layers", { "B", "C" }, pressing(Qt::Key_Up) },
        { "select node", { "A/b" }, choosing("Select Nodes") },
        { "select nodes", { "A/b", "B" }, choosing("Select Nodes") },
        { "add nodes", { "A/b", "C" }, choosing("Add Selected Nodes") },
        { "cleanup", {}, choosing("Cleanup") },
        { "clear materials", { "A/a", "A/b" }, choosing("Clear Override Material") },
        { "toggle", {}, [](HostFixture &host) { host.doubleClick("A/b", 3); } },
        { "clear", {}, [](HostFixture &host) { host.click(host.clearButton(host.row("A/a"))); } },
        { "expand", {}, expanding("C", true) },
        { "collapse", {}, expanding("A", false) },
        { "drop nodes", {}, dropNodes },
        { "drop material", {}, dropMaterial },
        { "activate", { "A", "B/c" }, clickingTool("Activate Layer") },
        { "reset", {}, clickingTool("Reset Layer") },
        { "paint", {}, [](HostFixture &host) { host.tree()->viewport()->grab(); } },
        { "update message", {}, sending("mkRenderLayerModuleUpdateLayers") },
        { "material message", {}, sending("materialRenamed") },
        { "transform message", {}, sending("mkTransform::changedTransformation") },
        { "merge message", {}, sending("sceneMerged", mkMessage::SceneMerged) },
        { "script: create", {}, running("createRenderLayer('X')") },
        { "script: add", {}, running("addNodesToRenderLayer(mkHost.getSelectedNodes(), 'A')") },
        { "script: set flags",
          {},
          running("setNodeVisibilityFlags(mkHost.findNode('c'), *[True] * 11, 'red')") },
        { "script: reset flags",
          {},
          running("resetNodeVisibilityFlags(mkHost.findNode('group'))") },
        { "script: activate", {}, running("activateRenderLayer('A')") },
        { "script: reset", {}, running("resetRenderLayers()") },
        { "script: restore", {}, running("activateRenderLayerState('s')") },
    };
}

std::vector<Attack> attacks()
{
    const auto rebuild = [] { HostFixture::rebuild(); };
    const auto dropLayer = [] { HostFixture::store()->subLayer("A"); };
    const auto dropAndTell = [dropLayer, rebuild] {
        HostFixture::store()->subLayer("B");
        dropLayer();
        rebuild();
    };
    return {
        { "throws", [] { throw std::runtime_error("no"); }, false },
        { "keeps throwing oddly", [] { throw 1; }, true },
        { "keeps rebuilding", rebuild, true },
        { "drops a layer", dropLayer, false },
        { "drops layers and tells", dropAndTell, false },
    };
}

} // namespace

Q_DECLARE_METATYPE(Command)

/// A host that fails, has no scene, or calls back while the panel is at work.
class tst_Hostile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void eachCallOfEachCommand_data();
    void eachCallOfEachCommand();
    void withoutScene();
    void messageWhileNameIsTyped();
    void messageRightAfterEditorOpened();
    void whileDialogsAreOpen();
    void commandWithinACommand();
    void messageWhileLayersAreDeleted();

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
    host->select(command.selection);
    host->selectInHost(command.nodes);
    const ModalAnswers answers(ModalAnswers::agree);
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
                    return;
                }
                const int now = calls++;
                if (now < place || (now > place && !attack.lasting) || strchr(call, '~')) {
                    return;
                }
                victim = call;
                const QScopedValueRollback<bool> guard(striking, true);
                thrown = true;
                attack.strike();
                thrown = false;
            });
            const QByteArray story = QByteArray(attack.name) + " at call "
                                     + QByteArray::number(place) + ", " + victim;
            const bool script = QByteArray(command.name).startsWith("script");
            QVERIFY2(ended || (script && !victim.isEmpty()), story);
            QVERIFY2(!thrown || !ended || !log.lines.isEmpty(), story);
            host->settle();
            recovers();
            if (QTest::currentTestFailed()) {
                qWarning("%s: %s", command.name, story.constData());
                return;
            }
        }
    }
}

void tst_Hostile::withoutScene()
{
    mkScenegraph::setScene({});
    host->settle();
    QCOMPARE(host->rows(), QString());
    // The others need rows, nodes or materials.
    const QStringList bare{ "create layer",  "cleanup",        "reset",         "update message",
                            "merge message", "script: create", "script: reset", "script: restore" };
    for (const Command &command : commands()) {
        if (bare.contains(command.name)) {
            try {
                command.run(*host);
            } catch (const std::logic_error &) {
                QCOMPARE(command.name, "script: create");
            }
        }
    }
    init();
    recovers();
}

/// What was typed stays, or goes, but becomes no other layer's name; and no key goes astray.
void tst_Hostile::messageWhileNameIsTyped()
{
    const auto check = [this](const Action &event, bool goesOn, const QString &rows) {
        init();
        host->select({ "A" });
        host->key(Qt::Key_F2);
        QVERIFY(host->editor());
        QTest::keyClicks(host->editor(), "wn");
        QTest::keyClick(host->editor(), Qt::Key_Left);
        event(*host);
        host->settle();
        host->rebuild();
        host->settle();
        QCOMPARE(host->rows(), host->stored());
        QCOMPARE(host->editor() != nullptr, goesOn);
        if (goesOn) {
            QCOMPARE(QApplication::focusWidget(), host->editor());
            QCOMPARE(host->editor()->text(), QStringLiteral("wn"));
            QTest::keyClick(host->editor(), Qt::Key_Backspace);
            QTest::keyClicks(host->editor(), "ne");
            QTest::keyClick(host->editor(), Qt::Key_Delete);
            QTest::keyClicks(host->editor(), "w");
            // The key is on its way when the next message comes.
            QTest::keyClick(host->editor(), Qt::Key_Return);
            host->rebuild();
            host->settle();
            QCOMPARE(host->editor()->text(), QStringLiteral("new"));
            QTest::keyClick(host->editor(), Qt::Key_Return);
            host->settle();
        }
        QCOMPARE(host->rows(), host->stored());
        QCOMPARE(host->rows(), rows);
        QCOMPARE(QApplication::focusWidget(), host->tree());
    };
    check([](HostFixture &) {}, true, "new[a b] B[c group] C[d]");
    check([](HostFixture &with) { with.store()->moveDownLayer(0); }, true,
          "B[c group] new[a b] C[d]");
    check([](HostFixture &with) { with.store()->subLayer("A"); }, false, "B[c group] C[d]");
    check([](HostFixture &with) { with.store()->addLayer("A"); }, false,
          "A[a b] B[c group] C[d] A[]");
    // To another row, and so away from what is typed, which then counts.
    check(running("activateRenderLayer('B')"), false, "wn[a b] B[c group] C[d]");
    QCOMPARE(host->selected(), QStringLiteral("B*"));
    check([](HostFixture &with) { with.click("B", 1); }, false, "wn[a b] B[c group] C[d]");
    QCOMPARE(host->selected(), QStringLiteral("B*"));
}

void tst_Hostile::whileDialogsAreOpen()
{
    const std::vector<Command> all = commands();
    const auto check = [&](const Command &command, const Action &event) {
        init();
        const ModalAnswers answers([&](QWidget *modal) {
            const QPointer<QWidget> dialog = modal;
            event(*host);
            host->rebuild();
            QVERIFY(!host->tree() || host->rows() == host->stored());
            if (dialog) {
                ModalAnswers::agree(dialog);
            }
        });
        host->select(command.selection);
        host->selectInHost(command.nodes);
        command.run(*host);
        QCOMPARE(answers.count(), 1);
        if (!host->tree()) {
            // What is left answers to nothing.
            for (const Command &candidate : all) {
                if (QByteArray(candidate.name).endsWith("message")) {
                    candidate.run(*host);
                }
            }
            return;
        }
        QCOMPARE(host->rows(), host->stored());
        if (host->node("fresh")) {
            QCOMPARE(host->rows(), QStringLiteral("Z[fresh]"));
            QCOMPARE(host->values(host->attributes(0, "fresh")),
                     QStringLiteral("11111111110 Empty"));
        }
        recovers();
    };
    for (int i = 0; i < 4; ++i) {
        check(all[i], [](HostFixture &) {});
        check(all[i], [](HostFixture &with) {
            with.store()->subLayer("A");
            with.store()->subLayer("C");
        });
        check(all[i], [](HostFixture &with) {
            with.reset();
            with.node("e")->setName("fresh");
            with.addLayer("Z", { "fresh" });
        });
        // In the warning about a name Qt itself is at work with the panel, below the slot.
        if (i > 0) {
            check(all[i], [](HostFixture &with) { delete with.panel(); });
            check(all[i], [](HostFixture &with) { delete with.panel()->parentWidget(); });
        }
    }
}

/// The whole name is still selected, and so replaced by what is typed.
void tst_Hostile::messageRightAfterEditorOpened()
{
    init();
    host->select({ "A" });
    host->key(Qt::Key_F2);
    host->rebuild();
    host->settle();
    QTest::keyClicks(host->editor(), "new");
    QTest::keyClick(host->editor(), Qt::Key_Return);
    host->settle();
    QCOMPARE(host->rows(), QStringLiteral("new[a b] B[c group] C[d]"));
}

/// A host call of activating A, B/c and C, or of the rebuild before it, does something to the
/// panel.
void tst_Hostile::commandWithinACommand()
{
    enum Fit { NotFitted, Fitted };
    const auto check = [this](const char *call, const Action &inner, const QString &stored,
                              Fit fit) {
        init();
        host->addLayer("D", { "c" });
        host->rebuild();
        host->select({ "A", "B/c", "C" });
        host->tree()->setColumnWidth(0, 30);
        const int before = host->tree()->columnWidth(0);
        bool struck = false;
        bool rowsKept = false;
        const auto endInterception = qScopeGuard([] { mkTrace::setInterceptor({}); });
        mkTrace::setInterceptor([&](const char *name) {
            if (strcmp(call, name) == 0 && !std::exchange(struck, true)) {
                const QString rows = host->rows();
                inner(*host);
                rowsKept = host->rows() == rows;
            }
        });
        sending("mkRenderLayerModuleUpdateLayers")(*host);
        host->select({ "A", "B/c", "C" });
        host->clickTool("Activate Layer");
        host->settle();
        QVERIFY(struck && rowsKept);
        QCOMPARE(host->stored(), stored);
        QCOMPARE(host->rows(), stored);
        const int width = host->tree()->columnWidth(0);
        host->tree()->resizeColumnToContents(0);
        QCOMPARE(width, fit == Fitted ? host->tree()->columnWidth(0) : before);
    };
    const auto createTwo = [](HostFixture &with) {
        with.action("Create Layer")->trigger();
        with.action("Create Layer")->trigger();
    };
    const auto longName = [](HostFixture &with) {
        with.store()->addLayer(std::string(80, 'x'));
        with.rebuild();
        with.settle();
    };
    const auto sceneRead = [longName](HostFixture &with) {
        longName(with);
        with.send("sceneLoaded", osg::NullFC, mkMessage::SceneLoaded);
    };
    // Other rows are still to come.
    check("mkRenderLayer::activateLayer", pressing(Qt::Key_D),
          "A[a b] B[c group] C[d] D[c] A1[a b] C1[d]", Fitted);
    // Layers go, and nodes of rows that moved.
    check("mkRenderLayer::activateLayer", pressing(Qt::Key_Delete), "B[c group] D[c]", NotFitted);
    // Names that no row shows yet.
    check("mkRenderLayer::activateLayer", createTwo, "A[a b] B[c group] C[d] D[c] Layer[] Layer1[]",
          Fitted);
    // While rows are drawn, and events are handled.
    const QString withLongName = "A[a b] B[c group] C[d] D[c] " + QString(80, 'x') + "[]";
    check("mkRenderLayer::getAttachment", longName, withLongName, NotFitted);
    check("mkRenderLayer::getAttachment", sceneRead, withLongName, Fitted);
}

void tst_Hostile::messageWhileLayersAreDeleted()
{
    const auto tell = [](const char *call) {
        if (strcmp(call, "mkRenderLayer::subLayer") == 0) {
            HostFixture::rebuild();
        }
    };
    QVERIFY(perform({ "delete", { "A", "B/c", "B/group" }, pressing(Qt::Key_Delete) }, tell));
    QCOMPARE(host->stored(), QStringLiteral("B[] C[d]"));
    QCOMPARE(host->rows(), host->stored());
}

HOST_TEST_MAIN(tst_Hostile)
#include "tst_hostile.moc"
