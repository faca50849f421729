#include "OSGSystem/Light.h"

#include <algorithm>

namespace osg {

namespace {

constexpr float rightAngle = 1.570797F;

} // namespace

const FieldContainerType Light::_type("Light", &NodeCore::_type);
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
        component = std::max(0.0F, component);
    }
    assign(color, valid, ColorFieldMask);
}

void Light::setIntensity(float newIntensity)
{
    assign(intensity, std::max(0.0F, newIntensity), IntensityFieldMask);
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

} // namespace osg
