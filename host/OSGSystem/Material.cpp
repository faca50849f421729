#include "OSGSystem/Material.h"

#include "OSGSystem/FieldVisitor.h"

#include <algorithm>
#include <limits>

namespace osg {

namespace {

/// NaN ends at the lower bound.
float bounded(float value, float lowest, float highest)
{
    return std::min(std::max(lowest, value), highest);
}

} // namespace

const FieldContainerType Material::_type("Material", &AttachmentContainer::_type,
                                         makeContainer<Material>);
const BitVector Material::ColorFieldMask(1U << 2U);
const BitVector Material::TextureFieldMask(1U << 3U);
const BitVector Material::SurfaceFieldMask(1U << 4U);
const BitVector Material::EmissionFieldMask(1U << 5U);
const BitVector Material::AlphaFieldMask(1U << 6U);
const BitVector Material::ShadowFieldMask(1U << 7U);

Ptr<Material> Material::create()
{
    return Ptr<Material>(new Material);
}

void Material::setColor(const Color &newColor)
{
    Color valid = newColor;
    for (float &component : valid) {
        component = bounded(component, 0, 1);
    }
    assign(color, valid, ColorFieldMask);
}

void Material::setBaseColorTexture(const TexturePtr &texture)
{
    assign(baseColorTexture, texture, TextureFieldMask);
}

void Material::setMetallic(float value)
{
    assign(metallic, bounded(value, 0, 1), SurfaceFieldMask);
}

void Material::setRoughness(float value)
{
    assign(roughness, bounded(value, 0, 1), SurfaceFieldMask);
}

void Material::setTransmission(float value)
{
    assign(transmission, bounded(value, 0, 1), SurfaceFieldMask);
}

void Material::setIndexOfRefraction(float value)
{
    assign(indexOfRefraction, bounded(value, 1, 10), SurfaceFieldMask);
}

void Material::setEmission(const Emission &newEmission)
{
    Emission valid = newEmission;
    for (float &component : valid) {
        component = bounded(component, 0, std::numeric_limits<float>::max());
    }
    assign(emission, valid, EmissionFieldMask);
}

void Material::setAlphaCutoff(float value)
{
    assign(alphaCutoff, bounded(value, 0, 1), AlphaFieldMask);
}

void Material::visitFields(FieldVisitor &visitor)
{
    AttachmentContainer::visitFields(visitor);
    visitor.field("color", color, 0, 1);
    visitor.field("baseColorTexture", baseColorTexture);
    visitor.field("metallic", metallic, 0, 1);
    visitor.field("roughness", roughness, 0, 1);
    visitor.field("transmission", transmission, 0, 1);
    visitor.field("indexOfRefraction", indexOfRefraction, 1, 10);
    visitor.field("emission", emission, 0, std::numeric_limits<float>::max());
    visitor.field("alphaMode", alphaMode, AlphaMode::Blend);
    visitor.field("alphaCutoff", alphaCutoff, 0, 1);
    visitor.field("shadowMaterial", shadowMaterial);
}

} // namespace osg
