#include "SceneImporter.h"

#include "OSGSystem/Camera.h"
#include "OSGSystem/Geometry.h"
#include "OSGSystem/Light.h"

#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <memory>
#include <unordered_map>

namespace {

/// Format readers recurse once or more for each level of a scene.
constexpr uint readerStackSize = 512U * 1024U * 1024U;
constexpr unsigned long progressInterval = 40;
/// How long reading may go on after it was cancelled.
constexpr qint64 patience = 3000;
constexpr qint64 longestPlyHeader = 1 << 20;

QString translate(const char *text)
{
    return QCoreApplication::translate("SceneImporter", text);
}

[[noreturn]] void fail(const QString &reason)
{
    throw std::runtime_error(reason.toStdString());
}

/// The library deletes a scene's nodes by recursion, which a deep one would not survive.
void deleteScene(aiScene *scene)
{
    std::vector<aiNode *> pending;
    if (scene && scene->mRootNode) {
        pending.push_back(scene->mRootNode);
        scene->mRootNode = nullptr;
    }
    while (!pending.empty()) {
        aiNode *const node = pending.back();
        pending.pop_back();
        pending.insert(pending.end(), node->mChildren, node->mChildren + node->mNumChildren);
        node->mNumChildren = 0;
        delete node;
    }
    delete scene;
}

using ScenePtr = std::unique_ptr<aiScene, void (*)(aiScene *)>;

/// What the reading thread and the thread that waits for it share.
struct Reading
{
    std::atomic<int> percent{ 0 };
    std::atomic<bool> cancelled{ false };
    // For the one who waits only once the thread has finished.
    ScenePtr scene{ nullptr, deleteScene };
    QString failure;
};

class ProgressReporter : public Assimp::ProgressHandler
{
public:
    explicit ProgressReporter(Reading &reading)
        : state(reading)
    {}

    bool Update(float fraction) override
    {
        if (fraction >= 0) {
            state.percent = int(std::min(fraction, 1.0F) * 100);
        }
        if (state.cancelled) {
            // Most readers do not look at the result, but all of them let exceptions through.
            throw mkSceneFile::Cancelled("");
        }
        return true;
    }

private:
    Reading &state;
};

QString damaged()
{
    return translate("The file is damaged or not of the format that its name promises.");
}

/// The library's reason, except where it only says that none of its readers wanted the file.
QString failureOf(const Assimp::Importer &importer, const QString &file)
{
    const QString reason = QString::fromUtf8(importer.GetErrorString());
    if (!reason.startsWith(QLatin1String("No suitable reader"))) {
        return reason;
    }
    const QByteArray suffix = QFileInfo(file).suffix().toUtf8();
    return importer.IsExtensionSupported(suffix.constData())
               ? damaged()
               : translate("The file is of an unknown format.");
}

/// The library looks for the end of such a header for ever.
bool isCutPlyHeader(QFile &file)
{
    return file.peek(3) == "ply" && !file.peek(longestPlyHeader).contains("end_header");
}

/// The library ends the program over a mesh whose faces are not of the types that it claims.
void correctPrimitiveTypes(const aiScene &scene)
{
    for (unsigned i = 0; i < scene.mNumMeshes; ++i) {
        aiMesh &mesh = *scene.mMeshes[i];
        unsigned types = 0;
        std::for_each(mesh.mFaces, mesh.mFaces + mesh.mNumFaces, [&types](const aiFace &face) {
            types |= face.mNumIndices < 2    ? unsigned(aiPrimitiveType_POINT)
                     : face.mNumIndices == 2 ? unsigned(aiPrimitiveType_LINE)
                     : face.mNumIndices == 3 ? unsigned(aiPrimitiveType_TRIANGLE)
                                             : unsigned(aiPrimitiveType_POLYGON);
        });
        mesh.mPrimitiveTypes = types;
    }
}

void readFile(const QString &file, Reading &reading)
{
    try {
        Assimp::Importer importer;
        importer.SetProgressHandler(new ProgressReporter(reading));
        importer.SetPropertyInteger(AI_CONFIG_PP_SBP_REMOVE,
                                    aiPrimitiveType_POINT | aiPrimitiveType_LINE);
        if (const aiScene *const scene = importer.ReadFile(QFile::encodeName(file).constData(),
                                                           aiProcess_ValidateDataStructure)) {
            correctPrimitiveTypes(*scene);
            importer.ApplyPostProcessing(aiProcess_Triangulate);
        }
        reading.failure = failureOf(importer, file);
        reading.scene.reset(importer.GetOrphanedScene());
    } catch (const std::exception &exception) {
        reading.failure = QString::fromUtf8(exception.what());
    }
}

/// Reads in a thread with a stack for deep scenes, so that the caller can show progress.
ScenePtr readFile(const QString &file, const ImportProgress &progress)
{
    const auto reading = std::make_shared<Reading>();
    QThread *const thread = QThread::create([reading, file] { readFile(file, *reading); });
    thread->setStackSize(readerStackSize);
    thread->start();
    QElapsedTimer sinceCancelled;
    while (!thread->wait(progressInterval)
           && !(reading->cancelled && sinceCancelled.hasExpired(patience))) {
        if (progress && !progress(reading->percent) && !reading->cancelled) {
            reading->cancelled = true;
            sinceCancelled.start();
        }
    }
    if (thread->isFinished()) {
        delete thread;
    } else {
        // A reader that never comes back is left to itself.
        QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    }
    if (reading->cancelled) {
        throw mkSceneFile::Cancelled(translate("Reading was cancelled.").toStdString());
    }
    if (!reading->scene) {
        fail(reading->failure.isEmpty() ? translate("The file cannot be read.") : reading->failure);
    }
    return std::move(reading->scene);
}

/// Files may hold any bytes where a name is expected; the scene's names are UTF-8.
std::string cleanName(const aiString &name)
{
    return QString::fromUtf8(name.C_Str(), int(name.length)).toStdString();
}

/// Builds a document out of the library's scene.
class SceneConverter
{
public:
    SceneConverter(const aiScene &read, const QString &sourceFile)
        : scene(read)
        , file(sourceFile)
    {}

