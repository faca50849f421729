#include "mkRayLayersDialog.h"

#include "mkKernel/mkScenegraph.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

namespace {

QSpinBox *numberBox(int least, int most, int value)
{
    auto *const box = new QSpinBox;
    box->setRange(least, most);
    box->setValue(value);
    return box;
}

} // namespace

mkRayLayersDialog::mkRayLayersDialog(QWidget *parent)
    : QDialog(parent)
    , folder(new QLineEdit(this))
    , pixelsWide(numberBox(1, 16384, 960))
    , pixelsHigh(numberBox(1, 16384, 540))
    , sampleCount(numberBox(1, 65536, 64))
    , format(new QComboBox(this))
{
    setWindowTitle(tr("Render Layers"));
    const QString scene = mkScenegraph::getFile();
    folder->setText(scene.isEmpty() ? QDir::currentPath() : QFileInfo(scene).absolutePath());
    folder->setMinimumWidth(320);
    auto *const browse = new QPushButton(tr("Browse…"), this);
    connect(browse, &QPushButton::clicked, this, &mkRayLayersDialog::chooseDirectory);
    auto *const place = new QHBoxLayout;
    place->addWidget(folder);
    place->addWidget(browse);
    auto *const size = new QHBoxLayout;
    size->addWidget(pixelsWide);
    size->addWidget(new QLabel(QStringLiteral("×"), this));
    size->addWidget(pixelsHigh);
    size->addStretch();
    format->addItem(tr("PNG, one file for each layer"));
    format->addItem(tr("OpenEXR, one file for all layers"));

    auto *const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel,
                                               this);
    QPushButton *const render = buttons->button(QDialogButtonBox::Ok);
    render->setText(tr("Render"));
    connect(folder, &QLineEdit::textChanged, render,
            [render](const QString &text) { render->setDisabled(text.trimmed().isEmpty()); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *const form = new QFormLayout(this);
    const auto addRow = [form](const QString &text, QLayout *row, QWidget *first) {
        auto *const label = new QLabel(text);
        label->setBuddy(first);
        form->addRow(label, row);
    };
    addRow(tr("&Folder:"), place, folder);
    addRow(tr("&Size:"), size, pixelsWide);
    form->addRow(tr("S&amples:"), sampleCount);
    form->addRow(tr("For&mat:"), format);
    form->addRow(buttons);
}

QString mkRayLayersDialog::directory() const
{
    return folder->text().trimmed();
}

bool mkRayLayersDialog::openExr() const
{
    return format->currentIndex() == 1;
}

QSize mkRayLayersDialog::pictureSize() const
{
    return { pixelsWide->value(), pixelsHigh->value() };
}

int mkRayLayersDialog::samples() const
{
    return sampleCount->value();
}

void mkRayLayersDialog::chooseDirectory()
{
    const QString chosen = QFileDialog::getExistingDirectory(this, windowTitle(), folder->text());
    if (!chosen.isEmpty()) {
        folder->setText(chosen);
    }
}
