#include "mkRaySession.h"

#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkRayEnvironment.h"

#include <algorithm>
#include <stdexcept>

namespace {

/// Of a picture whose shape is not known yet.
constexpr float usualAspect = 1.5F;
/// Short enough to stay within one frame of the screen.
constexpr qint64 sliceMilliseconds = 12;

} // namespace

mkNodeSet mkRaySelectedIds()
{
    mkNodeSet ids;
    for (const mkNodePtr &selected : mkSelectionManager::getSelectedNodes()) {
        osg::traverse(selected.get(), [&ids](const osg::NodePtr &node) {
            return ids.insert(node->getId()) ? osg::Action::Continue : osg::Action::Skip;
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
    connect(&timer, &QTimer::timeout, this, &mkRaySession::readOn);
    selection.setSingleShot(true);
    selection.setInterval(0);
    connect(&selection, &QTimer::timeout, this, &mkRaySession::sceneChanged);
    connect(mkSelectionManager::the(), &mkSelectionManager::selectionChanged, &selection,
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
        if (!hasCamera) {
            refresh();
        }
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
    const mkNodeSet ids = selectedOnly ? mkRaySelectedIds() : mkNodeSet();
    if (selectedOnly && ids.size() == 0) {
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
    follow();
}

void mkRaySession::setExposure(float newStops)
{
    stops = newStops;
    Q_EMIT exposureChanged();
}

void mkRaySession::setWatched(bool watched)
{
    isWatched = watched;
    if (watched) {
        follow();
    } else {
        latest.reset();
        reader.clear();
    }
}

void mkRaySession::follow()
{
    reader.stop();
    timer.start();
}

void mkRaySession::readOn()
{
    if (!isWatched) {
        Q_EMIT sceneChanged();
        return;
    }
    if (!reader.isReading()) {
        reader.begin(mkScenegraph::getRoot(), environment);
    }
    if (auto scene = reader.advance(sliceMilliseconds)) {
        show(scene);
    } else {
        timer.start();
    }
}

void mkRaySession::refresh()
{
    timer.stop();
    reader.stop();
    show(snapshot());
}

void mkRaySession::show(const std::shared_ptr<const mkRaySnapshot> &scene)
{
    latest = isWatched ? scene : nullptr;
    if (!hasCamera) {
        const auto all = views();
        const Imath::Box3f box = mkRayBounds(*scene, {});
        if (!all.empty()) {
            cameraControl.lookThrough(all.front().camera, box);
        } else if (!box.isEmpty()) {
            cameraControl.frameAnew(box, usualAspect);
        }
        hasCamera = !all.empty() || !box.isEmpty();
        if (hasCamera) {
            Q_EMIT cameraChanged();
        }
    }
    Q_EMIT sceneChanged();
}

void mkRaySession::reset()
{
    hasCamera = false;
    latest.reset();
    if (!isWatched) {
        reader.clear();
    }
    follow();
    Q_EMIT sceneChanged();
}
