#pragma once

#include "OSGSystem/Node.h"
#include "mkOpenSGExt/RaytracingGeoAttachment.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace osg {

/// The plain fields of a render layer.
class MK_HOST_API RenderLayerBase : public FieldContainer
{
public:
    static const FieldContainerType _type;
    const FieldContainerType &getType() const override { return _type; }

    /// UTF-8.
    const std::string &getName() const { return name; }
    /// Non-zero means that the layer's row is shown expanded.
    std::uint32_t getState() const { return state; }
    void setState(std::uint32_t newState) { state = newState; }
    std::string describe() const override { return '"' + name + '"'; }
    void visitFields(FieldVisitor &visitor) override;

protected:
    std::string name;

private:
    std::uint32_t state = 0;
};

class RenderLayer;
using RenderLayerPtr = Ptr<RenderLayer>;

/// One render layer: member nodes in order and, parallel to them, one attribute entry a node. An
/// entry is a RaytracingGeoAttachment, but may be null or of another type in a damaged scene. A
/// member stays alive, with its entry, when it is taken out of the scene, so that it can come back;
/// cleanup of the store lets go of it.
///
/// Looking a node up, adding, exchanging neighbours and removing take constant time; the first
/// read of a list after removals closes the gaps, once for all of them.
class MK_HOST_API RenderLayer : public RenderLayerBase
{
public:
    static RenderLayerPtr create(const std::string &name);

    const std::vector<NodePtr> &getNodes() const;
    const std::vector<FieldContainerPtr> &getAttributes() const;

    /// Appends; false when the node is null or already a member.
    bool addNode(const NodePtr &node, const FieldContainerPtr &entry);
    /// Removes the node and its entry; false when it is no member.
    bool subNode(const NodePtr &node);
    /// Exchanges the node with its neighbour `step` places on (-1 or 1); false past the ends.
    bool moveNode(const NodePtr &node, int step);
    bool contains(const NodePtr &node) const;
    /// The node's entry as it is, null when it is no member.
    FieldContainerPtr findAttributes(const NodePtr &node) const;
    /// Puts any container, or null, in the place of the node's entry; false when it is no member.
    bool replaceAttributes(const NodePtr &node, const FieldContainerPtr &entry);
    void visitFields(FieldVisitor &visitor) override;

private:
    friend class RenderLayers;
    RenderLayer() = default;
    void closeGaps() const;

    // Removal leaves a null slot; the lists are compacted by the next read. That is no change
    // that anybody could see, hence mutable.
    mutable std::vector<NodePtr> nodes;
    mutable std::vector<FieldContainerPtr> attributes;
    mutable std::unordered_map<std::uint32_t, std::size_t> slotOfNode;
    mutable bool hasGaps = false;
};

/// The store's content: the scene's layers in order. An entry is a RenderLayer, but may be null
/// or of another type in a damaged scene. The same costs as in RenderLayer, by name.
class MK_HOST_API RenderLayers : public Attachment
{
public:
    static const FieldContainerType _type;
    static Ptr<RenderLayers> create();
    const FieldContainerType &getType() const override { return _type; }

    const std::vector<FieldContainerPtr> &getLayers() const;
    bool isEmpty() const { return count == 0; }
    /// The layer at `index`; null past the end and for entries that are no layers.
    RenderLayerPtr getLayer(std::size_t index) const;
    /// The first layer of this name, or null.
    RenderLayerPtr findLayer(const std::string &name) const;

    /// Appends any container, or null.
    void addEntry(const FieldContainerPtr &entry);
    /// Removes the first layer of this name; false when there is none.
    bool subLayer(const std::string &name);
    /// Removes the entries that are no layers; true when there were any.
    bool removeForeignEntries();
    bool renameLayer(std::size_t index, const std::string &name);
    /// The layers that were activated, as a whole or for single nodes, since the attributes were
    /// last reset, the latest last; they may have left the store since.
    const std::vector<RenderLayerPtr> &getActivated() const { return activated; }
    void noteActivation(const RenderLayerPtr &layer);
    void forgetActivations() { activated.clear(); }
    /// Exchanges the entry with its neighbour `step` places on (-1 or 1); false past the ends.
    bool moveEntry(std::size_t index, int step);
    void visitFields(FieldVisitor &visitor) override;

private:
    void enterName(std::size_t slot) const;
    void removeName(std::size_t slot) const;
    void closeGaps() const;

    mutable std::vector<FieldContainerPtr> layers;
    mutable std::vector<bool> removed;
    // Ascending slots for each name, so that the first layer of a name is found at once.
    mutable std::unordered_map<std::string, std::vector<std::size_t>> slotsOfName;
    mutable bool hasGaps = false;
    std::size_t count = 0;
    std::vector<RenderLayerPtr> activated;
};
using RenderLayersPtr = Ptr<RenderLayers>;

} // namespace osg
