#pragma once

#include "OSGSystem/Texture.h"

#include <array>

namespace osg {

/// How a surface looks: metal and roughness, transmission, emission. The name is that of
/// AttachmentContainer. Setters announce the change; numbers outside the bounds given here are
/// taken to the nearest bound.
class MK_HOST_API Material : public AttachmentContainer
{
public:
    /// Red, green, blue, alpha, each 0 to 1; linear.
    using Color = std::array<float, 4>;
    /// Linear red, green, blue, not negative; may exceed 1.
    using Emission = std::array<float, 3>;
    /// What alpha, that of the base colour times that of its texture, does.
    enum class AlphaMode {
        Opaque, ///< nothing
        Mask,   ///< the surface is there where alpha is not below the cutoff
        Blend,  ///< it is the surface's opacity
    };

    static const FieldContainerType _type;
    static const BitVector ColorFieldMask;
    static const BitVector TextureFieldMask;
    static const BitVector SurfaceFieldMask;
    static const BitVector EmissionFieldMask;
    static const BitVector AlphaFieldMask;
    static const BitVector ShadowFieldMask;
    static Ptr<Material> create();
    const FieldContainerType &getType() const override { return _type; }

    const Color &getColor() const { return color; }
    void setColor(const Color &newColor);
    /// Its sRGB colours multiply the base colour; may be null.
    const TexturePtr &getBaseColorTexture() const { return baseColorTexture; }
    void setBaseColorTexture(const TexturePtr &texture);

    /// 0, a dielectric, to 1, a metal.
    float getMetallic() const { return metallic; }
    void setMetallic(float value);
    /// 0, a mirror, to 1.
    float getRoughness() const { return roughness; }
    void setRoughness(float value);
    /// The share of the light that passes through the surface, 0 to 1.
    float getTransmission() const { return transmission; }
    void setTransmission(float value);
    /// Of the inside against vacuum, 1 to 10.
    float getIndexOfRefraction() const { return indexOfRefraction; }
    void setIndexOfRefraction(float value);

    const Emission &getEmission() const { return emission; }
    void setEmission(const Emission &newEmission);

    AlphaMode getAlphaMode() const { return alphaMode; }
    void setAlphaMode(AlphaMode mode) { assign(alphaMode, mode, AlphaFieldMask); }
    /// For AlphaMode::Mask; 0 to 1.
    float getAlphaCutoff() const { return alphaCutoff; }
    void setAlphaCutoff(float value);

    /// True for a surface that shows only the shadows that fall on it.
    bool isShadowMaterial() const { return shadowMaterial; }
    void setShadowMaterial(bool on) { assign(shadowMaterial, on, ShadowFieldMask); }
    void visitFields(FieldVisitor &visitor) override;

private:
    Color color{ 1, 1, 1, 1 };
    TexturePtr baseColorTexture;
    float metallic = 0;
    float roughness = 1;
    float transmission = 0;
    float indexOfRefraction = 1.5F;
    Emission emission{ 0, 0, 0 };
    AlphaMode alphaMode = AlphaMode::Opaque;
    float alphaCutoff = 0.5F;
    bool shadowMaterial = false;
};
using MaterialPtr = Ptr<Material>;

} // namespace osg
