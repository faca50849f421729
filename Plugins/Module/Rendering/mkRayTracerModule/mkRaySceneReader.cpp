#include "mkRaySceneReader.h"

#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkRayEnvironment.h"
#include "mkUtils/mkLog.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cmath>
#include <utility>

using Imath::C3f;
using Imath::M44f;
using Imath::V3f;

namespace {

M44f matrixOf(const osg::Transform::Matrix &m)
{
    return { m[0], m[4], m[8],  m[12], m[1], m[5], m[9],  m[13],
             m[2], m[6], m[10], m[14], m[3], m[7], m[11], m[15] };
}

bool isFinite(const V3f &v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// False for what has no size in some direction, and for what is not a number.
bool isInvertible(const M44f &matrix)
{
    const float determinant = matrix.determinant();
    return std::isfinite(determinant) && determinant != 0 && isFinite(matrix.translation())
           && std::isfinite(1 / determinant);
}

std::uint32_t maskOf(const osg::RenderAttributeValues &values, bool shadowMaterial)
{
    if (!values.visible) {
        return 0;
    }
    std::uint32_t mask = 0;
    const auto set = [&mask](bool on, std::uint32_t kinds) { mask |= on ? kinds : 0; };
    set(values.primaryVisibility, mkRayKind::Camera);
    set(values.primaryVisibility && values.visibleInAlpha, mkRayKind::Alpha);
    set(values.visibleInReflections, mkRayKind::Reflection);
    set(values.visibleInRefractions, mkRayKind::Refraction);
    // A shadow material has no light of its own to give.
    set(values.visibleInPhotons && !shadowMaterial, mkRayKind::Photon);
    set(values.castShadows, mkRayKind::Shadow);
    set(values.castShadows && values.castShadowsOnShadowMaterial, mkRayKind::EnvironmentShadow);
    return mask;
}

mkRayTexture::Wrap wrapOf(osg::Texture::Wrap wrap)
{
    return wrap == osg::Texture::Wrap::Clamp    ? mkRayTexture::Wrap::Clamp
           : wrap == osg::Texture::Wrap::Mirror ? mkRayTexture::Wrap::Mirror
                                                : mkRayTexture::Wrap::Repeat;
}

V3f direction(const M44f &matrix, const V3f &local)
{
    V3f result;
    matrix.multDirMatrix(local, result);
    return result.normalized();
}

mkRayLight lightOf(const osg::Light &light, const M44f &toWorld)
{
    mkRayLight made;
    made.kind = light.getKind() == osg::Light::Kind::Directional ? mkRayLight::Kind::Directional
                : light.getKind() == osg::Light::Kind::Spot      ? mkRayLight::Kind::Spot
                                                                 : mkRayLight::Kind::Point;
    made.position = toWorld.translation();
    made.direction = direction(toWorld, { 0, 0, -1 });
    const osg::Light::Color &color = light.getColor();
    made.intensity = C3f(color[0], color[1], color[2]) * light.getIntensity();
    made.cosInner = std::cos(light.getInnerConeAngle());
    made.cosOuter = std::cos(light.getOuterConeAngle());
    return made;
}

mkRayCamera cameraOf(const osg::Camera &camera, const M44f &toWorld)
{
    mkRayCamera made;
    made.position = toWorld.translation();
    made.forward = direction(toWorld, { 0, 0, -1 });
    made.right = made.forward.cross(direction(toWorld, { 0, 1, 0 })).normalized();
    made.up = made.right.cross(made.forward);
    made.tangent = std::tan(camera.getFieldOfView() / 2);
    return made;
}

/// A walk through a scene that says where each node is.
class PlacedNodes
{
public:
    explicit PlacedNodes(const osg::NodePtr &root)
    {
        if (root) {
            pending.emplace_back(root, M44f());
        }
    }

    bool atEnd() const { return pending.empty(); }
    /// Parents before children, in order.
    std::pair<osg::NodePtr, M44f> next()
    {
        std::pair<osg::NodePtr, M44f> result = std::move(pending.back());
        pending.pop_back();
        auto &[node, matrix] = result;
        if (const osg::Ptr<osg::Transform> transform{ node->getCore() }) {
            matrix = matrixOf(transform->getMatrix()) * matrix;
        }
        const auto &children = node->getChildren();
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            pending.emplace_back(*child, matrix);
        }
        return result;
    }

private:
    std::vector<std::pair<osg::NodePtr, M44f>> pending;
};

/// A clock is asked after so many nodes.
constexpr int stride = 256;

} // namespace

/// A snapshot in the making.
struct mkRaySceneReader::Reading
{
    PlacedNodes nodes;
    std::shared_ptr<mkRaySnapshot> snapshot;
    const Attributes *attributes;
    /// By the ids of materials; 0 is the default look.
    std::unordered_map<std::uint32_t, std::uint32_t> materials;
};

