#pragma once

#include "OSGSystem/Material.h"

#include <QHash>
#include <QString>

struct aiMaterial;
struct aiScene;

/// Makes materials of the host out of those of a scene that the import library has read, textures
/// with them, whether they are in the file or beside it.
class AssimpMaterials
{
public:
    AssimpMaterials(const aiScene &read, const QString &sourceFile);

    /// The material of this index in the library's scene; null past the end.
    osg::MaterialPtr at(unsigned index) const;
    /// Those that have a name or that a mesh has, in order: the library adds a default material
    /// also where every mesh has one of its own.
    std::vector<osg::MaterialPtr> namedOrUsed() const;

private:
    osg::MaterialPtr convert(const aiMaterial &read);
    void convertAlpha(const aiMaterial &read, const osg::MaterialPtr &material, float alpha) const;
    osg::TexturePtr baseColorTexture(const aiMaterial &read);
    QByteArray textureData(const QString &name) const;
    QString findBeside(QString name) const;

    const aiScene &scene;
    QString file;
    std::vector<osg::MaterialPtr> materials;
    QHash<QString, osg::TexturePtr> textures;
};

/// Files may hold any bytes where a name is expected; the scene's names are UTF-8.
std::string cleanName(const char *bytes, std::size_t length);
