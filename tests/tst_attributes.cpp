#include "HostFixture.h"

#include "OSGSystem/ChangeList.h"
#include "mkKernel/mkController.h"

#include <QTest>

/// Attribute cells, the clear button and the override-material command.
class tst_Attributes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cellsShowTheStore();
    void layerRowsShowOnlyTheirName();
    void doubleClickToggles_data();
    void doubleClickToggles();
    void dataOfTheRowIsItsTruth();
    void editsAreAnnounced();
    void deadNodeIsLeftAlone();
    void clearButtonIsWhereItIsPainted();
    void clearButton_data();
    void clearButton();
    void clearButtonReleasedOverNothing();
    void clearCommand_data();
    void clearCommand();

private:
    QStringList storeCalls(const HostCalls &calls) const;
    void setMaterial(const osg::RaytracingGeoAttachmentPtr &attributes, const char *name);
    void kill(const char *node);
    QRect paintedIcon(const QString &path) const;

    HostFixture host;
};

void tst_Attributes::init()
{
    host.reset();
    host.addLayer("A", { "a", "b" });
    host.addLayer("B", { "a" });
    host.rebuild();
    // Commands would widen the column and so move the others while a test clicks.
    host.tree()->resizeColumnToContents(0);
}

QStringList tst_Attributes::storeCalls(const HostCalls &calls) const
{
    QStringList names;
    for (const QString &line : calls.lines({ "mkRenderLayer::" })) {
        names += line.section('(', 0, 0).section("::", 1);
    }
    return names;
}

void tst_Attributes::setMaterial(const osg::RaytracingGeoAttachmentPtr &attributes,
                                 const char *name)
{
    attributes->setOverrideMaterial(host.material(name));
}

/// Takes a node out of scene and store, behind the tree's back.
void tst_Attributes::kill(const char *node)
{
    host.store()->subNode(0, host.node(node));
    mkScenegraph::removeNode(host.node(node));
    QVERIFY(!host.node(node));
    mkController::setModified(0);
}

void tst_Attributes::cellsShowTheStore()
{
    const osg::RaytracingGeoAttachmentPtr attributes = host.attributes(0, "b");
    for (int column = 1; column <= 11; ++column) {
        for (int other = 1; other <= 11; ++other) {
            host.flag(attributes, other) = other == column;
        }
        host.rebuild();
        QCOMPARE(host.cells("A/b"), host.values(attributes));
        QCOMPARE(host.row("A/b")->text(column), QStringLiteral("On"));
    }
    QVERIFY(qvariant_cast<QIcon>(host.row("A/b")->data(12, Qt::DecorationRole)).isNull());
    setMaterial(attributes, "blue");
    host.rebuild();
    QCOMPARE(host.row("A/b")->text(12), QStringLiteral("blue"));
    QVERIFY(!qvariant_cast<QIcon>(host.row("A/b")->data(12, Qt::DecorationRole)).isNull());
    QCOMPARE(host.cells("A/a"), QStringLiteral("11111111110 Empty"));
    QVERIFY(!host.row("A/a")->data(0, Qt::DecorationRole).value<QPixmap>().isNull());
}

void tst_Attributes::layerRowsShowOnlyTheirName()
{
    for (int column = 0; column <= 12; ++column) {
        QCOMPARE(host.row("A")->text(column), column == 0 ? QStringLiteral("A") : QString());
        QVERIFY(!host.row("A")->data(column, Qt::DecorationRole).isValid());
        QVERIFY(!host.row("A")->data(column, Qt::UserRole).isValid());
        QVERIFY(!host.row("A/a")->data(column, Qt::CheckStateRole).isValid());
    }
}

void tst_Attributes::doubleClickToggles_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("column");
    for (const QString &path : { QString("A/a"), QString("A/b"), QString("B/a"), QString("A") }) {
        for (int column = 0; column <= 12; ++column) {
            QTest::newRow(qPrintable(path + ' ' + QString::number(column))) << path << column;
        }
    }
}

void tst_Attributes::doubleClickToggles()
{
    QFETCH(QString, path);
    QFETCH(int, column);
    const bool toggles = path.contains('/') && column >= 1 && column <= 11;
    const unsigned layer = path.startsWith('A') ? 0 : 1;
    const QString member = path.section('/', 1);
    QStringList before{ "11111111110 Empty", "11111111110 Empty", "11111111110 Empty" };
    const auto stored = [&] {
        return QStringList{ host.values(host.attributes(0, "a")),
                            host.values(host.attributes(0, "b")),
                            host.values(host.attributes(1, "a")) };
    };
    QTreeWidgetItem *const row = host.row(path);
    {
        const HostCalls calls;
        host.doubleClick(path, column);
        QCOMPARE(storeCalls(calls).count("setAttributes"), toggles ? 1 : 0);
        QCOMPARE(storeCalls(calls).count("isEmpty"), 0); // no rebuild
    }
    QStringList after = before;
    if (toggles) {
        QString &changed = after[layer == 1 ? 2 : member == "b" ? 1 : 0];
        changed[column - 1] = column == 11 ? '1' : '0';
        QCOMPARE(host.row(path), row);
        QCOMPARE(host.cells(path), changed);
    }
    QCOMPARE(stored(), after);
    QVERIFY(!mkController::isModified());
    if (toggles) {
        host.doubleClick(path, column);
        QCOMPARE(host.cells(path), before[0]);
        QCOMPARE(stored(), before);
    }
}

