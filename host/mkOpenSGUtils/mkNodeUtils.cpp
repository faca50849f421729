#include "mkOpenSGUtils/mkNodeUtils.h"

#include "OSGSystem/Geometry.h"
#include "mkOpenSGExt/RenderLayers.h"
#include "mkOpenSGUtils/mkNodePtr.h"
#include "mkUtils/mkTrace.h"

#include <algorithm>
#include <cctype>

using osg::RaytracingGeoAttachment;
using osg::RaytracingGeoAttachmentPtr;

QString traceText(const std::vector<mkNodePtr> &nodes)
{
    QStringList texts;
    for (const mkNodePtr &node : nodes) {
        texts += traceText(node.get());
    }
    return QLatin1Char('[') + texts.join(QStringLiteral(", ")) + QLatin1Char(']');
}

namespace mkNodeUtils {

const char *getName(const osg::NodePtr &node)
{
    return node ? node->getName().c_str() : "";
}

std::string getUniqueName(const std::string &name, const std::vector<std::string> &taken)
{
    mkTrace::call("mkNodeUtils::getUniqueName", name);
    // One pass marks which of the first taken.size() + 1 candidates are in use; candidate 0 is
    // the name itself. One of them is free.
    std::vector<bool> used(taken.size() + 2, false);
    for (const std::string &other : taken) {
        if (other.compare(0, name.size(), name) != 0) {
            continue;
        }
        const std::string suffix = other.substr(name.size());
        if (suffix.empty()) {
            used[0] = true;
        } else if (suffix.size() < 10 && suffix.front() != '0'
                   && std::all_of(suffix.begin(), suffix.end(),
                                  [](unsigned char c) { return std::isdigit(c) != 0; })) {
            const std::size_t number = std::stoul(suffix);
            if (number < used.size()) {
                used[number] = true;
            }
        }
    }
    if (!used[0]) {
        return name;
    }
    const auto number = std::find(used.begin() + 1, used.end(), false) - used.begin();
    return name + std::to_string(number);
}

RaytracingGeoAttachmentPtr getRenderAttributes(const osg::NodePtr &node)
{
    return node ? RaytracingGeoAttachmentPtr(
               node->findAttachment(RaytracingGeoAttachment::_type.getGroupId()))
                : RaytracingGeoAttachmentPtr();
}

RaytracingGeoAttachmentPtr getOrMakeRenderAttributes(const osg::NodePtr &node)
{
    RaytracingGeoAttachmentPtr own = getRenderAttributes(node);
    if (!own) {
        own = RaytracingGeoAttachment::make();
        node->addAttachment(own);
        node->changed(osg::AttachmentContainer::AttachmentsFieldMask, osg::ChangeOrigin::External);
    }
    return own;
}

namespace {

void forEachDrawable(const osg::NodePtr &root,
                     const std::function<void(const osg::NodePtr &)> &visit)
{
    osg::traverse(root, [&](const osg::NodePtr &node) {
        if (osg::Ptr<osg::DrawableBase>(node->getCore())) {
            visit(node);
        }
        return osg::Action::Continue;
    });
}

} // namespace

int storeRenderLayerState(const osg::NodePtr &root, const std::string &name)
{
    int count = 0;
    forEachDrawable(root, [&](const osg::NodePtr &node) {
        getOrMakeRenderAttributes(node)->storeState(name);
        ++count;
    });
    return count;
}

int removeRenderLayerState(const osg::NodePtr &root, const std::string &name)
{
    int count = 0;
    forEachDrawable(root, [&](const osg::NodePtr &node) {
        const RaytracingGeoAttachmentPtr own = getRenderAttributes(node);
        count += own && own->removeState(name) ? 1 : 0;
    });
    return count;
}

std::set<std::string> getRenderLayerStates(const osg::NodePtr &root)
{
    std::set<std::string> names;
    forEachDrawable(root, [&names](const osg::NodePtr &node) {
        if (const RaytracingGeoAttachmentPtr own = getRenderAttributes(node)) {
            const std::vector<std::string> some = own->getStateNames();
            names.insert(some.begin(), some.end());
        }
    });
    return names;
}

int storeRenderLayerState(const osg::RenderLayerPtr &layer, const std::string &name)
{
    int count = 0;
    const std::vector<osg::NodePtr> nodes = layer->getNodes();
    for (const osg::NodePtr &member : nodes) {
        const RaytracingGeoAttachmentPtr attributes(layer->findAttributes(member));
        if (!attributes) {
            continue;
        }
        osg::traverse(member, [&](const osg::NodePtr &node) {
            if (node != member && layer->contains(node)) {
                return osg::Action::Skip;
            }
            if (osg::Ptr<osg::DrawableBase>(node->getCore())) {
                getOrMakeRenderAttributes(node)->storeState(name, layer->getId(),
                                                            attributes->getValues());
                ++count;
            }
            return osg::Action::Continue;
        });
    }
    return count;
}

void applyRenderLayerAttributes(const osg::NodePtr &node,
                                const RaytracingGeoAttachmentPtr &attributes)
{
    applyRenderLayerAttributes(node, attributes, [](const osg::NodePtr &) { return false; });
}

void applyRenderLayerAttributes(const osg::NodePtr &node,
                                const RaytracingGeoAttachmentPtr &attributes,
                                const std::function<bool(const osg::NodePtr &)> &skip)
{
    mkTrace::call("mkNodeUtils::applyRenderLayerAttributes", node, attributes);
    if (!attributes) {
        return;
    }
    osg::traverse(node, [&](const osg::NodePtr &below) {
        if (below != node && skip(below)) {
            return osg::Action::Skip;
        }
        const RaytracingGeoAttachmentPtr own = getOrMakeRenderAttributes(below);
        if (own != attributes) {
            own->setValues(attributes->getValues());
        }
        // Views look at the node, the renderer at the attachment.
        own->changed(osg::AllFields, osg::ChangeOrigin::External);
        below->changed(osg::AttachmentContainer::AttachmentsFieldMask, osg::ChangeOrigin::External);
        return osg::Action::Continue;
    });
}

void resetRenderLayerAttributes(const osg::NodePtr &root)
{
    mkTrace::call("mkNodeUtils::resetRenderLayerAttributes", root);
    if (const osg::RenderLayersPtr layers{
            root ? root->findAttachment(osg::RenderLayers::_type.getGroupId()) : nullptr }) {
        layers->forgetActivations();
    }
    osg::traverse(root, [](const osg::NodePtr &node) {
        if (const RaytracingGeoAttachmentPtr own = getRenderAttributes(node)) {
            own->reset();
            node->changed(osg::AttachmentContainer::AttachmentsFieldMask,
                          osg::ChangeOrigin::External);
        }
        return osg::Action::Continue;
    });
}

std::string getPath(const osg::NodePtr &node)
{
    std::string path;
    for (osg::NodePtr above = node; above; above = above->getParent()) {
        path.insert(0, '/' + above->getName());
    }
    return path;
}

} // namespace mkNodeUtils
