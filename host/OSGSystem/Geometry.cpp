#include "OSGSystem/Geometry.h"

#include "OSGSystem/FieldVisitor.h"

#include <algorithm>

namespace osg {

const FieldContainerType DrawableBase::_type("DrawableBase", &NodeCore::_type);
const BitVector DrawableBase::MaterialFieldMask(1U << 2U);
const FieldContainerType Geometry::_type("Geometry", &DrawableBase::_type, makeContainer<Geometry>);

Ptr<Geometry> Geometry::create()
{
    return Ptr<Geometry>(new Geometry);
}

void DrawableBase::visitFields(FieldVisitor &visitor)
{
    NodeCore::visitFields(visitor);
    visitor.field("material", material);
}

void Geometry::visitFields(FieldVisitor &visitor)
{
    DrawableBase::visitFields(visitor);
    visitor.field("positions", positions);
    visitor.field("indices", indices);
    visitor.field("normals", normals);
    visitor.field("texCoords", texCoords);
    if (!visitor.isReading()) {
        return;
    }
    const std::size_t count = positions.size();
    if (indices.size() % 3 != 0 || (!normals.empty() && normals.size() != count)
        || (!texCoords.empty() && texCoords.size() != count)
        || !std::all_of(indices.begin(), indices.end(),
                        [count](std::uint32_t index) { return index < count; })) {
        visitor.refuse();
    }
}

} // namespace osg
