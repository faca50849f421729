#include "AssimpMaterials.h"

#include "mkUtils/mkLog.h"

#include <assimp/GltfMaterial.h>
#include <assimp/scene.h>

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QUrl>

#include <algorithm>
#include <cmath>

namespace {

constexpr qint64 largestTexture = 256 << 20;

float number(const aiMaterial &read, const char *key, unsigned type, unsigned index, float missing)
{
    float value = missing;
    return read.Get(key, type, index, value) == aiReturn_SUCCESS ? value : missing;
}

/// What older formats say of highlights, as a roughness of about the same look.
float roughness(const aiMaterial &read)
{
    const float shininess = number(read, AI_MATKEY_SHININESS, 0);
    const float look = shininess > 0 ? std::sqrt(2 / (shininess + 2)) : 1;
    return number(read, AI_MATKEY_ROUGHNESS_FACTOR, look);
}

osg::Texture::Wrap wrap(aiTextureMapMode mode)
{
    switch (mode) {
    case aiTextureMapMode_Mirror:
        return osg::Texture::Wrap::Mirror;
    case aiTextureMapMode_Clamp:
    case aiTextureMapMode_Decal:
        return osg::Texture::Wrap::Clamp;
    default:
        return osg::Texture::Wrap::Repeat;
    }
}

/// The bytes of a picture file, which the library keeps as they are or as pixels.
QByteArray embedded(const aiTexture &texture)
{
    const auto *const bytes = reinterpret_cast<const char *>(texture.pcData);
    if (texture.mHeight == 0) {
        return { bytes, int(std::min(texture.mWidth, unsigned(largestTexture))) };
    }
    // Blue, green, red, alpha, which is what this format is on a little-endian machine.
    const QImage image(reinterpret_cast<const uchar *>(bytes), int(texture.mWidth),
                       int(texture.mHeight), QImage::Format_ARGB32);
    QBuffer buffer;
    image.save(&buffer, "PNG");
    return buffer.data();
}

} // namespace

std::string cleanName(const char *bytes, std::size_t length)
{
    return QString::fromUtf8(bytes, int(length)).toStdString();
}

AssimpMaterials::AssimpMaterials(const aiScene &read, const QString &sourceFile)
    : scene(read)
    , file(sourceFile)
{
    for (unsigned i = 0; i < scene.mNumMaterials; ++i) {
        materials.push_back(convert(*scene.mMaterials[i]));
    }
}

osg::MaterialPtr AssimpMaterials::at(unsigned index) const
{
    return index < materials.size() ? materials[index] : osg::MaterialPtr();
}

std::vector<osg::MaterialPtr> AssimpMaterials::namedOrUsed() const
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

osg::MaterialPtr AssimpMaterials::convert(const aiMaterial &read)
{
    aiString name;
    read.Get(AI_MATKEY_NAME, name);
    aiColor4D color(1, 1, 1, 1);
    if (read.Get(AI_MATKEY_BASE_COLOR, color) != aiReturn_SUCCESS) {
        read.Get(AI_MATKEY_COLOR_DIFFUSE, color);
    }
    color.a = std::min(color.a, number(read, AI_MATKEY_OPACITY, 1));
    aiColor3D emission(0, 0, 0);
    read.Get(AI_MATKEY_COLOR_EMISSIVE, emission);
    const float strength = number(read, AI_MATKEY_EMISSIVE_INTENSITY, 1);

    const osg::MaterialPtr material = osg::Material::create();
    material->setName(name.length > 0 ? cleanName(name.C_Str(), name.length) : "Material");
    material->setColor({ color.r, color.g, color.b, color.a });
    material->setMetallic(number(read, AI_MATKEY_METALLIC_FACTOR, 0));
    material->setRoughness(roughness(read));
    material->setTransmission(number(read, AI_MATKEY_TRANSMISSION_FACTOR, 0));
    const float refraction = number(read, AI_MATKEY_REFRACTI, 0);
    // Formats write 0 or 1 where nobody has set anything.
    material->setIndexOfRefraction(refraction > 1 ? refraction : 1.5F);
    material->setEmission({ emission.r * strength, emission.g * strength, emission.b * strength });
    material->setBaseColorTexture(baseColorTexture(read));
    convertAlpha(read, material, color.a);
    return material;
}

void AssimpMaterials::convertAlpha(const aiMaterial &read, const osg::MaterialPtr &material,
                                   float alpha) const
{
    using Mode = osg::Material::AlphaMode;
    aiString mode;
    if (read.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) != aiReturn_SUCCESS) {
        material->setAlphaMode(alpha < 1 ? Mode::Blend : Mode::Opaque);
        return;
    }
    material->setAlphaMode(mode == aiString("BLEND")  ? Mode::Blend
                           : mode == aiString("MASK") ? Mode::Mask
                                                      : Mode::Opaque);
    material->setAlphaCutoff(number(read, AI_MATKEY_GLTF_ALPHACUTOFF, 0.5F));
}

osg::TexturePtr AssimpMaterials::baseColorTexture(const aiMaterial &read)
{
    for (const aiTextureType type : { aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE }) {
        aiString path;
        aiTextureMapMode modes[3] = { aiTextureMapMode_Wrap, aiTextureMapMode_Wrap,
                                      aiTextureMapMode_Wrap };
        if (read.GetTexture(type, 0, &path, nullptr, nullptr, nullptr, nullptr, modes)
            != aiReturn_SUCCESS) {
            continue;
        }
        const QString name = QString::fromUtf8(path.C_Str());
        const QString key = QStringLiteral("%1 %2 %3").arg(modes[0]).arg(modes[1]).arg(name);
        if (!textures.contains(key)) {
            const QByteArray data = textureData(name);
            osg::TexturePtr texture;
            if (!data.isEmpty()) {
                texture = osg::Texture::create();
                texture->setName(QFileInfo(name).fileName().toStdString());
                texture->setData(data);
                texture->setWrap(wrap(modes[0]), wrap(modes[1]));
            }
            textures.insert(key, texture);
        }
        return textures.value(key);
    }
    return {};
}

/// Empty, and a line in the log, when there is no such picture.
QByteArray AssimpMaterials::textureData(const QString &name) const
{
    if (const aiTexture *const texture = scene.GetEmbeddedTexture(name.toUtf8().constData())) {
        return embedded(*texture);
    }
    const QString found = findBeside(name);
    QFile picture(found);
    if (!found.isEmpty() && picture.size() <= largestTexture && picture.open(QIODevice::ReadOnly)
        && !QImageReader::imageFormat(&picture).isEmpty()) {
        return picture.readAll();
    }
    mkLog::warning("The texture %s cannot be read, left out!", qUtf8Printable(name));
    return {};
}

/// Where a texture is: on its way from the scene's folder, or else in that folder, as scenes come
/// with the paths of the machine on which they were made.
QString AssimpMaterials::findBeside(QString name) const
{
    name.replace(QLatin1Char('\\'), QLatin1Char('/'));
    const QDir folder = QFileInfo(file).dir();
    for (const QString &path : { name, QUrl::fromPercentEncoding(name.toUtf8()) }) {
        for (const QString &place : { path, QFileInfo(path).fileName() }) {
            if (!place.isEmpty() && QFileInfo(folder.filePath(place)).isFile()) {
                return folder.filePath(place);
            }
        }
    }
    return {};
}
