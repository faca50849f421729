#include "mkOpenSGExt/RenderLayers.h"

#include <algorithm>

namespace osg {

const FieldContainerType RenderLayerBase::_type("RenderLayer", &FieldContainer::_type);
const FieldContainerType RenderLayers::_type("RenderLayers", &Attachment::_type,
                                             FieldContainerType::Group::Own);

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
    attributes[found->second] = entry;
    return true;
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
    return count != before;
}

bool RenderLayers::renameLayer(std::size_t index, const std::string &name)
{
    const RenderLayerPtr layer = getLayer(index);
    if (!layer) {
        return false;
    }
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
    const std::size_t other = step < 0 ? index - 1 : index + 1;
    removeName(index);
    removeName(other);
    std::swap(layers[index], layers[other]);
    enterName(index);
    enterName(other);
    return true;
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
