#include "OSGSystem/Geometry.h"

namespace osg {

const FieldContainerType Material::_type("Material", &AttachmentContainer::_type);
const FieldContainerType DrawableBase::_type("DrawableBase", &NodeCore::_type);
const FieldContainerType Geometry::_type("Geometry", &DrawableBase::_type);

Ptr<Material> Material::create()
{
    return Ptr<Material>(new Material);
}

Ptr<Geometry> Geometry::create()
{
    return Ptr<Geometry>(new Geometry);
}

} // namespace osg
