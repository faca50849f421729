#pragma once

#include <ImathVec.h>

#include <cstdint>

/// Mixes bits, so that neighbouring numbers give unrelated ones.
inline std::uint32_t mkRayHash(std::uint32_t value)
{
    value ^= value >> 16U;
    value *= 0x7feb352dU;
    value ^= value >> 15U;
    value *= 0x846ca68bU;
    value ^= value >> 16U;
    return value;
}

inline std::uint32_t mkRayHash(std::uint32_t a, std::uint32_t b)
{
    return mkRayHash(a ^ (mkRayHash(b) + 0x9e3779b9U));
}

/// From any 32 bits to [0, 1).
inline float mkRayUnit(std::uint32_t bits)
{
    return float(bits >> 8U) * 0x1p-24F;
}

/// The numbers that one path is made of: points of Sobol's sequence, scrambled anew for each
/// pixel and each pair of dimensions. They depend on pixel, sample and seed alone.
class mkRaySampler
{
public:
    mkRaySampler(std::uint32_t pixel, std::uint32_t sample, std::uint32_t seed)
        : base(mkRayHash(mkRayHash(seed, 0x5bd1e995U), pixel))
        , index(sample)
    {}

    /// Where in its pixel the path begins. Points of the R2 sequence, shifted anew for each pixel,
    /// which cost less than others and spread as well over a square.
    Imath::V2f withinPixel() const
    {
        const std::uint32_t shift = mkRayHash(base);
        return { mkRayUnit(shift + index * 0xc13fa9a9U),
                 mkRayUnit((shift * 0x9e3779b9U) + index * 0x91e10da5U) };
    }

    Imath::V2f next2()
    {
        const std::uint32_t salt = mkRayHash(base + ++dimension * 0x9e3779b9U);
        const std::uint32_t point = reversed(scrambled(reversed(index), salt));
        const std::uint32_t x = scrambled(point, mkRayHash(salt + 1));
        const std::uint32_t y = scrambled(secondDimension(point), mkRayHash(salt + 2));
        return { mkRayUnit(reversed(x)), mkRayUnit(reversed(y)) };
    }
    float next() { return next2().x; }
    /// A number of this path for decisions whose order is not known.
    std::uint32_t nextSalt() { return mkRayHash(mkRayHash(base, index), ++dimension); }

private:
    static std::uint32_t reversed(std::uint32_t bits)
    {
        bits = __builtin_bswap32(bits);
        bits = ((bits >> 4U) & 0x0f0f0f0fU) | ((bits & 0x0f0f0f0fU) << 4U);
        bits = ((bits >> 2U) & 0x33333333U) | ((bits & 0x33333333U) << 2U);
        return ((bits >> 1U) & 0x55555555U) | ((bits & 0x55555555U) << 1U);
    }
    /// Owen scrambling of reversed bits, after Laine and Karras.
    static std::uint32_t scrambled(std::uint32_t bits, std::uint32_t salt)
    {
        bits ^= bits * 0x3d20adeaU;
        bits += salt;
        bits *= (salt >> 16U) | 1U;
        bits ^= bits * 0x05526c56U;
        bits ^= bits * 0x53a22864U;
        return bits;
    }
    /// The sequence's second dimension, bits reversed.
    static std::uint32_t secondDimension(std::uint32_t point)
    {
        std::uint32_t bits = 0;
        for (std::uint32_t row = 1; point != 0; point >>= 1U, row ^= row << 1U) {
            bits ^= (point & 1U) != 0 ? row : 0;
        }
        return bits;
    }

    std::uint32_t base;
    std::uint32_t index;
    std::uint32_t dimension = 0;
};
