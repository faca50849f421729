#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkMaterials.h"

#include <QDropEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScopeGuard>
#include <QTest>

#include <iostream>
#include <sstream>

namespace {

using Payload = std::map<QString, QByteArray>;

const QByteArray nodeBytes = QByteArray::fromHex("0000000100000000");
const char *const untouched = "11111111110 Empty";

/// What is written to the standard error stream while this lives.
class ErrorStream
{
public:
    ErrorStream()
        : previous(std::cerr.rdbuf(text.rdbuf()))
    {}
    ~ErrorStream() { std::cerr.rdbuf(previous); }
    QString read() const { return QString::fromStdString(text.str()); }

private:
    std::ostringstream text;
    std::streambuf *previous;
};

} // namespace

/// Scene nodes and materials dropped on the tree.
class tst_Drop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void acceptance();
    void nodes();
    void nodePayloads();
    void rootIsRefused();
    void materials();
    void materialIsAnnounced();
    void materialPayloads();
    void rowsWithoutAttributes();

private:
    template <typename Event>
    Event send(const Payload &payload, const QString &path);
    void drop(const Payload &payload, const QString &path);

    HostFixture host;
    int narrow = 0;
};

void tst_Drop::init()
{
    host.reset();
    host.addLayer("A", { "d", "e" });
    host.addLayer("B");
    host.addLayer("C", {}, false);
    host.rebuild();
    host.tree()->setColumnWidth(0, 1);
    narrow = host.tree()->columnWidth(0);
}

