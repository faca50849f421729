#pragma once

#include "mkHostExport.h"
#include "mkUtils/mkMessage.h"

#include <QObject>
#include <QString>

class QPixmap;
class QWidget;

/// Base of the modules that plug-ins bring. A module is known to the host from construction to
/// destruction.
class MK_HOST_API mkModuleBase : public QObject
{
    Q_OBJECT

public:
    /// `name` and `group` are shown to the user. `flags` is the set of message ids (mkMessage::Id,
    /// one bit each) that the module wants in receivedMessage(). `icon` may be null; it is copied.
    mkModuleBase(const char *name, const char *group, quint64 flags, QPixmap *icon);
    ~mkModuleBase() override;

    QString getName() const { return name; }
    QString getGroup() const { return group; }
    quint64 getFlags() const { return flags; }

    /// The module's main widget, or null.
    virtual QWidget *getWidget();
    /// Called when all plug-ins have been initialised, and again when more were loaded since.
    virtual void initialised();
    /// Called before a requested render.
    virtual void update();
    /// Called on each turn of the host's render loop, before update().
    virtual void loop();
    /// Receives the messages that the flags name. True ends the message's delivery to modules.
    virtual bool receivedMessage(mkMessage &message);

private:
    QString name;
    QString group;
    quint64 flags;
};
