#include "mkRayCameraControl.h"

#include <algorithm>
#include <cmath>

using Imath::V3f;

namespace {

/// Nearly straight up, where right and left are still told apart.
constexpr float steepest = 1.55F;
constexpr float usualTangent = 0.3093F;

} // namespace

void mkRayCameraControl::lookThrough(const mkRayCamera &camera, const Imath::Box3f &scene)
{
    current = camera;
    const V3f middle = scene.isEmpty() ? camera.position + camera.forward * 5 : scene.center();
    distance = (middle - camera.position).dot(camera.forward);
    if (!(distance > 1e-3F)) {
        distance = scene.isEmpty() ? 5 : std::max(scene.size().length() / 2, 1e-3F);
    }
    pivot = camera.position + camera.forward * distance;
}

void mkRayCameraControl::frame(const Imath::Box3f &box, float aspect)
{
    if (box.isEmpty()) {
        return;
    }
    pivot = box.center();
    // Each corner asks for its own distance; the farthest wins.
    const float tall = current.tangent;
    const float wide = current.tangent * aspect;
    distance = 1e-3F;
    for (unsigned corner = 0; corner < 8; ++corner) {
        const V3f arm = V3f((corner & 1U) != 0 ? box.max.x : box.min.x,
                            (corner & 2U) != 0 ? box.max.y : box.min.y,
                            (corner & 4U) != 0 ? box.max.z : box.min.z)
                        - pivot;
        const float needed = std::max(std::abs(arm.dot(current.right)) / wide,
                                      std::abs(arm.dot(current.up)) / tall);
        distance = std::max(distance, needed - arm.dot(current.forward));
    }
    // A margin.
    distance *= 1.05F;
    current.position = pivot - current.forward * distance;
}

void mkRayCameraControl::frameAnew(const Imath::Box3f &box, float aspect)
{
    current = {};
    current.tangent = usualTangent;
    aim(V3f(0.55F, -0.3F, -0.75F).normalized());
    frame(box, aspect);
}

void mkRayCameraControl::orbit(float around, float up)
{
    const float yaw = std::atan2(current.forward.x, -current.forward.z) - around;
    const float pitch = std::clamp(std::asin(std::clamp(current.forward.y, -1.0F, 1.0F)) - up,
                                   -steepest, steepest);
    aim({ std::cos(pitch) * std::sin(yaw), std::sin(pitch), -std::cos(pitch) * std::cos(yaw) });
    current.position = pivot - current.forward * distance;
}

void mkRayCameraControl::pan(float right, float up)
{
    const float height = 2 * current.tangent * distance;
    const V3f way = (current.right * right + current.up * up) * height;
    pivot -= way;
    current.position -= way;
}

void mkRayCameraControl::zoom(float factor)
{
    distance = std::clamp(distance / factor, 1e-4F, 1e8F);
    current.position = pivot - current.forward * distance;
}

void mkRayCameraControl::aim(const V3f &forward)
{
    current.forward = forward;
    current.right = forward.cross(V3f(0, 1, 0)).normalized();
    current.up = current.right.cross(forward);
}
