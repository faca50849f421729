#pragma once

#include "AssimpMaterials.h"
#include "OSGSystem/Geometry.h"

#include <QString>

#include <unordered_map>

struct aiCamera;
struct aiLight;
struct aiMesh;
struct aiNode;
struct aiScene;

/// Makes nodes of the host out of a scene that the import library has read.
class AssimpScene
{
public:
    AssimpScene(const aiScene &read, const QString &sourceFile);

    osg::NodePtr convertNodes();
    std::vector<osg::MaterialPtr> getMaterials() const { return materials.namedOrUsed(); }

private:
    static constexpr osg::Transform::Matrix identity{
        1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1
    };

    /// Something that a node holds, placed against the node unless the matrix is the identity.
    struct Content
    {
        osg::NodeCorePtr core;
        std::string name;
        osg::Transform::Matrix place = identity;
    };

    void convertLight(const aiLight &light);
    void convertCamera(const aiCamera &camera);
    osg::NodeCorePtr geometry(unsigned index);
    std::vector<Content> contents(const aiNode &node);
    osg::NodePtr convertNode(const aiNode &read);
    static osg::NodePtr createNode(const std::string &name, const Content &content);
    std::string rootName() const;

    const aiScene &scene;
    QString file;
    AssimpMaterials materials;
    std::vector<osg::Ptr<osg::Geometry>> geometries;
    /// In such files cameras and lights stand where their nodes are, though the library gives the
    /// nodes' places to cameras again.
    bool isGltf;
    /// Lights and cameras by the name of the node that holds them.
    std::unordered_map<std::string, std::vector<Content>> attached;
};
