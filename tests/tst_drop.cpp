#include "HostFixture.h"

#include "OSGSystem/ChangeList.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkdMaterial.h"

#include <QDropEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScopeGuard>
#include <QTest>

#include <iostream>
#include <sstream>

using Payload = std::map<QString, QByteArray>;
Q_DECLARE_METATYPE(Payload)

namespace {

const QString nodeFormat = QStringLiteral("application/mosk-tree-item");
const QString materialFormat = QStringLiteral("application/mosk-decoupled-materials");

QByteArray materialBytes(const QString &name)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << mkdMaterial(name);
    return bytes;
}

const QByteArray nodeBytes = QByteArray::fromHex("0000000100000000");

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
    void acceptance_data();
    void acceptance();
    void nodes_data();
    void nodes();
    void nodePayloads();
    void rootIsRefused();
    void materials_data();
    void materials();
    void materialIsAnnounced();
    void materialPayloads();
    void rowsWithoutAttributes_data();
    void rowsWithoutAttributes();

private:
    QPoint pointOf(const QString &path) const;
    void drop(const Payload &payload, const QString &path);
    void selectInHost(const QStringList &names);

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

/// A row's name, or empty space for an empty path.
QPoint tst_Drop::pointOf(const QString &path) const
{
    return path.isEmpty() ? QPoint(10, host.tree()->viewport()->height() - 5)
                          : host.cell(path, 1).center();
}

/// Drags over the tree and drops.
void tst_Drop::drop(const Payload &payload, const QString &path)
{
    QMimeData data;
    for (const auto &format : payload) {
        data.setData(format.first, format.second);
    }
    QWidget *const viewport = host.tree()->viewport();
    // Whatever is dropped in the end, a drag that was accepted must have come before.
    QMimeData dragged;
    dragged.setData(nodeFormat, nodeBytes);
    QDragEnterEvent enter(pointOf(path), Qt::CopyAction, &dragged, Qt::LeftButton, {});
    QApplication::sendEvent(viewport, &enter);
    QVERIFY(enter.isAccepted());
    QDragMoveEvent move(pointOf(path), Qt::CopyAction, &dragged, Qt::LeftButton, {});
    QApplication::sendEvent(viewport, &move);
    QVERIFY(move.isAccepted());
    QDropEvent event(pointOf(path), Qt::CopyAction, &data, Qt::LeftButton, {});
    const bool arrivedAccepted = event.isAccepted();
    QApplication::sendEvent(viewport, &event);
    QCOMPARE(event.isAccepted(), arrivedAccepted);
}

void tst_Drop::selectInHost(const QStringList &names)
{
    std::vector<mkNodePtr> selection;
    for (const QString &name : names) {
        selection.emplace_back(host.node(name));
    }
    mkSelectionManager::selectNodes(selection);
}

void tst_Drop::acceptance_data()
{
    QTest::addColumn<QStringList>("formats");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("nodes") << QStringList{ nodeFormat } << true;
    QTest::newRow("material") << QStringList{ materialFormat } << true;
    QTest::newRow("both") << QStringList{ materialFormat, nodeFormat } << true;
    QTest::newRow("with text") << QStringList{ "text/plain", materialFormat } << true;
    QTest::newRow("text") << QStringList{ "text/plain" } << false;
    QTest::newRow("a tree's own") << QStringList{ "application/x-qabstractitemmodeldatalist" }
                                  << false;
    QTest::newRow("nothing") << QStringList() << false;
}

