#include "mkRayBsdf.h"

#include <algorithm>
#include <array>
#include <cmath>

using Imath::C3f;
using Imath::V2f;
using Imath::V3f;

namespace {

constexpr float pi = float(M_PI);
/// GGX lobes narrower than this count as mirrors.
constexpr float sharpest = 0.0016F;

float squared(float value)
{
    return value * value;
}

float fifth(float value)
{
    return squared(squared(value)) * value;
}

float brightness(const C3f &color)
{
    return 0.2126F * color.x + 0.7152F * color.y + 0.0722F * color.z;
}

V3f disk(const V2f &numbers)
{
    const float radius = std::sqrt(numbers.x);
    const float angle = 2 * pi * numbers.y;
    return { radius * std::cos(angle), radius * std::sin(angle), 0 };
}

V3f cosineSample(const V2f &numbers)
{
    V3f direction = disk(numbers);
    direction.z = std::sqrt(std::max(0.0F, 1 - numbers.x));
    return direction;
}

float ggx(const V3f &micro, float width)
{
    const float cosine = squared(micro.z);
    return squared(width) / (pi * squared(cosine * (squared(width) - 1) + 1));
}

/// Smith's auxiliary function.
float lambda(const V3f &direction, float width)
{
    const float cosine = squared(direction.z);
    const float tangent = std::max(0.0F, 1 - cosine) / std::max(cosine, 1e-12F);
    return (std::sqrt(1 + squared(width) * tangent) - 1) / 2;
}

float shadowing(const V3f &direction, float width)
{
    return 1 / (1 + lambda(direction, width));
}

/// Shadowing of `in` where `out` is seen already.
float shadowingGiven(const V3f &out, const V3f &in, float width)
{
    const float seen = 1 + lambda(out, width);
    return seen / (seen + lambda(in, width));
}

/// A microfacet's normal among those visible from `out`, after Heitz.
V3f visibleNormal(const V3f &out, float width, const V2f &numbers)
{
    const V3f stretched = V3f(out.x * width, out.y * width, out.z).normalized();
    const float flat = squared(stretched.x) + squared(stretched.y);
    const V3f across = flat > 0 ? V3f(-stretched.y, stretched.x, 0) / std::sqrt(flat)
                                : V3f(1, 0, 0);
    const V3f along = stretched.cross(across);
    V3f place = disk(numbers);
    const float share = (1 + stretched.z) / 2;
    place.y = (1 - share) * std::sqrt(std::max(0.0F, 1 - squared(place.x))) + share * place.y;
    const V3f normal = across * place.x + along * place.y
                       + stretched
                             * std::sqrt(std::max(0.0F, 1 - squared(place.x) - squared(place.y)));
    return V3f(normal.x * width, normal.y * width, std::max(1e-6F, normal.z)).normalized();
}

/// How much a coat of GGX reflects in all: `scale` times the reflectance at normal incidence plus
/// `bias`.
struct Albedo
{
    float scale = 0;
    float bias = 0;

    Albedo operator*(float factor) const { return { scale * factor, bias * factor }; }
    Albedo operator+(const Albedo &other) const
    {
        return { scale + other.scale, bias + other.bias };
    }
};

constexpr int tableSize = 32;

Albedo integrated(float cosine, float width)
{
    constexpr int steps = 16;
    const V3f out(std::sqrt(1 - squared(cosine)), 0, cosine);
    Albedo sum;
    for (int i = 0; i < steps * steps; ++i) {
        const int row = i / steps;
        const V2f numbers((float(i % steps) + 0.5F) / steps, (float(row) + 0.5F) / steps);
        const V3f micro = visibleNormal(out, width, numbers);
        const V3f in = micro * (2 * out.dot(micro)) - out;
        if (in.z > 0) {
            const float weight = shadowingGiven(out, in, width);
            const float fresnel = fifth(1 - std::clamp(out.dot(micro), 0.0F, 1.0F));
            sum = sum + Albedo{ (1 - fresnel) * weight, fresnel * weight };
        }
    }
    return sum * (1.0F / (steps * steps));
}

float tableWidth(int index)
{
    return std::max(squared(float(index) / (tableSize - 1)), sharpest);
}

float tableCosine(int index)
{
    return std::max(float(index) / (tableSize - 1), 0.002F);
}

Albedo albedo(float cosine, float width)
{
    using Table = std::array<std::array<Albedo, tableSize>, tableSize>;
    static const Table table = [] {
        Table made;
        for (int row = 0; row < tableSize; ++row) {
            for (int column = 0; column < tableSize; ++column) {
                made[std::size_t(row)][std::size_t(column)] = integrated(tableCosine(column),
                                                                         tableWidth(row));
            }
        }
        return made;
    }();
    const float x = std::clamp(cosine, 0.0F, 1.0F) * (tableSize - 1);
    const float y = std::sqrt(std::clamp(width, 0.0F, 1.0F)) * (tableSize - 1);
    const auto column = std::size_t(std::min(x, tableSize - 1.001F));
    const auto row = std::size_t(std::min(y, tableSize - 1.001F));
    const float right = x - float(column);
    const float down = y - float(row);
    return (table[row][column] * (1 - right) + table[row][column + 1] * right) * (1 - down)
           + (table[row + 1][column] * (1 - right) + table[row + 1][column + 1] * right) * down;
}

/// What an interface reflects of unpolarised light; `ratio` is that of the indices, from the side
/// of the light to the other.
float fresnel(float cosine, float ratio)
{
    const float beyond = 1 - (1 - squared(cosine)) * squared(ratio);
    if (beyond <= 0) {
        return 1;
    }
    const float other = std::sqrt(beyond);
    const float parallel = (cosine - ratio * other) / (cosine + ratio * other);
    const float perpendicular = (ratio * cosine - other) / (ratio * cosine + other);
    return (squared(parallel) + squared(perpendicular)) / 2;
}

C3f mixed(const C3f &a, const C3f &b, float share)
{
    return a * (1 - share) + b * share;
}

} // namespace