    mkScenegraph::Document convert()
    {
        convertMaterials();
        geometries.resize(scene.mNumMeshes);
        for (unsigned i = 0; i < scene.mNumLights; ++i) {
            attached[scene.mLights[i]->mName.C_Str()] = osg::Light::create();
        }
        for (unsigned i = 0; i < scene.mNumCameras; ++i) {
            attached[scene.mCameras[i]->mName.C_Str()] = osg::Camera::create();
        }
        mkScenegraph::Document document;
        document.root = convertNodes();
        document.materials = namedOrUsedMaterials();
        document.file = file;
        return document;
    }

private:
    /// Something that a node holds.
    struct Content
    {
        osg::NodeCorePtr core;
        std::string name;
    };

    void convertMaterials()
    {
        for (unsigned i = 0; i < scene.mNumMaterials; ++i) {
            const aiMaterial &read = *scene.mMaterials[i];
            const std::string name = cleanName(scene.mMaterials[i]->GetName());
            aiColor4D color(1, 1, 1, 1);
            if (read.Get(AI_MATKEY_BASE_COLOR, color) != aiReturn_SUCCESS) {
                read.Get(AI_MATKEY_COLOR_DIFFUSE, color);
            }
            float opacity = 1;
            if (read.Get(AI_MATKEY_OPACITY, opacity) == aiReturn_SUCCESS) {
                color.a = std::min(color.a, opacity);
            }
            const osg::MaterialPtr material = osg::Material::create();
            material->setName(name.empty() ? "Material" : name);
            material->setColor({ color.r, color.g, color.b, color.a });
            materials.push_back(material);
        }
    }

    /// The library adds a default material also where every mesh has one of its own.
    std::vector<osg::MaterialPtr> namedOrUsedMaterials() const
    {
        std::vector<bool> keep(materials.size());
        for (unsigned i = 0; i < scene.mNumMaterials; ++i) {
            keep[i] = scene.mMaterials[i]->GetName().length > 0;
        }
        for (unsigned i = 0; i < scene.mNumMeshes; ++i) {
            const unsigned used = scene.mMeshes[i]->mMaterialIndex;
            if (used < keep.size()) {
                keep[used] = true;
            }
        }
        std::vector<osg::MaterialPtr> kept;
        for (std::size_t i = 0; i < keep.size(); ++i) {
            if (keep[i]) {
                kept.push_back(materials[i]);
            }
        }
        return kept;
    }

