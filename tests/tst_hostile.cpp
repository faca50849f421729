#include "HostFixture.h"

#include "OSGSystem/NFIOBase.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkModuleBase.h"
#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkdMaterial.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkUtils/mkTrace.h"

#include <QDialogButtonBox>
#include <QDropEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScopeGuard>
#include <QScopedValueRollback>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>

#include <stdexcept>
#include <utility>

namespace {

/// Something that the plug-in is asked to do, once `prepare` has made it ready.
struct Command
{
    const char *name;
    std::function<void(HostFixture &)> prepare;
    std::function<void(HostFixture &)> run;
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

void drop(HostFixture &host, const QString &path, const char *format, const QByteArray &bytes)
{
    QMimeData data;
    data.setData(format, bytes);
    QDropEvent event(host.cell(path, 1).center(), Qt::CopyAction, &data, Qt::LeftButton, {});
    QDragEnterEvent enter(event.pos(), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(host.tree()->viewport(), &enter);
    QApplication::sendEvent(host.tree()->viewport(), &event);
}

void rename(HostFixture &host, const QString &name)
{
    host.key(Qt::Key_F2);
    auto *const editor = host.tree()->findChild<QLineEdit *>();
    editor->setText(name);
    QTest::keyClick(editor, Qt::Key_Return);
    QCoreApplication::processEvents();
}

std::function<void(HostFixture &)> selecting(const QStringList &paths)
{
    return [paths](HostFixture &host) { host.select(paths); };
}

std::function<void(HostFixture &)> choosing(const QString &action)
{
    return [action](HostFixture &host) { host.action(action)->trigger(); };
}

std::function<void(HostFixture &)> pressing(int key, Qt::KeyboardModifiers modifiers = {})
{
    return [key, modifiers](HostFixture &host) { host.key(key, modifiers); };
}

std::function<void(HostFixture &)> clickingTool(const QString &text)
{
    return [text](HostFixture &host) {
        for (QAction *action : host.panel()->findChild<QToolBar *>()->actions()) {
            if (action->text() == text) {
                action->trigger();
            }
        }
    };
}

std::function<void(HostFixture &)> sending(const std::string &name, std::uint64_t id = 0)
{
    return [name, id](HostFixture &) {
        mkMessage message(name, id);
        message.set("material", mkMaterials::getMaterials().front());
        mkController::sendMessage(message);
    };
}

std::function<void(HostFixture &)> running(const char *statement)
{
    return [statement](HostFixture &) {
        if (!mkScript::run(statement)) {
            throw std::logic_error("seen by the script");
        }
    };
}

QByteArray materialBytes()
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << mkdMaterial("blue");
    return bytes;
}

void nothing(HostFixture &) {}

std::vector<Command> commands()
{
    const auto dropNodes = [](HostFixture &host) {
        drop(host, "B", "application/mosk-tree-item", QByteArray(8, '\1'));
    };
    const auto dropMaterial = [](HostFixture &host) {
        drop(host, "A/b", "application/mosk-decoupled-materials", materialBytes());
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
        { "rename", selecting({ "A" }), [](HostFixture &host) { rename(host, "new"); } },
        { "rename, duplicate", selecting({ "A" }), [](HostFixture &host) { rename(host, "B"); } },
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
        { "throws oddly", failOddly, false },
        { "keeps throwing", fail, true },
        { "answers nothing", emptyAnswer, false },
        { "has nothing", emptyAnswer, true },
        { "rebuilds", rebuild, false },
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

/// A host that fails, answers with nothing, or calls back while the panel is at work.
class tst_Hostile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void eachCallOfEachCommand_data();
    void eachCallOfEachCommand();
    void hookReportsFailures();
    void whileDialogsAreOpen_data();
    void whileDialogsAreOpen();
    void panelDeletedUnderDialog_data();
    void panelDeletedUnderDialog();
    void construction();

private:
    std::vector<int> placesToStrike(const Command &command);
    void recovers();

    std::unique_ptr<HostFixture> host;
    bool withPython = true;
};

void tst_Hostile::init()
{
    if (!host) {
        // The interpreter cannot be started twice.
        host = std::make_unique<HostFixture>(std::exchange(withPython, false));
    }
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
    QTest::addColumn<int>("index");
    const std::vector<Command> all = commands();
    for (std::size_t i = 0; i < all.size(); ++i) {
        QTest::newRow(all[i].name) << int(i);
    }
}

/// The places of a command's host calls, of each operation the first two.
std::vector<int> tst_Hostile::placesToStrike(const Command &command)
{
    init();
    command.prepare(*host);
    std::vector<int> places;
    std::map<QByteArray, int> seen;
    int place = 0;
    const ModalAnswers answers(agree);
    mkTrace::setInterceptor([&](const char *call) {
        // Nothing leaves a destructor.
        if (++seen[call] <= 2 && !strchr(call, '~')) {
            places.push_back(place);
        }
        ++place;
        return true;
    });
    command.run(*host);
    mkTrace::setInterceptor({});
    return places;
}

void tst_Hostile::eachCallOfEachCommand()
{
    QFETCH(int, index);
    const Command command = commands()[std::size_t(index)];
    const auto endInterception = qScopeGuard([] { mkTrace::setInterceptor({}); });
    const std::vector<int> places = placesToStrike(command);
    for (const Attack &attack : attacks()) {
        for (const int place : places) {
            init();
            command.prepare(*host);
            const ModalAnswers answers(agree);
            const LogLines log;
            int calls = 0;
            bool striking = false;
            bool thrown = false;
            QByteArray victim;
            mkTrace::setInterceptor([&](const char *call) {
                if (striking) {
                    return true;
                }
                const int now = calls++;
                if (now < place || (now > place && !attack.lasting) || strchr(call, '~')) {
                    return true;
                }
                victim = call;
                const QScopedValueRollback<bool> guard(striking, true);
                // The host makes attachments for itself, too.
                const bool own = !command.script && victim == "RaytracingGeoAttachment::create";
                thrown = true;
                const bool answer = attack.strike() || own;
                thrown = false;
                return answer;
            });
            bool left = false;
            try {
                command.run(*host);
            } catch (...) {
                left = true;
            }
            mkTrace::setInterceptor({});
            const QByteArray story = QByteArray(attack.name) + " at call "
                                     + QByteArray::number(place) + ", " + victim;
            QVERIFY2(!left || (command.script && !victim.isEmpty()), story);
            QVERIFY2(!thrown || left || !log.lines.isEmpty(), story);
            QCoreApplication::processEvents();
            recovers();
            if (QTest::currentTestFailed()) {
                qWarning("%s: %s", command.name, story.constData());
                return;
            }
        }
    }
}

void tst_Hostile::hookReportsFailures()
{
    for (const std::uint64_t id : { mkMessage::SceneLoaded, mkMessage::SceneMerged }) {
        const LogLines log;
        mkTrace::setInterceptor([](const char *call) -> bool {
            if (!qstrcmp(call, "NFIOBase::getFieldContainerMap")) {
                throw 1;
            }
            return true;
        });
        sending("sceneRead", id)(*host);
        mkTrace::setInterceptor({});
        QCOMPARE(log.lines,
                 QStringList("mkRenderLayerModule::receivedMessage : An unknown exception "
                             "occurred!"));
    }
    recovers();
}

void tst_Hostile::whileDialogsAreOpen_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QString>("event");
    for (const char *command :
         { "rename, duplicate", "confirmed delete", "drop the root", "apply attributes" }) {
        for (const char *event : { "message", "layers gone", "new scene" }) {
            QTest::addRow("%s, %s", command, event) << QByteArray(command) << QString(event);
        }
    }
}

void tst_Hostile::whileDialogsAreOpen()
{
    QFETCH(QByteArray, command);
    QFETCH(QString, event);
    const ModalAnswers answers([&](QWidget *modal) {
        if (event == "layers gone") {
            host->store()->subLayer("A");
            host->store()->subLayer("C");
        } else if (event == "new scene") {
            host->reset();
            host->addLayer("Z", { "e" });
        }
        host->rebuild();
        QCOMPARE(host->rows(), host->stored());
        agree(modal);
    });
    for (const Command &candidate : commands()) {
        if (candidate.name == command) {
            candidate.prepare(*host);
            candidate.run(*host);
        }
    }
    QCOMPARE(answers.count(), 1);
    QCOMPARE(host->rows(), host->stored());
    if (event == "new scene") {
        QCOMPARE(host->rows(), QStringLiteral("Z[e]"));
        QCOMPARE(host->values(host->attributes(0, "e")), QStringLiteral("11111111110 Empty"));
    }
    recovers();
}

void tst_Hostile::panelDeletedUnderDialog_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QString>("victim");
    // Not the warning about a name: there Qt itself is at work on the row, below the slot.
    for (const char *command : { "confirmed delete", "drop the root", "apply attributes" }) {
        for (const char *victim : { "panel", "dock" }) {
            QTest::addRow("%s, %s", command, victim) << QByteArray(command) << QString(victim);
        }
    }
}

void tst_Hostile::panelDeletedUnderDialog()
{
    QFETCH(QByteArray, command);
    QFETCH(QString, victim);
    const QPointer<QTreeWidget> tree = host->tree();
    const ModalAnswers answers([&](QWidget *modal) {
        const QPointer<QWidget> dialog = modal;
        delete (victim == "panel" ? host->panel() : host->panel()->parentWidget());
        if (dialog) {
            agree(dialog);
        }
    });
    for (const Command &candidate : commands()) {
        if (candidate.name == command) {
            candidate.prepare(*host);
            candidate.run(*host);
        }
    }
    QCOMPARE(answers.count(), 1);
    QVERIFY(!tree);
    // What is left answers to nothing.
    for (const Command &candidate : commands()) {
        if (QByteArray(candidate.name).endsWith("message")) {
            candidate.run(*host);
        }
    }
    host.reset();
}

/// Whatever fails while the module is made, the host hears of it, and the next try succeeds.
void tst_Hostile::construction()
{
    host.reset();
    const QTemporaryDir directory;
    const auto endInterception = qScopeGuard([] { mkTrace::setInterceptor({}); });
    for (int position = 0, calls = 1; position < calls; ++position) {
        QMainWindow window;
        mkController::setMainWindow(&window);
        new QMKDockWindowManager(&window);
        mkScenegraph::newScene("empty");
        // A library that failed stays loaded, so that each try needs a library of its own.
        const QString file = directory.filePath(QString("plugin%1.so").arg(position));
        QVERIFY(QFile::copy(HostFixture::pluginFile(), file));
        mkPluginLoader failing;
        QVERIFY(failing.load(file));
        const LogLines log;
        calls = 0;
        mkTrace::setInterceptor([&](const char *) {
            if (calls++ == position) {
                throw std::runtime_error("no room");
            }
            return true;
        });
        failing.initAll();
        mkTrace::setInterceptor({});
        const bool failed = position < calls;
        QCOMPARE(failing.getNames().isEmpty(), failed);
        QCOMPARE(log.lines.size(), failed ? 1 : 0);
        mkPluginLoader loader;
        if (failed) {
            QVERIFY(window.findChildren<QTreeWidget *>().isEmpty());
            QVERIFY(loader.load(file));
            loader.initAll();
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(window.findChildren<QTreeWidget *>().size(), 1);
        QCOMPARE(window.findChildren<QDockWidget *>().size(), 1);
        HostFixture::store()->addLayer("A");
        HostFixture::rebuild();
        QCOMPARE(window.findChild<QTreeWidget *>()->topLevelItemCount(), 1);
        qDeleteAll(window.findChildren<QWidget *>("Module"));
        loader.unloadAll();
        failing.unloadAll();
    }
}

HOST_TEST_MAIN(tst_Hostile)
#include "tst_hostile.moc"
