#pragma once

#include "mkRaySnapshot.h"

/// Light that arrives at a point from a lamp.
struct mkRayArrival
{
    /// To the lamp, normalised.
    Imath::V3f direction;
    float distance;
    /// Through a surface that faces the lamp.
    Imath::C3f irradiance;
};

mkRayArrival mkArrivingLight(const mkRayLight &lamp, const Imath::V3f &point);