void tst_Attributes::dataOfTheRowIsItsTruth()
{
    host.row("A/a")->setText(3, "Off");
    host.flag(host.attributes(0, "a"), 9) = false;
    host.doubleClick("A/a", 6);
    QCOMPARE(host.values(host.attributes(0, "a")), QStringLiteral("11111011110 Empty"));
}

void tst_Attributes::editsAreAnnounced()
{
    struct Observer : osg::ChangeObserver
    {
        void containerChanged(const osg::FieldContainerPtr &container, const osg::BitVector &which,
                              osg::ChangeOrigin origin) override
        {
            seen += container == expected && which == osg::AllFields
                    && origin == osg::ChangeOrigin::External;
        }
        osg::FieldContainerPtr expected;
        int seen = 0;
    } observer;
    observer.expected = host.attributes(0, "a");
    osg::ChangeList list;

    host.doubleClick("A/a", 1);
    QCOMPARE(observer.seen, 1);
    osg::WinThreadBase::setCurrentChangeList(&list);
    osg::FieldContainerPtr::_ignore_change = true;
    host.doubleClick("A/a", 1);
    osg::FieldContainerPtr::_ignore_change = false;
    osg::WinThreadBase::setCurrentChangeList(nullptr);
    QCOMPARE(observer.seen, 1);
    QCOMPARE(int(list.getChanged().size()), 1);
    QVERIFY(list.getChanged().front() == osg::ChangeList::Entry(observer.expected, osg::AllFields));
}

void tst_Attributes::deadNodeIsLeftAlone()
{
    setMaterial(host.attributes(0, "b"), "red");
    host.rebuild();
    const QPoint button = paintedIcon("A/b").center();
    kill("b");
    host.doubleClick("A/b", 2);
    QCOMPARE(host.cells("A/b"), QStringLiteral("10111111110 red"));
    QCOMPARE(host.values(host.attributes(0, "a")), QStringLiteral("11111111110 Empty"));
    QVERIFY(!mkController::isModified());
    QTest::mouseClick(host.tree()->viewport(), Qt::LeftButton, {}, button);
    QCOMPARE(host.cells("A/b"), QStringLiteral("10111111110 red"));
    QVERIFY(mkController::isModified());
}

/// Bounding box of the icon's pixels in the override-material cell.
QRect tst_Attributes::paintedIcon(const QString &path) const
{
    // Without a name the icon is all that the cell shows.
    QTreeWidgetItem *const item = host.row(path);
    const QString name = item->text(12);
    item->setText(12, QString());
    host.tree()->clearSelection();
    host.tree()->setCurrentItem(nullptr);
    const QRect cell = host.cell(path, 12);
    const QImage image = host.tree()->viewport()->grab(cell).toImage();
    item->setText(12, name);
    QRect painted;
    const QRgb background = image.pixel(image.width() - 2, 1);
    for (int y = 1; y < image.height() - 1; ++y) {
        for (int x = 0; x < image.width() - 1; ++x) {
            if (image.pixel(x, y) != background) {
                painted |= QRect(cell.left() + x, cell.top() + y, 1, 1);
            }
        }
    }
    return painted;
}

void tst_Attributes::clearButtonIsWhereItIsPainted()
{
    setMaterial(host.attributes(0, "a"), "red");
    host.rebuild();
    const QRect painted = paintedIcon("A/a");
    QVERIFY(painted.width() >= 8 && painted.height() >= 8);
    const QRect cell = host.cell("A/a", 12);
    QRect hit;
    int hits = 0;
    for (int y = cell.top(); y <= cell.bottom(); ++y) {
        for (int x = cell.left(); x <= cell.left() + 60; x += 2) {
            QTest::mouseClick(host.tree()->viewport(), Qt::LeftButton, {}, QPoint(x, y));
            if (host.row("A/a")->text(12) == "Empty") {
                hit |= QRect(x, y, 1, 1);
                ++hits;
                setMaterial(host.attributes(0, "a"), "red");
                host.rebuild();
            }
        }
    }
    QVERIFY2(hit.adjusted(-1, 0, 1, 0).contains(painted), "some of the icon cannot be clicked");
    const int margin = 6;
    QVERIFY(painted.adjusted(-margin, -margin, margin, margin).contains(hit));
    QCOMPARE(hits, (hit.width() / 2 + 1) * hit.height());
}

