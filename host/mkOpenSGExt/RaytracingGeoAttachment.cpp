#include "mkOpenSGExt/RaytracingGeoAttachment.h"

#include "OSGSystem/FieldVisitor.h"
#include "OSGSystem/Revision.h"
#include "mkOpenSGExt/RenderLayers.h"
#include "mkUtils/mkTrace.h"

namespace osg {

using Values = RenderAttributeValues;

const std::array<RenderAttribute, 11> renderAttributes{ {
    { "visible", QT_TRANSLATE_NOOP("RenderAttributes", "Visible"), &Values::visible },
    { "visibleInAlpha", QT_TRANSLATE_NOOP("RenderAttributes", "Visible in alpha"),
      &Values::visibleInAlpha },
    { "primaryVisibility", QT_TRANSLATE_NOOP("RenderAttributes", "Primary visibility"),
      &Values::primaryVisibility },
    { "visibleInReflections", QT_TRANSLATE_NOOP("RenderAttributes", "Visible in reflections"),
      &Values::visibleInReflections },
    { "visibleInRefractions", QT_TRANSLATE_NOOP("RenderAttributes", "Visible in refractions"),
      &Values::visibleInRefractions },
    { "castShadows", QT_TRANSLATE_NOOP("RenderAttributes", "Cast shadows"), &Values::castShadows },
    { "receiveShadows", QT_TRANSLATE_NOOP("RenderAttributes", "Receive shadows"),
      &Values::receiveShadows },
    { "doubleSided", QT_TRANSLATE_NOOP("RenderAttributes", "Double sided"), &Values::doubleSided },
    { "visibleForPhotons", QT_TRANSLATE_NOOP("RenderAttributes", "Visible in photons"),
      &Values::visibleInPhotons },
    { "visibleForShadowMaterial",
      QT_TRANSLATE_NOOP("RenderAttributes", "Cast shadows on shadow material"),
      &Values::castShadowsOnShadowMaterial },
    { "useOverrideMaterial", QT_TRANSLATE_NOOP("RenderAttributes", "Use override material"),
      &Values::useOverrideMaterial },
} };

namespace {

/// A bit is set where a flag differs from its default, so that flags that a file does not know
/// yet have theirs.
std::uint32_t toBits(const Values &values)
{
    const Values defaults;
    std::uint32_t bits = 0;
    std::uint32_t bit = 1;
    for (const RenderAttribute &attribute : renderAttributes) {
        bits |= values.*attribute.value != defaults.*attribute.value ? bit : 0;
        bit <<= 1U;
    }
    return bits;
}

void fromBits(std::uint32_t bits, Values &values)
{
    const Values defaults;
    for (const RenderAttribute &attribute : renderAttributes) {
        values.*attribute.value = defaults.*attribute.value != ((bits & 1U) != 0);
        bits >>= 1U;
    }
}

} // namespace

const FieldContainerType RaytracingGeoAttachmentBase::_type(
    "RaytracingGeoAttachment", &Attachment::_type,
    [] { return FieldContainerPtr(RaytracingGeoAttachment::make()); },
    FieldContainerType::Group::Own);
const BitVector RaytracingGeoAttachmentBase::OverrideMaterialFieldMask(1U << 11U);

RaytracingGeoAttachmentPtr RaytracingGeoAttachmentBase::create()
{
    mkTrace::call("RaytracingGeoAttachment::create");
    return RaytracingGeoAttachment::make();
}

void RaytracingGeoAttachmentBase::visitFields(FieldVisitor &visitor)
{
    std::uint32_t bits = toBits(values);
    visitor.field("flags", bits);
    fromBits(bits, values);
    visitor.field("overrideMaterial", values.overrideMaterial);
}

RaytracingGeoAttachmentPtr RaytracingGeoAttachment::make()
{
    return RaytracingGeoAttachmentPtr(new RaytracingGeoAttachment);
}

void RaytracingGeoAttachment::setOverrideMaterial(const MaterialPtr &material)
{
    Revision::advance();
    values.overrideMaterial = material;
}

void RaytracingGeoAttachment::storeState(const std::string &name, std::uint32_t layerId)
{
    storeState(name, layerId, values);
}

void RaytracingGeoAttachment::storeState(const std::string &name, std::uint32_t layerId,
                                         const RenderAttributeValues &stored)
{
    Revision::advance();
    states[name] = { layerId, stored };
}

bool RaytracingGeoAttachment::restoreState(const std::string &name)
{
    mkTrace::call("RaytracingGeoAttachment::restoreState", name);
    const auto found = states.find(name);
    if (found == states.end()) {
        return false;
    }
    values = found->second.values;
    changed(AllFields, ChangeOrigin::External);
    return true;
}

bool RaytracingGeoAttachment::removeState(const std::string &name)
{
    Revision::advance();
    return states.erase(name) > 0;
}

std::vector<std::string> RaytracingGeoAttachment::getStateNames() const
{
    std::vector<std::string> names;
    for (const auto &state : states) {
        names.push_back(state.first);
    }
    return names;
}

std::uint32_t RaytracingGeoAttachment::getStateLayerId(const std::string &name) const
{
    const auto found = states.find(name);
    return found == states.end() ? 0 : found->second.layerId;
}

void RaytracingGeoAttachment::reset()
{
    mkTrace::call("RaytracingGeoAttachment::reset");
    values = RenderAttributeValues();
    changed(AllFields, ChangeOrigin::External);
}

void RaytracingGeoAttachment::updateRenderLayerStateIds(
    const std::map<unsigned int, FieldContainerPtr> &ids)
{
    mkTrace::call("RaytracingGeoAttachment::updateRenderLayerStateIds");
    if (stateIdsSettled) {
        return;
    }
    stateIdsSettled = true;
    for (auto &state : states) {
        const auto found = ids.find(state.second.layerId);
        if (found != ids.end() && found->second) {
            state.second.layerId = found->second->getId();
        }
    }
}

void RaytracingGeoAttachment::visitFields(FieldVisitor &visitor)
{
    RaytracingGeoAttachmentBase::visitFields(visitor);
    std::vector<std::string> names;
    std::vector<std::uint32_t> layers;
    std::vector<std::uint32_t> flags;
    std::vector<MaterialPtr> materials;
    for (const auto &[name, state] : states) {
        names.push_back(name);
        layers.push_back(state.layerId);
        flags.push_back(toBits(state.values));
        materials.push_back(state.values.overrideMaterial);
    }
    visitor.field("stateNames", names);
    visitor.ids("stateLayers", layers, RenderLayerBase::_type);
    visitor.field("stateFlags", flags);
    visitor.field("stateMaterials", materials);
    if (!visitor.isReading()) {
        return;
    }
    if (layers.size() != names.size() || flags.size() != names.size()
        || materials.size() != names.size()) {
        visitor.refuse();
    }
    states.clear();
    for (std::size_t i = 0; i < names.size(); ++i) {
        State &state = states[names[i]];
        state.layerId = layers[i];
        fromBits(flags[i], state.values);
        state.values.overrideMaterial = materials[i];
    }
}

} // namespace osg
