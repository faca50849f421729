#pragma once

#include "mkKernel/mkScenegraph.h"

#include <string>

/// What the user does to the scene itself. Each edit is one step on the host's undo stack and marks
/// the document modified, done and undone; modules are told where their layers look different then.
/// Layers have no part in undoing: members stay members, and only what an edit took from them comes
/// back.
namespace SceneEdits {

/// An empty name is refused with false, and so is the one that the node has.
bool renameNode(const osg::NodePtr &node, const std::string &name);
/// Takes nodes out of the scene, with what is below them, and selects them again when that is
/// undone. The root, and what is not in the scene, stays.
void removeNodes(const std::vector<mkNodePtr> &nodes);
/// An empty name is refused with false, and so is the one that the material has. One that another
/// material has gets a number behind it.
bool renameMaterial(const osg::MaterialPtr &material, const std::string &name);
/// Whether the material shows only the shadows on it.
void setShadowMaterial(const osg::MaterialPtr &material, bool on);
/// Takes a material out of the document. What has it gets the host's default look, what it
/// overrides is overridden no more.
void removeMaterial(const osg::MaterialPtr &material);
/// mkScenegraph::mergeScene() as a step.
void merge(mkScenegraph::Document document);

} // namespace SceneEdits
