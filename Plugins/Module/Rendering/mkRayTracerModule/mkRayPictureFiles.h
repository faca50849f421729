#pragma once

#include <ImathColor.h>

#include <QString>

#include <cstddef>
#include <utility>
#include <vector>

class mkRayFilm;

/// A picture without alpha, row by row, top first.
struct mkRayPixels
{
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<Imath::C3f> colors;
};

// What goes wrong is thrown as std::runtime_error with a reason for the user. A file that is
// written is there whole, or as it was before.

/// Reads the colours of an OpenEXR file, of its first layer where none is without a name.
mkRayPixels mkReadExr(const QString &file);

/// A layer of a file with several: a name without dots, and its picture. All pictures are of one
/// size.
using mkRayLayerFilms = std::vector<std::pair<QString, const mkRayFilm *>>;

/// Writes one OpenEXR file, with linear colours times alpha in half floats: the channels "NAME.R",
/// "NAME.G", "NAME.B", "NAME.A" for each layer, and for an empty name "R" to "A".
void mkWriteExr(const QString &file, const mkRayLayerFilms &layers);

/// Writes a PNG file as mkRayFilm::picture() makes it.
void mkWritePng(const QString &file, const mkRayFilm &film, float exposure);
