#include "mkOpenSGExt/RaytracingGeoAttachment.h"

#include "mkUtils/mkTrace.h"

namespace osg {

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
