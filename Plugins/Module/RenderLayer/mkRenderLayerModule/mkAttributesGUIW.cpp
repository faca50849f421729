#include "mkAttributesGUIW.h"

#include <QPushButton>

mkAttributesGUIW::mkAttributesGUIW(QWidget *parent, const QString &name)
    : QDialog(parent)
{
    setObjectName(name);
    setupUi(this);
}

void mkAttributesGUIW::forgetLastUse()
{
    buttonBox->button(QDialogButtonBox::Ok)->setDefault(true);
    _visible->setFocus();
}

mkRenderAttributeFlags mkAttributesGUIW::getFlags() const
{
    // The form has one box a row, in the table's order.
    constexpr int boxColumn = 1;
    mkRenderAttributeFlags flags{};
    for (std::size_t i = 0; i < flags.size(); ++i) {
        QWidget *const box = gridLayout->itemAtPosition(int(i), boxColumn)->widget();
        flags[i] = qobject_cast<QCheckBox *>(box)->isChecked();
    }
    return flags;
}
