#include "HostFixture.h"

#include <QScopedValueRollback>
#include <QTest>

#include <stdexcept>

/// The host closes the panel, or the program, in the middle of what the plug-in is at.
class tst_Closing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void atEachHostCall();
    void whileDialogsAreOpen();
    void failuresOfUnsubscribing();

private:
    void drop(const QString &path, const QString &format, const QByteArray &bytes) const
    {
        host.drop(host.cell(path, 1).center(), format, bytes);
    }

    HostFixture host;
};

void tst_Closing::init()
{
    if (!host.panel()) {
        host.unloadPlugin();
        host.loadPlugin();
    }
    host.reset();
    host.addLayers();
}

void tst_Closing::atEachHostCall()
{
    const std::function<void()> acts[] = {
        [this] { host.send("sceneLoaded", osg::NullFC, mkMessage::SceneLoaded); },
        [this] { host.click(host.clearButton(host.row("A/a"))); },
        [this] { drop("A/b", host.materialFormat, host.materialPayload("blue")); },
        [this] { drop("A", host.nodeFormat, QByteArray(8, '\1')); },
    };
    for (const bool throwing : { false, true }) {
        for (const auto &act : acts) {
            int calls = 1;
            for (int place = 0; place < calls; ++place) {
                init();
                host.selectInHost({ "d" });
                calls = 0;
                bool closing = false;
                {
                    const Interception interception([&](const char *call) {
                        // Views ask for icons, in the middle of their painting.
                        if (closing || QByteArray(call).startsWith("mkIconManager")
                            || calls++ != place) {
                            return;
                        }
                        const QScopedValueRollback<bool> guard(closing, true);
                        delete host.panel();
                        if (throwing) {
                            throw std::runtime_error("no");
                        }
                    });
                    act();
                }
                host.settle();
                QVERIFY(place >= calls || !host.panel());
            }
        }
    }
}

void tst_Closing::whileDialogsAreOpen()
{
    using Closing = std::function<void(QWidget *)>;
    const Closing panel = [this](QWidget *) { delete host.panel(); };
    const Closing dock = [this](QWidget *) { delete host.panel()->parentWidget(); };
    const Closing dialog = [](QWidget *modal) { delete modal; };
    const Closing allButDialog = [this](QWidget *modal) {
        modal->setParent(nullptr);
        delete host.panel();
    };
    const auto check = [this](const std::function<void()> &ask,
                              const std::vector<Closing> &closings) {
        for (const Closing &closing : closings) {
            init();
            host.select({ "C", "B/c" });
            const ModalAnswers answers([&](QWidget *modal) {
                const QPointer<QWidget> left = modal;
                closing(modal);
                if (left) {
                    ModalAnswers::agree(left);
                }
            });
            ask();
            QCOMPARE(answers.count(), 1);
            QCOMPARE(host.stored(), "A[a b] B[c d] C[a e]");
            QCOMPARE(host.values(host.attributes(1, "c")), "11111111110 Empty");
            // What is left answers to nothing.
            host.send("materialRenamed", host.material("red"), mkMessage::SceneMerged);
            host.rebuild();
        }
    };
    check([this] { host.clickTool("Delete"); }, { panel, dock, dialog, allButDialog });
    check([this] { host.action("Apply Attributes to Selected ...")->trigger(); }, { panel, dock });
    host.selectInHost({ "scene" });
    check(
        [this] {
            host.selectInHost({ "scene" });
            drop("B", host.nodeFormat, QByteArray(8, '\1'));
        },
        { panel, dock });
}

/// Else messages would be delivered to a library that is gone.
void tst_Closing::failuresOfUnsubscribing()
{
    int calls = 0;
    {
        const Interception interception([&calls](const char *call) {
            if (strcmp(call, "mkController::subCB") == 0) {
                ++calls;
                throw std::runtime_error("no");
            }
        });
        host.unloadPlugin();
    }
    host.loadPlugin();
    QCOMPARE(calls, 3);
}

HOST_TEST_MAIN(tst_Closing)
#include "tst_closing.moc"
