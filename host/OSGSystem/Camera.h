#pragma once

#include "OSGSystem/NodeCore.h"

namespace osg {

/// A perspective camera. It stands at its node's origin, looks along the local -Z and has +Y up.
/// Setters announce the change.
class MK_HOST_API Camera : public NodeCore
{
public:
    static const FieldContainerType _type;
    static const BitVector FieldOfViewFieldMask;
    static const BitVector ClippingFieldMask;
    static Ptr<Camera> create();
    const FieldContainerType &getType() const override { return _type; }

    /// The whole vertical angle in radians, above 0 and below pi.
    float getFieldOfView() const { return fieldOfView; }
    /// Takes an angle outside those bounds to the nearest one within.
    void setFieldOfView(float radians);
    /// Distances along the line of sight, in the scene's units; 0 < near < far.
    float getNear() const { return nearClipping; }
    float getFar() const { return farClipping; }
    /// False, and no change, unless 0 < near < far.
    bool setClipping(float newNear, float newFar);
    void visitFields(FieldVisitor &visitor) override;

private:
    float fieldOfView = 0.8F;
    float nearClipping = 0.1F;
    float farClipping = 10000;
};
using CameraPtr = Ptr<Camera>;

} // namespace osg
