#pragma once

#include "mkRayPictureJob.h"

#include <QDialog>

class QComboBox;
class QLineEdit;
class QSpinBox;

/// Asks where and how the pictures of the render layers are to be made.
class mkRayLayersDialog : public QDialog
{
    Q_OBJECT

public:
    explicit mkRayLayersDialog(QWidget *parent);

    QString directory() const;
    bool openExr() const;
    QSize pictureSize() const;
    int samples() const;

private:
    void chooseDirectory();

    QLineEdit *folder;
    QSpinBox *pixelsWide;
    QSpinBox *pixelsHigh;
    QSpinBox *sampleCount;
    QComboBox *format;
};
