#pragma once

#include "OSGSystem/NodeCore.h"

namespace osg {

/// A light. It stands at its node's origin and shines along the local -Z. Setters announce the
/// change.
class MK_HOST_API Light : public NodeCore
{
public:
    enum class Kind {
        Point,       ///< in all directions
        Directional, ///< everywhere along -Z, wherever it stands
        Spot,        ///< within a cone around -Z
    };
    /// Linear red, green, blue, 0 to 1.
    using Color = std::array<float, 3>;

    static const FieldContainerType _type;
    static const BitVector KindFieldMask;
    static const BitVector ColorFieldMask;
    static const BitVector IntensityFieldMask;
    static const BitVector ConeFieldMask;
    static Ptr<Light> create();
    const FieldContainerType &getType() const override { return _type; }

    Kind getKind() const { return kind; }
    void setKind(Kind newKind) { assign(kind, newKind, KindFieldMask); }
    const Color &getColor() const { return color; }
    /// Takes components below 0 to 0.
    void setColor(const Color &newColor);
    /// Candela for points and spots, lux for directional lights; not negative.
    float getIntensity() const { return intensity; }
    /// Takes a negative intensity to 0.
    void setIntensity(float newIntensity);
    /// Half angles in radians from the axis, 0 <= inner <= outer <= pi / 2: full light within the
    /// inner, none outside the outer one. For spots only.
    float getInnerConeAngle() const { return innerConeAngle; }
    float getOuterConeAngle() const { return outerConeAngle; }
    /// False, and no change, for angles that are not in that order.
    bool setConeAngles(float inner, float outer);
    void visitFields(FieldVisitor &visitor) override;

private:
    Kind kind = Kind::Point;
    Color color{ 1, 1, 1 };
    float intensity = 1;
    float innerConeAngle = 0;
    float outerConeAngle = 0.785398F;
};
using LightPtr = Ptr<Light>;

} // namespace osg
