#pragma once

#include "mkRayIntegrator.h"

#include <QImage>
#include <QSize>

#include <atomic>

/// From linear light to what a screen shows, for one channel: light up to 0.6 as it is, what is
/// brighter along 0.6 + 0.4 * (1 - exp((0.6 - light) / 0.4)), which approaches 1; then sRGB's
/// curve. 0 to 1.
float mkToneCurve(float light);

/// What a picture collects: for each pixel the sum of its samples, and whose it is.
///
/// A pass adds one sample to every pixel. The result depends on scene, camera, size, seed and the
/// number of passes, and never on how many threads there are.
class mkRayFilm
{
public:
    explicit mkRayFilm(QSize size = {});

    QSize size() const { return { width, height }; }
    int passes() const { return passCount; }

    /// Adds a pass in the calling thread's TBB arena. False, and the film is of no use any more,
    /// when `cancelled` became true.
    bool addPass(const mkRayIntegrator &integrator, const mkRayCamera &camera, std::uint32_t seed,
                 const std::atomic<bool> &cancelled);

    /// Averages. Colours are linear and times alpha.
    Imath::C4f pixel(int x, int y) const;
    std::uint32_t node(int x, int y) const { return nodes[std::size_t(y) * stride() + x]; }
    const std::vector<std::uint32_t> &nodeOfPixels() const { return nodes; }

    /// For files: sRGB with straight alpha. Light is first multiplied by two to the power of
    /// `exposure`. What is seen without counting in alpha keeps its colour under alpha 0.
    QImage picture(float exposure = 0) const;
    /// For the screen: over a checkerboard with squares of this many pixels.
    QImage pictureOverChecks(float exposure, int square) const;

private:
    std::size_t stride() const { return std::size_t(width); }

    int width;
    int height;
    int passCount = 0;
    std::vector<Imath::C4f> sums;
    std::vector<std::uint32_t> nodes;
};
