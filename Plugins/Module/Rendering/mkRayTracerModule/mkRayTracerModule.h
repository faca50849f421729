#pragma once

#include "mkKernel/mkModuleBase.h"
#include "mkRaySession.h"

#include <tbb/global_control.h>

#include <QPointer>

class mkRayViewPanel;

/// The plug-in's one module. It builds the view, hands it to the host's dock window manager, has it
/// follow the host's renders and scenes, and carries the operations that scripts call. The view
/// belongs to the host's windows.
class mkRayTracerModule : public mkModuleBase
{
    Q_OBJECT

public:
    mkRayTracerModule();
    ~mkRayTracerModule() override;

    /// The one module; null before initPlugin().
    static mkRayTracerModule *the();

    QWidget *getWidget() override;
    void update() override;
    /// Takes the camera of a scene that was opened. Always false: others get the message too.
    bool receivedMessage(mkMessage &message) override;

    // What scripts call, on the GUI thread. Failures are thrown as std::runtime_error. `proceed` is
    // asked now and then whether to go on.

    using Proceed = std::function<bool()>;
    /// Returns the absolute path.
    QString renderPicture(const QString &file, QSize size, int samples, const QString &camera,
                          const Proceed &proceed);
    QStringList renderLayers(const QString &directory, QSize size, int samples,
                             const QString &format, const QString &camera, const Proceed &proceed);
    /// "studio", "none", or an OpenEXR file.
    void setEnvironment(const QString &choice);
    /// Until the view has so many samples; false when it cannot be seen or has nothing to show.
    bool waitForView(int samples, const Proceed &proceed);

private:
    /// TBB's threads, which must have ended before the library that they run in is unloaded.
    class Workers
    {
    public:
        Workers()
            : handle(tbb::attach())
        {}
        ~Workers() { tbb::finalize(handle, std::nothrow); }

    private:
        tbb::task_scheduler_handle handle;
    };

    Workers workers;
    mkRaySession session;
    QPointer<mkRayViewPanel> panel;
};
