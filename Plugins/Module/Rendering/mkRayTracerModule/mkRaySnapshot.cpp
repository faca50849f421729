#include "mkRaySnapshot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <unordered_map>

namespace {

float linear(int srgb)
{
    static const std::array<float, 256> table = [] {
        std::array<float, 256> values{};
        for (std::size_t i = 0; i < values.size(); ++i) {
            const float c = float(i) / 255;
            values[i] = c <= 0.04045F ? c / 12.92F : std::pow((c + 0.055F) / 1.055F, 2.4F);
        }
        return values;
    }();
    return table[std::size_t(srgb)];
}

Imath::C4f texel(const QImage &picture, int x, int y)
{
    const QRgb rgb = reinterpret_cast<const QRgb *>(picture.constScanLine(y))[x];
    return { linear(qRed(rgb)), linear(qGreen(rgb)), linear(qBlue(rgb)), float(qAlpha(rgb)) / 255 };
}

/// Brings a place to where its pixel can be told in whole numbers, without changing the pixel.
float folded(float place, mkRayTexture::Wrap wrap)
{
    return wrap == mkRayTexture::Wrap::Clamp ? std::clamp(place, 0.0F, 1.0F)
                                             : place - 2 * std::floor(place / 2);
}

int wrapped(int place, int size, mkRayTexture::Wrap wrap)
{
    switch (wrap) {
    case mkRayTexture::Wrap::Clamp:
        return std::clamp(place, 0, size - 1);
    case mkRayTexture::Wrap::Mirror: {
        const int within = ((place % (2 * size)) + 2 * size) % (2 * size);
        return within < size ? within : 2 * size - 1 - within;
    }
    default:
        return ((place % size) + size) % size;
    }
}

} // namespace

Imath::C4f mkRayTexture::lookUp(const Imath::V2f &place) const
{
    std::call_once(decoded, [this] {
        picture = QImage::fromData(bytes).convertToFormat(QImage::Format_ARGB32);
    });
    if (picture.isNull() || !std::isfinite(place.x) || !std::isfinite(place.y)) {
        return { 1, 1, 1, 1 };
    }
    const int width = picture.width();
    const int height = picture.height();
    const float x = folded(place.x, wrapU) * float(width) - 0.5F;
    const float y = folded(place.y, wrapV) * float(height) - 0.5F;
    const int left = int(std::floor(x));
    const int top = int(std::floor(y));
    const float right = x - float(left);
    const float bottom = y - float(top);
    const auto at = [&](int column, int row) {
        return texel(picture, wrapped(column, width, wrapU), wrapped(row, height, wrapV));
    };
    return (at(left, top) * (1 - right) + at(left + 1, top) * right) * (1 - bottom)
           + (at(left, top + 1) * (1 - right) + at(left + 1, top + 1) * right) * bottom;
}

bool mkRayMaterial::operator==(const mkRayMaterial &other) const
{
    const auto fields = [](const mkRayMaterial &m) {
        return std::tie(m.baseColor, m.alpha, m.alphaMode, m.alphaCutoff, m.texture, m.metallic,
                        m.roughness, m.transmission, m.indexOfRefraction, m.emission, m.shadow);
    };
    return fields(*this) == fields(other);
}

bool mkRayInstance::operator==(const mkRayInstance &other) const
{
    return isPlacedLike(other) && mask == other.mask && material == other.material
           && receiveShadows == other.receiveShadows && doubleSided == other.doubleSided
           && node == other.node;
}

bool mkRayLight::operator==(const mkRayLight &other) const
{
    const auto fields = [](const mkRayLight &l) {
        return std::tie(l.kind, l.position, l.direction, l.intensity, l.cosInner, l.cosOuter);
    };
    return fields(*this) == fields(other);
}

bool mkRayCamera::operator==(const mkRayCamera &other) const
{
    const auto fields = [](const mkRayCamera &c) {
        return std::tie(c.position, c.right, c.up, c.forward, c.tangent);
    };
    return fields(*this) == fields(other);
}

bool mkRaySnapshot::operator==(const mkRaySnapshot &other) const
{
    return environment == other.environment && instances == other.instances
           && materials == other.materials && lights == other.lights;
}

bool mkRaySnapshot::isPlacedLike(const mkRaySnapshot &other) const
{
    return std::equal(instances.begin(), instances.end(), other.instances.begin(),
                      other.instances.end(), [](const mkRayInstance &a, const mkRayInstance &b) {
                          return a.isPlacedLike(b);
                      });
}

Imath::Box3f mkRayBounds(const mkRaySnapshot &snapshot, const mkNodeSet &nodes)
{
    std::unordered_map<const mkRayMesh *, Imath::Box3f> boxes;
    Imath::Box3f all;
    for (const mkRayInstance &instance : snapshot.instances) {
        const bool wanted = nodes.size() == 0 ? (instance.mask & mkRayKind::Camera) != 0
                                              : nodes.contains(instance.node);
        if (!wanted) {
            continue;
        }
        const auto [entry, isNew] = boxes.try_emplace(instance.mesh.get());
        if (isNew) {
            for (const std::uint32_t corner : instance.mesh->indices) {
                entry->second.extendBy(instance.mesh->positions[corner]);
            }
        }
        const Imath::Box3f &box = entry->second;
        for (unsigned corner = 0; corner < 8; ++corner) {
            all.extendBy(Imath::V3f((corner & 1U) != 0 ? box.max.x : box.min.x,
                                    (corner & 2U) != 0 ? box.max.y : box.min.y,
                                    (corner & 4U) != 0 ? box.max.z : box.min.z)
                         * instance.toWorld);
        }
    }
    return all;
}
