#include "OSGSystem/NodeCore.h"

namespace osg {

const FieldContainerType NodeCore::_type("NodeCore", &AttachmentContainer::_type);
const FieldContainerType Group::_type("Group", &NodeCore::_type);
const FieldContainerType Transform::_type("Transform", &NodeCore::_type);
const BitVector Transform::MatrixFieldMask(1U << 2U);

Ptr<Group> Group::create()
{
    return Ptr<Group>(new Group);
}

Ptr<Transform> Transform::create()
{
    return Ptr<Transform>(new Transform);
}

} // namespace osg
