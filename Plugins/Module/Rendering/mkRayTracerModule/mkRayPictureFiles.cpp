#include "mkRayPictureFiles.h"

#include "mkRayFilm.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfOutputFile.h>
#include <ImfStdIO.h>

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <limits>
#include <sstream>
#include <stdexcept>

using Imath::C3f;
using Imath::C4f;

namespace {

constexpr std::size_t mostPixels = 1U << 28U;

[[noreturn]] void fail(const QString &reason)
{
    throw std::runtime_error(reason.toStdString());
}

void save(const QString &file, const QByteArray &bytes)
{
    QSaveFile target(file);
    if (!target.open(QIODevice::WriteOnly) || target.write(bytes) != bytes.size()
        || !target.commit()) {
        fail(QCoreApplication::translate("mkRayPictureFiles", "%1 cannot be written: %2.")
                 .arg(file, target.errorString()));
    }
}

/// The prefix of the first channels that make a colour: empty, or "layer.".
std::string colorPrefix(const Imf::ChannelList &channels)
{
    for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
        const std::string name = channel.name();
        if (name.empty() || name.back() != 'R'
            || (name.size() > 1 && name[name.size() - 2] != '.')) {
            continue;
        }
        const std::string prefix = name.substr(0, name.size() - 1);
        const auto isThere = [&](const char *last) {
            return channels.findChannel(prefix + last) != nullptr;
        };
        if ((isThere("G") && isThere("B"))) {
            return prefix;
        }
    }
    fail(QCoreApplication::translate("mkRayPictureFiles", "it has no channels R, G and B"));
}

} // namespace

mkRayPixels mkReadExr(const QString &file)
try {
    Imf::InputFile input(QFile::encodeName(file).constData());
    const Imath::Box2i window = input.header().dataWindow();
    mkRayPixels pixels;
    pixels.width = std::size_t(qint64(window.max.x) - window.min.x + 1);
    pixels.height = std::size_t(qint64(window.max.y) - window.min.y + 1);
    if (pixels.width > mostPixels || pixels.height > mostPixels
        || pixels.width * pixels.height > mostPixels) {
        fail(QCoreApplication::translate("mkRayPictureFiles", "it is too large"));
    }
    const std::string prefix = colorPrefix(input.header().channels());
    pixels.colors.resize(pixels.width * pixels.height);
    Imf::FrameBuffer buffer;
    const char *const last[] = { "R", "G", "B" };
    for (int channel = 0; channel < 3; ++channel) {
        // OpenEXR counts from the origin of the display window.
        char *const base = reinterpret_cast<char *>(pixels.colors.data())
                           + std::size_t(channel) * sizeof(float)
                           - (std::ptrdiff_t(window.min.y) * std::ptrdiff_t(pixels.width)
                              + window.min.x)
                                 * std::ptrdiff_t(sizeof(C3f));
        buffer.insert(prefix + last[channel],
                      Imf::Slice(Imf::FLOAT, base, sizeof(C3f), sizeof(C3f) * pixels.width));
    }
    input.setFrameBuffer(buffer);
    input.readPixels(window.min.y, window.max.y);
    return pixels;
} catch (const std::exception &failure) {
    fail(QCoreApplication::translate("mkRayPictureFiles", "%1 cannot be read: %2.")
             .arg(file, QString::fromUtf8(failure.what())));
}

void mkWriteExr(const QString &file, const mkRayLayerFilms &layers)
{
    if (layers.empty()) {
        fail(QCoreApplication::translate("mkRayPictureFiles", "There are no layers to write."));
    }
    const QSize size = layers.front().second->size();
    const auto width = std::size_t(size.width());
    const auto count = width * std::size_t(size.height());
    std::vector<std::vector<half>> channels;
    channels.reserve(layers.size() * 4);
    Imf::Header header(size.width(), size.height());
    header.compression() = Imf::ZIP_COMPRESSION;
    Imf::FrameBuffer buffer;
    for (const auto &[name, film] : layers) {
        const std::string prefix = name.isEmpty() ? std::string() : name.toStdString() + '.';
        for (int channel = 0; channel < 4; ++channel) {
            std::vector<half> values(count);
            for (std::size_t i = 0; i < count; ++i) {
                const C4f color = film->pixel(int(i % width), int(i / width));
                const float most = HALF_MAX;
                const float value = channel == 0   ? color.r
                                    : channel == 1 ? color.g
                                    : channel == 2 ? color.b
                                                   : color.a;
                values[i] = half(std::min(value, most));
            }
            const std::string full = prefix + "RGBA"[channel];
            header.channels().insert(full, Imf::Channel(Imf::HALF));
            buffer.insert(full, Imf::Slice(Imf::HALF, reinterpret_cast<char *>(values.data()),
                                           sizeof(half), sizeof(half) * width));
            channels.push_back(std::move(values));
        }
    }
    QByteArray bytes;
    try {
        Imf::StdOSStream stream;
        {
            Imf::OutputFile output(stream, header);
            output.setFrameBuffer(buffer);
            output.writePixels(size.height());
        }
        bytes = QByteArray::fromStdString(stream.str());
    } catch (const std::exception &failure) {
        fail(QCoreApplication::translate("mkRayPictureFiles", "%1 cannot be written: %2.")
                 .arg(file, QString::fromUtf8(failure.what())));
    }
    save(file, bytes);
}

void mkWritePng(const QString &file, const mkRayFilm &film, float exposure)
{
    QSaveFile target(file);
    if (!target.open(QIODevice::WriteOnly) || !film.picture(exposure).save(&target, "PNG")
        || !target.commit()) {
        fail(QCoreApplication::translate("mkRayPictureFiles", "%1 cannot be written: %2.")
                 .arg(file, target.errorString()));
    }
}
