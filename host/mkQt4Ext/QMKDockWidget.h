#pragma once

#include "mkHostExport.h"

#include <QDockWidget>

/// A dock window of the host.
class MK_HOST_API QMKDockWidget : public QDockWidget
{
    Q_OBJECT

public:
    using QDockWidget::QDockWidget;
};
