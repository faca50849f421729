#include "mkRayScene.h"

#include "mkRaySampler.h"

#include <QCoreApplication>

#include <algorithm>
#include <stdexcept>

using Imath::C3f;
using Imath::C4f;
using Imath::V2f;
using Imath::V3f;

namespace {

/// Takes `corners` to the values of the hit's triangle at the hit.
template <typename Value>
Value interpolated(const mkRayMesh &mesh, const std::vector<Value> &corners, const mkRayHit &hit)
{
    const std::uint32_t *const corner = &mesh.indices[std::size_t(hit.triangle) * 3];
    return corners[corner[0]] * (1 - hit.u - hit.v) + corners[corner[1]] * hit.u
           + corners[corner[2]] * hit.v;
}

[[noreturn]] void fail(const QString &reason)
{
    throw std::runtime_error(reason.toStdString());
}

std::uint32_t saltOf(std::uint32_t path, std::uint32_t instance, std::uint32_t triangle)
{
    return mkRayHash(mkRayHash(path, instance), triangle);
}

/// What is less opaque than this does not show in a picture.
constexpr float leastSeen = 0.05F;

} // namespace

struct mkRayScene::Context
{
    /// First, since Embree hands it back.
    mkEmbree::Context embree;
    const mkRayScene *scene;
    std::uint32_t salt;
    /// For shadow rays to lamps, which panes tint.
    C3f *passed;
    /// The first surface that has let the ray through though it can be seen, and where it is.
    std::uint32_t seen = mkRayHit::none;
    float distance = std::numeric_limits<float>::infinity();
};

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

void mkRayScene::apply(std::shared_ptr<const mkRaySnapshot> snapshot)
{
    const std::shared_ptr<const mkRaySnapshot> before = std::exchange(current, std::move(snapshot));
    try {
        if (before->isPlacedLike(*current)) {
            refresh(before.get());
        } else {
            place();
        }
        check();
    } catch (...) {
        current = std::make_shared<mkRaySnapshot>();
        place();
        throw;
    }
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
    rtcCommitScene(scene);
    meshes.emplace(mesh.get(), Built{ mesh, scene, true });
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
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE);
        rtcSetGeometryInstancedScene(geometry, built(instance.mesh));
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
        rtcCommitScene(top);
    }
}

void mkRayScene::filter(const RTCFilterFunctionNArguments *arguments)
{
    auto &context = *reinterpret_cast<Context *>(arguments->context);
    const auto &ray = *reinterpret_cast<const RTCRay *>(arguments->ray);
    const auto &met = *reinterpret_cast<const RTCHit *>(arguments->hit);
    const mkRayScene &scene = *context.scene;
    const std::uint32_t number = met.instID[0];
    const mkRayInstance &instance = scene.current->instances[number];
    // Within an instance Embree's rays are in the mesh's space.
    const bool isBack = met.Ng_x * ray.dir_x + met.Ng_y * ray.dir_y + met.Ng_z * ray.dir_z > 0;
    if (isBack && !instance.doubleSided) {
        arguments->valid[0] = 0;
        return;
    }
    const mkRayMaterial &look = scene.current->materials[instance.material];
    if (!look.letsThrough() && !context.passed) {
        return;
    }
    const mkRayHit hit{ number, met.primID, met.u, met.v, 0, {} };
    const C4f color = scene.baseColor(hit);
    const bool blends = look.alphaMode == mkRayMaterial::AlphaMode::Blend;
    if (look.alphaMode == mkRayMaterial::AlphaMode::Mask ? color.a < look.alphaCutoff
        : blends ? mkRayUnit(saltOf(context.salt, number, met.primID)) >= color.a
                 : false) {
        arguments->valid[0] = 0;
        if (blends && color.a >= leastSeen && ray.tfar < context.distance) {
            context.seen = number;
            context.distance = ray.tfar;
        }
    } else if (context.passed && look.transmission > 0) {
        const float part = look.transmission * (1 - look.metallic);
        // A pane has two sides.
        *context.passed *= C3f(std::sqrt(color.r), std::sqrt(color.g), std::sqrt(color.b)) * part;
        arguments->valid[0] = 0;
    }
}

