#include "AssimpScene.h"

#include "OSGSystem/Camera.h"
#include "OSGSystem/Light.h"
#include "mkUtils/mkLog.h"

#include <assimp/scene.h>
#include <assimp/version.h>

#include <QFileInfo>

#include <algorithm>
#include <cmath>

namespace {

using Matrix = osg::Transform::Matrix;

Matrix matrixOf(const aiMatrix4x4 &m)
{
    return { m.a1, m.a2, m.a3, m.a4, m.b1, m.b2, m.b3, m.b4, //
             m.c1, m.c2, m.c3, m.c4, m.d1, m.d2, m.d3, m.d4 };
}

/// Where something stands that looks along its own -Z with +Y up.
Matrix placeOf(const aiVector3D &position, aiVector3D direction, aiVector3D up)
{
    aiVector3D right = direction ^ up;
    if (!(direction.SquareLength() > 0)) {
        direction = aiVector3D(0, 0, -1);
    }
    if (!(right.SquareLength() > 0)) {
        up = std::abs(direction.y) < std::abs(direction.z) ? aiVector3D(0, 1, 0)
                                                           : aiVector3D(0, 0, 1);
        right = direction ^ up;
    }
    const aiVector3D back = (-direction).Normalize();
    right.Normalize();
    const aiVector3D above = back ^ right;
    return { right.x, above.x, back.x, position.x, right.y, above.y, back.y, position.y,
             right.z, above.z, back.z, position.z, 0,       0,       0,      1 };
}

osg::Ptr<osg::Transform> transformOf(const Matrix &matrix)
{
    osg::Ptr<osg::Transform> transform = osg::Transform::create();
    transform->setMatrix(matrix);
    return transform;
}

} // namespace

AssimpScene::AssimpScene(const aiScene &read, const QString &sourceFile)
    : scene(read)
    , file(sourceFile)
    , materials(read, sourceFile)
    , geometries(read.mNumMeshes)
    , isGltf(QStringList{ QStringLiteral("gltf"), QStringLiteral("glb"), QStringLiteral("vrm") }
                 .contains(QFileInfo(sourceFile).suffix().toLower()))
{
    for (unsigned i = 0; i < scene.mNumLights; ++i) {
        convertLight(*scene.mLights[i]);
    }
    for (unsigned i = 0; i < scene.mNumCameras; ++i) {
        convertCamera(*scene.mCameras[i]);
    }
}

void AssimpScene::convertLight(const aiLight &light)
{
    const osg::LightPtr made = osg::Light::create();
    switch (light.mType) {
    case aiLightSource_DIRECTIONAL:
        made->setKind(osg::Light::Kind::Directional);
        break;
    case aiLightSource_SPOT:
        made->setKind(osg::Light::Kind::Spot);
        break;
    case aiLightSource_POINT:
        break;
    default:
        mkLog::warning("The light %s is of a kind that this host lacks, left out!",
                       light.mName.C_Str());
        return;
    }
    // The library multiplies colour and intensity.
    const aiColor3D &color = light.mColorDiffuse;
    const float intensity = std::max({ color.r, color.g, color.b });
    if (intensity > 0) {
        made->setColor({ color.r / intensity, color.g / intensity, color.b / intensity });
    }
    made->setIntensity(intensity);
    // Only these files mean the angle from the axis.
    const float half = isGltf ? 1 : 0.5F;
    made->setConeAngles(light.mAngleInnerCone * half, light.mAngleOuterCone * half);
    attached[light.mName.C_Str()].push_back(
        { made, {}, isGltf ? identity : placeOf(light.mPosition, light.mDirection, light.mUp) });
}

void AssimpScene::convertCamera(const aiCamera &camera)
{
    const osg::CameraPtr made = osg::Camera::create();
    const float aspect = camera.mAspect > 0 ? camera.mAspect : 1;
    // Before 5.3 the library multiplied the angle of such files, and not its tangent.
    const bool linear = isGltf && aiGetVersionMajor() == 5 && aiGetVersionMinor() < 3;
    made->setFieldOfView(linear ? camera.mHorizontalFOV / aspect
                                : 2 * std::atan(std::tan(camera.mHorizontalFOV / 2) / aspect));
    made->setClipping(camera.mClipPlaneNear, camera.mClipPlaneFar);
    attached[camera.mName.C_Str()].push_back(
        { made, {}, isGltf ? identity : placeOf(camera.mPosition, camera.mLookAt, camera.mUp) });
}

