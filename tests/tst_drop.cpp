#include "HostFixture.h"

#include "mkKernel/mkController.h"

#include <QDropEvent>
#include <QMimeData>
#include <QTest>

#include <iostream>
#include <sstream>

using Payload = std::map<QString, QByteArray>;

/// Scene nodes and materials dropped on the tree. Payloads of all kinds are the fuzzers'.
class tst_Drop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void acceptance();
    void drops();
    void materialIsAnnounced();

private:
    template <typename Event>
    Event send(const Payload &payload, const QString &path);

    HostFixture host;
    const Payload nodes{ { host.nodeFormat, QByteArray::fromHex("0000000100000000") } };
    const Payload red{ { host.materialFormat, host.materialPayload("red") } };
};

void tst_Drop::init()
{
    host.reset();
    host.addLayers();
    host.selectInHost({ "e", "c" });
    host.tree()->setColumnWidth(0, 1);
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

void tst_Drop::acceptance()
{
    const auto check = [this](const Payload &payload, bool accepted) {
        for (const char *path : { "A", "A/b", "" }) {
            const auto enter = send<QDragEnterEvent>(payload, path);
            QCOMPARE(enter.isAccepted(), accepted);
            QCOMPARE(enter.dropAction(), accepted ? Qt::CopyAction : Qt::MoveAction);
            // Moves are delivered only after an accepted enter.
            send<QDragEnterEvent>(nodes, path);
            QCOMPARE(send<QDragMoveEvent>(payload, path).isAccepted(), accepted);
        }
    };
    check(nodes, true);
    check({ { "text/plain", "" }, *red.begin() }, true);
    check({ { "text/plain", "" }, { "application/x-qabstractitemmodeldatalist", "" } }, false);
    check({}, false);
}

void tst_Drop::drops()
{
    std::ostringstream errors;
    std::streambuf *const previous = std::cerr.rdbuf(errors.rdbuf());
    const auto check = [&](const Payload &payload, const QString &path, const QString &done) {
        init();
        const int narrow = host.tree()->columnWidth(0);
        errors.str({});
        // Whatever is dropped in the end, a drag that was accepted must have come before.
        send<QDragEnterEvent>(nodes, path);
        const HostCalls calls;
        const auto event = send<QDropEvent>(payload, path);
        // Drops arrive unanswered, and so they stay.
        QVERIFY(!event.isAccepted() && event.dropAction() == Qt::MoveAction);
        QCOMPARE(calls.commands() + QString::fromStdString(errors.str()), done);
        QCOMPARE(host.rows(), host.stored());
        QCOMPARE(host.tree()->columnWidth(0) > narrow, !path.isEmpty());
    };
    Payload both = nodes;
    both.insert(*red.begin());
    check(both, "C", "addNode(2, e) addNode(2, c) rebuild setModified(1)");
    check(both, "A/b", "setModified(1)");
    check(both, "", "");
    check({ { "text/plain", "a" } }, "B", "setModified(1)");
    check(red, "A/b", "setModified(1) setModified(1)");
    check(red, "", "");
    check({ { host.materialFormat, "" } }, "A/b", "setModified(1)ERROR dropped\n");
    std::cerr.rdbuf(previous);
}

void tst_Drop::materialIsAnnounced()
{
    const osg::RaytracingGeoAttachmentPtr attributes = host.attributes(0, "b");
    const Announcements announced(attributes);
    send<QDragEnterEvent>(nodes, "A/b");
    send<QDropEvent>(red, "A/b");
    const std::vector<osg::ChangeList::Entry> expected{
        { attributes, osg::RaytracingGeoAttachmentBase::OverrideMaterialFieldMask },
        { host.material("red"), osg::AllFields }
    };
    QVERIFY(announced.list.getChanged() == expected);
    QVERIFY(announced.lines.size() == 1 && announced.lines[0].startsWith("11111111110 red "));
    QVERIFY(!announced.lines[0].endsWith('?'));
}

QTEST_MAIN(tst_Drop)
#include "tst_drop.moc"
