#pragma once

#include "mkRayBsdf.h"
#include "mkRaySampler.h"
#include "mkRayScene.h"

/// What one path brings home.
struct mkRaySample
{
    /// Times alpha already.
    Imath::C3f radiance{ 0, 0, 0 };
    float alpha = 0;
    /// Of the surface seen, mkRayInstance::node; 0 for none.
    std::uint32_t node = 0;
};

/// Follows paths from the eye. Light comes from the environment, from lamps, and from surfaces that
/// glow, which are found by chance alone. The environment itself is not seen by the eye: alpha is
/// 0 there.
///
/// Visibility is what the rays' kinds say: the environment's light on the matt part of a surface
/// and all lamps' light is stopped by what shadow rays meet, its reflection in the glossy part by
/// what reflection rays meet, whichever way a direction was found.
class mkRayIntegrator
{
public:
    /// `bounces` is the most surfaces that a path goes on from; with 0 only what glows is seen.
    explicit mkRayIntegrator(const mkRayScene &scene, int bounces = 12);

    mkRaySample trace(const mkRay &eye, mkRaySampler sampler) const;

    /// The ray through a place of the picture, 0 to 1 each, from the upper left corner.
    static mkRay eyeRay(const mkRayCamera &camera, float aspect, const Imath::V2f &place);

private:
    struct Path;
    struct Point;

    bool castOn(Path &path) const;
    bool seesThrough(Path &path, const Point &point) const;
    bool isInShadow(Path &path, const Point &point) const;
    float alphaBehind(const mkRay &eye, mkRaySampler &sampler) const;
    Point pointOf(const Path &path, const mkRayHit &hit) const;
    void addEnvironment(Path &path, const Point &point, const mkRayBsdf &bsdf,
                        mkRayBsdf::Lobe lobe) const;
    void addLamp(Path &path, const Point &point, const mkRayBsdf &bsdf, mkRayBsdf::Lobe lobe) const;
    bool bounce(Path &path, const Point &point) const;
    bool survives(Path &path, int bounce) const;

    const mkRayScene &scene;
    const mkRaySnapshot &snapshot;
    int mostBounces;
};
