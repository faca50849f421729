#pragma once

#include "OSGSystem/Geometry.h"

#include <QString>

/// The kinds of nodes that users tell apart.
enum class NodeKind { Group, Transform, Mesh, Light, Camera };

constexpr NodeKind allNodeKinds[] = { NodeKind::Group, NodeKind::Transform, NodeKind::Mesh,
                                      NodeKind::Light, NodeKind::Camera };

NodeKind kindOf(const osg::NodePtr &node);
/// The word that a search knows the kind by.
QString searchWord(NodeKind kind);
/// The material of a mesh; null for other nodes and for meshes with the host's default look.
osg::MaterialPtr materialOf(const osg::NodePtr &node);
