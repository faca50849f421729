#include "mkRayIntegrator.h"

#include "mkRayEnvironment.h"
#include "mkRayLights.h"

#include <algorithm>
#include <cmath>

using Imath::C3f;
using Imath::C4f;
using Imath::V2f;
using Imath::V3f;
using Lobe = mkRayBsdf::Lobe;

namespace {

/// How many partly transparent surfaces and shadow materials a path may pass.
constexpr int mostPassed = 64;
/// Light that came over a second surface is cut off here, or single paths would leave bright
/// specks.
constexpr float brightestIndirect = 20;
/// Candidates among which a shadow material's one shadow ray is chosen.
constexpr int shadowCandidates = 8;

constexpr float pi = float(M_PI);

/// The balance of two techniques.
float weightOf(float used, float other)
{
    return used / (used + other);
}

float largest(const C3f &color)
{
    return std::max({ color.x, color.y, color.z });
}

} // namespace

/// A path on its way.
struct mkRayIntegrator::Path
{
    void add(C3f light)
    {
        if (bounces > 1) {
            light *= std::min(1.0F, brightestIndirect / std::max(largest(light), 1e-6F));
        }
        result.radiance += light;
    }

    mkRay ray;
    mkRaySampler sampler;
    mkRaySample result;
    std::uint32_t kind = mkRayKind::Camera;
    C3f throughput{ 1, 1, 1 };
    int bounces = 0;
    int passed = 0;
    /// Of the ray's direction, where the environment could have been found by other means; else 0.
    float density = 0;
    /// False when the environment in the ray's direction was counted already.
    bool environmentCounts = false;
};

/// Where a path is.
struct mkRayIntegrator::Point
{
    const mkRayInstance &instance;
    const mkRayMaterial &material;
    C3f color;
    V3f position;
    /// On the ray's side, both.
    V3f flat;
    V3f z;
    V3f x;
    V3f y;
    V3f out;
    bool entering;

    V3f toLocal(const V3f &v) const { return { v.dot(x), v.dot(y), v.dot(z) }; }
    V3f toWorld(const V3f &v) const { return x * v.x + y * v.y + z * v.z; }
    /// Off the surface, on the side that the direction leads to.
    mkRay rayTo(const V3f &direction) const
    {
        const float size = std::max(
            { std::abs(position.x), std::abs(position.y), std::abs(position.z), 1e-2F });
        const float side = direction.dot(flat) < 0 ? -1.0F : 1.0F;
        return { position + flat * (side * size * 2e-5F), direction };
    }
};

mkRayIntegrator::mkRayIntegrator(const mkRayScene &tracedScene, int bounces)
    : scene(tracedScene)
    , snapshot(tracedScene.snapshot())
    , mostBounces(bounces)
{}

mkRay mkRayIntegrator::eyeRay(const mkRayCamera &camera, float aspect, const V2f &place)
{
    const V3f way = camera.forward + camera.right * ((2 * place.x - 1) * aspect * camera.tangent)
                    + camera.up * ((1 - 2 * place.y) * camera.tangent);
    return { camera.position, way * (1 / std::sqrt(way.dot(way))) };
}

mkRaySample mkRayIntegrator::trace(const mkRay &eye, mkRaySampler sampler) const
{
    Path path{ eye, sampler, {} };
    while (castOn(path)) {
    }
    return path.result;
}

mkRayIntegrator::Point mkRayIntegrator::pointOf(const Path &path, const mkRayHit &hit) const
{
    const mkRayInstance &instance = snapshot.instances[hit.instance];
    const C4f color = scene.baseColor(hit);
    const V3f outside = scene.flatNormal(hit);
    const bool entering = path.ray.direction.dot(outside) < 0;
    V3f smooth = scene.smoothNormal(hit);
    if (!entering) {
        smooth = -smooth;
    }
    // Where smoothing turns the surface away from the ray, its edge is seen.
    const float cosine = smooth.dot(path.ray.direction);
    if (cosine > -1e-3F) {
        smooth = (smooth - path.ray.direction * (cosine + 1e-3F)).normalized();
    }
    Point point{ instance,
                 snapshot.materials[instance.material],
                 { color.r, color.g, color.b },
                 path.ray.origin + path.ray.direction * hit.distance,
                 entering ? outside : -outside,
                 smooth,
                 {},
                 {},
                 -path.ray.direction,
                 entering };
    mkRayFrame(point.z, point.x, point.y);
    return point;
}