mkRaySceneReader::mkRaySceneReader(std::function<void()> notify)
    : announce(std::move(notify))
{}

mkRaySceneReader::~mkRaySceneReader() = default;

std::shared_ptr<const mkRaySnapshot> mkRaySceneReader::read(
    const osg::NodePtr &root, const std::shared_ptr<const mkRayEnvironment> &environment,
    const Attributes *attributes)
{
    const auto whole = start(root, environment, attributes);
    while (!whole->nodes.atEnd()) {
        const auto [node, toWorld] = whole->nodes.next();
        add(*whole, node, toWorld);
    }
    return finish(*whole);
}

void mkRaySceneReader::begin(const osg::NodePtr &root,
                             const std::shared_ptr<const mkRayEnvironment> &environment)
{
    reading = start(root, environment, nullptr);
}

std::shared_ptr<const mkRaySnapshot> mkRaySceneReader::advance(qint64 milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    for (int count = 1; !reading->nodes.atEnd(); ++count) {
        const auto placed = reading->nodes.next();
        add(*reading, placed.first, placed.second);
        if (count % stride == 0 && clock.elapsed() >= milliseconds) {
            return nullptr;
        }
    }
    return finish(*std::exchange(reading, nullptr));
}

void mkRaySceneReader::stop()
{
    reading.reset();
}

void mkRaySceneReader::clear()
{
    stop();
    meshes.clear();
    textures.clear();
    last.reset();
}

std::unique_ptr<mkRaySceneReader::Reading> mkRaySceneReader::start(
    const osg::NodePtr &root, const std::shared_ptr<const mkRayEnvironment> &environment,
    const Attributes *attributes)
{
    auto started = std::make_unique<Reading>(
        Reading{ PlacedNodes(root), std::make_shared<mkRaySnapshot>(), attributes, {} });
    started->snapshot->environment = environment;
    started->snapshot->instances.reserve(last ? last->instances.size() : 0);
    const auto markUnused = [](auto &kept) {
        for (auto &entry : kept) {
            entry.second.used = false;
        }
    };
    markUnused(meshes);
    markUnused(textures);
    return started;
}

std::shared_ptr<const mkRaySnapshot> mkRaySceneReader::finish(Reading &done)
{
    const auto forgetUnused = [](auto &kept) {
        for (auto entry = kept.begin(); entry != kept.end();) {
            entry = entry->second.used ? std::next(entry) : kept.erase(entry);
        }
    };
    forgetUnused(meshes);
    forgetUnused(textures);
    if (done.attributes) {
        return done.snapshot;
    }
    if (!last || !(*last == *done.snapshot)) {
        last = std::move(done.snapshot);
    }
    return last;
}

void mkRaySceneReader::add(Reading &current, const osg::NodePtr &node, const M44f &toWorld)
{
    const osg::NodeCorePtr &core = node->getCore();
    const bool isDrawable = core && core->getType().isDerivedFrom(osg::Geometry::_type);
    const osg::LightPtr light(core);
    if (!isDrawable && !light) {
        return;
    }
    osg::RenderAttributeValues values;
    if (current.attributes) {
        const auto found = current.attributes->find(node->getId());
        if (found != current.attributes->end()) {
            values = found->second;
        }
    } else if (const auto own = mkNodeUtils::getRenderAttributes(node)) {
        values = own->getValues();
    }
    if (isDrawable) {
        addDrawable(current, node, values, toWorld);
    } else if (values.visible && isFinite(toWorld.translation())) {
        current.snapshot->lights.push_back(lightOf(*light, toWorld));
    }
}

void mkRaySceneReader::addDrawable(Reading &current, const osg::NodePtr &node,
                                   const osg::RenderAttributeValues &values, const M44f &toWorld)
{
    const osg::Ptr<osg::Geometry> geometry(node->getCore());
    mkRayInstance instance;
    instance.mesh = mesh(geometry);
    if (!instance.mesh) {
        return;
    }
    if (!isInvertible(toWorld)) {
        if (reported.insert(node->getId()).second) {
            mkLog::warning("mkRaySceneReader: '%s' is not shown: its transformation leaves it no "
                           "size!",
                           mkNodeUtils::getName(node));
        }
        return;
    }
    const bool overridden = values.useOverrideMaterial && values.overrideMaterial;
    const osg::MaterialPtr &material = overridden ? values.overrideMaterial
                                                  : geometry->getMaterial();
    instance.toWorld = toWorld;
    instance.material = materialIndex(current, material);
    instance.mask = maskOf(values, current.snapshot->materials[instance.material].shadow);
    instance.receiveShadows = values.receiveShadows;
    instance.doubleSided = values.doubleSided;
    instance.node = node->getId();
    current.snapshot->instances.push_back(std::move(instance));
}

