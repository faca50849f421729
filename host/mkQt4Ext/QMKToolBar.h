#pragma once

#include "mkHostExport.h"

#include <QToolBar>

/// The host's tool bar.
class MK_HOST_API QMKToolBar : public QToolBar
{
    Q_OBJECT

public:
    explicit QMKToolBar(const QString &title, QWidget *parent = nullptr);

    using QToolBar::addAction;
    /// Appends `action` as a button. The action stays the caller's.
    virtual void addAction(QAction *action);
};