/// Casts the path's ray and deals with what it meets; false when the path ends.
bool mkRayIntegrator::castOn(Path &path) const
{
    mkRayHit hit;
    const bool met = scene.intersect(path.ray, path.kind, path.sampler.nextSalt(), hit);
    const bool seen = path.kind == mkRayKind::Camera;
    if (seen && path.result.node == 0 && hit.seen != mkRayHit::none) {
        path.result.node = snapshot.instances[hit.seen].node;
    }
    if (!met) {
        if (path.environmentCounts && snapshot.environment) {
            const float other = path.density > 0 ? snapshot.environment->density(path.ray.direction)
                                                 : 0;
            const float weight = path.density > 0 ? weightOf(path.density, other) : 1;
            path.add(path.throughput * snapshot.environment->radiance(path.ray.direction) * weight);
        }
        return false;
    }
    const mkRayMaterial &material = scene.material(hit.instance);
    if (!material.shadow) {
        if (seen) {
            const bool counts = (snapshot.instances[hit.instance].mask & mkRayKind::Alpha) != 0;
            path.result.alpha = counts ? 1 : alphaBehind(path.ray, path.sampler);
        }
        path.add(path.throughput * material.emission);
        if (path.bounces >= mostBounces) {
            return false;
        }
    }
    const Point point = pointOf(path, hit);
    return material.shadow ? seesThrough(path, point) : bounce(path, point);
}

/// A shadow material is black where it lies in shadow, else it is not there.
bool mkRayIntegrator::seesThrough(Path &path, const Point &point) const
{
    const bool seen = path.kind == mkRayKind::Camera;
    if (++path.passed > mostPassed) {
        return false;
    }
    if (isInShadow(path, point)) {
        if (seen) {
            const bool counts = (point.instance.mask & mkRayKind::Alpha) != 0;
            path.result.alpha = counts ? 1 : alphaBehind(path.ray, path.sampler);
        }
        return false;
    }
    path.ray = point.rayTo(path.ray.direction);
    return true;
}

/// Whether one ray, chosen by the light that would arrive, finds something in its way.
bool mkRayIntegrator::isInShadow(Path &path, const Point &point) const
{
    mkRay chosen;
    std::uint32_t kind = 0;
    float sum = 0;
    const auto offer = [&](const mkRay &ray, std::uint32_t rayKind, float light, float number) {
        if (light > 0) {
            sum += light;
            if (number * sum < light) {
                chosen = ray;
                kind = rayKind;
            }
        }
    };
    for (int i = 0; i < shadowCandidates && snapshot.environment; ++i) {
        // Half of them by the light, half by the cosine; each weighs as if found by both.
        float found = 0;
        V3f direction = snapshot.environment->sample(path.sampler.next2(), found);
        if (i % 2 != 0) {
            const V2f numbers = path.sampler.next2();
            const float radius = std::sqrt(numbers.x);
            direction = point.toWorld({ radius * std::cos(2 * pi * numbers.y),
                                        radius * std::sin(2 * pi * numbers.y),
                                        std::sqrt(1 - numbers.x) });
            found = snapshot.environment->density(direction);
        }
        const float cosine = direction.dot(point.z);
        const float density = (found + std::max(cosine, 0.0F) / pi) / 2;
        if (cosine > 0 && density > 0) {
            offer(point.rayTo(direction), mkRayKind::EnvironmentShadow,
                  largest(snapshot.environment->radiance(direction)) * cosine / density
                      / shadowCandidates,
                  path.sampler.next());
        }
    }
    for (const mkRayLight &lamp : snapshot.lights) {
        const mkRayArrival arrival = mkArrivingLight(lamp, point.position);
        mkRay ray = point.rayTo(arrival.direction);
        ray.farthest = arrival.distance;
        offer(ray, mkRayKind::Shadow,
              largest(arrival.irradiance) * std::max(0.0F, arrival.direction.dot(point.z)),
              path.sampler.next());
    }
    return kind != 0 && point.instance.receiveShadows
           && scene.isBlocked(chosen, kind, path.sampler.nextSalt());
}

/// The alpha of what is seen where that which does not count in alpha is left out.
float mkRayIntegrator::alphaBehind(const mkRay &eye, mkRaySampler &sampler) const
{
    Path path{ eye, sampler, {} };
    for (path.passed = 0; path.passed < mostPassed; ++path.passed) {
        mkRayHit hit;
        if (!scene.intersect(path.ray, mkRayKind::Alpha, sampler.nextSalt(), hit)) {
            return 0;
        }
        const Point point = pointOf(path, hit);
        if (!point.material.shadow || isInShadow(path, point)) {
            return 1;
        }
        path.ray = point.rayTo(path.ray.direction);
    }
    return 0;
}

