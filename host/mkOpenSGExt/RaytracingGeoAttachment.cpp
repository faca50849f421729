#include "mkOpenSGExt/RaytracingGeoAttachment.h"

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

const FieldContainerType RaytracingGeoAttachmentBase::_type("RaytracingGeoAttachment",
                                                            &Attachment::_type,
                                                            FieldContainerType::Group::Own);
const BitVector RaytracingGeoAttachmentBase::OverrideMaterialFieldMask(1U << 11U);

RaytracingGeoAttachmentPtr RaytracingGeoAttachmentBase::create()
{
    mkTrace::call("RaytracingGeoAttachment::create");
    return RaytracingGeoAttachment::make();
}

RaytracingGeoAttachmentPtr RaytracingGeoAttachment::make()
{
    return RaytracingGeoAttachmentPtr(new RaytracingGeoAttachment);
}

void RaytracingGeoAttachment::setOverrideMaterial(const MaterialPtr &material)
{
    values.overrideMaterial = material;
}

void RaytracingGeoAttachment::storeState(const std::string &name, std::uint32_t layerId)
{
    states[name] = { layerId, values };
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
    for (auto &state : states) {
        const auto found = ids.find(state.second.layerId);
        if (found != ids.end() && found->second) {
            state.second.layerId = found->second->getId();
        }
    }
}

} // namespace osg
