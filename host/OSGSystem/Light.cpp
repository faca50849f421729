#include "OSGSystem/Light.h"

#include "OSGSystem/FieldVisitor.h"

#include <algorithm>
#include <limits>

namespace osg {

namespace {

constexpr float largest = std::numeric_limits<float>::max();
constexpr float rightAngle = 1.570797F;

} // namespace

const FieldContainerType Light::_type("Light", &NodeCore::_type, makeContainer<Light>);
const BitVector Light::KindFieldMask(1U << 2U);
const BitVector Light::ColorFieldMask(1U << 3U);
const BitVector Light::IntensityFieldMask(1U << 4U);
const BitVector Light::ConeFieldMask(1U << 5U);

Ptr<Light> Light::create()
{
    return Ptr<Light>(new Light);
}

void Light::setColor(const Color &newColor)
{
    Color valid = newColor;
    for (float &component : valid) {
        component = std::min(std::max(0.0F, component), largest);
    }
    assign(color, valid, ColorFieldMask);
}

void Light::setIntensity(float newIntensity)
{
    assign(intensity, std::min(std::max(0.0F, newIntensity), largest), IntensityFieldMask);
}

bool Light::setConeAngles(float inner, float outer)
{
    if (!(inner >= 0 && outer >= inner && outer <= rightAngle)) {
        return false;
    }
    if (inner != innerConeAngle || outer != outerConeAngle) {
        innerConeAngle = inner;
        outerConeAngle = outer;
        changed(ConeFieldMask, ChangeOrigin::External);
    }
    return true;
}

void Light::visitFields(FieldVisitor &visitor)
{
    NodeCore::visitFields(visitor);
    visitor.field("kind", kind, Kind::Spot);
    visitor.field("color", color, 0, largest);
    visitor.field("intensity", intensity, 0, largest);
    visitor.field("innerConeAngle", innerConeAngle, 0, rightAngle);
    visitor.field("outerConeAngle", outerConeAngle, innerConeAngle, rightAngle);
}

} // namespace osg
