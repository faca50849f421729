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
const QList<std::pair<QString, QString>> boxes{
    { "_visible", "Visible" },
    { "_visibleInAlpha", "Visible in Alpha" },
    { "_primaryVisibility", "Primary Visibility" },
    { "_visibleInReflections", "Visible in Reflections" },
    { "_visibleInRefractions", "Visible in Refractions" },
    { "_castShadows", "Cast Shadows" },
    { "_receiveShadows", "Receive Shadows" },
    { "_doubleSided", "Double Sided" },
    { "_visibleForPhotons", "Visible for Photons" },
    { "_visibleForShadowMaterial", "Cast Shadows on Shadow Material" },
    { "_useOverrideMaterial", "Use Override Material" },
};

QString states(const QWidget *dialog)
{
    QString text;
    for (const auto &box : boxes) {
        text += dialog->findChild<QCheckBox *>(box.first)->isChecked() ? '1' : '0';
    }
    return text;
}

void setStates(const QWidget *dialog, const QString &wanted)
{
    for (int i = 0; i < boxes.size(); ++i) {
        auto *const box = dialog->findChild<QCheckBox *>(boxes[i].first);
        if (box->isChecked() != (wanted[i] == '1')) {
            QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
        }
    }
}

void leave(QWidget *dialog, const QString &way)
{
    auto *const buttons = dialog->findChild<QDialogButtonBox *>();
    if (way == "return") {
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Return);
    } else if (way == "close") {
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
    void targets();
    void boxesStayAsTheyWereLeft();
    void hostCalls();
    void memberWithoutAttributes();

private:
    /// Opens the dialog, sets the boxes unless `wanted` is empty, leaves it; what it showed first.
    QString run(const QString &wanted, const QString &way = "ok");

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

// Stands first: the boxes keep their states for the life of the tree.
void tst_Dialog::firstUse()
{
    host.select({ "A/b" });
    ModalAnswers answers([this](QWidget *modal) {
        const auto ok = qScopeGuard([modal] { leave(modal, "ok"); });
        QCOMPARE(modal->windowTitle(), "Attributes");
        QCOMPARE(modal->parentWidget(), host.panel()->centralWidget());
        QCOMPARE(modal->objectName(), "mkAttributesGUI");
        QCOMPARE(modal->findChild<QMKCollapsibleFrame *>("_attCF")->getCaption(), "Attributes");
        QCOMPARE(modal->findChildren<QCheckBox *>().size(), boxes.size());
        int bottom = -1;
        for (const auto &[name, text] : boxes) {
            const auto *const box = modal->findChild<QCheckBox *>(name);
            QCOMPARE(box->text(), text);
            const QPoint topLeft = box->mapTo(modal, QPoint());
            QVERIFY(box->isVisible() && topLeft.y() > bottom && topLeft.x() > 170);
            bottom = topLeft.y() + box->height() - 1;
        }
        QCOMPARE(modal->findChild<QWidget *>("frame_9")->width(), 170);
        const auto *const buttons = modal->findChild<QDialogButtonBox *>();
        QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        QVERIFY(buttons->width() >= 120 && buttons->mapTo(modal, QPoint()).y() > bottom);
        // As designed, unless the fonts need more.
        const QSize least = modal->minimumSizeHint();
        QCOMPARE(modal->size(), QSize(409, 335).expandedTo(least));
        QCOMPARE(states(modal), "00000000000");
    });
    host.action("Apply Attributes to Selected ...")->trigger();
    QCOMPARE(answers.count(), 1);
    QCOMPARE(host.cells("A/b"), "00000000000 Empty");
    QCOMPARE(host.cells("A/a"), "11111111110 Empty");
}

void tst_Dialog::targets()
{
    // Hit: the members of "A", then those of "B".
    const auto apply = [this](const QStringList &selection, const QString &hit,
                              const QString &selectedAfter) {
        init();
        host.select(selection);
        run("00100100001");
        const QStringList paths{ "A/a", "A/b", "A/c", "B/a", "B/d", "B/e" };
        QString changed;
        for (const QString &path : paths) {
            changed += host.cells(path) == "00100100001 Empty" ? '1' : '0';
        }
        QCOMPARE(selection.join(' ') + " hits " + changed, selection.join(' ') + " hits " + hit);
        QCOMPARE(host.selected(), selectedAfter);
        QVERIFY(mkController::isModified());
    };
    apply({ "A/c", "A/a" }, "101000", "A/a* A/c");
    apply({ "A", "B/a" }, "111100", "A*"); // what is hidden counts
    apply({ "B", "A/b" }, "010111", "A/b* B");
    apply({ "Empty" }, "000000", "Empty*");
}

void tst_Dialog::boxesStayAsTheyWereLeft()
{
    host.select({ "A/b" });
    for (const char *way : { "ok", "cancel", "escape", "close" }) {
        run("11100000000");
        mkController::setModified(0);
        const HostCalls calls;
        run("00000000111", way);
        const bool applied = qstrcmp(way, "ok") == 0;
        QCOMPARE(host.cells("A/b"), applied ? "00000000111 Empty" : "11100000000 Empty");
        QCOMPARE(mkController::isModified(), applied);
        QCOMPARE(calls.count("mkRenderLayer::isEmpty"), applied ? 1 : 0);
        QCOMPARE(run(QString(), "cancel"), "00000000111");
    }
    // Return agrees, also after a click on Cancel.
    run("10000000001", "return");
    QCOMPARE(host.cells("A/b"), "10000000001 Empty");
    // Each box is its flag's, and nothing is asked without a selection.
    for (int i = 0; i < boxes.size(); ++i) {
        const QString wanted = QString(11, '0').replace(i, 1, '1');
        run(wanted);
        QCOMPARE(host.cells("A/b"), wanted + " Empty");
    }
    host.select({});
    QCOMPARE(run("11111111111"), "0 dialogs");
}

void tst_Dialog::hostCalls()
{
    host.attributes(0, "a")->setOverrideMaterial(host.material("red"));
    host.select({ "A/c", "A/a" });
    host.tree()->setColumnWidth(0, 1);
    const int narrow = host.tree()->columnWidth(0);
    const Announcements announced(host.attributes(0, "a"));
    const HostCalls calls;
    run("10000000000");
    QCOMPARE(host.tree()->columnWidth(0), narrow);
    QCOMPARE(announced.lines, QStringList("10000000000 red all"));
    QString made = calls
                       .lines({ "mkScenegraph::getRenderLayer", "mkRenderLayer::getAttributes",
                                "mkRenderLayer::setAttributes", "mkRenderLayer::isEmpty" })
                       .mid(0, 7)
                       .join(' ');
    QCOMPARE(made.remove("mkScenegraph::").remove("mkRenderLayer::"),
             "getRenderLayer() getAttributes(0, \"a\") "
             "setAttributes(0, \"a\", RaytracingGeoAttachment) "
             "getAttributes(0, \"c\") "
             "setAttributes(0, \"c\", RaytracingGeoAttachment) "
             "getRenderLayer() isEmpty()");
    QVERIFY(calls.commands().endsWith("setModified(1)"));
}

void tst_Dialog::memberWithoutAttributes()
{
    host.select({ "A" });
    const osg::RenderLayerPtr layer = host.store()->getAttachment()->getLayer(0);
    layer->replaceAttributes(host.node("a"), osg::NullFC);
    layer->subNode(host.node("b"));
    run("01000000000");
    QCOMPARE(host.rows(), "A[a c] B[a d e] Empty[]");
    QCOMPARE(host.values(host.attributes(0, "a")), "none");
    QCOMPARE(host.cells("A/c"), "01000000000 Empty");
}

HOST_TEST_MAIN(tst_Dialog)
#include "tst_dialog.moc"
