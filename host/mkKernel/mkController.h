#pragma once

#include "mkHostExport.h"
#include "mkUtils/mkMessage.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <string>
#include <utility>
#include <vector>

class mkModuleBase;
class QMainWindow;
class QMKDockWindowManager;

/// The host's hub: main window, modules, messages, the document's modified flag, renders.
class MK_HOST_API mkController : public QObject
{
    Q_OBJECT

public:
    using Callback = void (*)(mkMessage &);

    static mkController *the();

    /// Null without a window.
    static QMainWindow *getMainWindow();
    static void setMainWindow(QMainWindow *window);
    static QMKDockWindowManager *getDockWindowManager();
    static void setDockWindowManager(QMKDockWindowManager *manager);

    /// Subscribes `callback` to messages of this name. Subscribing the same pair again changes
    /// nothing.
    static void addCB(const std::string &message, Callback callback);
    static void subCB(const std::string &message, Callback callback);
    /// Delivers a message: to the subscribers of its name in the order of their subscription,
    /// then, if it has an id, to the message hook of the modules that want it. A subscriber or a
    /// hook that throws is reported in the log; the others are still told.
    static void sendMessage(mkMessage &message);

    /// Marks the document modified (non-zero) or unmodified (0).
    static void setModified(int modified);
    static bool isModified();

    /// Requests a render. With true it happens at once, otherwise with the next turn of the event
    /// loop, one render for all requests until then.
    static void updateRender(bool immediately);

    /// Calls `call` with each module that is there, in order, until one returns true. Modules may
    /// come and go meanwhile. One that throws is reported in the log as a failure of `hook`; the
    /// others still get their turn.
    static void forEachModule(const char *hook, const std::function<bool(mkModuleBase &)> &call);
    static const std::vector<mkModuleBase *> &getModules();
    static void addModule(mkModuleBase *module);
    static void subModule(mkModuleBase *module);

Q_SIGNALS:
    void modifiedChanged(bool modified);
    void rendered();

private:
    mkController() = default;
    void render();

    QPointer<QMainWindow> mainWindow;
    QPointer<QObject> dockWindowManager;
    std::vector<std::pair<std::string, Callback>> callbacks;
    std::vector<mkModuleBase *> modules;
    bool modified = false;
    bool renderRequested = false;
};