/// Nodes that show the same mesh share its geometry. Null, and a line in the log, for a mesh that
/// holds nothing.
osg::NodeCorePtr AssimpScene::geometry(unsigned index)
{
    osg::Ptr<osg::Geometry> &made = geometries[index];
    if (made) {
        return made;
    }
    const aiMesh &mesh = *scene.mMeshes[index];
    made = osg::Geometry::create();
    made->setMaterial(materials.at(mesh.mMaterialIndex));
    const unsigned count = mesh.mVertices ? mesh.mNumVertices : 0;
    made->positions.reserve(count);
    for (unsigned i = 0; i < count; ++i) {
        made->positions.push_back(
            { mesh.mVertices[i].x, mesh.mVertices[i].y, mesh.mVertices[i].z });
    }
    for (unsigned i = 0; mesh.mNormals && i < count; ++i) {
        made->normals.push_back({ mesh.mNormals[i].x, mesh.mNormals[i].y, mesh.mNormals[i].z });
    }
    for (unsigned i = 0; mesh.mTextureCoords[0] && i < count; ++i) {
        // The library counts from below.
        const aiVector3D &place = mesh.mTextureCoords[0][i];
        made->texCoords.push_back({ place.x, 1 - place.y });
    }
    unsigned left = 0;
    for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
        const aiFace &face = mesh.mFaces[i];
        if (face.mNumIndices == 3
            && std::all_of(face.mIndices, face.mIndices + 3,
                           [count](unsigned vertex) { return vertex < count; })) {
            made->indices.insert(made->indices.end(), face.mIndices, face.mIndices + 3);
        } else {
            ++left;
        }
    }
    if (left > 0 || mesh.mNumFaces == 0) {
        mkLog::warning("The mesh %s: only triangles are taken, %u of its faces left out!",
                       mesh.mName.C_Str(), left);
    }
    return made;
}

std::vector<AssimpScene::Content> AssimpScene::contents(const aiNode &node)
{
    std::vector<Content> found;
    for (unsigned i = 0; i < node.mNumMeshes; ++i) {
        const unsigned index = node.mMeshes[i];
        if (index < scene.mNumMeshes) {
            const aiString &name = scene.mMeshes[index]->mName;
            found.push_back({ geometry(index), cleanName(name.C_Str(), name.length) });
        }
    }
    const auto more = attached.find(node.mName.C_Str());
    if (node.mName.length > 0 && more != attached.end()) {
        found.insert(found.end(), more->second.begin(), more->second.end());
    }
    return found;
}

osg::NodePtr AssimpScene::createNode(const std::string &name, const Content &content)
{
    const osg::NodePtr node = osg::Node::create();
    node->setName(name);
    if (content.place == identity) {
        node->setCore(content.core);
    } else {
        node->setCore(transformOf(content.place));
        node->addChild(createNode(name, { content.core, {}, identity }));
    }
    return node;
}

osg::NodePtr AssimpScene::convertNode(const aiNode &read)
{
    const bool isRoot = &read == scene.mRootNode;
    std::vector<Content> held = contents(read);
    std::string name = isRoot ? rootName() : cleanName(read.mName.C_Str(), read.mName.length);
    if (name.empty() && !held.empty()) {
        name = held.front().name.empty() ? held.front().core->getType().getName()
                                         : held.front().name;
    }
    // The root holds nothing itself, as it cannot be in a layer.
    if (held.size() == 1 && !isRoot && read.mTransformation.IsIdentity()) {
        return createNode(name, held.front());
    }
    Content own;
    own.core = read.mTransformation.IsIdentity() ? osg::NodeCorePtr(osg::Group::create())
                                                 : transformOf(matrixOf(read.mTransformation));
    const osg::NodePtr node = createNode(name.empty() ? own.core->getType().getName() : name, own);
    for (const Content &content : held) {
        node->addChild(createNode(content.name.empty() ? name : content.name, content));
    }
    return node;
}

/// The library makes a root of its own where a file has several.
std::string AssimpScene::rootName() const
{
    const aiString &read = scene.mRootNode->mName;
    const std::string name = cleanName(read.C_Str(), read.length);
    if (!name.empty() && name != "ROOT") {
        return name;
    }
    const std::string sceneName = cleanName(scene.mName.C_Str(), scene.mName.length);
    return sceneName.empty() ? QFileInfo(file).completeBaseName().toStdString() : sceneName;
}

osg::NodePtr AssimpScene::convertNodes()
{
    struct Entry
    {
        osg::NodePtr node;
        std::size_t parent;
    };
    std::vector<Entry> entries;
    std::vector<std::pair<const aiNode *, std::size_t>> pending{ { scene.mRootNode, 0 } };
    while (!pending.empty()) {
        const auto [read, parent] = pending.back();
        pending.pop_back();
        entries.push_back({ convertNode(*read), parent });
        for (unsigned i = read->mNumChildren; i > 0; --i) {
            pending.emplace_back(read->mChildren[i - 1], entries.size() - 1);
        }
    }
    // Bottom up, since adding to a node looks at everything above it.
    std::vector<std::vector<std::size_t>> children(entries.size());
    for (std::size_t i = 1; i < entries.size(); ++i) {
        children[entries[i].parent].push_back(i);
    }
    for (std::size_t i = entries.size(); i > 0; --i) {
        for (const std::size_t child : children[i - 1]) {
            entries[i - 1].node->addChild(entries[child].node);
        }
    }
    return entries.front().node;
}
