#pragma once

#include "OSGSystem/Geometry.h"
#include "mkOpenSGExt/RenderLayers.h"

#include <QString>

#include <vector>

/// Where a material is used.
struct MaterialUse
{
    struct Drawable
    {
        osg::NodePtr node;
        osg::Ptr<osg::DrawableBase> core;
    };
    /// Render attributes with the material as override material: a node's own, or those that a
    /// layer keeps for a node.
    struct Override
    {
        osg::NodePtr node;
        /// Null for the node's own.
        osg::RenderLayerPtr layer;
        osg::RaytracingGeoAttachmentPtr attributes;
    };

    static MaterialUse find(const osg::MaterialPtr &material);

    bool isEmpty() const { return drawables.empty() && overrides.empty(); }
    bool isInLayers() const;
    /// The first of the places, a line each, for the user.
    QString describe() const;

    std::vector<Drawable> drawables;
    std::vector<Override> overrides;
};
