#include "mkKernel/mkController.h"

#include "mkKernel/mkModuleBase.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkUtils/mkLog.h"
#include "mkUtils/mkTrace.h"

#include <QMainWindow>
#include <QTimer>

#include <algorithm>
#include <exception>
#include <functional>

namespace {

/// What `call` returns; false, and a line in the log, when it throws.
bool guarded(const std::string &what, const std::function<bool()> &call)
{
    try {
        return call();
    } catch (const std::exception &failure) {
        mkLog::error("mkController: %s failed: %s", what.c_str(), failure.what());
    } catch (...) {
        mkLog::error("mkController: %s failed!", what.c_str());
    }
    return false;
}

} // namespace

mkController *mkController::the()
{
    static mkController controller;
    return &controller;
}

QMainWindow *mkController::getMainWindow()
{
    mkTrace::call("mkController::getMainWindow");
    return the()->mainWindow;
}

void mkController::setMainWindow(QMainWindow *window)
{
    the()->mainWindow = window;
}

QMKDockWindowManager *mkController::getDockWindowManager()
{
    mkTrace::call("mkController::getDockWindowManager");
    return static_cast<QMKDockWindowManager *>(the()->dockWindowManager.data());
}

void mkController::setDockWindowManager(QMKDockWindowManager *manager)
{
    the()->dockWindowManager = manager;
}

void mkController::addCB(const std::string &message, Callback callback)
{
    mkTrace::call("mkController::addCB", message);
    auto &all = the()->callbacks;
    const auto entry = std::make_pair(message, callback);
    if (std::find(all.begin(), all.end(), entry) == all.end()) {
        all.push_back(entry);
    }
}

void mkController::subCB(const std::string &message, Callback callback)
{
    mkTrace::call("mkController::subCB", message);
    auto &all = the()->callbacks;
    all.erase(std::remove(all.begin(), all.end(), std::make_pair(message, callback)), all.end());
}

void mkController::sendMessage(mkMessage &message)
{
    // Copies: whoever is told may subscribe, unsubscribe, or unload a plug-in.
    const auto callbacks = the()->callbacks;
    for (const auto &entry : callbacks) {
        const auto &current = the()->callbacks;
        if (entry.first != message.name()
            || std::find(current.begin(), current.end(), entry) == current.end()) {
            continue;
        }
        guarded("A subscriber of '" + message.name() + '\'', [&] {
            entry.second(message);
            return false;
        });
    }
    forEachModule("mkModuleBase::receivedMessage", [&message](mkModuleBase &module) {
        return (module.getFlags() & message.id()) != 0 && module.receivedMessage(message);
    });
}

void mkController::forEachModule(const char *hook, const std::function<bool(mkModuleBase &)> &call)
{
    const auto modules = the()->modules;
    for (mkModuleBase *module : modules) {
        const auto &current = the()->modules;
        const bool alive = std::find(current.begin(), current.end(), module) != current.end();
        if (alive && guarded(hook, [&] { return call(*module); })) {
            break;
        }
    }
}

void mkController::setModified(int newModified)
{
    mkTrace::call("mkController::setModified", newModified);
    const bool modified = newModified != 0;
    if (the()->modified != modified) {
        the()->modified = modified;
        Q_EMIT the()->modifiedChanged(modified);
    }
}

bool mkController::isModified()
{
    return the()->modified;
}

void mkController::updateRender(bool immediately)
{
    mkTrace::call("mkController::updateRender", immediately);
    if (immediately) {
        the()->render();
    } else if (!the()->renderRequested) {
        the()->renderRequested = true;
        QTimer::singleShot(0, the(), [] {
            if (the()->renderRequested) {
                the()->render();
            }
        });
    }
}

void mkController::render()
{
    renderRequested = false;
    forEachModule("mkModuleBase::loop", [](mkModuleBase &module) {
        module.loop();
        return false;
    });
    forEachModule("mkModuleBase::update", [](mkModuleBase &module) {
        module.update();
        return false;
    });
    Q_EMIT rendered();
}

const std::vector<mkModuleBase *> &mkController::getModules()
{
    return the()->modules;
}

void mkController::addModule(mkModuleBase *module)
{
    the()->modules.push_back(module);
}

void mkController::subModule(mkModuleBase *module)
{
    auto &all = the()->modules;
    all.erase(std::remove(all.begin(), all.end(), module), all.end());
}
