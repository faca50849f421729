#include "mkRayEnvironment.h"

#include "mkRayPictureFiles.h"

#include <ImathMath.h>

#include <algorithm>
#include <cmath>

using Imath::C3f;
using Imath::V2f;
using Imath::V3f;

namespace {

constexpr float pi = float(M_PI);

/// Where a direction is in the picture, 0 to 1 each.
V2f placeOf(const V3f &direction)
{
    const float across = std::atan2(direction.x, -direction.z) / (2 * pi) + 0.5F;
    return { across, std::acos(std::clamp(direction.y, -1.0F, 1.0F)) / pi };
}

V3f directionOf(const V2f &place)
{
    const float angle = (place.x - 0.5F) * 2 * pi;
    const float down = place.y * pi;
    return { std::sin(down) * std::sin(angle), std::cos(down), -std::sin(down) * std::cos(angle) };
}

float brightness(const C3f &color)
{
    return std::max({ color.x, color.y, color.z });
}

/// The first place where a running sum exceeds `wanted`, and how far between its neighbours.
std::pair<std::size_t, float> invert(const float *sums, std::size_t count, float wanted)
{
    const float *const end = sums + count;
    const float *found = std::upper_bound(sums, end, wanted);
    if (found == end) {
        --found;
    }
    const auto place = std::size_t(found - sums);
    const float below = place == 0 ? 0 : sums[place - 1];
    const float step = *found - below;
    return { place, step > 0 ? std::clamp((wanted - below) / step, 0.0F, 1.0F) : 0.5F };
}

/// How much of a soft box with this middle and these half angles a direction sees, edges blurred.
float softBox(const V3f &direction, float azimuth, float elevation, float width, float height)
{
    const auto ramp = [](float distance) {
        return std::clamp(0.5F - distance / 0.12F, 0.0F, 1.0F);
    };
    const float own = std::atan2(direction.x, -direction.z);
    const float aside = std::abs(std::remainder(own - azimuth, 2 * pi))
                        * std::sqrt(std::max(0.0F, 1 - direction.y * direction.y));
    const float above = std::abs(std::asin(std::clamp(direction.y, -1.0F, 1.0F)) - elevation);
    return ramp(aside - width) * ramp(above - height);
}

std::shared_ptr<const mkRayEnvironment> makeStudio()
{
    constexpr std::size_t width = 256;
    constexpr std::size_t height = 128;
    std::vector<C3f> pixels;
    pixels.reserve(width * height);
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            const V3f direction = directionOf(
                { (float(x) + 0.5F) / float(width), (float(y) + 0.5F) / float(height) });
            const float room = 0.1F + 0.06F * (direction.y + 1);
            const auto box = [&](const C3f &light, float azimuth, float elevation, float halfWidth,
                                 float halfHeight) {
                return light * softBox(direction, azimuth, elevation, halfWidth, halfHeight);
            };
            // The key light high on the left behind the usual eye, a fill on the right, a
            // strip that draws edges from behind, and the ceiling.
            pixels.push_back(C3f(1, 1.01F, 1.03F) * room
                             + box({ 4.2F, 4.1F, 3.9F }, -2.3F, 0.8F, 0.42F, 0.3F)
                             + box({ 0.9F, 0.96F, 1 }, 1.7F, 0.45F, 0.3F, 0.45F)
                             + box({ 2, 2, 2 }, 0.5F, 0.6F, 0.6F, 0.08F)
                             + box({ 0.7F, 0.7F, 0.7F }, 0, 1.57F, 0.6F, 0.35F));
        }
    }
    return std::make_shared<const mkRayEnvironment>(width, height, std::move(pixels));
}

} // namespace

mkRayEnvironment::mkRayEnvironment(std::size_t newWidth, std::size_t newHeight,
                                   std::vector<C3f> newPixels)
    : width(newWidth)
    , height(newHeight)
    , pixels(std::move(newPixels))
    , rows(height)
    , columns(width * height)
{
    for (C3f &pixel : pixels) {
        for (int channel = 0; channel < 3; ++channel) {
            const float value = pixel[channel];
            pixel[channel] = std::isfinite(value) ? std::clamp(value, 0.0F, 1e6F) : 0;
        }
    }
    double all = 0;
    for (std::size_t y = 0; y < height; ++y) {
        const float share = std::sin((float(y) + 0.5F) / float(height) * pi);
        double row = 0;
        for (std::size_t x = 0; x < width; ++x) {
            // Between pixels light is blended, hence the neighbours.
            float light = 0;
            for (const std::size_t row2 : { y == 0 ? y : y - 1, y, std::min(y + 1, height - 1) }) {
                for (const std::size_t column : { x + width - 1, x, x + 1 }) {
                    light = std::max(light, brightness(pixels[row2 * width + column % width]));
                }
            }
            row += double(light * share);
            columns[y * width + x] = float(row);
        }
        all += row;
        rows[y] = float(all);
    }
}

C3f mkRayEnvironment::radiance(const V3f &direction) const
{
    const V2f place = placeOf(direction);
    const float x = place.x * float(width) - 0.5F;
    const float y = std::clamp(place.y * float(height) - 0.5F, 0.0F, float(height - 1));
    const float left = std::floor(x);
    const auto column = std::size_t(int(left) + int(width)) % width;
    const auto next = (column + 1) % width;
    const auto row = std::min(std::size_t(y), height - 1);
    const auto below = std::min(row + 1, height - 1);
    const float right = x - left;
    const float down = y - float(row);
    return (pixels[row * width + column] * (1 - right) + pixels[row * width + next] * right)
               * (1 - down)
           + (pixels[below * width + column] * (1 - right) + pixels[below * width + next] * right)
                 * down;
}

V3f mkRayEnvironment::sample(const V2f &numbers, float &density) const
{
    const float all = rows.back();
    const auto [row, down] = invert(rows.data(), height, numbers.y * all);
    const float *const sums = &columns[row * width];
    const auto [column, right] = invert(sums, width, numbers.x * sums[width - 1]);
    const V2f place((float(column) + right) / float(width), (float(row) + down) / float(height));
    const V3f direction = directionOf(place);
    density = this->density(direction);
    return direction;
}

float mkRayEnvironment::density(const V3f &direction) const
{
    const float all = rows.back();
    const V2f place = placeOf(direction);
    const float share = std::sin(place.y * pi);
    if (!(all > 0) || !(share > 1e-6F)) {
        return 0;
    }
    const auto row = std::min(std::size_t(place.y * float(height)), height - 1);
    const auto column = std::min(std::size_t(place.x * float(width)), width - 1);
    const float *const sums = &columns[row * width];
    const float part = sums[column] - (column == 0 ? 0 : sums[column - 1]);
    return part / all * float(width * height) / (2 * pi * pi * share);
}

std::shared_ptr<const mkRayEnvironment> mkRayEnvironment::studio()
{
    static const std::shared_ptr<const mkRayEnvironment> made = makeStudio();
    return made;
}

std::shared_ptr<const mkRayEnvironment> mkRayEnvironment::uniform(const C3f &radiance)
{
    constexpr std::size_t width = 32;
    constexpr std::size_t height = 16;
    return std::make_shared<const mkRayEnvironment>(width, height,
                                                    std::vector<C3f>(width * height, radiance));
}

std::shared_ptr<const mkRayEnvironment> mkRayEnvironment::fromFile(const QString &file)
{
    mkRayPixels read = mkReadExr(file);
    return std::make_shared<const mkRayEnvironment>(read.width, read.height,
                                                    std::move(read.colors));
}
