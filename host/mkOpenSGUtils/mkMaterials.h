#pragma once

#include "mkOpenSGUtils/mkMaterialPtr.h"

#include <cstddef>
#include <string>
#include <vector>

/// The document's materials, in order, each under a name of its own. A material announces that it
/// came or went as a change of its own.
namespace mkMaterials {

/// The material of this name; null when there is none or `name` is null.
MK_HOST_API mkMaterialPtr findMaterial(const char *name);
/// The material's name, UTF-8; the empty string for null. Valid until the material is renamed.
MK_HOST_API const char *getName(const osg::MaterialPtr &material);

MK_HOST_API const std::vector<osg::MaterialPtr> &getMaterials();
/// Adds a material; a name already taken gets a number behind it. Null and known materials are
/// ignored.
MK_HOST_API void addMaterial(const osg::MaterialPtr &material);
/// The same at a place of its own: behind `index` others, or at the end where there are fewer.
MK_HOST_API void insertMaterial(const osg::MaterialPtr &material, std::size_t index);
/// The same for many, whose cost is linear as long as their names differ.
MK_HOST_API void addMaterials(const std::vector<osg::MaterialPtr> &materials);
/// Takes a material out of the document. Layers that use it keep it alive.
MK_HOST_API void removeMaterial(const osg::MaterialPtr &material);
MK_HOST_API void clear();

} // namespace mkMaterials
