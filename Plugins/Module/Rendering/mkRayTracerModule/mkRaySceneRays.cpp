#include "mkRayScene.h"

#include "mkRaySampler.h"

#include <cmath>

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