bool mkRayIntegrator::bounce(Path &path, const Point &point) const
{
    const mkRayBsdf bsdf(point.material, point.color, point.toLocal(point.out), point.entering);
    const mkRayBsdf::Choice choice = bsdf.choose(path.sampler.next());
    path.throughput *= choice.weight;
    if (!bsdf.isSharp(choice.lobe)) {
        addEnvironment(path, point, bsdf, choice.lobe);
        addLamp(path, point, bsdf, choice.lobe);
    }

    mkRayBsdf::Sample sample;
    const V2f numbers = path.sampler.next2();
    if (!bsdf.sample(choice.lobe, numbers, path.sampler.next(), sample)) {
        return false;
    }
    const V3f direction = point.toWorld(sample.direction).normalized();
    // Smoothed normals would send some rays to the other side.
    if ((direction.dot(point.flat) < 0) != sample.passes) {
        return false;
    }
    path.ray = point.rayTo(direction);
    path.throughput *= sample.weight;
    path.density = sample.density;
    path.environmentCounts = true;
    if (choice.lobe == Lobe::Matt) {
        path.kind = mkRayKind::Photon;
        if (!scene.shadowsLikePhotons() || !point.instance.receiveShadows) {
            // What the ray will meet does not tell whether the environment's light gets here.
            path.environmentCounts = false;
            const bool blocked = point.instance.receiveShadows
                                 && scene.isBlocked(path.ray, mkRayKind::Shadow,
                                                    path.sampler.nextSalt());
            if (!blocked && snapshot.environment) {
                const float other = snapshot.environment->density(direction);
                path.add(path.throughput * snapshot.environment->radiance(direction)
                         * weightOf(path.density, other));
            }
        }
    } else {
        // Within glass all rays are refracted ones, also those that stay inside.
        const bool inside = choice.lobe == Lobe::Glass && (sample.passes || !point.entering);
        path.kind = inside ? mkRayKind::Refraction : mkRayKind::Reflection;
    }
    ++path.bounces;
    return survives(path, path.bounces);
}

bool mkRayIntegrator::survives(Path &path, int bounces) const
{
    const float importance = std::min(largest(path.throughput), 0.95F);
    if (bounces > 3) {
        if (path.sampler.next() >= importance) {
            return false;
        }
        path.throughput /= importance;
    }
    return importance > 0;
}

void mkRayIntegrator::addEnvironment(Path &path, const Point &point, const mkRayBsdf &bsdf,
                                     Lobe lobe) const
{
    if (!snapshot.environment) {
        return;
    }
    float density = 0;
    const V3f direction = snapshot.environment->sample(path.sampler.next2(), density);
    const V3f in = point.toLocal(direction);
    if (density <= 0 || in.z <= 0 || direction.dot(point.flat) <= 0) {
        return;
    }
    const C3f light = bsdf.reflected(lobe, in) * snapshot.environment->radiance(direction)
                      * (weightOf(density, bsdf.density(lobe, in)) / density);
    if (largest(light) <= 0) {
        return;
    }
    const mkRay ray = point.rayTo(direction);
    const std::uint32_t salt = path.sampler.nextSalt();
    const bool blocked = lobe == Lobe::Matt ? point.instance.receiveShadows
                                                  && scene.isBlocked(ray, mkRayKind::Shadow, salt)
                                            : scene.isBlocked(ray, mkRayKind::Reflection, salt);
    if (!blocked) {
        path.add(path.throughput * light);
    }
}

void mkRayIntegrator::addLamp(Path &path, const Point &point, const mkRayBsdf &bsdf,
                              Lobe lobe) const
{
    const std::size_t count = snapshot.lights.size();
    if (count == 0) {
        return;
    }
    const auto chosen = std::min(std::size_t(path.sampler.next() * float(count)), count - 1);
    const mkRayArrival arrival = mkArrivingLight(snapshot.lights[chosen], point.position);
    const V3f in = point.toLocal(arrival.direction);
    if (in.z <= 0 || arrival.direction.dot(point.flat) <= 0) {
        return;
    }
    const C3f light = bsdf.reflected(lobe, in) * arrival.irradiance * float(count);
    if (largest(light) <= 0) {
        return;
    }
    mkRay ray = point.rayTo(arrival.direction);
    ray.farthest = arrival.distance;
    const std::uint32_t salt = path.sampler.nextSalt();
    path.add(path.throughput * light
             * (point.instance.receiveShadows ? scene.passed(ray, salt) : C3f(1, 1, 1)));
}
