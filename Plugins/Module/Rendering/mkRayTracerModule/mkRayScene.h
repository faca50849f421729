#pragma once

#include "mkEmbree.h"
#include "mkRaySnapshot.h"

#include <atomic>
#include <limits>
#include <unordered_map>

struct mkRay
{
    Imath::V3f origin;
    /// Normalised.
    Imath::V3f direction;
    float farthest = std::numeric_limits<float>::infinity();
};

/// Where a ray meets a surface.
struct mkRayHit
{
    std::uint32_t instance;
    std::uint32_t triangle;
    /// Weights of the triangle's second and third corner.
    float u;
    float v;
    float distance;
    /// In the mesh's space, not normalised.
    Imath::V3f meshNormal;
    /// The instance of the first surface on the way that can be seen, though it may be partly
    /// opaque and have let this ray through.
    std::uint32_t seen = none;

    static constexpr std::uint32_t none = 0xffffffffU;
};

/// A snapshot in Embree. One thread applies snapshots while no other casts rays; any number of
/// threads casts rays then.
///
/// Meshes are built once each and shared by their instances. A snapshot whose instances stand
/// where those of the last one stood changes masks and materials only.
class mkRayScene
{
public:
    /// Throws std::runtime_error when Embree cannot be had.
    mkRayScene();
    ~mkRayScene();
    mkRayScene(const mkRayScene &) = delete;
    mkRayScene &operator=(const mkRayScene &) = delete;

    /// False when `cancelling` became true. Throws std::runtime_error when Embree fails, as it does
    /// without memory. The scene is empty then, both times.
    bool apply(std::shared_ptr<const mkRaySnapshot> snapshot,
               const std::atomic<bool> *cancelling = nullptr);
    const mkRaySnapshot &snapshot() const { return *current; }
    /// How often geometry was built so far.
    int builds() const { return buildCount; }

    /// The first surface that rays of one of these kinds meet. `salt` decides, together with the
    /// surface, what is let through by one that is partly opaque. False when there is none; of the
    /// hit, only what was seen counts then.
    bool intersect(const mkRay &ray, std::uint32_t kinds, std::uint32_t salt, mkRayHit &hit) const;
    bool isBlocked(const mkRay &ray, std::uint32_t kinds, std::uint32_t salt) const;
    /// What reaches the ray's origin of a lamp's light: all of it, nothing, or what panes in
    /// between leave of it.
    Imath::C3f passed(const mkRay &ray, std::uint32_t salt) const;

    /// True when shadow rays and indirect diffuse rays meet the same surfaces.
    bool shadowsLikePhotons() const { return alike; }

    /// Of a hit: texture coordinates, and the normal in the scene's space, on the front side, as
    /// the mesh smooths it.
    Imath::V2f texCoord(const mkRayHit &hit) const;
    Imath::V3f smoothNormal(const mkRayHit &hit) const;
    /// The triangle's own normal in the scene's space, on the front side.
    Imath::V3f flatNormal(const mkRayHit &hit) const;
    /// baseColor and alpha with the texture's part.
    Imath::C4f baseColor(const mkRayHit &hit) const;
    const mkRayMaterial &material(std::uint32_t instance) const
    {
        return current->materials[current->instances[instance].material];
    }

private:
    struct Context;
    struct Placed
    {
        RTCGeometry geometry;
        /// Takes normals to the scene's space.
        Imath::M33f normals;
    };

    RTCScene built(const std::shared_ptr<const mkRayMesh> &mesh);
    void place();
    void clear();
    void refresh(const mkRaySnapshot *before);
    void commit(RTCScene scene);
    void stopIfCancelled() const;
    void check() const;
    static void filter(const RTCFilterFunctionNArguments *arguments);
    RTCFilterFunctionN filterFor(const Context &context) const;
    static void prepare(RTCRay &embreeRay, const mkRay &ray, std::uint32_t kinds);
    bool isBlocked(Context &context, RTCRay &embreeRay) const;

    struct Built
    {
        std::shared_ptr<const mkRayMesh> mesh;
        RTCScene scene;
        bool used;
    };

    RTCDevice device;
    RTCScene top = nullptr;
    std::shared_ptr<const mkRaySnapshot> current;
    std::unordered_map<const mkRayMesh *, Built> meshes;
    std::vector<Placed> placed;
    int buildCount = 0;
    /// What ends the apply() under way.
    const std::atomic<bool> *cancelled = nullptr;
    bool alike = true;
    bool needsFilter = false;
    bool hasPanes = false;
};
