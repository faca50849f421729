#include "HostFixture.h"

#include <QScopedValueRollback>
#include <QTest>

#include <stdexcept>

/// The host closes the panel, or changes the scene, in the middle of what the plug-in is at.
class tst_Interrupted : public QObject
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

void tst_Interrupted::init()
{
    if (!host.panel()) {
        host.unloadPlugin();
        host.loadPlugin();
    }
    host.reset();
    host.addLayers();
}

void tst_Interrupted::atEachHostCall()
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

void tst_Interrupted::whileDialogsAreOpen()
{
    struct Event
    {
        std::function<void(QWidget *dialog)> happen;
        QString stored;
        const char *layer = "B";
    };
    const QString before = "A[a b] B[c d] C[a e]";
    const Event loseLayers{ [this](QWidget *) {
                               host.store()->subLayer("A");
                               host.store()->subLayer("C");
                               host.rebuild();
                           },
                            "B[c d]" };
    const Event openScene{ [this](QWidget *) {
                              host.reset();
                              host.addLayer("Z", { "e" });
                              host.rebuild();
                          },
                           "Z[e]", "Z" };
    const Event closePanel{ [this](QWidget *) { delete host.panel(); }, before };
    const Event closeDock{ [this](QWidget *) { delete host.panel()->parentWidget(); }, before };
    const Event closeDialog{ [](QWidget *dialog) { delete dialog; }, before };
    const Event closeAllButDialog{ [this](QWidget *dialog) {
                                      dialog->setParent(nullptr);
                                      delete host.panel();
                                  },
                                   before };
    const auto check = [this](const std::function<void()> &ask, const std::vector<Event> &events) {
        for (const Event &event : events) {
            init();
            host.select({ "C", "B/c" });
            const ModalAnswers answers([&](QWidget *modal) {
                const QPointer<QWidget> dialog = modal;
                event.happen(modal);
                QVERIFY(!host.panel() || host.rows() == host.stored());
                if (dialog) {
                    ModalAnswers::agree(dialog);
                }
            });
            ask();
            host.settle();
            QCOMPARE(answers.count(), 1);
            QCOMPARE(host.stored(), event.stored);
            const auto layer = host.store()->getAttachment()->findLayer(event.layer);
            QCOMPARE(host.values(osg::RaytracingGeoAttachmentPtr(layer->getAttributes()[0])),
                     "11111111110 Empty");
            // What is left of a panel answers to nothing.
            host.send("materialRenamed", host.material("red"), mkMessage::SceneMerged);
            host.rebuild();
            QVERIFY(!host.panel() || host.rows() == host.stored());
        }
    };
    check([this] { host.clickTool("Delete"); },
          { loseLayers, openScene, closePanel, closeDock, closeDialog, closeAllButDialog });
    check([this] { host.action("Apply Attributes to Selected ...")->trigger(); },
          { loseLayers, openScene, closePanel, closeDock });
    check(
        [this] {
            host.selectInHost({ "scene" });
            drop("B", host.nodeFormat, QByteArray(8, '\1'));
        },
        { loseLayers, openScene, closePanel, closeDock });
    // Qt itself is at work with the panel below this slot.
    check(
        [this] {
            host.select({ "A" });
            host.key(Qt::Key_F2);
            host.type("B");
        },
        { loseLayers, openScene });
}

/// Else messages would be delivered to a library that is gone.
void tst_Interrupted::failuresOfUnsubscribing()
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

QTEST_MAIN(tst_Interrupted)
#include "tst_interrupted.moc"
