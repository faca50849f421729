#include "HostFixture.h"

#include "mkKernel/mkController.h"

#include <QMouseEvent>
#include <QTest>

/// Attribute cells, the clear button and the override-material command.
class tst_Attributes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cellsShowTheStore();
    void doubleClickToggles();
    void dataOfTheRowIsItsTruth();
    void editsAreAnnounced();
    void deadNodeIsLeftAlone();
    void clearButtonIsWhereItIsPainted();
    void clearButton();
    void clearCommand();

private:
    /// Both nodes of "A" have material "red", in use or not.
    void makeRed(bool used);
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

void tst_Attributes::makeRed(bool used)
{
    for (const char *member : { "a", "b" }) {
        host.attributes(0, member)->setOverrideMaterial(host.material("red"));
        host.flag(host.attributes(0, member), 11) = used;
    }
    host.rebuild();
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
    attributes->setOverrideMaterial(host.material("blue"));
    host.material("blue")->setName("blå");
    host.rebuild();
    QCOMPARE(host.cells("A/b"), QStringLiteral("00000000001 blå"));
    QCOMPARE(host.cells("A/a"), QStringLiteral("11111111110 Empty"));
    QVERIFY(!host.row("A/a")->data(0, Qt::DecorationRole).value<QPixmap>().isNull());
    QVERIFY(!host.row("A/a")->data(1, Qt::CheckStateRole).isValid());
    // Layer rows show only their name.
    QCOMPARE(host.cells("A"), QString(12, ' '));
    QVERIFY(!host.row("A")->data(0, Qt::DecorationRole).isValid());
}

void tst_Attributes::doubleClickToggles()
{
    const QString before = "11111111110 Empty";
    for (const char *path : { "A/a", "A/b", "B/a", "A" }) {
        for (int column = 0; column <= 12; ++column) {
            init();
            const bool toggles = strlen(path) > 1 && column >= 1 && column <= 11;
            QString after = before;
            if (toggles) {
                after[column - 1] = column == 11 ? '1' : '0';
            }
            const HostCalls calls;
            host.doubleClick(path, column);
            // The values go to the store, and nothing is rebuilt.
            QCOMPARE(calls.count("mkRenderLayer::setAttributes"), toggles ? 1 : 0);
            QCOMPARE(calls.count("mkRenderLayer::isEmpty"), 0);
            QCOMPARE(calls.count("mkController::updateRender"), 0);
            for (const QString row : { "A/a", "A/b", "B/a" }) {
                const QString expected = row == path ? after : before;
                QCOMPARE(host.cells(row), expected);
                QCOMPARE(host.values(host.attributes(row[0] == 'A' ? 0 : 1, row.section('/', 1))),
                         expected);
            }
            QVERIFY(!mkController::isModified());
            if (toggles) {
                host.doubleClick(path, column);
                QCOMPARE(host.cells(path), before);
            }
        }
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
    {
        const Announcements announced(host.attributes(0, "a"));
        const HostCalls calls;
        host.doubleClick("A/a", 1);
        QCOMPARE(announced.lines, QStringList("01111111110 Empty all"));
        QCOMPARE(calls.lines({ "FieldContainer::changed", "mkRenderLayer::setAttributes" }).last(),
                 "mkRenderLayer::setAttributes(0, \"a\", RaytracingGeoAttachment)");
        osg::FieldContainerPtr::_ignore_change = true;
        host.doubleClick("A/a", 1);
        osg::FieldContainerPtr::_ignore_change = false;
        QCOMPARE(announced.lines.size(), 1);
        QCOMPARE(int(announced.list.getChanged().size()), 2);
    }
    makeRed(true);
    host.tree()->setColumnWidth(0, 1);
    const int narrow = host.tree()->columnWidth(0);
    const Announcements announced(host.attributes(0, "a"));
    host.click(host.clearButton(host.row("A/a")));
    QVERIFY(host.tree()->columnWidth(0) > narrow);
    QCOMPARE(announced.lines, QStringList("11111111111 Empty all"));
    host.select({ "A/a" });
    host.action("Clear Override Material")->trigger();
    QCOMPARE(announced.lines.size(), 1);
}

void tst_Attributes::deadNodeIsLeftAlone()
{
    makeRed(false);
    host.kill("b");
    host.doubleClick("A/b", 2);
    QCOMPARE(host.cells("A/b"), QStringLiteral("10111111110 red"));
    QVERIFY(!mkController::isModified());
    host.click(host.clearButton(host.row("A/b")));
    QCOMPARE(host.cells("A/b"), QStringLiteral("10111111110 red"));
    QCOMPARE(host.values(host.attributes(0, "a")), QStringLiteral("11111111110 red"));
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
    makeRed(false);
    const QRect painted = paintedIcon("A/a");
    QVERIFY(painted.width() >= 8 && painted.height() >= 8);
    const auto icon = host.row("A/a")->data(12, Qt::DecorationRole).value<QIcon>();
    const auto shown = [&icon](QIcon::Mode mode) { return icon.pixmap(16, mode).toImage(); };
    QVERIFY(shown(QIcon::Selected) == shown(QIcon::Disabled));
    QVERIFY(shown(QIcon::Selected) != shown(QIcon::Normal));
    const QRect cell = host.cell("A/a", 12);
    QRect hit;
    int hits = 0;
    for (int y = cell.top(); y <= cell.bottom(); ++y) {
        for (int x = cell.left(); x <= cell.left() + 60; x += 2) {
            host.click(QPoint(x, y));
            if (host.row("A/a")->text(12) == "Empty") {
                hit |= QRect(x, y, 1, 1);
                ++hits;
                makeRed(false);
            }
        }
    }
    QVERIFY2(hit.adjusted(-1, 0, 1, 0).contains(painted), "some of the icon cannot be clicked");
    const int margin = 6;
    QVERIFY(painted.adjusted(-margin, -margin, margin, margin).contains(hit));
    QCOMPARE(hits, (hit.width() / 2 + 1) * hit.height());
}

void tst_Attributes::clearButton()
{
    makeRed(true);
    // Where: the button of a row, its material's name, its neighbour cell; or below all rows.
    std::map<QString, QPoint> points{ { "nowhere", host.emptySpace() } };
    for (const QString &member : { QString("a"), QString("b") }) {
        const QString path = "A/" + member;
        points[member + " button"] = paintedIcon(path).center();
        points[member + " name"] = host.cell(path, 12).center() + QPoint(10, 0);
        points[member + " flag"] = host.cell(path, 11).center();
    }
    const auto check = [&](const char *press, const char *release, bool clears,
                           const char *selected) {
        makeRed(true);
        mkController::setModified(0);
        host.select({ "A" });
        QWidget *const viewport = host.tree()->viewport();
        QTest::mousePress(viewport, Qt::LeftButton, {}, points.at(press));
        if (QString(press).endsWith("button")) {
            // A hand that is not quite still.
            const QPoint point = points.at(press) + QPoint(1, 0);
            QMouseEvent move(QEvent::MouseMove, point, viewport->mapToGlobal(point), Qt::LeftButton,
                             Qt::LeftButton, {});
            QApplication::sendEvent(viewport, &move);
        }
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, points.at(release));
        // A second release belongs to no press.
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, points.at("a button"));
        const QString expected = clears ? "11111111111 Empty" : "11111111111 red";
        QCOMPARE(host.cells("A/a"), expected);
        QCOMPARE(host.values(host.attributes(0, "a")), expected);
        QCOMPARE(host.cells("A/b"), QStringLiteral("11111111111 red"));
        QCOMPARE(host.selected(), selected);
        QCOMPARE(mkController::isModified(), clears);
    };
    check("a button", "a button", true, "A*");
    check("a button", "a name", false, "A*");
    check("a button", "a flag", false, "A*");
    check("a button", "b button", false, "A*");
    check("a button", "nowhere", false, "A*");
    check("a name", "a button", false, "A/a*");
    check("a flag", "a button", false, "A/a*");
    check("b button", "a button", false, "A*");
    check("nowhere", "nowhere", false, "A*");
}

