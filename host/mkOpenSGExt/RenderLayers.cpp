#include "mkOpenSGExt/RenderLayers.h"

#include "OSGSystem/FieldVisitor.h"
#include "OSGSystem/Revision.h"

#include <algorithm>

namespace osg {

const FieldContainerType RenderLayerBase::_type("RenderLayer", &FieldContainer::_type, [] {
    return FieldContainerPtr(RenderLayer::create({}));
});
const FieldContainerType RenderLayers::_type("RenderLayers", &Attachment::_type,
                                             makeContainer<RenderLayers>,
                                             FieldContainerType::Group::Own);

void RenderLayerBase::visitFields(FieldVisitor &visitor)
{
    visitor.field("name", name);
    visitor.field("expanded", state);
}

RenderLayerPtr RenderLayer::create(const std::string &name)
{
    RenderLayerPtr layer(new RenderLayer);
    layer->name = name;
    return layer;
}

const std::vector<NodePtr> &RenderLayer::getNodes() const
{
    closeGaps();
    return nodes;
}

const std::vector<FieldContainerPtr> &RenderLayer::getAttributes() const
{
    closeGaps();
    return attributes;
}

bool RenderLayer::addNode(const NodePtr &node, const FieldContainerPtr &entry)
{
    if (!node || !slotOfNode.emplace(node->getId(), nodes.size()).second) {
        return false;
    }
    Revision::advance();
    nodes.push_back(node);
    attributes.push_back(entry);
    return true;
}

bool RenderLayer::subNode(const NodePtr &node)
{
    const auto found = node ? slotOfNode.find(node->getId()) : slotOfNode.end();
    if (found == slotOfNode.end()) {
        return false;
    }
    Revision::advance();
    const std::size_t slot = found->second;
    slotOfNode.erase(found);
    nodes[slot] = NullFC;
    attributes[slot] = NullFC;
    hasGaps = true;
    return true;
}

bool RenderLayer::moveNode(const NodePtr &node, int step)
{
    closeGaps();
    const auto found = node ? slotOfNode.find(node->getId()) : slotOfNode.end();
    if (found == slotOfNode.end()) {
        return false;
    }
    const std::size_t slot = found->second;
    if (step < 0 ? slot == 0 : slot + 1 == nodes.size()) {
        return false;
    }
    Revision::advance();
    const std::size_t other = step < 0 ? slot - 1 : slot + 1;
    std::swap(nodes[slot], nodes[other]);
    std::swap(attributes[slot], attributes[other]);
    slotOfNode[nodes[slot]->getId()] = slot;
    slotOfNode[nodes[other]->getId()] = other;
    return true;
}

bool RenderLayer::contains(const NodePtr &node) const
{
    return node && slotOfNode.count(node->getId()) > 0;
}

FieldContainerPtr RenderLayer::findAttributes(const NodePtr &node) const
{
    const auto found = node ? slotOfNode.find(node->getId()) : slotOfNode.end();
    return found == slotOfNode.end() ? FieldContainerPtr() : attributes[found->second];
}

bool RenderLayer::replaceAttributes(const NodePtr &node, const FieldContainerPtr &entry)
{
    const auto found = node ? slotOfNode.find(node->getId()) : slotOfNode.end();
    if (found == slotOfNode.end()) {
        return false;
    }
    Revision::advance();
    attributes[found->second] = entry;
    return true;
}

void RenderLayer::visitFields(FieldVisitor &visitor)
{
    RenderLayerBase::visitFields(visitor);
    closeGaps();
    visitor.field("nodes", nodes);
    visitor.field("attributes", attributes);
    if (!visitor.isReading()) {
        return;
    }
    if (nodes.size() != attributes.size()) {
        visitor.refuse();
    }
    slotOfNode.clear();
    for (std::size_t slot = 0; slot < nodes.size(); ++slot) {
        // Null are nodes of a kind that is not known here.
        if (!nodes[slot]) {
            hasGaps = true;
        } else if (!slotOfNode.emplace(nodes[slot]->getId(), slot).second) {
            visitor.refuse();
        }
    }
}

void RenderLayer::closeGaps() const
{
    if (!hasGaps) {
        return;
    }
    std::size_t end = 0;
    for (std::size_t slot = 0; slot < nodes.size(); ++slot) {
        if (nodes[slot]) {
            if (slot != end) {
                nodes[end] = std::move(nodes[slot]);
                attributes[end] = std::move(attributes[slot]);
                slotOfNode[nodes[end]->getId()] = end;
            }
            ++end;
        }
    }
    nodes.resize(end);
    attributes.resize(end);
    hasGaps = false;
}

Ptr<RenderLayers> RenderLayers::create()
{
    return Ptr<RenderLayers>(new RenderLayers);
}

const std::vector<FieldContainerPtr> &RenderLayers::getLayers() const
{
    closeGaps();
    return layers;
}

RenderLayerPtr RenderLayers::getLayer(std::size_t index) const
{
    closeGaps();
    return index < layers.size() ? RenderLayerPtr(layers[index]) : RenderLayerPtr();
}

RenderLayerPtr RenderLayers::findLayer(const std::string &name) const
{
    const auto found = slotsOfName.find(name);
    return found == slotsOfName.end() ? RenderLayerPtr()
                                      : RenderLayerPtr(layers[found->second.front()]);
}

void RenderLayers::addEntry(const FieldContainerPtr &entry)
{
    Revision::advance();
    layers.push_back(entry);
    removed.push_back(false);
    ++count;
    enterName(layers.size() - 1);
}

bool RenderLayers::subLayer(const std::string &name)
{
    const auto found = slotsOfName.find(name);
    if (found == slotsOfName.end()) {
        return false;
    }
    Revision::advance();
    const std::size_t slot = found->second.front();
    removeName(slot);
    layers[slot] = NullFC;
    removed[slot] = true;
    hasGaps = true;
    --count;
    return true;
}

bool RenderLayers::removeForeignEntries()
{
    closeGaps();
    const std::size_t before = count;
    for (std::size_t slot = 0; slot < layers.size(); ++slot) {
        if (!RenderLayerPtr(layers[slot])) {
            removed[slot] = true;
            hasGaps = true;
            --count;
        }
    }
    if (count == before) {
        return false;
    }
    Revision::advance();
    return true;
}

bool RenderLayers::renameLayer(std::size_t index, const std::string &name)
{
    const RenderLayerPtr layer = getLayer(index);
    if (!layer) {
        return false;
    }
    Revision::advance();
    removeName(index);
    layer->name = name;
    enterName(index);
    return true;
}

bool RenderLayers::moveEntry(std::size_t index, int step)
{
    closeGaps();
    if (index >= layers.size() || (step < 0 ? index == 0 : index + 1 == layers.size())) {
        return false;
    }
    Revision::advance();
    const std::size_t other = step < 0 ? index - 1 : index + 1;
    removeName(index);
    removeName(other);
    std::swap(layers[index], layers[other]);
    enterName(index);
    enterName(other);
    return true;
}

void RenderLayers::noteActivation(const RenderLayerPtr &layer)
{
    activated.erase(std::remove(activated.begin(), activated.end(), layer), activated.end());
    activated.push_back(layer);
}

void RenderLayers::enterName(std::size_t slot) const
{
    if (const RenderLayerPtr layer{ layers[slot] }) {
        auto &slots = slotsOfName[layer->getName()];
        slots.insert(std::lower_bound(slots.begin(), slots.end(), slot), slot);
    }
}

void RenderLayers::removeName(std::size_t slot) const
{
    const RenderLayerPtr layer{ layers[slot] };
    const auto found = layer ? slotsOfName.find(layer->getName()) : slotsOfName.end();
    if (found == slotsOfName.end()) {
        return;
    }
    auto &slots = found->second;
    slots.erase(std::remove(slots.begin(), slots.end(), slot), slots.end());
    if (slots.empty()) {
        slotsOfName.erase(found);
    }
}

void RenderLayers::visitFields(FieldVisitor &visitor)
{
    closeGaps();
    visitor.field("layers", layers);
    if (!visitor.isReading()) {
        return;
    }
    count = layers.size();
    removed.assign(count, false);
    slotsOfName.clear();
    for (std::size_t slot = 0; slot < count; ++slot) {
        enterName(slot);
    }
}

void RenderLayers::closeGaps() const
{
    if (!hasGaps) {
        return;
    }
    std::size_t end = 0;
    for (std::size_t slot = 0; slot < layers.size(); ++slot) {
        if (!removed[slot]) {
            layers[end++] = layers[slot];
        }
    }
    layers.resize(end);
    removed.assign(end, false);
    slotsOfName.clear();
    for (std::size_t slot = 0; slot < end; ++slot) {
        enterName(slot);
    }
    hasGaps = false;
}

} // namespace osg
