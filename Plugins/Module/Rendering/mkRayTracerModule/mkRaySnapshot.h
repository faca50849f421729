#pragma once

#include "mkOpenSGUtils/mkNodeSet.h"

#include <ImathBox.h>
#include <ImathColor.h>
#include <ImathMatrix.h>
#include <ImathVec.h>

#include <QByteArray>
#include <QImage>

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

class mkRayEnvironment;

/// What a ray is cast for: one bit each of Embree's ray mask. An instance's mask says which rays
/// meet it.
namespace mkRayKind {

enum : std::uint32_t {
    Camera = 1, ///< from the eye, also on straight through what lets it pass
    Alpha = 2,  ///< from the eye, and only for what counts in alpha
    Reflection = 4,
    Refraction = 8,
    Photon = 16,            ///< indirect diffuse light
    Shadow = 32,            ///< from a surface to a light or to the environment
    EnvironmentShadow = 64, ///< from a shadow material to the environment
    All = 127,
};

} // namespace mkRayKind

/// Triangles in the space of their own.
struct mkRayMesh
{
    std::vector<Imath::V3f> positions;
    /// One a position, or none: the triangles are flat then.
    std::vector<Imath::V3f> normals;
    /// One a position, or none.
    std::vector<Imath::V2f> texCoords;
    /// Three a triangle, each below positions.size(). Counter-clockwise seen from the front.
    std::vector<std::uint32_t> indices;
};

/// A picture file's bytes, decoded on first use, by whichever thread needs it first. One that
/// cannot be decoded is white.
class mkRayTexture
{
public:
    /// What lies outside the picture.
    enum class Wrap { Repeat, Mirror, Clamp };

    explicit mkRayTexture(QByteArray encoded, Wrap horizontal = Wrap::Repeat,
                          Wrap vertical = Wrap::Repeat)
        : bytes(std::move(encoded))
        , wrapU(horizontal)
        , wrapV(vertical)
    {}

    /// Filtered; the origin is the picture's upper left corner. Colours are linear, alpha as it is.
    Imath::C4f lookUp(const Imath::V2f &place) const;

private:
    QByteArray bytes;
    Wrap wrapU;
    Wrap wrapV;
    mutable std::once_flag decoded;
    mutable QImage picture;
};

/// How a surface looks. Colours are linear.
struct mkRayMaterial
{
    enum class AlphaMode {
        Opaque, ///< alpha does not count
        Mask,   ///< there where alpha reaches the cutoff, else not
        Blend,  ///< lets the part 1 - alpha through
    };

    Imath::C3f baseColor{ 0.8F, 0.8F, 0.8F };
    float alpha = 1;
    AlphaMode alphaMode = AlphaMode::Opaque;
    float alphaCutoff = 0.5F;
    /// Times baseColor and alpha; may be null.
    std::shared_ptr<const mkRayTexture> texture;
    float metallic = 0;
    /// 0 is a mirror, 1 is matt.
    float roughness = 1;
    float transmission = 0;
    float indexOfRefraction = 1.5F;
    Imath::C3f emission{ 0, 0, 0 };
    /// Shows only the shadows on it.
    bool shadow = false;

    /// False when every ray that meets the surface ends there.
    bool letsThrough() const { return alphaMode != AlphaMode::Opaque; }
    bool operator==(const mkRayMaterial &other) const;
};

/// A mesh in the scene.
struct mkRayInstance
{
    std::shared_ptr<const mkRayMesh> mesh;
    /// Imath's convention: row vectors, translation in the last row. Invertible and finite.
    Imath::M44f toWorld;
    /// A set of mkRayKind; 0 is nowhere to be seen.
    std::uint32_t mask = mkRayKind::All;
    std::uint32_t material = 0;
    bool receiveShadows = true;
    /// Otherwise all rays pass its back faces.
    bool doubleSided = true;
    /// Whose pixels these are, for whoever asks a picture; 0 is nobody's.
    std::uint32_t node = 0;

    bool isPlacedLike(const mkRayInstance &other) const
    {
        return mesh == other.mesh && toWorld == other.toWorld;
    }
    bool operator==(const mkRayInstance &other) const;
};

/// A light without extent.
struct mkRayLight
{
    enum class Kind { Point, Directional, Spot };

    Kind kind = Kind::Point;
    Imath::V3f position{ 0, 0, 0 };
    /// Where it shines, normalised.
    Imath::V3f direction{ 0, -1, 0 };
    /// Radiant intensity, for a directional light irradiance.
    Imath::C3f intensity{ 1, 1, 1 };
    /// Cosines of the half angles where a spot begins to fade and where it ends.
    float cosInner = 1;
    float cosOuter = 0;

    bool operator==(const mkRayLight &other) const;
};

/// A pinhole camera. The axes are orthonormal.
struct mkRayCamera
{
    Imath::V3f position{ 0, 0, 0 };
    Imath::V3f right{ 1, 0, 0 };
    Imath::V3f up{ 0, 1, 0 };
    Imath::V3f forward{ 0, 0, -1 };
    /// Tangent of half the vertical field of view.
    float tangent = 0.4142F;

    bool operator==(const mkRayCamera &other) const;
};

/// Everything that tracing needs of a scene at one moment. Nothing in it changes once it was
/// handed over, so threads read it without locks.
struct mkRaySnapshot
{
    std::vector<mkRayInstance> instances;
    std::vector<mkRayMaterial> materials;
    std::vector<mkRayLight> lights;
    /// Null is a black one.
    std::shared_ptr<const mkRayEnvironment> environment;

    bool operator==(const mkRaySnapshot &other) const;
    /// True when only masks, materials and lights can differ.
    bool isPlacedLike(const mkRaySnapshot &other) const;
};

/// What the instances of these nodes take up, of all for an empty set; those that no camera ray
/// meets only count where they are asked for. Empty where there is nothing.
Imath::Box3f mkRayBounds(const mkRaySnapshot &snapshot, const mkNodeSet &nodes);
