#pragma once

#include "mkOpenSGExt/RenderLayers.h"

/// The render-layer store of one scene. Its content is a RenderLayers attachment of the scene
/// root, so that it is part of the scene.
///
/// Layer indices count from 0 and are valid until the next change. An index past the end, an
/// unknown name, a null node and a node that is no member make an operation do nothing. Looking
/// up, adding and removing cost constant time each (RenderLayer says when gaps are closed), so
/// that a command over n rows is linear. Nobody is told of changes: whoever shows the store reads
/// it again.
class MK_HOST_API mkRenderLayer
{
public:
    /// The store of the scene below `root`, with the layers that it carries already.
    explicit mkRenderLayer(const osg::NodePtr &root);

    bool isEmpty() const;
    osg::RenderLayersPtr getAttachment() const;

    /// Appends an empty, collapsed layer. The name is taken as it is; by-name operations find the
    /// first layer of a name.
    void addLayer(const std::string &name);
    void subLayer(const std::string &name);
    /// Appends a copy of layer `index`: expansion, nodes, and a copy of each node's attributes.
    /// Reports the copy through `newLayer` unless that is null; false when there is no such layer.
    bool copyLayer(unsigned index, const std::string &newName, osg::RenderLayerPtr *newLayer);
    void setLayerName(unsigned index, const std::string &name);
    /// Exchanges the layer with its neighbour; nothing past the ends.
    void moveUpLayer(unsigned index);
    void moveDownLayer(unsigned index);

    /// Appends `node` with default attributes. A null node, a node already in the layer and the
    /// scene root are refused, the latter with a line in the log.
    void addNode(unsigned index, const osg::NodePtr &node);
    void addNode(const std::string &layerName, const osg::NodePtr &node);
    /// Appends, in their order, those of `nodes` that are not refused; returns their number.
    std::size_t addNodes(unsigned index, const std::vector<osg::NodePtr> &nodes);
    void subNode(unsigned index, const osg::NodePtr &node);
    void moveUpNode(unsigned index, const osg::NodePtr &node);
    void moveDownNode(unsigned index, const osg::NodePtr &node);

    /// Writes the layer's attributes into its nodes' own attachments and those of everything below
    /// them. Below a member, another member of the layer goes by its own entry. Of several layers
    /// that hold a node, the one activated last counts.
    void activateLayer(unsigned index);
    void activateNode(unsigned index, const osg::NodePtr &node);

    /// The very entry of the layer's attribute list; null when there is none.
    osg::RaytracingGeoAttachmentPtr getAttributes(unsigned index, const osg::NodePtr &node) const;
    /// Makes `attributes` the node's entry. Null is ignored.
    void setAttributes(unsigned index, const osg::NodePtr &node,
                       const osg::RaytracingGeoAttachmentPtr &attributes);
    /// 0 is collapsed, everything else expanded.
    void setCollapseState(unsigned index, unsigned state);

    /// Takes out of every layer the nodes that are not below `root`, and layer entries that are no
    /// layers. True when anything was taken out.
    bool cleanup(const osg::NodePtr &root);
    /// Appends the entries of `others`. A layer whose name is taken gets a number behind it.
    void appendLayers(const osg::RenderLayersPtr &others);
    /// True when some entry of some layer has `material` as override material.
    bool isMaterialInUse(const osg::MaterialPtr &material) const;

private:
    osg::RenderLayerPtr layer(unsigned index) const;
    bool addNode(const osg::RenderLayerPtr &target, const osg::NodePtr &node);
    static void activateNode(const osg::RenderLayerPtr &target, const osg::NodePtr &node);

    osg::NodePtr root;
    osg::RenderLayersPtr content;
};
