#include "HostFixture.h"

#include "mkKernel/mkController.h"
#include "mkQt4Ext/QMKCollapsibleFrame.h"

#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QScopeGuard>
#include <QTest>

namespace {

/// The boxes from top to bottom: the attributes in the order of the tree's columns.
const QStringList boxNames{ "_visible",
                            "_visibleInAlpha",
                            "_primaryVisibility",
                            "_visibleInReflections",
                            "_visibleInRefractions",
                            "_castShadows",
                            "_receiveShadows",
                            "_doubleSided",
                            "_visibleForPhotons",
                            "_visibleForShadowMaterial",
                            "_useOverrideMaterial" };

QString states(const QWidget *dialog)
{
    QString text;
    for (const QString &name : boxNames) {
        text += dialog->findChild<QCheckBox *>(name)->isChecked() ? '1' : '0';
    }
    return text;
}

void setStates(const QWidget *dialog, const QString &wanted)
{
    for (int i = 0; i < boxNames.size(); ++i) {
        auto *const box = dialog->findChild<QCheckBox *>(boxNames[i]);
        if (box->isChecked() != (wanted[i] == '1')) {
            QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
        }
    }
}

void leave(QWidget *dialog, const QString &way)
{
    auto *const buttons = dialog->findChild<QDialogButtonBox *>();
    if (way == "close") {
        dialog->close();
    } else if (way == "escape") {
        QTest::keyClick(dialog, Qt::Key_Escape);
    } else {
        QTest::mouseClick(buttons->button(way == "ok" ? QDialogButtonBox::Ok
                                                      : QDialogButtonBox::Cancel),
                          Qt::LeftButton);
    }
}

} // namespace

/// "Apply Attributes to Selected ...".
class tst_Dialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void firstUse();
    void targets_data();
    void targets();
    void eachBoxItsFlag();
    void boxesStayAsTheyWereLeft_data();
    void boxesStayAsTheyWereLeft();
    void hostCalls();
    void needsASelection();
    void memberWithoutAttributes();

private:
    /// Opens the dialog, sets the boxes unless `wanted` is empty, leaves it; what it showed first.
    QString run(const QString &wanted, const QString &way = "ok");
    QStringList stored() const;

    HostFixture host;
};

void tst_Dialog::init()
{
    host.reset();
    host.addLayer("A", { "a", "b", "c" });
    host.addLayer("B", { "a", "d", "e" }, false);
    host.addLayer("Empty");
    host.rebuild();
}

QString tst_Dialog::run(const QString &wanted, const QString &way)
{
    QString first;
    ModalAnswers answers([&](QWidget *modal) {
        first = states(modal);
        if (!wanted.isEmpty()) {
            setStates(modal, wanted);
        }
        leave(modal, way);
    });
    host.action("Apply Attributes to Selected ...")->trigger();
    return answers.count() == 1 ? first : QString::number(answers.count()) + " dialogs";
}

QStringList tst_Dialog::stored() const
{
    return { host.values(host.attributes(0, "a")), host.values(host.attributes(0, "b")),
             host.values(host.attributes(0, "c")), host.values(host.attributes(1, "a")),
             host.values(host.attributes(1, "d")), host.values(host.attributes(1, "e")) };
}

// Stands first: the boxes keep their states for the life of the tree.
void tst_Dialog::firstUse()
{
    host.select({ "A/b" });
    ModalAnswers answers([this](QWidget *modal) {
        const auto ok = qScopeGuard([modal] { leave(modal, "ok"); });
        QCOMPARE(modal->windowTitle(), QStringLiteral("Attributes"));
        QCOMPARE(modal->parentWidget(), host.panel()->centralWidget());
        QCOMPARE(modal->objectName(), QStringLiteral("mkAttributesGUI"));
        QCOMPARE(modal->findChild<QMKCollapsibleFrame *>("_attCF")->getCaption(),
                 QStringLiteral("Attributes"));
        const QStringList texts{ "Visible",
                                 "Visible in Alpha",
                                 "Primary Visibility",
                                 "Visible in Reflections",
                                 "Visible in Refractions",
                                 "Cast Shadows",
                                 "Receive Shadows",
                                 "Double Sided",
                                 "Visible for Photons",
                                 "Cast Shadows on Shadow Material",
                                 "Use Override Material" };
        QCOMPARE(modal->findChildren<QCheckBox *>().size(), texts.size());
        int bottom = -1;
        for (int i = 0; i < texts.size(); ++i) {
            const auto *const box = modal->findChild<QCheckBox *>(boxNames[i]);
            QCOMPARE(box->text(), texts[i]);
            QVERIFY(box->isVisible());
            const QPoint topLeft = box->mapTo(modal, QPoint());
            QVERIFY(topLeft.y() > bottom && topLeft.x() > 170);
            bottom = topLeft.y() + box->height() - 1;
        }
        QCOMPARE(modal->findChild<QWidget *>("frame_9")->width(), 170);
        const auto *const buttons = modal->findChild<QDialogButtonBox *>();
        QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        QVERIFY(buttons->width() >= 120 && buttons->mapTo(modal, QPoint()).y() > bottom);
        // As designed, unless the fonts need more.
        const QSize least = modal->minimumSizeHint();
        QCOMPARE(modal->size(), QSize(409, 335).expandedTo(least));
        QCOMPARE(states(modal), QStringLiteral("00000000000"));
    });
    host.action("Apply Attributes to Selected ...")->trigger();
    QCOMPARE(answers.count(), 1);
    QCOMPARE(host.cells("A/b"), QStringLiteral("00000000000 Empty"));
    QCOMPARE(host.cells("A/a"), QStringLiteral("11111111110 Empty"));
}

