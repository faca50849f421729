#include "mkOpenSGUtils/mkRenderLayer.h"

#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkUtils/mkLog.h"
#include "mkUtils/mkTrace.h"

#include <algorithm>
#include <unordered_set>

using osg::RaytracingGeoAttachment;
using osg::RaytracingGeoAttachmentPtr;
using osg::RenderLayerPtr;
using osg::RenderLayersPtr;

mkRenderLayer::mkRenderLayer(const osg::NodePtr &sceneRoot)
    : root(sceneRoot)
    , content(sceneRoot->findAttachment(osg::RenderLayers::_type.getGroupId()))
{
    if (!content) {
        content = osg::RenderLayers::create();
        root->addAttachment(content);
    }
}

bool mkRenderLayer::isEmpty() const
{
    mkTrace::call("mkRenderLayer::isEmpty");
    return content->isEmpty();
}

RenderLayersPtr mkRenderLayer::getAttachment() const
{
    mkTrace::call("mkRenderLayer::getAttachment");
    return content;
}

void mkRenderLayer::addLayer(const std::string &name)
{
    mkTrace::call("mkRenderLayer::addLayer", name);
    content->addEntry(osg::RenderLayer::create(name));
}

void mkRenderLayer::subLayer(const std::string &name)
{
    mkTrace::call("mkRenderLayer::subLayer", name);
    content->subLayer(name);
}

bool mkRenderLayer::copyLayer(unsigned index, const std::string &newName, RenderLayerPtr *newLayer)
{
    mkTrace::call("mkRenderLayer::copyLayer", index, newName);
    const RenderLayerPtr source = layer(index);
    if (!source) {
        return false;
    }
    const RenderLayerPtr copy = osg::RenderLayer::create(newName);
    copy->setState(source->getState());
    const auto &nodes = source->getNodes();
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        RaytracingGeoAttachmentPtr attributes;
        if (const RaytracingGeoAttachmentPtr original{ source->getAttributes()[i] }) {
            attributes = RaytracingGeoAttachment::make();
            attributes->setValues(original->getValues());
        }
        copy->addNode(nodes[i], attributes);
    }
    content->addEntry(copy);
    if (newLayer) {
        *newLayer = copy;
    }
    return true;
}

void mkRenderLayer::setLayerName(unsigned index, const std::string &name)
{
    mkTrace::call("mkRenderLayer::setLayerName", index, name);
    content->renameLayer(index, name);
}

void mkRenderLayer::moveUpLayer(unsigned index)
{
    mkTrace::call("mkRenderLayer::moveUpLayer", index);
    content->moveEntry(index, -1);
}

void mkRenderLayer::moveDownLayer(unsigned index)
{
    mkTrace::call("mkRenderLayer::moveDownLayer", index);
    content->moveEntry(index, 1);
}

void mkRenderLayer::addNode(unsigned index, const osg::NodePtr &node)
{
    mkTrace::call("mkRenderLayer::addNode", index, node);
    addNode(layer(index), node);
}

void mkRenderLayer::addNode(const std::string &layerName, const osg::NodePtr &node)
{
    mkTrace::call("mkRenderLayer::addNode", layerName, node);
    addNode(content->findLayer(layerName), node);
}

std::size_t mkRenderLayer::addNodes(unsigned index, const std::vector<osg::NodePtr> &nodes)
{
    mkTrace::call("mkRenderLayer::addNodes", index, unsigned(nodes.size()));
    const RenderLayerPtr target = layer(index);
    return std::size_t(std::count_if(nodes.begin(), nodes.end(), [&](const osg::NodePtr &node) {
        return addNode(target, node);
    }));
}

bool mkRenderLayer::addNode(const RenderLayerPtr &target, const osg::NodePtr &node)
{
    if (target && node && node == root) {
        mkLog::warning("mkRenderLayer::addNode: The scene's root '%s' cannot be in a layer!",
                       mkNodeUtils::getName(node));
        return false;
    }
    return target && node && !target->contains(node)
           && target->addNode(node, RaytracingGeoAttachment::make());
}

void mkRenderLayer::subNode(unsigned index, const osg::NodePtr &node)
{
    mkTrace::call("mkRenderLayer::subNode", index, node);
    if (const RenderLayerPtr target = layer(index)) {
        target->subNode(node);
    }
}

void mkRenderLayer::moveUpNode(unsigned index, const osg::NodePtr &node)
{
    mkTrace::call("mkRenderLayer::moveUpNode", index, node);
    if (const RenderLayerPtr target = layer(index)) {
        target->moveNode(node, -1);
    }
}

