#pragma once

#include "ui_mkRenderLayerGUI.h"

#include <QMainWindow>

/// The panel "Render Layer": the layer tree over a status bar. The module adds the tool bar.
class mkRenderLayerGUIW : public QMainWindow, public Ui::mkRenderLayerGUI
{
    Q_OBJECT

public:
    mkRenderLayerGUIW(QWidget *parent, const QString &name);
};
