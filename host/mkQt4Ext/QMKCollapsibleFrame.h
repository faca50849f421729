#pragma once

// Forms set the caption and nobody watches it. clazy:excludeall=qproperty-without-notify

#include "mkHostExport.h"

#include <QFrame>

class QToolButton;
class QVBoxLayout;

/// A frame with a caption that shows or hides its pages at a click. Expanded at first.
class MK_HOST_API QMKCollapsibleFrame : public QFrame
{
    Q_OBJECT
    Q_PROPERTY(QString caption READ getCaption WRITE setCaption)

public:
    explicit QMKCollapsibleFrame(QWidget *parent = nullptr);

    QString getCaption() const;
    void setCaption(const QString &caption);
    /// Adds `page` below the pages that are there; the frame takes ownership.
    void addPage(QWidget *page);

private:
    QToolButton *header;
    QWidget *pages;
    QVBoxLayout *pageLayout;
};
