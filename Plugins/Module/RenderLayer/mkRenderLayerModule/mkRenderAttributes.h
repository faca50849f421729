#pragma once

#include "OSGSystem/Node.h"
#include "mkOpenSGExt/RaytracingGeoAttachment.h"

#include <array>

class mkRenderLayer;

/// One boolean render attribute: where the tree shows it and how it is read and written.
struct mkRenderAttribute
{
    int column;
    /// Header label; translated in the context "mkNodeListWidget".
    const char *header;
    bool &(osg::RaytracingGeoAttachmentBase::*get)();
    void (osg::RaytracingGeoAttachmentBase::*set)(const bool &);

    /// `attributes` is not null.
    bool isOn(const osg::RaytracingGeoAttachmentPtr &attributes) const
    {
        return (attributes.operator->()->*get)();
    }
};

constexpr std::size_t mkRenderAttributeCount = 11;
using mkRenderAttributeFlags = std::array<bool, mkRenderAttributeCount>;

/// The one table of the attributes, in column order. Setters are always called in its order.
extern const std::array<mkRenderAttribute, mkRenderAttributeCount> mkRenderAttributes;

/// Writes all flags, in the table's order; sends no notification. `attributes` is not null.
void mkSetRenderAttributes(const osg::RaytracingGeoAttachmentPtr &attributes,
                           const mkRenderAttributeFlags &flags);
/// Writes all flags into what the layer at `layer` of `store` keeps for `node`, announces it and
/// hands it back. Nothing when it keeps nothing.
void mkStoreRenderAttributes(mkRenderLayer *store, unsigned layer, const osg::NodePtr &node,
                             const mkRenderAttributeFlags &flags);
