#pragma once

#include "OSGSystem/Material.h"
#include "mkKernelServices/mkdMaterial.h"

/// From data objects to what they stand for in the scene.
namespace mkTypeConverter {

/// The document's material of that name; null when there is none (any more).
MK_HOST_API osg::MaterialPtr convertMaterial(const mkdMaterial &material);

} // namespace mkTypeConverter