void mkRayFrame(const V3f &z, V3f &x, V3f &y)
{
    const float sign = std::copysign(1.0F, z.z);
    const float a = -1 / (sign + z.z);
    const float b = z.x * z.y * a;
    x = V3f(1 + sign * z.x * z.x * a, sign * b, -sign * z.x);
    y = V3f(b, sign + z.y * z.y * a, -z.y);
}

mkRayBsdf::mkRayBsdf(const mkRayMaterial &material, const C3f &baseColor, const V3f &outwards,
                     bool entering)
    : out(outwards)
    , width(squared(material.roughness))
    , glassShare((1 - material.metallic) * material.transmission)
    , ratio(entering ? 1 / material.indexOfRefraction : material.indexOfRefraction)
    , dielectricReflectance(
          squared((material.indexOfRefraction - 1) / (material.indexOfRefraction + 1)))
    // A pane has two sides.
    , glassTint(std::sqrt(baseColor.x), std::sqrt(baseColor.y), std::sqrt(baseColor.z))
{
    out.z = std::max(out.z, 1e-4F);
    out.normalize();
    if (width < sharpest) {
        width = 0;
    }
    // What is not glass is part metal, part a coated matt surface.
    const float rest = 1 - glassShare;
    const float metal = rest > 0 ? material.metallic / rest : 0;
    const Albedo coat = albedo(out.z, width);
    const float whole = coat.scale + coat.bias;
    const auto gain = [&](float reflectance) { return 1 + reflectance * (1 / whole - 1); };
    glossyColor = mixed(C3f(1, 1, 1) * dielectricReflectance, baseColor, metal);
    glossyGain = { gain(glossyColor.x), gain(glossyColor.y), gain(glossyColor.z) };
    const C3f glossy = (glossyColor * coat.scale + C3f(1, 1, 1) * coat.bias) * glossyGain;
    const float coated = (dielectricReflectance * coat.scale + coat.bias)
                         * gain(dielectricReflectance);
    mattColor = baseColor * ((1 - metal) * std::max(0.0F, 1 - coated));
    const float glossyPart = brightness(glossy);
    const float both = glossyPart + brightness(mattColor);
    glossyShare = both > 0 ? glossyPart / both : 1;
}

mkRayBsdf::Choice mkRayBsdf::choose(float number) const
{
    const C3f white(1, 1, 1);
    if (number < glassShare) {
        return { Lobe::Glass, white };
    }
    if (number < glassShare + (1 - glassShare) * glossyShare) {
        return { Lobe::Glossy, white / glossyShare };
    }
    return { Lobe::Matt, white / std::max(1 - glossyShare, 1e-6F) };
}

bool mkRayBsdf::isSharp(Lobe lobe) const
{
    return lobe == Lobe::Glass || (lobe == Lobe::Glossy && width <= 0);
}

C3f mkRayBsdf::reflected(Lobe lobe, const V3f &in) const
{
    if (lobe == Lobe::Matt) {
        return mattColor * (in.z / pi);
    }
    const V3f micro = (in + out).normalized();
    const float schlick = fifth(1 - std::clamp(out.dot(micro), 0.0F, 1.0F));
    const float part = ggx(micro, width) * shadowing(out, width) * shadowingGiven(out, in, width)
                       / (4 * out.z);
    return mixed(glossyColor, C3f(1, 1, 1), schlick) * glossyGain * part;
}

float mkRayBsdf::density(Lobe lobe, const V3f &in) const
{
    return lobe == Lobe::Matt
               ? in.z / pi
               : ggx((in + out).normalized(), width) * shadowing(out, width) / (4 * out.z);
}

bool mkRayBsdf::sample(Lobe lobe, const V2f &numbers, float choice, Sample &result) const
{
    result = {};
    if (lobe == Lobe::Matt) {
        result.direction = cosineSample(numbers);
        result.weight = mattColor;
        result.density = result.direction.z / pi;
        return result.density > 0;
    }
    const V3f micro = width > 0 ? visibleNormal(out, width, numbers) : V3f(0, 0, 1);
    if (lobe == Lobe::Glass) {
        return sampleGlass(micro, choice, result);
    }
    const float cosine = out.dot(micro);
    result.direction = micro * (2 * cosine) - out;
    if (result.direction.z <= 0) {
        return false;
    }
    result.weight = mixed(glossyColor, C3f(1, 1, 1), fifth(1 - std::clamp(cosine, 0.0F, 1.0F)))
                    * glossyGain * (width > 0 ? shadowingGiven(out, result.direction, width) : 1);
    result.density = width > 0 ? density(Lobe::Glossy, result.direction) : 0;
    return true;
}

bool mkRayBsdf::sampleGlass(const V3f &micro, float choice, Sample &result) const
{
    const float cosine = std::max(0.0F, out.dot(micro));
    if (choice < fresnel(cosine, ratio)) {
        result.direction = micro * (2 * cosine) - out;
        result.weight = C3f(1, 1, 1);
        if (result.direction.z <= 0) {
            return false;
        }
    } else {
        const float beyond = std::sqrt(std::max(0.0F, 1 - (1 - squared(cosine)) * squared(ratio)));
        result.direction = micro * (ratio * cosine - beyond) - out * ratio;
        result.weight = glassTint;
        result.passes = true;
        if (result.direction.z >= 0) {
            return false;
        }
    }
    if (width > 0) {
        result.weight *= shadowingGiven(out, result.direction, width);
    }
    return true;
}
