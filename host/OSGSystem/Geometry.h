#pragma once

#include "OSGSystem/Material.h"
#include "OSGSystem/Node.h"

namespace osg {

/// Base of every core that draws something.
class MK_HOST_API DrawableBase : public NodeCore
{
public:
    static const FieldContainerType _type;

    /// Null when the drawable has the host's default look.
    const MaterialPtr &getMaterial() const { return material; }
    void setMaterial(const MaterialPtr &newMaterial) { material = newMaterial; }

private:
    MaterialPtr material;
};

/// A triangle mesh.
class MK_HOST_API Geometry : public DrawableBase
{
public:
    using Vertex = std::array<float, 3>;

    static const FieldContainerType _type;
    static Ptr<Geometry> create();
    const FieldContainerType &getType() const override { return _type; }

    std::vector<Vertex> positions;
    /// Three a triangle, each below positions.size().
    std::vector<std::uint32_t> indices;
};

} // namespace osg
