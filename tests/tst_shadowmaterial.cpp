// The check box for shadow materials below the list of materials.

#include "HostFixture.h"
#include "MaterialsPane.h"
#include "SceneWatcher.h"
#include "mkKernel/mkController.h"
#include "mkKernelServices/mkScopedUndo.h"

#include <QCheckBox>
#include <QListView>
#include <QTest>
#include <QUndoStack>

class tst_shadowmaterial : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void checkBox();

private:
    HostFixture host;
};

void tst_shadowmaterial::checkBox()
{
    SceneWatcher watcher;
    MaterialsPane pane(&watcher);
    pane.show();
    auto *const box = pane.findChild<QCheckBox *>("shadowMaterial");
    auto *const list = pane.findChild<QListView *>("materials");
    QVERIFY(!box->isEnabled());
    const osg::MaterialPtr red = HostFixture::material("red");
    list->setCurrentIndex(list->model()->index(0, 0));
    QVERIFY(box->isEnabled() && !box->isChecked());

    box->click();
    QVERIFY(red->isShadowMaterial() && mkController::isModified());
    QVERIFY(!HostFixture::material("blue")->isShadowMaterial());
    list->setCurrentIndex(list->model()->index(1, 0));
    QVERIFY(!box->isChecked());
    list->setCurrentIndex(list->model()->index(0, 0));
    QVERIFY(box->isChecked());

    mkUndo::stack()->undo();
    QVERIFY(!red->isShadowMaterial());
    QTRY_VERIFY(!box->isChecked());
    red->setShadowMaterial(true);
    QTRY_VERIFY(box->isChecked());
}

HOST_TEST_MAIN(tst_shadowmaterial)
#include "tst_shadowmaterial.moc"
