#pragma once

#include "mkOpenSGExt/RenderLayers.h"

#include <QDialog>

class QComboBox;
class QLineEdit;

/// Asks for the name of a render state, and whether it is made of the current attributes of the
/// selected nodes or of a layer.
class StoreStateDialog : public QDialog
{
    Q_OBJECT

public:
    explicit StoreStateDialog(QWidget *parent);

    QString getName() const;
    /// Null for the current attributes.
    osg::RenderLayerPtr getLayer() const;

private:
    QLineEdit *name;
    QComboBox *source;
};