void tst_Attributes::clearButton_data()
{
    QTest::addColumn<QString>("press");
    QTest::addColumn<QString>("release");
    QTest::addColumn<bool>("clears");
    QTest::addColumn<QString>("selected");
    // Where: the row, and its button, its material's name, its neighbour cell.
    QTest::newRow("click") << "a button"
                           << "a button" << true << "A*";
    QTest::newRow("release on the name") << "a button"
                                         << "a name" << false << "A*";
    QTest::newRow("release on column 11") << "a button"
                                          << "a flag" << false << "A*";
    QTest::newRow("release on another") << "a button"
                                        << "b button" << false << "A*";
    QTest::newRow("press on the name") << "a name"
                                       << "a button" << false << "A/a*";
    QTest::newRow("press on column 11") << "a flag"
                                        << "a button" << false << "A/a*";
    QTest::newRow("press on another") << "b button"
                                      << "a button" << false << "A*";
    QTest::newRow("ordinary click") << "a name"
                                    << "a name" << false << "A/a*";
}

void tst_Attributes::clearButton()
{
    QFETCH(QString, press);
    QFETCH(QString, release);
    QFETCH(bool, clears);
    QFETCH(QString, selected);
    for (const char *member : { "a", "b" }) {
        setMaterial(host.attributes(0, member), "red");
        host.flag(host.attributes(0, member), 11) = true;
    }
    host.rebuild();
    std::map<QString, QPoint> points;
    for (const QString &member : { QString("a"), QString("b") }) {
        const QString path = "A/" + member;
        points[member + " button"] = paintedIcon(path).center();
        points[member + " name"] = host.cell(path, 12).center() + QPoint(10, 0);
        points[member + " flag"] = host.cell(path, 11).center();
    }
    host.select({ "A" });
    QTest::mousePress(host.tree()->viewport(), Qt::LeftButton, {}, points.at(press));
    QTest::mouseRelease(host.tree()->viewport(), Qt::LeftButton, {}, points.at(release));

    const QString expected = clears ? "11111111111 Empty" : "11111111111 red";
    QCOMPARE(host.cells("A/a"), expected);
    QCOMPARE(host.values(host.attributes(0, "a")), expected);
    QCOMPARE(host.cells("A/b"), QStringLiteral("11111111111 red"));
    QCOMPARE(host.selected(), selected);
    QCOMPARE(mkController::isModified(), clears);
    QCOMPARE(qvariant_cast<QIcon>(host.row("A/a")->data(12, Qt::DecorationRole)).isNull(), clears);
}

void tst_Attributes::clearButtonReleasedOverNothing()
{
    setMaterial(host.attributes(0, "a"), "red");
    host.rebuild();
    const QPoint button = paintedIcon("A/a").center();
    const QPoint nowhere(button.x(), host.tree()->viewport()->height() - 5);
    host.select({ "A/b" });
    QWidget *const viewport = host.tree()->viewport();
    QTest::mousePress(viewport, Qt::LeftButton, {}, button);
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, nowhere);
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, button);
    QCOMPARE(host.cells("A/a"), QStringLiteral("11111111110 red"));
    QTest::mouseClick(viewport, Qt::LeftButton, {}, nowhere);
    QCOMPARE(host.selected(), QStringLiteral("A/b*"));
}

void tst_Attributes::clearCommand_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<QString>("cleared");
    QTest::newRow("one node") << QStringList{ "A/b" } << "Ab";
    QTest::newRow("nodes and their layer") << QStringList{ "A/a", "A", "A/b" } << "Aa Ab";
    QTest::newRow("a collapsed layer's node too") << QStringList{ "A/a", "B/a" } << "Aa";
    QTest::newRow("layers only") << QStringList{ "A", "B" } << "";
    QTest::newRow("a collapsed layer's node only") << QStringList{ "A", "B/a" } << "";
    QTest::newRow("nothing") << QStringList() << "";
}

void tst_Attributes::clearCommand()
{
    QFETCH(QStringList, selection);
    QFETCH(QString, cleared);
    host.store()->setCollapseState(1, 0);
    const std::map<QString, osg::RaytracingGeoAttachmentPtr> entries{
        { "Aa", host.attributes(0, "a") },
        { "Ab", host.attributes(0, "b") },
        { "Ba", host.attributes(1, "a") },
    };
    for (const auto &entry : entries) {
        setMaterial(entry.second, "red");
        host.flag(entry.second, 11) = true;
    }
    host.rebuild();
    host.select(selection);
    host.tree()->setColumnWidth(0, 1);
    const int narrow = host.tree()->columnWidth(0);
    const HostCalls calls;
    host.action("Clear Override Material")->trigger();
    QCOMPARE(host.tree()->columnWidth(0) > narrow, !cleared.isEmpty());
    if (selection.size() > 1 && !cleared.isEmpty()) {
        QCOMPARE(host.selected(), selection.first() + '*');
    }
    QCOMPARE(storeCalls(calls).count("isEmpty"), cleared.isEmpty() ? 0 : 1);
    for (const auto &entry : entries) {
        const QString expected = cleared.contains(entry.first) ? "11111111110 Empty"
                                                               : "11111111111 red";
        QCOMPARE(host.values(entry.second), expected);
        QCOMPARE(host.cells(QString(entry.first).insert(1, '/')), expected);
    }
    QCOMPARE(mkController::isModified(), !cleared.isEmpty());
}

HOST_TEST_MAIN(tst_Attributes)
#include "tst_attributes.moc"
