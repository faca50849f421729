#include "mkRaySession.h"

#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkRayEnvironment.h"

#include <algorithm>
#include <stdexcept>

namespace {

/// Of a picture whose shape is not known yet.
constexpr float usualAspect = 1.5F;

} // namespace

std::unordered_set<std::uint32_t> mkRaySelectedIds()
{
    std::unordered_set<std::uint32_t> ids;
    for (const mkNodePtr &selected : mkSelectionManager::getSelectedNodes()) {
        osg::traverse(selected.get(), [&ids](const osg::NodePtr &node) {
            return ids.insert(node->getId()).second ? osg::Action::Continue : osg::Action::Skip;
        });
    }
    return ids;
}

mkRaySession::mkRaySession(QObject *parent)
    : QObject(parent)
    , reader([this] { timer.start(); })
    , environment(mkRayEnvironment::studio())
{
    timer.setSingleShot(true);
    timer.setInterval(0);
    connect(&timer, &QTimer::timeout, this, &mkRaySession::refresh);
    connect(mkSelectionManager::the(), &mkSelectionManager::selectionChanged, &timer,
            QOverload<>::of(&QTimer::start));
}

std::shared_ptr<const mkRaySnapshot> mkRaySession::snapshot()
{
    return reader.read(mkScenegraph::getRoot(), environment);
}

std::shared_ptr<const mkRaySnapshot> mkRaySession::snapshot(const mkRayLayers::Layer &layer)
{
    return reader.read(mkScenegraph::getRoot(), environment, &layer.attributes);
}

std::vector<mkRaySceneReader::View> mkRaySession::views()
{
    return mkRaySceneReader::views(mkScenegraph::getRoot());
}

mkRayCamera mkRaySession::camera(const QString &name)
{
    if (name.isEmpty()) {
        refresh();
        return cameraControl.camera();
    }
    const auto all = views();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const auto &view) { return view.name == name; });
    if (found == all.end()) {
        throw std::runtime_error(tr("There is no camera \"%1\".").arg(name).toStdString());
    }
    return found->camera;
}

void mkRaySession::lookThrough(const mkRaySceneReader::View &view)
{
    cameraControl.lookThrough(view.camera, mkRayBounds(*snapshot(), {}));
    hasCamera = true;
    Q_EMIT cameraChanged();
}

bool mkRaySession::frame(bool selectedOnly, float aspect)
{
    const auto ids = selectedOnly ? mkRaySelectedIds() : std::unordered_set<std::uint32_t>();
    if (selectedOnly && ids.empty()) {
        return false;
    }
    const Imath::Box3f box = mkRayBounds(*snapshot(), ids);
    cameraControl.frame(box, aspect);
    Q_EMIT cameraChanged();
    return !box.isEmpty();
}

void mkRaySession::setLight(Light kind)
{
    setEnvironment(kind, kind == Light::None ? nullptr : mkRayEnvironment::studio());
}

void mkRaySession::setLightFile(const QString &file)
{
    setEnvironment(Light::File, mkRayEnvironment::fromFile(file));
}

void mkRaySession::setEnvironment(Light kind,
                                  std::shared_ptr<const mkRayEnvironment> newEnvironment)
{
    lightKind = kind;
    environment = std::move(newEnvironment);
    refresh();
}

void mkRaySession::setExposure(float newStops)
{
    stops = newStops;
    Q_EMIT exposureChanged();
}

void mkRaySession::refresh()
{
    timer.stop();
    if (!hasCamera) {
        const auto all = views();
        const Imath::Box3f box = mkRayBounds(*snapshot(), {});
        if (!all.empty()) {
            lookThrough(all.front());
        } else if (!box.isEmpty()) {
            hasCamera = true;
            cameraControl.frameAnew(box, usualAspect);
            Q_EMIT cameraChanged();
        }
    }
    Q_EMIT sceneChanged();
}

void mkRaySession::reset()
{
    hasCamera = false;
    refresh();
}