/// Over a row, or over empty space for an empty path.
template <typename Event>
Event tst_Drop::send(const Payload &payload, const QString &path)
{
    QMimeData data;
    for (const auto &format : payload) {
        data.setData(format.first, format.second);
    }
    const QPoint point = path.isEmpty() ? host.emptySpace() : host.cell(path, 1).center();
    Event event(point, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    event.setDropAction(Qt::MoveAction);
    QApplication::sendEvent(host.tree()->viewport(), &event);
    return event;
}

void tst_Drop::drop(const Payload &payload, const QString &path)
{
    // Whatever is dropped in the end, a drag that was accepted must have come before.
    send<QDragEnterEvent>({ { host.nodeFormat, nodeBytes } }, path);
    const auto event = send<QDropEvent>(payload, path);
    // Drops arrive unanswered, and so they stay.
    QVERIFY(!event.isAccepted() && event.dropAction() == Qt::MoveAction);
}

void tst_Drop::acceptance()
{
    const auto check = [this](const QStringList &formats, bool accepted) {
        Payload payload;
        for (const QString &format : formats) {
            payload[format];
        }
        for (const char *path : { "A", "A/e", "C", "" }) {
            const auto enter = send<QDragEnterEvent>(payload, path);
            QCOMPARE(enter.isAccepted(), accepted);
            QCOMPARE(enter.dropAction(), accepted ? Qt::CopyAction : Qt::MoveAction);
            // Moves are delivered only after an accepted enter.
            send<QDragEnterEvent>({ { host.nodeFormat, nodeBytes } }, path);
            QCOMPARE(send<QDragMoveEvent>(payload, path).isAccepted(), accepted);
        }
    };
    check({ host.nodeFormat }, true);
    check({ "text/plain", host.materialFormat }, true);
    check({ "text/plain", "application/x-qabstractitemmodeldatalist" }, false);
    check({}, false);
}

void tst_Drop::nodes()
{
    const auto check = [this](const QStringList &selection, const Payload &payload,
                              const QString &path, const QString &done,
                              const QString &rows = "A[d e] B[] C[]") {
        init();
        host.selectInHost(selection);
        const HostCalls calls;
        drop(payload, path);
        QString expected = done;
        if (!path.isEmpty()) {
            expected += done.isEmpty() ? "setModified(1)" : " setModified(1)";
        }
        QCOMPARE(calls.commands(), expected);
        QCOMPARE(host.rows(), rows);
        QCOMPARE(host.stored(), rows);
        QCOMPARE(host.values(host.attributes(0, "e")), untouched);
        QCOMPARE(host.tree()->columnWidth(0) > narrow, !path.isEmpty());
    };
    const Payload plain{ { host.nodeFormat, nodeBytes } };
    Payload both{ { host.nodeFormat, nodeBytes },
                  { host.materialFormat, host.materialPayload("red") } };
    check({ "b", "a" }, plain, "C", "addNode(2, b) addNode(2, a) rebuild", "A[d e] B[] C[b a]");
    check({ "b", "a" }, both, "B", "addNode(1, b) addNode(1, a) rebuild", "A[d e] B[b a] C[]");
    check({ "d" }, plain, "A", "addNode(0, d) rebuild");
    check({ "g1", "group" }, plain, "B", "addNode(1, group) rebuild", "A[d e] B[group] C[]");
    check({}, plain, "B", "rebuild");
    check({ "a" }, both, "A/e", "");
    check({ "a" }, both, "", "");
    check({ "a" }, { { "text/plain", "a" } }, "B", "");
    // A drag of no nodes, though of more.
    both[host.nodeFormat] = QByteArray::fromHex("0000000000000005");
    check({ "a" }, both, "B", "");
    check({ "a" }, both, "A/e", "");
}

void tst_Drop::nodePayloads()
{
    host.selectInHost({ "a" });
    // A field that the payload is too short for reads as 0.
    const QByteArray bytes = QByteArray::fromHex("ffffff00ffffffff0102030405060708");
    for (int length = 0; length <= bytes.size(); ++length) {
        const HostCalls calls;
        drop({ { host.nodeFormat, bytes.left(length) } }, "C");
        QCOMPARE(calls.count("mkRenderLayer::addNode"), length < 4 ? 0 : 1);
    }
}

void tst_Drop::rootIsRefused()
{
    host.selectInHost({ "scene" });
    const ModalAnswers answers([](QWidget *modal) {
        auto *const box = qobject_cast<QMessageBox *>(modal);
        const auto ok = qScopeGuard([box] { ModalAnswers::agree(box); });
        const QString shown = box->windowTitle() + '|' + box->text() + '|'
                              + box->button(QMessageBox::Ok)->text().remove('&');
        QCOMPARE(shown, QStringLiteral("Render Layer|Adding the root node is not allowed!|OK"));
        QCOMPARE(box->buttons().size(), 1);
        QCOMPARE(box->icon(), QMessageBox::Warning);
        QVERIFY(!box->parent());
    });
    const HostCalls calls;
    drop({ { host.nodeFormat, nodeBytes } }, "B");
    QCOMPARE(answers.count(), 1);
    QCOMPARE(calls.commands(), QStringLiteral("setModified(1)"));
}

void tst_Drop::materials()
{
    const auto check = [this](const QString &path, bool used) {
        init();
        host.flag(host.attributes(0, "e"), 11) = used;
        // The row learns of other edits of the store with the drop.
        host.rebuild();
        host.flag(host.attributes(0, "e"), 2) = false;
        const ErrorStream errors;
        const HostCalls calls;
        drop({ { host.materialFormat, host.materialPayload("blue") + "ignored" } }, path);
        const bool node = path == "A/e";
        const QString expected = QString("1011111111") + (used ? '1' : '0')
                                 + (node ? " blue" : " Empty");
        QCOMPARE(host.values(host.attributes(0, "e")), expected);
        QVERIFY(!node || host.cells(path) == expected);
        QCOMPARE(calls.lines({ "mkRenderLayer::setAttributes", "mkRenderLayer::isEmpty" }).size(),
                 0);
        QCOMPARE(mkController::isModified(), !path.isEmpty());
        QCOMPARE(errors.read(), QString());
        QCOMPARE(host.tree()->columnWidth(0) > narrow, !path.isEmpty());
    };
    check("A/e", false);
    check("A/e", true);
    check("A", false);
    check("", false);
}

void tst_Drop::materialIsAnnounced()
{
    const Announcements announced(host.attributes(0, "d"));
    drop({ { host.materialFormat, host.materialPayload("red") } }, "A/d");
    using Attributes = osg::RaytracingGeoAttachmentBase;
    const std::vector<osg::ChangeList::Entry> expected{ { host.attributes(0, "d"),
                                                          Attributes::OverrideMaterialFieldMask },
                                                        { host.material("red"), osg::AllFields } };
    QVERIFY(announced.list.getChanged() == expected);
    QCOMPARE(announced.lines.size(), 1);
    QVERIFY(announced.lines.first().startsWith("11111111110 red ")
            && !announced.lines.first().endsWith('?'));
}

void tst_Drop::materialPayloads()
{
    mkMaterials::addMaterial(osg::Material::create());
    const QByteArray bytes = host.materialPayload("red");
    std::vector<QByteArray> payloads{ host.materialPayload("deleted"), host.materialPayload(""),
                                      QByteArray("\xff\xff\xff\xff\x00\x00", 6) };
    for (int length = 0; length < bytes.size(); ++length) {
        payloads.push_back(bytes.left(length));
    }
    for (const QByteArray &payload : payloads) {
        mkController::setModified(0);
        const ErrorStream errors;
        drop({ { host.materialFormat, payload } }, "A/d");
        QCOMPARE(errors.read(), QStringLiteral("ERROR dropped\n"));
        QCOMPARE(host.cells("A/d"), untouched);
        QVERIFY(mkController::isModified());
    }
}

void tst_Drop::rowsWithoutAttributes()
{
    const auto check = [this](const char *row,
                              const std::function<void(osg::RenderLayer &)> &lose) {
        init();
        const osg::RenderLayerPtr layer = host.store()->getAttachment()->getLayer(0);
        lose(*layer);
        drop({ { host.materialFormat, host.materialPayload("red") } }, row);
        QCOMPARE(host.cells(row), untouched);
        QVERIFY(mkController::isModified());
    };
    check("A/e", [this](auto &layer) { layer.replaceAttributes(host.node("e"), osg::NullFC); });
    check("A/e",
          [this](auto &layer) { layer.replaceAttributes(host.node("e"), osg::Group::create()); });
    check("A/e", [this](auto &) {
        for (const char *name : { "A", "B", "C" }) {
            host.store()->subLayer(name);
        }
    });
    // The layer at the row's place is now empty.
    check("A/d", [this](auto &) { host.store()->subLayer("A"); });
    // The attributes at the row's place are now those of the next node.
    check("A/d", [this](auto &) { host.kill("d"); });
    QCOMPARE(host.values(host.attributes(0, "e")), untouched);
}

HOST_TEST_MAIN(tst_Drop)
#include "tst_drop.moc"