std::uint32_t mkRaySceneReader::materialIndex(Reading &current, const osg::MaterialPtr &material)
{
    std::vector<mkRayMaterial> &materials = current.snapshot->materials;
    const auto [entry, isNew] = current.materials.emplace(material ? material->getId() : 0,
                                                          std::uint32_t(materials.size()));
    if (isNew) {
        mkRayMaterial made;
        if (material) {
            const osg::Material::Color &color = material->getColor();
            made.baseColor = { color[0], color[1], color[2] };
            made.alpha = color[3];
            made.alphaMode = material->getAlphaMode() == osg::Material::AlphaMode::Blend
                                 ? mkRayMaterial::AlphaMode::Blend
                             : material->getAlphaMode() == osg::Material::AlphaMode::Mask
                                 ? mkRayMaterial::AlphaMode::Mask
                                 : mkRayMaterial::AlphaMode::Opaque;
            made.alphaCutoff = material->getAlphaCutoff();
            made.texture = texture(material->getBaseColorTexture());
            made.metallic = material->getMetallic();
            made.roughness = material->getRoughness();
            made.transmission = material->getTransmission();
            made.indexOfRefraction = material->getIndexOfRefraction();
            const osg::Material::Emission &emission = material->getEmission();
            made.emission = { emission[0], emission[1], emission[2] };
            made.shadow = material->isShadowMaterial();
        }
        materials.push_back(std::move(made));
    }
    return entry->second;
}

std::shared_ptr<const mkRayMesh> mkRaySceneReader::mesh(const osg::Ptr<osg::Geometry> &geometry)
{
    const auto [entry, isNew] = meshes.try_emplace(geometry->getId());
    Kept<mkRayMesh> &kept = entry->second;
    kept.used = true;
    if (!isNew) {
        return kept.part;
    }
    kept.source = geometry;
    auto made = std::make_shared<mkRayMesh>();
    made->positions.reserve(geometry->positions.size());
    for (const osg::Geometry::Vertex &v : geometry->positions) {
        made->positions.emplace_back(v[0], v[1], v[2]);
    }
    const std::vector<std::uint32_t> &indices = geometry->indices;
    made->indices.reserve(indices.size());
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
        if (std::all_of(&indices[i], &indices[i] + 3, [&](std::uint32_t corner) {
                return corner < made->positions.size() && isFinite(made->positions[corner]);
            })) {
            made->indices.insert(made->indices.end(), &indices[i], &indices[i] + 3);
        }
    }
    if (geometry->normals.size() == geometry->positions.size()) {
        for (const osg::Geometry::Vertex &v : geometry->normals) {
            made->normals.emplace_back(v[0], v[1], v[2]);
        }
    }
    if (geometry->texCoords.size() == geometry->positions.size()) {
        for (const osg::Geometry::TexCoord &v : geometry->texCoords) {
            made->texCoords.emplace_back(v[0], v[1]);
        }
    }
    if (made->indices.size() != indices.size()) {
        mkLog::warning("mkRaySceneReader: %zu of %zu triangles are not shown: their corners are "
                       "missing or not numbers!",
                       (indices.size() - made->indices.size() + 2) / 3, (indices.size() + 2) / 3);
    }
    if (!made->indices.empty()) {
        kept.part = std::move(made);
    }
    return kept.part;
}

std::shared_ptr<const mkRayTexture> mkRaySceneReader::texture(const osg::TexturePtr &source)
{
    if (!source || source->getData().isEmpty()) {
        return nullptr;
    }
    const auto [entry, isNew] = textures.try_emplace(source->getId());
    entry->second.used = true;
    if (isNew) {
        entry->second.source = source;
        entry->second.part = std::make_shared<mkRayTexture>(source->getData(),
                                                            wrapOf(source->getWrapU()),
                                                            wrapOf(source->getWrapV()));
    }
    return entry->second.part;
}

void mkRaySceneReader::containerChanged(const osg::FieldContainerPtr &container,
                                        const osg::BitVector &, osg::ChangeOrigin)
{
    const osg::FieldContainerType &type = container->getType();
    if (type.isDerivedFrom(osg::Geometry::_type)) {
        meshes.erase(container->getId());
    } else if (type.isDerivedFrom(osg::Texture::_type)) {
        textures.erase(container->getId());
    }
    stop();
    announce();
}

std::vector<mkRaySceneReader::View> mkRaySceneReader::views(const osg::NodePtr &root)
{
    std::vector<View> found;
    for (PlacedNodes nodes(root); !nodes.atEnd();) {
        const auto [node, toWorld] = nodes.next();
        const osg::CameraPtr camera(node->getCore());
        if (camera && isInvertible(toWorld)) {
            found.push_back({ QString::fromUtf8(mkNodeUtils::getName(node)), node->getId(),
                              cameraOf(*camera, toWorld) });
        }
    }
    return found;
}
