#include "StoreStateDialog.h"

#include "mkKernel/mkScenegraph.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>

StoreStateDialog::StoreStateDialog(QWidget *parent)
    : QDialog(parent)
    , name(new QLineEdit)
    , source(new QComboBox)
{
    setWindowTitle(tr("Store Render State"));
    source->addItem(tr("Selected drawables and all below, as they are now"));
    for (const auto &entry : mkScenegraph::getRenderLayer()->getAttachment()->getLayers()) {
        if (const osg::RenderLayerPtr layer{ entry }) {
            source->addItem(tr("Layer %1").arg(QString::fromStdString(layer->getName())),
                            layer->getId());
        }
    }
    auto *const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QPushButton *const ok = buttons->button(QDialogButtonBox::Ok);
    ok->setEnabled(false);
    connect(name, &QLineEdit::textChanged, ok,
            [ok](const QString &text) { ok->setEnabled(!text.isEmpty()); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *const layout = new QFormLayout(this);
    layout->addRow(tr("&Name:"), name);
    layout->addRow(tr("&Attributes:"), source);
    layout->addRow(buttons);
}

QString StoreStateDialog::getName() const
{
    return name->text();
}

osg::RenderLayerPtr StoreStateDialog::getLayer() const
{
    return osg::RenderLayerPtr(
        osg::FieldContainerFactory::the()->getContainer(source->currentData().toUInt()));
}
