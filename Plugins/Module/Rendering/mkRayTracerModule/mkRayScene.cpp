#include "mkRayScene.h"

#include <QCoreApplication>

#include <algorithm>
#include <stdexcept>

using Imath::V3f;

namespace {

[[noreturn]] void fail(const QString &reason)
{
    throw std::runtime_error(reason.toStdString());
}

/// Leaves apply().
struct Cancelled
{};

} // namespace

mkRayScene::mkRayScene()
    : device(rtcNewDevice(nullptr))
    , current(std::make_shared<mkRaySnapshot>())
{
    if (!device) {
        fail(QCoreApplication::translate("mkRayScene", "Embree cannot be started (error %1).")
                 .arg(int(rtcGetDeviceError(nullptr))));
    }
    place();
}

mkRayScene::~mkRayScene()
{
    clear();
    for (const auto &entry : meshes) {
        rtcReleaseScene(entry.second.scene);
    }
    rtcReleaseDevice(device);
}

void mkRayScene::clear()
{
    if (top) {
        rtcReleaseScene(top);
        top = nullptr;
    }
    placed.clear();
}

void mkRayScene::check() const
{
    switch (rtcGetDeviceError(device)) {
    case RTC_ERROR_NONE:
        return;
    case RTC_ERROR_OUT_OF_MEMORY:
        fail(QCoreApplication::translate("mkRayScene",
                                         "There is not enough memory to trace this scene."));
    default:
        fail(QCoreApplication::translate("mkRayScene", "Embree cannot trace this scene."));
    }
}

bool mkRayScene::apply(std::shared_ptr<const mkRaySnapshot> snapshot,
                       const std::atomic<bool> *cancelling)
{
    const std::shared_ptr<const mkRaySnapshot> before = std::exchange(current, std::move(snapshot));
    const auto makeEmpty = [this] {
        cancelled = nullptr;
        current = std::make_shared<mkRaySnapshot>();
        place();
    };
    cancelled = cancelling;
    try {
        if (before->isPlacedLike(*current)) {
            refresh(before.get());
        } else {
            place();
        }
        check();
        return true;
    } catch (const Cancelled &) {
        makeEmpty();
        // That it was cancelled is an error to Embree.
        rtcGetDeviceError(device);
        return false;
    } catch (...) {
        makeEmpty();
        throw;
    }
}

void mkRayScene::stopIfCancelled() const
{
    if (cancelled && *cancelled) {
        throw Cancelled();
    }
}

void mkRayScene::commit(RTCScene scene)
{
    const auto goesOn = [](void *self, double) {
        const std::atomic<bool> *const flag = static_cast<const mkRayScene *>(self)->cancelled;
        return !flag || !*flag;
    };
    rtcSetSceneProgressMonitorFunction(scene, goesOn, this);
    rtcCommitScene(scene);
    stopIfCancelled();
}

RTCScene mkRayScene::built(const std::shared_ptr<const mkRayMesh> &mesh)
{
    const auto known = meshes.find(mesh.get());
    if (known != meshes.end()) {
        known->second.used = true;
        return known->second.scene;
    }
    RTCScene scene = rtcNewScene(device);
    rtcSetSceneFlags(scene, mkEmbree::filterFlag);
    RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    const std::vector<V3f> &positions = mesh->positions;
    const std::vector<std::uint32_t> &indices = mesh->indices;
    void *const vertices = rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0,
                                                   RTC_FORMAT_FLOAT3, sizeof(V3f),
                                                   positions.size());
    void *const corners = rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0,
                                                  RTC_FORMAT_UINT3, 3 * sizeof(std::uint32_t),
                                                  indices.size() / 3);
    if (vertices && corners) {
        std::copy(positions.begin(), positions.end(), static_cast<V3f *>(vertices));
        std::copy(indices.begin(), indices.end(), static_cast<std::uint32_t *>(corners));
        // Rays are let through by instances only; Embree 4 has one bit set.
        rtcSetGeometryMask(geometry, ~0U);
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
    }
    rtcReleaseGeometry(geometry);
    // What is in the map is released with it, also where this ends here.
    meshes.emplace(mesh.get(), Built{ mesh, scene, true });
    commit(scene);
    check();
    return scene;
}

void mkRayScene::place()
{
    ++buildCount;
    clear();
    for (auto &entry : meshes) {
        entry.second.used = false;
    }
    top = rtcNewScene(device);
    rtcSetSceneFlags(top, mkEmbree::filterFlag);
    placed.reserve(current->instances.size());
    for (const mkRayInstance &instance : current->instances) {
        stopIfCancelled();
        RTCScene mesh = built(instance.mesh);
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE);
        rtcSetGeometryInstancedScene(geometry, mesh);
        rtcSetGeometryTransform(geometry, 0, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR,
                                instance.toWorld.getValue());
        rtcSetGeometryMask(geometry, instance.mask);
        rtcCommitGeometry(geometry);
        rtcAttachGeometryByID(top, geometry, unsigned(placed.size()));
        // The scene keeps it.
        rtcReleaseGeometry(geometry);
        const Imath::M44f inverse = instance.toWorld.inverse();
        placed.push_back(
            { geometry,
              { inverse[0][0], inverse[1][0], inverse[2][0], inverse[0][1], inverse[1][1],
                inverse[2][1], inverse[0][2], inverse[1][2], inverse[2][2] } });
    }
    for (auto entry = meshes.begin(); entry != meshes.end();) {
        if (entry->second.used) {
            ++entry;
        } else {
            rtcReleaseScene(entry->second.scene);
            entry = meshes.erase(entry);
        }
    }
    refresh(nullptr);
}

void mkRayScene::refresh(const mkRaySnapshot *before)
{
    bool changed = before == nullptr;
    alike = true;
    needsFilter = false;
    hasPanes = false;
    for (std::size_t i = 0; i < placed.size(); ++i) {
        stopIfCancelled();
        const mkRayInstance &instance = current->instances[i];
        if (before && before->instances[i].mask != instance.mask) {
            rtcSetGeometryMask(placed[i].geometry, instance.mask);
            rtcCommitGeometry(placed[i].geometry);
            changed = true;
        }
        const mkRayMaterial &look = current->materials[instance.material];
        alike = alike
                && ((instance.mask & mkRayKind::Shadow) != 0)
                       == ((instance.mask & mkRayKind::Photon) != 0);
        needsFilter = needsFilter || !instance.doubleSided || look.letsThrough();
        hasPanes = hasPanes || look.transmission > 0;
    }
    if (changed) {
        commit(top);
    }
}
