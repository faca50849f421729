#include "mkRenderLayerGUIW.h"

mkRenderLayerGUIW::mkRenderLayerGUIW(QWidget *parent, const QString &name)
    : QMainWindow(parent, Qt::WindowFlags())
{
    setObjectName(name);
    setupUi(this);
}
