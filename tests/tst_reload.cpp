#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkKernelServices/mkdMaterial.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkShortcut/mkShortcut.h"
#include "mkUtils/mkTrace.h"

#include <QDialog>
#include <QDockWidget>
#include <QLineEdit>
#include <QMenuBar>
#include <QScopeGuard>
#include <QTest>

#include <chrono>
#include <fstream>
#include <future>
#include <optional>
#include <stdexcept>

#include <dlfcn.h>
#include <sys/mman.h>

namespace {

/// Where the plug-in's library lies in memory.
struct Image
{
    QByteArray file;
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

std::optional<Image> loadedPlugin()
{
    std::optional<Image> image;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const auto file = line.find('/');
        if (QByteArray(line.c_str()).endsWith("/mkRenderLayerModule.so")) {
            image = image.value_or(
                Image{ line.substr(file).c_str(), std::stoul(line, nullptr, 16) });
            image->end = std::stoul(line.substr(line.find('-') + 1), nullptr, 16);
        }
    }
    return image;
}

/// Keeps the place of a library that must be unloaded by now closed. Otherwise the next one often
/// comes back to the same address, where pointers that were left behind happen to be right.
void bury(const Image &image)
{
    QVERIFY(!loadedPlugin());
    void *const place = reinterpret_cast<void *>(image.begin);
    QVERIFY(mmap(place, image.end - image.begin, PROT_NONE,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0)
            == place);
}

/// The plug-in's library, loaded, but started only by the test.
struct Library
{
    explicit Library(const QByteArray &file)
        : handle(dlopen(file, RTLD_NOW))
        , initPlugin(reinterpret_cast<void (*)()>(dlsym(handle, "initPlugin")))
        , image(*loadedPlugin())
    {}
    ~Library()
    {
        dlclose(handle);
        bury(image);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void *handle;
    void (*initPlugin)();
    Image image;
};

void sendAllMessages()
{
    for (const char *name : { "materialRenamed", "mkRenderLayerModuleUpdateLayers",
                              "mkTransform::changedTransformation" }) {
        for (const std::uint64_t id : { mkMessage::SceneLoaded, mkMessage::SceneMerged }) {
            mkMessage message(name, id);
            message.set("material", HostFixture::material("red"));
            mkController::sendMessage(message);
        }
    }
    mkController::updateRender(true);
}

} // namespace

/// The plug-in's library comes and goes, and is started more than once.
class tst_Reload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cycles();
    void startsOnce();
    void failedStart();

private:
    QByteArray unload();
    void use(bool leaveOpen);
    QString traces() const;

    HostFixture host;
};

void tst_Reload::init()
{
    if (!host.panel()) {
        host.loadPlugin();
    }
    host.reset();
}

/// Unloads the library; returns its file.
QByteArray tst_Reload::unload()
{
    const Image image = *loadedPlugin();
    host.unloadPlugin();
    bury(image);
    return image.file;
}

/// A short session. With `leaveOpen` the menu and an inline rename stay open.
void tst_Reload::use(bool leaveOpen)
{
    host.addLayer("A", { "a", "b" });
    host.rebuild();
    host.action("Create Layer")->trigger();
    QCOMPARE(host.rows(), "A[a b] Layer[]");

    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << mkdMaterial("red");
    host.drop(host.cell("A/b", 0).center(), "application/mosk-decoupled-materials", bytes);
    host.select({ "A/b" });
    ModalAnswers answers([](QWidget *modal) { qobject_cast<QDialog *>(modal)->accept(); });
    host.action("Apply Attributes to Selected ...")->trigger();
    QCOMPARE(answers.count(), 1);
    QCOMPARE(host.values(host.attributes(0, "b")), "00000000000 red");

    host.openMenu("A/b");
    if (!leaveOpen) {
        host.closeMenu();
    }
    host.select({ "A" });
    host.action("Rename Layer")->trigger();
    QVERIFY(host.tree()->findChild<QLineEdit *>());
    if (!leaveOpen) {
        host.key(Qt::Key_Escape);
    }
    QCoreApplication::processEvents();
}

/// What the plug-in can leave behind in the host.
QString tst_Reload::traces() const
{
    int entries = 0;
    for (const QAction *menu : host.window()->menuBar()->actions()) {
        entries += menu->menu()->actions().size();
    }
    const auto docks = host.window()->findChild<QMKDockWindowManager *>()->getDockWidgets().size();
    return QString("%1 modules, %2+%3 docks, %4 menu entries, %5 keys, %6 objects, %7 widgets, "
                   "%8 containers")
        .arg(mkController::getModules().size())
        .arg(docks)
        .arg(host.window()->findChildren<QDockWidget *>().size())
        .arg(entries)
        .arg(mkShortcut::getKeys().size())
        .arg(host.window()->findChildren<QObject *>().size()
             + qApp->findChildren<QObject *>().size())
        .arg(QApplication::allWidgets().size())
        .arg(osg::FieldContainerFactory::the()->size());
}

void tst_Reload::cycles()
{
    QString expected;
    QVERIFY(QMetaType::type("QAction*") != QMetaType::UnknownType);
    for (int cycle = 0; cycle < 100; ++cycle) {
        init();
        use(cycle % 2 == 1);
        unload();
        sendAllMessages();
        for (int type = QMetaType::User; QMetaType::isRegistered(type); ++type) {
            QMetaType::destroy(type, QMetaType::create(type));
        }
        if (cycle == 0) {
            expected = traces();
            QVERIFY2(expected.startsWith("0 modules, 0+0 docks, 0 menu entries, 7 keys"),
                     qPrintable(expected));
        }
        QCOMPARE(traces(), expected);
    }
}

void tst_Reload::startsOnce()
{
    const Library library(unload());
    // A second thread calls while the first is in the middle of it.
    std::future<void> second;
    std::future_status atOnce{};
    mkTrace::setInterceptor([&](const char *call) {
        if (qstrcmp(call, "QMKDockWindowManager::add") == 0) {
            second = std::async(std::launch::async, library.initPlugin);
            atOnce = second.wait_for(std::chrono::milliseconds(20));
        }
    });
    library.initPlugin();
    mkTrace::setInterceptor({});
    QCOMPARE(atOnce, std::future_status::timeout);
    second.get();
    library.initPlugin();
    QVERIFY(traces().startsWith("1 modules, 1+1 docks, 1 menu entries, 7 keys"));
    QCOMPARE(host.window()->findChildren<QWidget *>("Module").size(), 1);
    delete host.panel();
}

void tst_Reload::failedStart()
{
    const QByteArray file = unload();
    const QString nothing = traces();
    int failing = 0;
    for (bool failed = true; failed; ++failing) {
        for (const bool retry : { false, true }) {
            const Library library(file);
            int calls = 0;
            mkTrace::setInterceptor([&](const char *) {
                if (calls++ == failing) {
                    throw std::runtime_error("hostile");
                }
            });
            const auto restore = qScopeGuard([] { mkTrace::setInterceptor({}); });
            try {
                library.initPlugin();
                failed = false;
            } catch (const std::runtime_error &) {
                QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
                QCOMPARE(traces(), nothing);
            }
            if (retry) {
                library.initPlugin();
            }
            if (retry || !failed) {
                QVERIFY(traces().startsWith("1 modules, 1+1 docks, 1 menu entries, 7 keys"));
                delete host.panel();
            }
        }
        sendAllMessages();
    }
    QVERIFY(failing > 20);
}

HOST_TEST_MAIN(tst_Reload)
#include "tst_reload.moc"
