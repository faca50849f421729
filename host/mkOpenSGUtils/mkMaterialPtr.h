#pragma once

#include "OSGSystem/Material.h"

/// The host's wrapper of a material handle.
class mkMaterialPtr
{
public:
    mkMaterialPtr() = default;
    mkMaterialPtr(const osg::MaterialPtr &wrapped)
        : material(wrapped)
    {}

    /// The handle inside; may be null.
    const osg::MaterialPtr &get() const { return material; }

private:
    osg::MaterialPtr material;
};
