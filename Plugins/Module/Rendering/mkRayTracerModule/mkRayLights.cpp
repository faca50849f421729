#include "mkRayLights.h"

#include <algorithm>
#include <cmath>
#include <limits>

mkRayArrival mkArrivingLight(const mkRayLight &lamp, const Imath::V3f &point)
{
    if (lamp.kind == mkRayLight::Kind::Directional) {
        return { -lamp.direction, std::numeric_limits<float>::infinity(), lamp.intensity };
    }
    const Imath::V3f way = lamp.position - point;
    // A point in the lamp itself is not to be infinitely bright.
    const float distance = std::max(way.length(), 1e-4F);
    mkRayArrival arrival{ way / distance, distance, lamp.intensity / (distance * distance) };
    if (lamp.kind == mkRayLight::Kind::Spot) {
        const float cosine = -arrival.direction.dot(lamp.direction);
        const float width = std::max(lamp.cosInner - lamp.cosOuter, 1e-4F);
        const float share = std::clamp((cosine - lamp.cosOuter) / width, 0.0F, 1.0F);
        arrival.irradiance *= share * share;
    }
    return arrival;
}