void tst_Drop::acceptance()
{
    QFETCH(QStringList, formats);
    QFETCH(bool, accepted);
    QMimeData data;
    for (const QString &format : formats) {
        data.setData(format, QByteArray());
    }
    QMimeData welcome;
    welcome.setData(nodeFormat, QByteArray());
    QWidget *const viewport = host.tree()->viewport();
    for (const QString &path : { QString("A"), QString("A/e"), QString("C"), QString() }) {
        QDragEnterEvent enter(pointOf(path), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                              {});
        enter.setDropAction(Qt::MoveAction);
        QApplication::sendEvent(viewport, &enter);
        QCOMPARE(enter.isAccepted(), accepted);
        QCOMPARE(enter.dropAction() == enter.proposedAction(), accepted);
        // Moves are delivered only after an accepted enter.
        QDragEnterEvent entered(pointOf(path), Qt::CopyAction, &welcome, Qt::LeftButton, {});
        QApplication::sendEvent(viewport, &entered);
        QDragMoveEvent move(pointOf(path), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(viewport, &move);
        QCOMPARE(move.isAccepted(), accepted);
    }
}

void tst_Drop::nodes_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<Payload>("payload");
    QTest::addColumn<QStringList>("added");
    const QStringList two{ "b", "a" };
    const Payload plain{ { nodeFormat, nodeBytes } };
    const Payload both{ { nodeFormat, nodeBytes }, { materialFormat, materialBytes("red") } };
    const Payload zero{ { nodeFormat, QByteArray::fromHex("0000000000000005") },
                        { materialFormat, materialBytes("red") } };
    const QStringList none;
    QTest::newRow("third layer") << "C" << two << plain << QStringList{ "2, b", "2, a" };
    QTest::newRow("with a material") << "B" << two << both << QStringList{ "1, b", "1, a" };
    QTest::newRow("member again") << "A" << QStringList{ "d" } << plain << QStringList{ "0, d" };
    QTest::newRow("below a selected one")
        << "B" << QStringList{ "g1", "group" } << plain << QStringList{ "1, group" };
    QTest::newRow("nothing selected") << "B" << none << plain << none;
    QTest::newRow("node row") << "A/e" << two << plain << none;
    QTest::newRow("node row, with a material") << "A/e" << two << both << none;
    QTest::newRow("zero") << "B" << two << zero << none;
    QTest::newRow("zero on a node row") << "A/e" << two << zero << none;
    QTest::newRow("empty space") << "" << two << both << none;
    QTest::newRow("text") << "B" << two << Payload{ { "text/plain", "a" } } << none;
}

void tst_Drop::nodes()
{
    QFETCH(QString, path);
    QFETCH(QStringList, selection);
    QFETCH(Payload, payload);
    QFETCH(QStringList, added);
    selectInHost(selection);
    const QString before = host.stored();
    const HostCalls calls;
    drop(payload, path);
    QStringList expected;
    for (const QString &arguments : qAsConst(added)) {
        expected += "mkRenderLayer::addNode(" + arguments.section(' ', 0, 0) + " \""
                    + arguments.section(' ', 1) + "\")";
    }
    QCOMPARE(calls.lines({ "mkRenderLayer::addNode" }), expected);
    const bool reached = payload.count(nodeFormat) > 0 && path == "B" && selection.isEmpty();
    const bool rebuilds = !added.isEmpty() || reached;
    const bool zero = payload.count(nodeFormat) > 0 && payload.at(nodeFormat).at(3) == 0;
    QCOMPARE(calls.count("mkRenderLayer::isEmpty"), rebuilds && !zero ? 1 : 0);
    QCOMPARE(host.rows(), host.stored());
    QCOMPARE(host.stored() == before, added.isEmpty() || added == QStringList{ "0, d" });
    QCOMPARE(host.values(host.attributes(0, "e")), QStringLiteral("11111111110 Empty"));
    QCOMPARE(mkController::isModified(), !path.isEmpty());
    QCOMPARE(host.tree()->columnWidth(0) > narrow, !path.isEmpty());
}

void tst_Drop::nodePayloads()
{
    selectInHost({ "a" });
    // A field that the payload is too short for reads as 0.
    const QByteArray bytes = QByteArray::fromHex("ffffff00ffffffff0102030405060708");
    for (int length = 0; length <= bytes.size(); ++length) {
        const HostCalls calls;
        drop({ { nodeFormat, bytes.left(length) } }, "C");
        QCOMPARE(calls.count("mkRenderLayer::addNode"), length < 4 ? 0 : 1);
    }
    QCOMPARE(host.rows(), QStringLiteral("A[d e] B[] C[a]"));
}

void tst_Drop::rootIsRefused()
{
    selectInHost({ "scene" });
    QString shown;
    ModalAnswers answers([&shown](QWidget *modal) {
        auto *const box = qobject_cast<QMessageBox *>(modal);
        const auto ok = qScopeGuard([box] { box->button(QMessageBox::Ok)->click(); });
        shown = box->windowTitle() + '|' + box->text() + '|' + box->button(QMessageBox::Ok)->text();
        QCOMPARE(box->buttons().size(), 1);
        QCOMPARE(box->icon(), QMessageBox::Warning);
        QVERIFY(!box->parent());
    });
    const HostCalls calls;
    drop({ { nodeFormat, nodeBytes } }, "B");
    QCOMPARE(answers.count(), 1);
    QCOMPARE(shown.remove('&'),
             QStringLiteral("Render Layer|Adding the root node is not allowed!|OK"));
    QCOMPARE(calls.lines({ "mkRenderLayer::addNode", "mkRenderLayer::isEmpty" }), QStringList());
    QCOMPARE(host.rows(), QStringLiteral("A[d e] B[] C[]"));
    QVERIFY(mkController::isModified());
}