void tst_Attributes::clearCommand()
{
    const auto check = [this](const QStringList &selection, const QStringList &cleared) {
        init();
        host.store()->setCollapseState(1, 0);
        host.attributes(1, "a")->setOverrideMaterial(host.material("red"));
        host.flag(host.attributes(1, "a"), 11) = true;
        makeRed(true);
        host.select(selection);
        host.tree()->setColumnWidth(0, 1);
        const int narrow = host.tree()->columnWidth(0);
        const HostCalls calls;
        host.action("Clear Override Material")->trigger();
        QCOMPARE(host.tree()->columnWidth(0) > narrow, !cleared.isEmpty());
        QCOMPARE(calls.count("mkRenderLayer::isEmpty"), cleared.isEmpty() ? 0 : 1);
        QCOMPARE(mkController::isModified(), !cleared.isEmpty());
        for (const QString row : { "A/a", "A/b", "B/a" }) {
            const QString expected = cleared.contains(row) ? "11111111110 Empty"
                                                           : "11111111111 red";
            QCOMPARE(host.values(host.attributes(row[0] == 'A' ? 0 : 1, row.section('/', 1))),
                     expected);
            QCOMPARE(host.cells(row), expected);
        }
    };
    check({ "A/b" }, { "A/b" });
    check({ "A/a", "A", "A/b" }, { "A/a", "A/b" });
    QCOMPARE(host.selected(), QStringLiteral("A/a*"));
    // A collapsed layer's node is spared.
    check({ "A/a", "B/a" }, { "A/a" });
    check({ "A", "B/a" }, {});
    check({}, {});
}

HOST_TEST_MAIN(tst_Attributes)
#include "tst_attributes.moc"
