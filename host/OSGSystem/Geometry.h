#pragma once

#include "OSGSystem/Material.h"
#include "OSGSystem/Node.h"

namespace osg {

/// Base of every core that draws something.
class MK_HOST_API DrawableBase : public NodeCore
{
public:
    static const FieldContainerType _type;
    static const BitVector MaterialFieldMask;

    /// Null when the drawable has the host's default look.
    const MaterialPtr &getMaterial() const { return material; }
    /// Announces the change.
    void setMaterial(const MaterialPtr &newMaterial)
    {
        assign(material, newMaterial, MaterialFieldMask);
    }
    void visitFields(FieldVisitor &visitor) override;

private:
    MaterialPtr material;
};

/// A triangle mesh. Whoever edits its lists announces the change, once, when done.
class MK_HOST_API Geometry : public DrawableBase
{
public:
    using Vertex = std::array<float, 3>;
    using TexCoord = std::array<float, 2>;

    static const FieldContainerType _type;
    static Ptr<Geometry> create();
    const FieldContainerType &getType() const override { return _type; }

    std::vector<Vertex> positions;
    /// Three a triangle, each below positions.size().
    std::vector<std::uint32_t> indices;
    /// One a position, of any length above 0, or none at all.
    std::vector<Vertex> normals;
    /// One a position, or none at all. (0, 0) is the upper left corner of a picture.
    std::vector<TexCoord> texCoords;

    void visitFields(FieldVisitor &visitor) override;
};

} // namespace osg
