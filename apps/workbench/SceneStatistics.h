#pragma once

#include "OSGSystem/Node.h"

#include <QString>

/// What a scene, or a part of one, consists of, in words: "114 nodes, 34 meshes, 13 materials".
QString describeScene(const osg::NodePtr &root, std::size_t materials);