RTCFilterFunctionN mkRayScene::filterFor(const Context &context) const
{
    return needsFilter || context.passed ? &filter : nullptr;
}

void mkRayScene::prepare(RTCRay &embreeRay, const mkRay &ray, std::uint32_t kinds)
{
    embreeRay.org_x = ray.origin.x;
    embreeRay.org_y = ray.origin.y;
    embreeRay.org_z = ray.origin.z;
    embreeRay.tnear = 0;
    embreeRay.dir_x = ray.direction.x;
    embreeRay.dir_y = ray.direction.y;
    embreeRay.dir_z = ray.direction.z;
    embreeRay.time = 0;
    embreeRay.tfar = ray.farthest;
    embreeRay.mask = kinds;
    embreeRay.id = 0;
    embreeRay.flags = 0;
}

bool mkRayScene::intersect(const mkRay &ray, std::uint32_t kinds, std::uint32_t salt,
                           mkRayHit &hit) const
{
    Context context{ {}, this, salt, nullptr };
    RTCRayHit query;
    prepare(query.ray, ray, kinds);
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    query.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
    mkEmbree::intersect(top, context.embree, filterFor(context), query);
    if (query.hit.geomID == RTC_INVALID_GEOMETRY_ID) {
        hit.seen = context.seen;
        return false;
    }
    const std::uint32_t instance = query.hit.instID[0];
    hit = { instance,
            query.hit.primID,
            query.hit.u,
            query.hit.v,
            query.ray.tfar,
            { query.hit.Ng_x, query.hit.Ng_y, query.hit.Ng_z },
            context.distance < query.ray.tfar ? context.seen : instance };
    return true;
}

bool mkRayScene::isBlocked(const mkRay &ray, std::uint32_t kinds, std::uint32_t salt) const
{
    Context context{ {}, this, salt, nullptr };
    RTCRay query;
    prepare(query, ray, kinds);
    return isBlocked(context, query);
}

bool mkRayScene::isBlocked(Context &context, RTCRay &embreeRay) const
{
    mkEmbree::occlude(top, context.embree, filterFor(context), embreeRay);
    return embreeRay.tfar < 0;
}

C3f mkRayScene::passed(const mkRay &ray, std::uint32_t salt) const
{
    C3f light(1, 1, 1);
    Context context{ {}, this, salt, hasPanes ? &light : nullptr };
    RTCRay query;
    prepare(query, ray, mkRayKind::Shadow);
    return isBlocked(context, query) ? C3f(0, 0, 0) : light;
}

V2f mkRayScene::texCoord(const mkRayHit &hit) const
{
    const mkRayMesh &mesh = *current->instances[hit.instance].mesh;
    return mesh.texCoords.empty() ? V2f(0, 0) : interpolated(mesh, mesh.texCoords, hit);
}

V3f mkRayScene::flatNormal(const mkRayHit &hit) const
{
    return (hit.meshNormal * placed[hit.instance].normals).normalized();
}

V3f mkRayScene::smoothNormal(const mkRayHit &hit) const
{
    const mkRayMesh &mesh = *current->instances[hit.instance].mesh;
    if (mesh.normals.empty()) {
        return flatNormal(hit);
    }
    const V3f normal = (interpolated(mesh, mesh.normals, hit) * placed[hit.instance].normals)
                           .normalized();
    // A mesh may hold normals of no length, or not a number.
    return normal.dot(normal) > 0.5F ? normal : flatNormal(hit);
}

C4f mkRayScene::baseColor(const mkRayHit &hit) const
{
    const mkRayMaterial &look = material(hit.instance);
    const C4f color(look.baseColor.x, look.baseColor.y, look.baseColor.z, look.alpha);
    return look.texture ? color * look.texture->lookUp(texCoord(hit)) : color;
}
