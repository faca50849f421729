#include "OSGSystem/Geometry.h"

namespace osg {

const FieldContainerType DrawableBase::_type("DrawableBase", &NodeCore::_type);
const BitVector DrawableBase::MaterialFieldMask(1U << 2U);
const FieldContainerType Geometry::_type("Geometry", &DrawableBase::_type);

Ptr<Geometry> Geometry::create()
{
    return Ptr<Geometry>(new Geometry);
}

} // namespace osg