    /// Nodes that show the same mesh share its geometry.
    osg::NodeCorePtr geometry(unsigned index)
    {
        osg::Ptr<osg::Geometry> &made = geometries[index];
        if (made) {
            return made;
        }
        made = osg::Geometry::create();
        const aiMesh &mesh = *scene.mMeshes[index];
        if (mesh.mMaterialIndex < materials.size()) {
            made->setMaterial(materials[mesh.mMaterialIndex]);
        }
        made->positions.reserve(mesh.mNumVertices);
        for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
            const aiVector3D &vertex = mesh.mVertices[i];
            made->positions.push_back({ vertex.x, vertex.y, vertex.z });
        }
        for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
            const aiFace &face = mesh.mFaces[i];
            const bool valid = face.mNumIndices == 3
                               && std::all_of(face.mIndices, face.mIndices + 3,
                                              [&](unsigned v) { return v < mesh.mNumVertices; });
            if (valid) {
                made->indices.insert(made->indices.end(), face.mIndices, face.mIndices + 3);
            }
        }
        return made;
    }

    std::vector<Content> contents(const aiNode &node)
    {
        std::vector<Content> found;
        for (unsigned i = 0; i < node.mNumMeshes; ++i) {
            const unsigned index = node.mMeshes[i];
            if (index < scene.mNumMeshes) {
                found.push_back({ geometry(index), cleanName(scene.mMeshes[index]->mName) });
            }
        }
        const auto core = attached.find(node.mName.C_Str());
        if (node.mName.length > 0 && core != attached.end()) {
            found.push_back({ core->second, std::string() });
        }
        return found;
    }

    static osg::NodePtr createNode(const std::string &name, const osg::NodeCorePtr &core)
    {
        const osg::NodePtr node = osg::Node::create();
        node->setName(name);
        node->setCore(core);
        return node;
    }

    osg::NodePtr convertNode(const aiNode &read)
    {
        const bool isRoot = &read == scene.mRootNode;
        const aiMatrix4x4 &m = read.mTransformation;
        std::vector<Content> held = contents(read);
        osg::NodeCorePtr core;
        if (!m.IsIdentity()) {
            const osg::Ptr<osg::Transform> transform = osg::Transform::create();
            transform->setMatrix({ m.a1, m.a2, m.a3, m.a4, m.b1, m.b2, m.b3, m.b4, //
                                   m.c1, m.c2, m.c3, m.c4, m.d1, m.d2, m.d3, m.d4 });
            core = transform;
        } else if (held.size() == 1 && !isRoot) {
            // The root holds nothing itself, as it cannot be in a layer.
            core = held.front().core;
        } else {
            core = osg::Group::create();
        }

        std::string name = isRoot ? rootName() : cleanName(read.mName);
        if (name.empty()) {
            name = held.empty() || held.front().name.empty() ? core->getType().getName()
                                                             : held.front().name;
        }
        const osg::NodePtr node = createNode(name, core);
        for (const Content &content : held) {
            if (content.core != core) {
                node->addChild(
                    createNode(content.name.empty() ? name : content.name, content.core));
            }
        }
        return node;
    }

    /// The library makes a root of its own where a file has several.
    std::string rootName() const
    {
        const std::string name = cleanName(scene.mRootNode->mName);
        if (!name.empty() && name != "ROOT") {
            return name;
        }
        const std::string sceneName = cleanName(scene.mName);
        return sceneName.empty() ? QFileInfo(file).completeBaseName().toStdString() : sceneName;
    }

    osg::NodePtr convertNodes()
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

    const aiScene &scene;
    QString file;
    std::vector<osg::MaterialPtr> materials;
    std::vector<osg::Ptr<osg::Geometry>> geometries;
    std::unordered_map<std::string, osg::NodeCorePtr> attached;
};

} // namespace

mkScenegraph::Document importScene(const QString &file, const ImportProgress &progress)
{
    const QFileInfo info(file);
    QFile opened(file);
    if (!info.exists()) {
        fail(translate("There is no such file."));
    }
    if (info.isDir()) {
        fail(translate("It is a directory."));
    }
    if (!opened.open(QIODevice::ReadOnly)) {
        fail(opened.errorString());
    }
    if (opened.size() == 0) {
        fail(translate("The file is empty."));
    }
    if (isCutPlyHeader(opened)) {
        fail(damaged());
    }
    opened.close();

    const ScenePtr scene = readFile(file, progress);
    const aiNode *const root = scene->mRootNode;
    if (!root || (root->mNumChildren == 0 && root->mNumMeshes == 0)) {
        fail(translate("The file holds no scene."));
    }
    return SceneConverter(*scene, info.absoluteFilePath()).convert();
}

QString sceneFilePatterns()
{
    aiString extensions;
    Assimp::Importer().GetExtensionList(extensions);
    return QString::fromUtf8(extensions.C_Str()).replace(QLatin1Char(';'), QLatin1Char(' '));
}
