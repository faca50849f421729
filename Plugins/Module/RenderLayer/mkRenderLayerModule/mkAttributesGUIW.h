#pragma once

#include "mkRenderAttributes.h"
#include "ui_mkAttributesGUI.h"

#include <QDialog>

/// Asks for all eleven render attributes at once. Its boxes keep their states from one use to
/// the next; it writes nothing itself.
class mkAttributesGUIW : public QDialog, public Ui::mkAttributesGUI
{
    Q_OBJECT

public:
    mkAttributesGUIW(QWidget *parent, const QString &name);

    /// Makes OK the answer to Return, and puts the keyboard on the first box; the boxes stay.
    void forgetLastUse();
    /// The boxes' states, in the order of the attribute table.
    mkRenderAttributeFlags getFlags() const;
};
