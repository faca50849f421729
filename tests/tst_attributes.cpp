#include "HostFixture.h"

#include "mkKernel/mkController.h"

#include <QTest>

/// Attribute cells, the clear button, and the dialog that applies attributes.
class tst_Attributes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void editsAreAnnounced();
    void clearButtonIcon();
    void pressAndRelease();

private:
    HostFixture host;
};

void tst_Attributes::init()
{
    host.reset();
    host.addLayers();
    host.attributes(0, "b")->setOverrideMaterial(host.material("blue"));
    host.rebuild();
    // Commands would widen the column and so move the others while a test clicks.
    host.tree()->resizeColumnToContents(0);
}

void tst_Attributes::editsAreAnnounced()
{
    const Announcements announced(host.attributes(0, "b"));
    const HostCalls calls;
    host.doubleClick("A/b", 1);
    QCOMPARE(announced.lines, QStringList("01111111110 blue all"));
    QCOMPARE(calls.lines({ "FieldContainer::changed", "mkRenderLayer::setAttributes" }).last(),
             "mkRenderLayer::setAttributes(0, \"b\", RaytracingGeoAttachment)");
    osg::FieldContainerPtr::_ignore_change = true;
    host.doubleClick("A/b", 1);
    osg::FieldContainerPtr::_ignore_change = false;
    QCOMPARE(announced.lines.size(), 1);
    QCOMPARE(int(announced.list.getChanged().size()), 2);

    host.select({ "A/b" });
    const ModalAnswers answers(ModalAnswers::agree);
    host.action("Apply Attributes to Selected ...")->trigger();
    QCOMPARE(announced.lines.mid(1), QStringList("00000000000 blue all"));
    host.doubleClick("A/b", 11);
    host.tree()->setColumnWidth(0, 1);
    const int narrow = host.tree()->columnWidth(0);
    host.click(host.clearButton(host.row("A/b")));
    QVERIFY(host.tree()->columnWidth(0) > narrow);
    QCOMPARE(announced.lines.mid(3), QStringList("00000000001 Empty all"));
    host.action("Clear Override Material")->trigger();
    QCOMPARE(announced.lines.size(), 4);
    QCOMPARE(host.cells("A/b"), "00000000000 Empty");
}

void tst_Attributes::clearButtonIcon()
{
    const auto icon = host.row("A/a")->data(12, Qt::DecorationRole).value<QIcon>();
    const auto shown = [&icon](QIcon::Mode mode) { return icon.pixmap(16, mode).toImage(); };
    QVERIFY(shown(QIcon::Selected) == shown(QIcon::Disabled));
    QVERIFY(shown(QIcon::Selected) != shown(QIcon::Normal));
}

void tst_Attributes::pressAndRelease()
{
    // Where: the button of a row, its corners and what is beside it; its material's name, its
    // neighbour cell; or below all rows.
    const auto check = [&](const QString &press, const QString &release, const QString &selected,
                           bool clears = false) {
        init();
        host.select({ "B" });
        const QRect button = host.clearIcon(host.row("A/a"));
        const std::map<QString, QPoint> points{
            { "nowhere", host.emptySpace() },
            { "a button", button.center() },
            { "a top left", button.topLeft() },
            { "a bottom right", button.bottomRight() },
            { "a beside", button.topRight() + QPoint(button.width(), 0) },
            { "b button", host.clearButton(host.row("A/b")) },
            { "a name", host.cell("A/a", 12).center() },
            { "a flag", host.cell("A/a", 11).center() },
            { "b flag", host.cell("A/b", 11).center() },
        };
        QWidget *const viewport = host.tree()->viewport();
        QTest::mousePress(viewport, Qt::LeftButton, {}, points.at(press));
        // A hand that is not quite still, and then one that drags.
        for (const QPoint to : { points.at(press) + QPoint(1, 0), points.at(release) }) {
            QMouseEvent move(QEvent::MouseMove, to, viewport->mapToGlobal(to), Qt::LeftButton,
                             Qt::LeftButton, {});
            QApplication::sendEvent(viewport, &move);
        }
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, points.at(release));
        // A second release belongs to no press.
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, points.at("a button"));
        const QString story = press + " to " + release + ": ";
        QCOMPARE(story + host.cells("A/a"), story + "11111111110 " + (clears ? "Empty" : "red"));
        QCOMPARE(host.cells("A/b"), "11111111110 blue");
        QCOMPARE(story + host.selected(), story + selected);
        QCOMPARE(mkController::isModified(), clears);
    };
    check("a button", "a button", "B*", true);
    check("a top left", "a bottom right", "B*", true);
    check("a button", "a beside", "B*");
    check("a button", "a name", "B*");
    check("a button", "b button", "B*");
    check("a button", "nowhere", "B*");
    check("a beside", "a button", "A/a*");
    check("a flag", "b flag", "A/a A/b*");
    check("b button", "a button", "B*");
    check("nowhere", "b flag", "B*");
}

QTEST_MAIN(tst_Attributes)
#include "tst_attributes.moc"