void tst_Dialog::targets_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<QString>("hit");
    QTest::addColumn<QString>("selectedAfter");
    // Hit: the six entries of stored().
    QTest::newRow("node") << QStringList{ "A/a" } << "100000"
                          << "A/a*";
    QTest::newRow("nodes") << QStringList{ "A/c", "A/a" } << "101000"
                           << "A/a* A/c";
    QTest::newRow("layer") << QStringList{ "A" } << "111000"
                           << "A*";
    QTest::newRow("layer and one of its nodes") << QStringList{ "A", "A/b" } << "111000"
                                                << "A* A/b";
    QTest::newRow("collapsed layer") << QStringList{ "B" } << "000111"
                                     << "B*";
    QTest::newRow("collapsed layer's node") << QStringList{ "A", "B/a" } << "111100"
                                            << "A*";
    QTest::newRow("layer and another's node") << QStringList{ "B", "A/b" } << "010111"
                                              << "A/b* B";
    QTest::newRow("empty layer") << QStringList{ "Empty" } << "000000"
                                 << "Empty*";
    QTest::newRow("all") << QStringList{ "A", "B", "Empty", "A/a", "A/b", "A/c", "B/d" } << "111111"
                         << "A* A/a A/b A/c B Empty";
}

void tst_Dialog::targets()
{
    QFETCH(QStringList, selection);
    QFETCH(QString, hit);
    QFETCH(QString, selectedAfter);
    host.attributes(0, "a")->setOverrideMaterial(host.material("red"));
    QStringList expected = stored();
    for (int i = 0; i < hit.size(); ++i) {
        if (hit[i] == '1') {
            expected[i].replace(0, 11, "00100100001");
        }
    }
    host.select(selection);
    const HostCalls calls;
    run("00100100001");
    QCOMPARE(stored(), expected);
    const QStringList paths{ "A/a", "A/b", "A/c", "B/a", "B/d", "B/e" };
    for (int i = 0; i < paths.size(); ++i) {
        QCOMPARE(host.cells(paths[i]), expected[i]);
    }
    QCOMPARE(host.selected(), selectedAfter);
    QCOMPARE(calls.count("mkRenderLayer::isEmpty"), 1);
    QVERIFY(mkController::isModified());
    QVERIFY(host.row("A")->isExpanded() && !host.row("B")->isExpanded());
}

void tst_Dialog::eachBoxItsFlag()
{
    host.select({ "A/a" });
    for (int i = 0; i < 11; ++i) {
        QString wanted(11, '0');
        wanted[i] = '1';
        run(wanted);
        QCOMPARE(host.cells("A/a"), wanted + " Empty");
    }
}

void tst_Dialog::boxesStayAsTheyWereLeft_data()
{
    QTest::addColumn<QString>("way");
    for (const char *way : { "ok", "cancel", "escape", "close" }) {
        QTest::newRow(way) << way;
    }
}

void tst_Dialog::boxesStayAsTheyWereLeft()
{
    QFETCH(QString, way);
    host.select({ "A/a", "A/b" });
    run("11100000000");
    const QStringList before = stored();
    mkController::setModified(0);
    const HostCalls calls;
    run("00000000111", way);
    const bool applied = way == "ok";
    QCOMPARE(stored() != before, applied);
    QCOMPARE(mkController::isModified(), applied);
    QCOMPARE(calls.count("mkRenderLayer::isEmpty"), applied ? 1 : 0);
    QCOMPARE(run(QString(), "cancel"), QStringLiteral("00000000111"));
}

void tst_Dialog::hostCalls()
{
    host.select({ "A/c", "A/a" });
    const HostCalls calls;
    run("10000000000");
    const QStringList made = calls.lines(
        { "mkScenegraph::getRenderLayer", "mkRenderLayer::getAttributes",
          "mkRenderLayer::setAttributes", "mkRenderLayer::isEmpty", "mkController::setModified" });
    QStringList names;
    for (const QString &line : made) {
        names += line.section("::", 1).section(", Ray", 0, 0).remove(')');
    }
    QCOMPARE(names.mid(0, 7).join(' '),
             QStringLiteral("getRenderLayer( getAttributes(0, \"a\" setAttributes(0, \"a\" "
                            "getAttributes(0, \"c\" setAttributes(0, \"c\" getRenderLayer( "
                            "isEmpty("));
    QCOMPARE(names.last(), QStringLiteral("setModified(1"));
}

void tst_Dialog::needsASelection()
{
    host.select({});
    QCOMPARE(run("11111111111"), QStringLiteral("0 dialogs"));
    QVERIFY(!mkController::isModified());
}

void tst_Dialog::memberWithoutAttributes()
{
    host.select({ "A" });
    const osg::RenderLayerPtr layer = host.store()->getAttachment()->getLayer(0);
    layer->replaceAttributes(host.node("a"), osg::NullFC);
    layer->subNode(host.node("b"));
    run("01000000000");
    QCOMPARE(host.rows(), QStringLiteral("A[a c] B[a d e] Empty[]"));
    QCOMPARE(host.values(host.attributes(0, "a")), QStringLiteral("none"));
    QCOMPARE(host.cells("A/c"), QStringLiteral("01000000000 Empty"));
}

HOST_TEST_MAIN(tst_Dialog)
#include "tst_dialog.moc"
