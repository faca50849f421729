#pragma once

#include <ImathColor.h>
#include <ImathVec.h>

#include <cstddef>
#include <memory>
#include <vector>

class QString;

/// Light from everywhere: a picture of the whole surroundings, +Y up, whose middle is at -Z. It can
/// be asked for light in a direction, and for directions where the light is.
class mkRayEnvironment
{
public:
    /// `pixels` row by row, top first, linear; what is negative or not a number counts as black.
    mkRayEnvironment(std::size_t width, std::size_t height, std::vector<Imath::C3f> pixels);

    /// A photographer's studio: soft boxes in a grey room.
    static std::shared_ptr<const mkRayEnvironment> studio();
    static std::shared_ptr<const mkRayEnvironment> uniform(const Imath::C3f &radiance);
    /// Throws std::runtime_error with a reason for the user.
    static std::shared_ptr<const mkRayEnvironment> fromFile(const QString &file);

    Imath::C3f radiance(const Imath::V3f &direction) const;
    /// Chooses a direction by the light that comes from it; `density` is by solid angle, 0 when
    /// there is no light at all.
    Imath::V3f sample(const Imath::V2f &numbers, float &density) const;
    float density(const Imath::V3f &direction) const;

private:
    std::size_t width;
    std::size_t height;
    std::vector<Imath::C3f> pixels;
    /// Running sums of the light, over rows, and over the pixels of each row.
    std::vector<float> rows;
    std::vector<float> columns;
};