void tst_Drop::materials_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("used");
    QTest::newRow("unused") << "A/e" << false;
    QTest::newRow("used") << "A/e" << true;
    QTest::newRow("layer row") << "A" << false;
    QTest::newRow("empty space") << "" << false;
}

void tst_Drop::materials()
{
    QFETCH(QString, path);
    QFETCH(bool, used);
    host.flag(host.attributes(0, "e"), 11) = used;
    // The row learns of other edits of the store with the drop.
    host.rebuild();
    host.flag(host.attributes(0, "e"), 2) = false;
    const ErrorStream errors;
    const HostCalls calls;
    drop({ { materialFormat, materialBytes("blue") + "ignored" } }, path);
    const bool node = path == "A/e";
    const QString expected = QString("1011111111") + (used ? '1' : '0')
                             + (node ? " blue" : " Empty");
    QCOMPARE(host.values(host.attributes(0, "e")), expected);
    if (node) {
        QCOMPARE(host.cells(path), expected);
        QVERIFY(!qvariant_cast<QIcon>(host.row(path)->data(12, Qt::DecorationRole)).isNull());
    }
    QCOMPARE(calls.count("mkRenderLayer::setAttributes"), 0);
    QCOMPARE(calls.count("mkRenderLayer::isEmpty"), 0);
    QCOMPARE(errors.read(), QString());
    QCOMPARE(mkController::isModified(), !path.isEmpty());
    QCOMPARE(host.tree()->columnWidth(0) > narrow, !path.isEmpty());
}

void tst_Drop::materialIsAnnounced()
{
    osg::ChangeList list;
    osg::WinThreadBase::setCurrentChangeList(&list);
    drop({ { materialFormat, materialBytes("red") } }, "A/d");
    osg::WinThreadBase::setCurrentChangeList(nullptr);
    using Attributes = osg::RaytracingGeoAttachmentBase;
    const std::vector<osg::ChangeList::Entry> expected{ { host.attributes(0, "d"),
                                                          Attributes::OverrideMaterialFieldMask },
                                                        { host.material("red"), osg::AllFields } };
    QVERIFY(list.getChanged() == expected);
}

void tst_Drop::materialPayloads()
{
    const QByteArray bytes = materialBytes("red");
    std::vector<QByteArray> payloads{ materialBytes("deleted"), materialBytes(""),
                                      QByteArray("\xff\xff\xff\xff\x00\x00", 6) };
    for (int length = 0; length < bytes.size(); ++length) {
        payloads.push_back(bytes.left(length));
    }
    for (const QByteArray &payload : payloads) {
        mkController::setModified(0);
        const ErrorStream errors;
        drop({ { materialFormat, payload } }, "A/d");
        QCOMPARE(errors.read(), QStringLiteral("ERROR dropped\n"));
        QCOMPARE(host.cells("A/d"), QStringLiteral("11111111110 Empty"));
        QVERIFY(mkController::isModified());
    }
}

void tst_Drop::rowsWithoutAttributes_data()
{
    QTest::addColumn<QString>("damage");
    QTest::newRow("null entry") << "null";
    QTest::newRow("foreign entry") << "foreign";
    QTest::newRow("dead node") << "dead";
    QTest::newRow("layer gone") << "layer";
}

void tst_Drop::rowsWithoutAttributes()
{
    QFETCH(QString, damage);
    const osg::RenderLayerPtr layer = host.store()->getAttachment()->getLayer(0);
    const char *const row = damage == "dead" ? "A/d" : "A/e";
    if (damage == "dead") {
        // The attributes at the row's place are now those of the next node.
        layer->subNode(host.node("d"));
        mkScenegraph::removeNode(host.node("d"));
    } else if (damage == "layer") {
        for (const char *name : { "A", "B", "C" }) {
            host.store()->subLayer(name);
        }
    } else {
        layer->replaceAttributes(host.node("e"), damage == "null" ? osg::FieldContainerPtr()
                                                                  : osg::Group::create());
    }
    mkController::setModified(0);
    drop({ { materialFormat, materialBytes("red") } }, row);
    QCOMPARE(host.cells("A/e"), QStringLiteral("11111111110 Empty"));
    QCOMPARE(host.cells("A/d"), QStringLiteral("11111111110 Empty"));
    if (damage == "dead") {
        QCOMPARE(host.values(host.attributes(0, "e")), QStringLiteral("11111111110 Empty"));
    }
    QVERIFY(mkController::isModified());
}

HOST_TEST_MAIN(tst_Drop)
#include "tst_drop.moc"
