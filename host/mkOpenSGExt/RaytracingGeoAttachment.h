#pragma once

#include "OSGSystem/Material.h"

#include <map>
#include <string>
#include <vector>

namespace osg {

class RaytracingGeoAttachment;
using RaytracingGeoAttachmentPtr = Ptr<RaytracingGeoAttachment>;

/// The render attributes' values. A new one has the host's defaults: everything on, no override
/// material and none used. Each says what a renderer does with the node's surfaces, and for a light
/// `visible` whether it shines. Rays that pass go on as if the surface were not there.
struct RenderAttributeValues
{
    /// Off: no ray meets the surface.
    bool visible = true;
    /// Off: it is seen, but leaves the picture's alpha as what lies behind it.
    bool visibleInAlpha = true;
    /// Off: camera rays pass. Its reflections, refractions, shadows and indirect light stay.
    bool primaryVisibility = true;
    /// Off: reflected rays pass.
    bool visibleInReflections = true;
    /// Off: refracted rays pass.
    bool visibleInRefractions = true;
    /// Off: shadow rays pass.
    bool castShadows = true;
    /// Off: it is lit as if nothing were in the way of lights and of the environment's light.
    bool receiveShadows = true;
    /// Off: its back faces let every ray pass.
    bool doubleSided = true;
    /// Off: indirect diffuse rays pass, and with them the caustics that it would make.
    bool visibleInPhotons = true;
    /// Off: the environment's shadow on shadow materials ignores it. Without castShadows it does
    /// so anyway.
    bool castShadowsOnShadowMaterial = true;
    /// On: it is shaded with the override material, if there is one.
    bool useOverrideMaterial = false;
    MaterialPtr overrideMaterial;
};

/// A flag among them: the keyword of setNodeVisibilityFlags in scripts, what views call it (to be
/// translated in the context "RenderAttributes"), and the value.
struct RenderAttribute
{
    const char *keyword;
    const char *label;
    bool RenderAttributeValues::*value;
};

/// In the order of the parameters of setNodeVisibilityFlags.
MK_HOST_API extern const std::array<RenderAttribute, 11> renderAttributes;

/// The fields of RaytracingGeoAttachment. Setters do not announce anything; whoever edits fields
/// does so once, when done.
class MK_HOST_API RaytracingGeoAttachmentBase : public Attachment
{
public:
    static const FieldContainerType _type;
    static const BitVector OverrideMaterialFieldMask;

    static RaytracingGeoAttachmentPtr create();
    const FieldContainerType &getType() const override { return _type; }

    bool &getVisible() { return values.visible; }
    void setVisible(const bool &on) { values.visible = on; }
    bool &getVisibleInAlpha() { return values.visibleInAlpha; }
    void setVisibleInAlpha(const bool &on) { values.visibleInAlpha = on; }
    bool &getPrimaryVisibility() { return values.primaryVisibility; }
    void setPrimaryVisibility(const bool &on) { values.primaryVisibility = on; }
    bool &getVisibleInReflections() { return values.visibleInReflections; }
    void setVisibleInReflections(const bool &on) { values.visibleInReflections = on; }
    bool &getVisibleInRefractions() { return values.visibleInRefractions; }
    void setVisibleInRefractions(const bool &on) { values.visibleInRefractions = on; }
    bool &getCastShadows() { return values.castShadows; }
    void setCastShadows(const bool &on) { values.castShadows = on; }
    bool &getReceiveShadows() { return values.receiveShadows; }
    void setReceiveShadows(const bool &on) { values.receiveShadows = on; }
    bool &getDoubleSided() { return values.doubleSided; }
    void setDoubleSided(const bool &on) { values.doubleSided = on; }
    bool &getVisibleInPhotons() { return values.visibleInPhotons; }
    void setVisibleInPhotons(const bool &on) { values.visibleInPhotons = on; }
    bool &getCastShadowsOnShadowMaterial() { return values.castShadowsOnShadowMaterial; }
    void setCastShadowsOnShadowMaterial(const bool &on) { values.castShadowsOnShadowMaterial = on; }
    bool &getUseOverrideMaterial() { return values.useOverrideMaterial; }
    void setUseOverrideMaterial(const bool &on) { values.useOverrideMaterial = on; }
    MaterialPtr &getOverrideMaterial() { return values.overrideMaterial; }
    void visitFields(FieldVisitor &visitor) override;

    /// All values at once.
    const RenderAttributeValues &getValues() const { return values; }
    void setValues(const RenderAttributeValues &newValues) { values = newValues; }

private:
    friend class RaytracingGeoAttachment;
    RenderAttributeValues values;
};

/// The render attributes of one geometry: current values, and values stored under names.
class MK_HOST_API RaytracingGeoAttachment : public RaytracingGeoAttachmentBase
{
public:
    /// create() for the host itself, which is no plug-in whose calls are announced.
    static RaytracingGeoAttachmentPtr make();

    void setOverrideMaterial(const MaterialPtr &material);

    /// Stores the current values under `name`, replacing what was stored there. `layerId` is the
    /// id of the render layer that they come from, 0 for none.
    void storeState(const std::string &name, std::uint32_t layerId = 0);
    /// The same for other values than the current ones.
    void storeState(const std::string &name, std::uint32_t layerId,
                    const RenderAttributeValues &stored);
    /// Makes the state of exactly this name current; false, and no change, when there is none.
    bool restoreState(const std::string &name);
    /// Forgets the state of this name; false when there is none.
    bool removeState(const std::string &name);
    std::vector<std::string> getStateNames() const;
    /// The layer id kept with a state; 0 for none.
    std::uint32_t getStateLayerId(const std::string &name) const;
    /// Sets the current values to the defaults. Stored states stay.
    void reset();
    /// After a file was read: replaces each kept layer id that `ids` knows by the id of the
    /// container that was made from it. Nothing once the ids are settled.
    void updateRenderLayerStateIds(const std::map<unsigned int, FieldContainerPtr> &ids);
    /// Says that the kept layer ids are those of containers of this scene, and not of a file that
    /// is going to be read.
    void settleStateIds() { stateIdsSettled = true; }
    void visitFields(FieldVisitor &visitor) override;

private:
    struct State
    {
        std::uint32_t layerId;
        RenderAttributeValues values;
    };
    std::map<std::string, State> states;
    bool stateIdsSettled = false;
};

} // namespace osg
