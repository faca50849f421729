#pragma once

#include "mkRaySnapshot.h"

/// What a point of a surface does with light, in a frame of its own: Z is the shading normal, on
/// the side where the ray came from.
///
/// Light is handled by one lobe at a time, chosen at random: what a lobe gives is to be multiplied
/// by its weight. The lobes: matt (a Lambert surface below the coat), glossy (GGX with the energy
/// that single scattering would lose given back), and glass (a GGX interface).
class mkRayBsdf
{
public:
    enum class Lobe { Matt, Glossy, Glass };

    struct Choice
    {
        Lobe lobe;
        Imath::C3f weight{ 0, 0, 0 };
    };

    struct Sample
    {
        Imath::V3f direction{ 0, 0, 0 };
        /// What arrives, cosine included, divided by the density.
        Imath::C3f weight{ 0, 0, 0 };
        /// By solid angle; 0 for directions that no other technique could have found.
        float density = 0;
        bool passes = false;
    };

    /// `out` points to where the ray came from, Z above 0. `entering` says whether that is outside.
    mkRayBsdf(const mkRayMaterial &material, const Imath::C3f &baseColor, const Imath::V3f &out,
              bool entering);

    Choice choose(float number) const;
    /// True when light from given directions need not be looked up: it would never count.
    bool isSharp(Lobe lobe) const;

    // The matt lobe and a glossy one that is not sharp, for a direction with Z above 0: the part of
    // the light that is reflected, cosine included, and the density with which sample() chooses it.
    Imath::C3f reflected(Lobe lobe, const Imath::V3f &in) const;
    float density(Lobe lobe, const Imath::V3f &in) const;

    /// False when the light ends here.
    bool sample(Lobe lobe, const Imath::V2f &numbers, float choice, Sample &result) const;

private:
    bool sampleGlass(const Imath::V3f &micro, float choice, Sample &result) const;

    Imath::V3f out;
    /// GGX's width; 0 is a mirror.
    float width;
    float glassShare;
    float ratio;
    float dielectricReflectance;
    Imath::C3f glossyColor;
    Imath::C3f glossyGain;
    Imath::C3f mattColor;
    Imath::C3f glassTint;
    float glossyShare;
};

/// Two directions that make a frame with the normalised `z`.
void mkRayFrame(const Imath::V3f &z, Imath::V3f &x, Imath::V3f &y);
