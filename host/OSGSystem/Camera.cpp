#include "OSGSystem/Camera.h"

#include "OSGSystem/FieldVisitor.h"

#include <algorithm>

namespace osg {

namespace {

constexpr float smallestAngle = 0.001F;
constexpr float largestAngle = 3.14F;

} // namespace

const FieldContainerType Camera::_type("Camera", &NodeCore::_type, makeContainer<Camera>);
const BitVector Camera::FieldOfViewFieldMask(1U << 2U);
const BitVector Camera::ClippingFieldMask(1U << 3U);

Ptr<Camera> Camera::create()
{
    return Ptr<Camera>(new Camera);
}

void Camera::setFieldOfView(float radians)
{
    // NaN ends at the lower bound.
    assign(fieldOfView, std::min(std::max(smallestAngle, radians), largestAngle),
           FieldOfViewFieldMask);
}

bool Camera::setClipping(float newNear, float newFar)
{
    if (!(newNear > 0 && newFar > newNear)) {
        return false;
    }
    if (newNear != nearClipping || newFar != farClipping) {
        nearClipping = newNear;
        farClipping = newFar;
        changed(ClippingFieldMask, ChangeOrigin::External);
    }
    return true;
}

void Camera::visitFields(FieldVisitor &visitor)
{
    NodeCore::visitFields(visitor);
    visitor.field("fieldOfView", fieldOfView, smallestAngle, largestAngle);
    visitor.field("near", nearClipping);
    visitor.field("far", farClipping);
    if (!(nearClipping > 0 && farClipping > nearClipping)) {
        visitor.refuse();
    }
}

} // namespace osg
