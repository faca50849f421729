#include "OSGSystem/NodeCore.h"

#include "OSGSystem/FieldVisitor.h"

namespace osg {

const FieldContainerType NodeCore::_type("NodeCore", &AttachmentContainer::_type);
const FieldContainerType Group::_type("Group", &NodeCore::_type, makeContainer<Group>);
const FieldContainerType Transform::_type("Transform", &NodeCore::_type, makeContainer<Transform>);
const BitVector Transform::MatrixFieldMask(1U << 2U);

Ptr<Group> Group::create()
{
    return Ptr<Group>(new Group);
}

Ptr<Transform> Transform::create()
{
    return Ptr<Transform>(new Transform);
}

void Transform::visitFields(FieldVisitor &visitor)
{
    NodeCore::visitFields(visitor);
    visitor.field("matrix", matrix);
}

} // namespace osg
