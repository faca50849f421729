#include "mkRayTracerModule.h"

#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkRayPictureJob.h"
#include "mkRayViewPanel.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QMainWindow>
#include <QThread>

#include <stdexcept>

namespace {

mkRayTracerModule *instance = nullptr;

[[noreturn]] void fail(const QString &reason)
{
    throw std::runtime_error(reason.toStdString());
}

} // namespace

mkRayTracerModule::mkRayTracerModule()
    : mkModuleBase("Ray Tracer", "Rendering", mkMessage::SceneLoaded | mkMessage::SceneMerged,
                   nullptr)
    , session(this)
{
    if (QMKDockWindowManager *const docks = mkController::getDockWindowManager()) {
        panel = new mkRayViewPanel(&session, mkController::getMainWindow());
        docks->addCentral(QT_TRANSLATE_NOOP("QMKDockWindowManager", "Ray-Traced View"), getGroup(),
                          panel, mkIconManager::getIcon("Node/Camera", ""),
                          panel->pictureActions());
    }
    instance = this;
}

mkRayTracerModule::~mkRayTracerModule()
{
    instance = nullptr;
}

mkRayTracerModule *mkRayTracerModule::the()
{
    return instance;
}

QWidget *mkRayTracerModule::getWidget()
{
    return panel;
}

void mkRayTracerModule::update()
{
    session.follow();
}

bool mkRayTracerModule::receivedMessage(mkMessage &message)
{
    if (message.id() == mkMessage::SceneLoaded) {
        session.reset();
    } else if (message.id() == mkMessage::SceneMerged) {
        session.follow();
    }
    return false;
}

QString mkRayTracerModule::renderPicture(const QString &file, QSize size, int samples,
                                         const QString &camera, const Proceed &proceed)
{
    mkRayPictureJob::Settings settings;
    settings.camera = session.camera(camera);
    settings.size = size;
    settings.samples = samples;
    settings.exposure = session.exposure();
    const QString path = QFileInfo(file).absoluteFilePath();
    mkRayPictureJob job = mkRayPictureJob::picture(path, session.snapshot(), settings);
    return job.run([&](float) { return proceed(); }).value(0);
}

QStringList mkRayTracerModule::renderLayers(const QString &directory, QSize size, int samples,
                                            const QString &format, const QString &camera,
                                            const Proceed &proceed)
{
    const bool openExr = format == QLatin1String("exr");
    if (!openExr && format != QLatin1String("png")) {
        fail(tr(R"(A format is "png" or "exr".)"));
    }
    mkRayPictureJob::Settings settings;
    settings.camera = session.camera(camera);
    settings.size = size;
    settings.samples = samples;
    settings.exposure = session.exposure();
    std::vector<mkRayPictureJob::Picture> pictures;
    for (const mkRayLayers::Layer &layer : mkRayLayers::read()) {
        pictures.push_back({ layer.name, session.snapshot(layer) });
    }
    mkRayPictureJob job = mkRayPictureJob::layers(directory, openExr, std::move(pictures),
                                                  settings);
    return job.run([&](float) { return proceed(); });
}

void mkRayTracerModule::setEnvironment(const QString &choice)
{
    if (choice == QLatin1String("studio")) {
        session.setLight(mkRaySession::Light::Studio);
    } else if (choice == QLatin1String("none")) {
        session.setLight(mkRaySession::Light::None);
    } else {
        session.setLightFile(choice);
    }
}

bool mkRayTracerModule::waitForView(int samples, const Proceed &proceed)
{
    session.refresh();
    while (panel && panel->view()->isVisible() && proceed()) {
        const mkRayProgress &progress = panel->view()->progress();
        if (progress.samples >= std::min(samples, mkRayView::samples)) {
            return true;
        }
        if (!progress.failure.isEmpty() || !session.current()
            || session.current()->instances.empty()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        QThread::msleep(5);
    }
    return false;
}
