#include "SceneImporter.h"

#include "AssimpScene.h"
#include "mkUtils/mkLog.h"

#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <memory>

namespace {

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

class ProgressReporter : public Assimp::ProgressHandler
{
public:
    explicit ProgressReporter(ImportProgress target)
        : progress(std::move(target))
    {}

    bool Update(float fraction) override
    {
        if (progress && fraction >= 0) {
            progress(int(std::min(fraction, 1.0F) * 100));
        }
        return true;
    }

private:
    ImportProgress progress;
};

/// The library's reason, except where it only says that none of its readers wanted the file.
QString failureOf(const Assimp::Importer &importer, const QString &file)
{
    const QString reason = QString::fromUtf8(importer.GetErrorString());
    if (reason.contains(QLatin1String("bad_alloc"))) {
        return translate("The file asks for more memory than its size can mean.");
    }
    if (!reason.startsWith(QLatin1String("No suitable reader"))) {
        return reason.isEmpty() ? translate("The file cannot be read.") : reason;
    }
    const QByteArray suffix = QFileInfo(file).suffix().toUtf8();
    return importer.IsExtensionSupported(suffix.constData())
               ? translate("The file is damaged or not of the format that its name promises.")
               : translate("The file is of an unknown format.");
}

/// Leaves out faces on vertices that there are not, and corrects what kinds of faces the mesh
/// claims to have; both would bring down what comes after reading.
void cleanMesh(aiMesh &mesh)
{
    unsigned types = 0;
    unsigned kept = 0;
    for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
        const aiFace &face = mesh.mFaces[i];
        const bool valid = face.mIndices
                           && std::all_of(face.mIndices, face.mIndices + face.mNumIndices,
                                          [&mesh](unsigned v) { return v < mesh.mNumVertices; });
        if (!valid) {
            continue;
        }
        types |= face.mNumIndices < 2    ? unsigned(aiPrimitiveType_POINT)
                 : face.mNumIndices == 2 ? unsigned(aiPrimitiveType_LINE)
                 : face.mNumIndices == 3 ? unsigned(aiPrimitiveType_TRIANGLE)
                                         : unsigned(aiPrimitiveType_POLYGON);
        if (kept != i) {
            std::swap(mesh.mFaces[kept].mIndices, mesh.mFaces[i].mIndices);
            std::swap(mesh.mFaces[kept].mNumIndices, mesh.mFaces[i].mNumIndices);
        }
        ++kept;
    }
    if (kept != mesh.mNumFaces) {
        mkLog::warning("The mesh %s has faces without vertices, %u left out!", mesh.mName.C_Str(),
                       mesh.mNumFaces - kept);
        // The array keeps its length, which its owner deletes.
        mesh.mNumFaces = kept;
    }
    mesh.mPrimitiveTypes = types;
}

ScenePtr readFile(const QString &file, const ImportProgress &progress)
{
    Assimp::Importer importer;
    importer.SetProgressHandler(new ProgressReporter(progress));
    // Otherwise each node with a pivot would come as a chain of helpers.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    const aiScene *scene = importer.ReadFile(QFile::encodeName(file).constData(), 0);
    if (scene) {
        std::for_each(scene->mMeshes, scene->mMeshes + scene->mNumMeshes,
                      [](aiMesh *mesh) { cleanMesh(*mesh); });
        scene = importer.ApplyPostProcessing(aiProcess_Triangulate);
    }
    if (!scene) {
        fail(failureOf(importer, file));
    }
    return { importer.GetOrphanedScene(), deleteScene };
}

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
    opened.close();

    const ScenePtr scene = readFile(file, progress);
    const aiNode *const root = scene->mRootNode;
    if (!root || (root->mNumChildren == 0 && root->mNumMeshes == 0)) {
        fail(translate("The file holds no scene."));
    }
    AssimpScene converter(*scene, info.absoluteFilePath());
    mkScenegraph::Document document;
    document.root = converter.convertNodes();
    document.materials = converter.getMaterials();
    document.file = info.absoluteFilePath();
    return document;
}

QString sceneFilePatterns()
{
    aiString extensions;
    Assimp::Importer().GetExtensionList(extensions);
    return QString::fromUtf8(extensions.C_Str()).replace(QLatin1Char(';'), QLatin1Char(' '));
}
