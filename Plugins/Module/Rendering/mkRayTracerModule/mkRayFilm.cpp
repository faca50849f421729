#include "mkRayFilm.h"

#include <tbb/blocked_range.h>
#include <tbb/blocked_range2d.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <array>
#include <cmath>

using Imath::C3f;
using Imath::C4f;

namespace {

constexpr int tileSize = 16;
/// The checkerboard's linear greys.
constexpr std::array<float, 2> checks{ 0.1F, 0.16F };

int toByte(float value)
{
    return int(std::lround(std::clamp(value, 0.0F, 1.0F) * 255));
}

QRgb toScreen(float red, float green, float blue, float alpha)
{
    return qRgba(toByte(mkToneCurve(red)), toByte(mkToneCurve(green)), toByte(mkToneCurve(blue)),
                 toByte(alpha));
}

/// An image whose pixels are what `pixelAt` returns for x and y, some rows at a time.
template <typename Function>
QImage makeImage(QSize size, QImage::Format format, const Function &pixelAt)
{
    QImage image(size, format);
    uchar *const bits = image.bits();
    const int bytesPerLine = image.bytesPerLine();
    tbb::parallel_for(tbb::blocked_range<int>(0, size.height(), tileSize),
                      [&](const tbb::blocked_range<int> &rows) {
                          for (int y = rows.begin(); y < rows.end(); ++y) {
                              auto *const line = reinterpret_cast<QRgb *>(
                                  bits + std::ptrdiff_t(y) * bytesPerLine);
                              for (int x = 0; x < size.width(); ++x) {
                                  line[x] = pixelAt(x, y);
                              }
                          }
                      });
    return image;
}

} // namespace

float mkToneCurve(float light)
{
    constexpr float knee = 0.6F;
    if (!(light > 0)) {
        return 0;
    }
    const float shown = light <= knee
                            ? light
                            : knee + (1 - knee) * (1 - std::exp((knee - light) / (1 - knee)));
    return shown <= 0.0031308F ? shown * 12.92F : 1.055F * std::pow(shown, 1 / 2.4F) - 0.055F;
}

mkRayFilm::mkRayFilm(QSize size)
    : width(std::max(size.width(), 0))
    , height(std::max(size.height(), 0))
    , sums(stride() * std::size_t(height), C4f(0, 0, 0, 0))
    , nodes(sums.size())
{}

bool mkRayFilm::addPass(const mkRayIntegrator &integrator, const mkRayCamera &camera,
                        std::uint32_t seed, const std::atomic<bool> &cancelled)
{
    const auto sample = std::uint32_t(passCount);
    const float aspect = float(width) / float(std::max(height, 1));
    tbb::parallel_for(tbb::blocked_range2d<int>(0, height, tileSize, 0, width, tileSize),
                      [&](const tbb::blocked_range2d<int> &tile) {
                          for (int y = tile.rows().begin(); y < tile.rows().end(); ++y) {
                              for (int x = tile.cols().begin(); x < tile.cols().end(); ++x) {
                                  // One path may take long where much lies about each other.
                                  if (cancelled) {
                                      return;
                                  }
                                  const std::size_t place = std::size_t(y) * stride()
                                                            + std::size_t(x);
                                  const mkRaySampler sampler(std::uint32_t(place), sample, seed);
                                  const Imath::V2f within = sampler.withinPixel();
                                  const Imath::V2f at((float(x) + within.x) / float(width),
                                                      (float(y) + within.y) / float(height));
                                  const mkRaySample found =
                                      integrator.trace(mkRayIntegrator::eyeRay(camera, aspect, at),
                                                       sampler);
                                  sums[place] += C4f(found.radiance.x, found.radiance.y,
                                                     found.radiance.z, found.alpha);
                                  if (sample == 0) {
                                      nodes[place] = found.node;
                                  }
                              }
                          }
                      });
    ++passCount;
    return !cancelled;
}

C4f mkRayFilm::pixel(int x, int y) const
{
    return sums[std::size_t(y) * stride() + std::size_t(x)] / float(std::max(passCount, 1));
}

QImage mkRayFilm::picture(float exposure) const
{
    const float gain = std::exp2(exposure);
    return makeImage(size(), QImage::Format_ARGB32, [&](int x, int y) {
        const C4f color = pixel(x, y);
        const float scale = color.a > 0 ? gain / color.a : gain;
        return toScreen(color.r * scale, color.g * scale, color.b * scale, color.a);
    });
}

QImage mkRayFilm::pictureOverChecks(float exposure, int square) const
{
    const float gain = std::exp2(exposure);
    return makeImage(size(), QImage::Format_RGB32, [&](int x, int y) {
        const C4f color = pixel(x, y);
        const float behind = checks[std::size_t((x / square + y / square) % 2)] * (1 - color.a);
        return toScreen(color.r * gain + behind, color.g * gain + behind, color.b * gain + behind,
                        1);
    });
}
