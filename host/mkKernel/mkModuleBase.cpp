#include "mkKernel/mkModuleBase.h"

#include "mkKernel/mkController.h"

#include <QPixmap>
#include <QVariant>

mkModuleBase::mkModuleBase(const char *moduleName, const char *moduleGroup, quint64 moduleFlags,
                           QPixmap *icon)
    : name(QString::fromUtf8(moduleName))
    , group(QString::fromUtf8(moduleGroup))
    , flags(moduleFlags)
{
    if (icon) {
        setProperty("icon", *icon);
    }
    mkController::addModule(this);
}

mkModuleBase::~mkModuleBase()
{
    mkController::subModule(this);
}

QWidget *mkModuleBase::getWidget()
{
    return nullptr;
}

void mkModuleBase::initialised() {}

void mkModuleBase::update() {}

void mkModuleBase::loop() {}

bool mkModuleBase::receivedMessage(mkMessage &)
{
    return false;
}