void mkRenderLayer::moveDownNode(unsigned index, const osg::NodePtr &node)
{
    mkTrace::call("mkRenderLayer::moveDownNode", index, node);
    if (const RenderLayerPtr target = layer(index)) {
        target->moveNode(node, 1);
    }
}

void mkRenderLayer::activateLayer(unsigned index)
{
    mkTrace::call("mkRenderLayer::activateLayer", index);
    const RenderLayerPtr target = layer(index);
    if (!target) {
        return;
    }
    content->noteActivation(target);
    // A copy: observers of the scene may change the layer while it is applied.
    const std::vector<osg::NodePtr> nodes = target->getNodes();
    for (const osg::NodePtr &node : nodes) {
        activateNode(target, node);
    }
}

void mkRenderLayer::activateNode(unsigned index, const osg::NodePtr &node)
{
    mkTrace::call("mkRenderLayer::activateNode", index, node);
    const RenderLayerPtr target = layer(index);
    if (target && target->contains(node)) {
        content->noteActivation(target);
        activateNode(target, node);
    }
}

void mkRenderLayer::activateNode(const RenderLayerPtr &target, const osg::NodePtr &node)
{
    mkNodeUtils::applyRenderLayerAttributes(node,
                                            RaytracingGeoAttachmentPtr(
                                                target->findAttributes(node)),
                                            [&target](const osg::NodePtr &below) {
                                                return target->contains(below);
                                            });
}

RaytracingGeoAttachmentPtr mkRenderLayer::getAttributes(unsigned index,
                                                        const osg::NodePtr &node) const
{
    mkTrace::call("mkRenderLayer::getAttributes", index, node);
    const RenderLayerPtr target = layer(index);
    return target ? RaytracingGeoAttachmentPtr(target->findAttributes(node))
                  : RaytracingGeoAttachmentPtr();
}

void mkRenderLayer::setAttributes(unsigned index, const osg::NodePtr &node,
                                  const RaytracingGeoAttachmentPtr &attributes)
{
    mkTrace::call("mkRenderLayer::setAttributes", index, node, attributes);
    const RenderLayerPtr target = layer(index);
    if (target && attributes) {
        target->replaceAttributes(node, attributes);
    }
}

void mkRenderLayer::setCollapseState(unsigned index, unsigned state)
{
    mkTrace::call("mkRenderLayer::setCollapseState", index, state);
    if (const RenderLayerPtr target = layer(index)) {
        target->setState(state);
    }
}

bool mkRenderLayer::cleanup(const osg::NodePtr &sceneRoot)
{
    mkTrace::call("mkRenderLayer::cleanup", sceneRoot);
    if (!sceneRoot) {
        return false;
    }
    std::unordered_set<std::uint32_t> present;
    osg::traverse(sceneRoot, [&present](const osg::NodePtr &node) {
        present.insert(node->getId());
        return osg::Action::Continue;
    });

    bool changed = content->removeForeignEntries();
    for (const osg::FieldContainerPtr &entry : content->getLayers()) {
        const RenderLayerPtr target(entry);
        const std::vector<osg::NodePtr> nodes = target->getNodes();
        for (const osg::NodePtr &node : nodes) {
            if (present.count(node->getId()) == 0) {
                changed |= target->subNode(node);
            }
        }
    }
    return changed;
}

void mkRenderLayer::appendLayers(const RenderLayersPtr &others)
{
    std::unordered_set<std::string> taken;
    for (const osg::FieldContainerPtr &entry : content->getLayers()) {
        if (const RenderLayerPtr known{ entry }) {
            taken.insert(known->getName());
        }
    }
    const std::size_t count = others->getLayers().size();
    for (std::size_t i = 0; i < count; ++i) {
        if (const RenderLayerPtr added = others->getLayer(i)) {
            if (taken.count(added->getName()) > 0) {
                others->renameLayer(i, mkNodeUtils::getUniqueName(added->getName(),
                                                                  { taken.begin(), taken.end() }));
            }
            taken.insert(added->getName());
        }
        content->addEntry(others->getLayers()[i]);
    }
}

bool mkRenderLayer::isMaterialInUse(const osg::MaterialPtr &material) const
{
    mkTrace::call("mkRenderLayer::isMaterialInUse", material);
    if (!material) {
        return false;
    }
    for (const osg::FieldContainerPtr &entry : content->getLayers()) {
        const RenderLayerPtr target(entry);
        if (!target) {
            continue;
        }
        for (const osg::FieldContainerPtr &attributes : target->getAttributes()) {
            const RaytracingGeoAttachmentPtr values(attributes);
            if (values && values->getOverrideMaterial() == material) {
                return true;
            }
        }
    }
    return false;
}

RenderLayerPtr mkRenderLayer::layer(unsigned index) const
{
    return content->getLayer(index);
}
