// Render layers as scripts see them. Every change tells those who show layers, once a call.

#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkPython/mkHostParts.h"
#include "mkPython/mkPythonNode.h"
#include "mkPython/mkPythonSupport.h"

#include <algorithm>

namespace {

namespace python = boost::python;
using mkPython::define;
using mkPython::raise;
using osg::RaytracingGeoAttachment;
using osg::RaytracingGeoAttachmentPtr;
using osg::RenderAttributeValues;
using osg::RenderLayerPtr;
using Nodes = std::vector<osg::NodePtr>;

mkRenderLayer &store()
{
    mkRenderLayer *const current = mkScenegraph::getRenderLayer();
    if (!current) {
        raise(PyExc_LookupError, "There is no scene.");
    }
    return *current;
}

const std::vector<osg::FieldContainerPtr> &entries()
{
    return store().getAttachment()->getLayers();
}

std::vector<std::string> layerNames()
{
    std::vector<std::string> names;
    for (const osg::FieldContainerPtr &entry : entries()) {
        if (const RenderLayerPtr layer{ entry }) {
            names.push_back(layer->getName());
        }
    }
    return names;
}

RenderLayerPtr findLayer(const std::string &name)
{
    RenderLayerPtr layer = store().getAttachment()->findLayer(name);
    if (!layer) {
        raise(PyExc_LookupError, "There is no render layer '" + name + "'.");
    }
    return layer;
}

unsigned indexOf(const std::string &name)
{
    const RenderLayerPtr layer = findLayer(name);
    const auto &all = entries();
    return unsigned(std::find(all.begin(), all.end(), layer) - all.begin());
}

void showLayers()
{
    mkMessage message("mkRenderLayerModuleUpdateLayers");
    mkController::sendMessage(message);
}

void changed()
{
    mkController::setModified(1);
    showLayers();
}

void checkMember(const RenderLayerPtr &layer, const osg::NodePtr &node)
{
    if (!layer->contains(node)) {
        raise(PyExc_LookupError, "The node '" + node->getName() + "' is not in the render layer '"
                                     + layer->getName() + "'.");
    }
}

/// Members may have left the scene.
Nodes members(const RenderLayerPtr &layer, const python::object &given)
{
    if (given.is_none()) {
        return layer->getNodes();
    }
    Nodes nodes;
    for (python::ssize_t i = 0; i < python::len(given); ++i) {
        nodes.push_back(python::extract<const mkPythonNode &>(given[i])().get());
        checkMember(layer, nodes.back());
    }
    return nodes;
}

/// The place that a Python index means.
int placeOf(int index, std::size_t count)
{
    const int place = index < 0 ? index + int(count) : index;
    if (place < 0 || place >= int(count)) {
        raise(PyExc_IndexError, "There is no place " + std::to_string(index) + " among "
                                    + std::to_string(count) + '.');
    }
    return place;
}

python::list getLayerNames()
{
    python::list names;
    if (mkScenegraph::getRoot()) {
        for (const std::string &name : layerNames()) {
            names.append(name);
        }
    }
    return names;
}

std::string createLayer(const std::string &name)
{
    const std::string chosen = mkNodeUtils::getUniqueName(name.empty() ? "Layer" : name,
                                                          layerNames());
    store().addLayer(chosen);
    changed();
    return chosen;
}

void renameLayer(const std::string &layerName, const std::string &newName)
{
    const unsigned index = indexOf(layerName);
    if (newName == layerName) {
        return;
    }
    if (newName.empty()) {
        raise(PyExc_ValueError, "A render layer needs a name.");
    }
    if (store().getAttachment()->findLayer(newName)) {
        raise(PyExc_ValueError, "There is a render layer '" + newName + "' already.");
    }
    store().setLayerName(index, newName);
    changed();
}

std::string duplicateLayer(const std::string &layerName, const std::string &newName)
{
    const unsigned index = indexOf(layerName);
    const std::string chosen = mkNodeUtils::getUniqueName(newName.empty() ? layerName : newName,
                                                          layerNames());
    store().copyLayer(index, chosen, nullptr);
    changed();
    return chosen;
}

void moveLayer(const std::string &layerName, int place)
{
    unsigned index = indexOf(layerName);
    const auto target = unsigned(placeOf(place, entries().size()));
    if (index == target) {
        return;
    }
    for (; index < target; ++index) {
        store().moveDownLayer(index);
    }
    for (; index > target; --index) {
        store().moveUpLayer(index);
    }
    changed();
}

void removeLayer(const std::string &layerName)
{
    findLayer(layerName);
    store().subLayer(layerName);
    changed();
}

bool cleanupLayers()
{
    const bool any = store().cleanup(mkScenegraph::getRoot());
    if (any) {
        changed();
    }
    return any;
}

bool isLayerExpanded(const std::string &layerName)
{
    return findLayer(layerName)->getState() != 0;
}

void setLayerExpanded(const std::string &layerName, bool expanded)
{
    const unsigned index = indexOf(layerName);
    if (isLayerExpanded(layerName) != expanded) {
        store().setCollapseState(index, expanded ? 1 : 0);
        showLayers();
    }
}

python::list getLayerNodes(const std::string &layerName)
{
    python::list nodes;
    for (const osg::NodePtr &node : findLayer(layerName)->getNodes()) {
        nodes.append(node);
    }
    return nodes;
}

std::size_t addLayerNodes(const std::string &layerName, const python::list &given)
{
    const unsigned index = indexOf(layerName);
    Nodes nodes;
    for (python::ssize_t i = 0; i < python::len(given); ++i) {
        nodes.push_back(python::extract<const mkPythonNode &>(given[i])().live());
        if (nodes.back() == mkScenegraph::getRoot()) {
            raise(PyExc_ValueError, "The root of the scene cannot be in a render layer.");
        }
    }
    const std::size_t added = store().addNodes(index, nodes);
    if (added > 0) {
        changed();
    }
    return added;
}

void removeLayerNodes(const std::string &layerName, const python::list &given)
{
    const unsigned index = indexOf(layerName);
    const Nodes nodes = members(findLayer(layerName), given);
    for (const osg::NodePtr &node : nodes) {
        store().subNode(index, node);
    }
    if (!nodes.empty()) {
        changed();
    }
}

void moveLayerNode(const std::string &layerName, const mkPythonNode &member, int place)
{
    const unsigned index = indexOf(layerName);
    const RenderLayerPtr layer = findLayer(layerName);
    checkMember(layer, member.get());
    const Nodes &nodes = layer->getNodes();
    auto at = int(std::find(nodes.begin(), nodes.end(), member.get()) - nodes.begin());
    const int target = placeOf(place, nodes.size());
    if (at == target) {
        return;
    }
    for (; at < target; ++at) {
        store().moveDownNode(index, member.get());
    }
    for (; at > target; --at) {
        store().moveUpNode(index, member.get());
    }
    changed();
}

void activateLayer(const std::string &layerName, const python::object &nodes)
{
    const unsigned index = indexOf(layerName);
    if (nodes.is_none()) {
        store().activateLayer(index);
    } else {
        for (const osg::NodePtr &node : members(findLayer(layerName), nodes)) {
            store().activateNode(index, node);
        }
    }
    mkController::updateRender(false);
}

python::object toDictionary(const RaytracingGeoAttachmentPtr &attributes)
{
    if (!attributes) {
        return {};
    }
    const RenderAttributeValues &values = attributes->getValues();
    python::dict dictionary;
    for (const osg::RenderAttribute &attribute : osg::renderAttributes) {
        dictionary[attribute.keyword] = values.*attribute.value;
    }
    dictionary["overrideMaterial"] = mkMaterials::getName(values.overrideMaterial);
    return python::object(dictionary);
}

python::list attributeNames()
{
    python::list names;
    for (const osg::RenderAttribute &attribute : osg::renderAttributes) {
        names.append(attribute.keyword);
    }
    return names;
}

python::object getNodeAttributes(const mkPythonNode &node)
{
    return toDictionary(mkNodeUtils::getRenderAttributes(node.live()));
}

python::object getLayerAttributes(const std::string &layerName, const mkPythonNode &node)
{
    const RenderLayerPtr layer = findLayer(layerName);
    checkMember(layer, node.get());
    return toDictionary(RaytracingGeoAttachmentPtr(layer->findAttributes(node.get())));
}

/// What a dictionary of changes does to values.
class Patch
{
public:
    explicit Patch(const python::dict &changes)
    {
        for (const osg::RenderAttribute &attribute : osg::renderAttributes) {
            if (changes.has_key(attribute.keyword)) {
                flags.emplace_back(attribute.value,
                                   python::extract<bool>(changes[attribute.keyword]));
            }
        }
        setsMaterial = changes.has_key("overrideMaterial");
        if (setsMaterial) {
            const std::string name = python::extract<std::string>(changes["overrideMaterial"]);
            material = mkMaterials::findMaterial(name.c_str()).get();
            if (!material && !name.empty()) {
                raise(PyExc_LookupError, "There is no material '" + name + "'.");
            }
        }
    }

    bool isEmpty() const { return flags.empty() && !setsMaterial; }

    void apply(const RaytracingGeoAttachmentPtr &attributes) const
    {
        RenderAttributeValues values = attributes->getValues();
        for (const auto &[flag, on] : flags) {
            values.*flag = on;
        }
        if (setsMaterial) {
            values.overrideMaterial = material;
        }
        attributes->setValues(values);
        attributes->changed(osg::AllFields, osg::ChangeOrigin::External);
    }

private:
    std::vector<std::pair<bool RenderAttributeValues::*, bool>> flags;
    bool setsMaterial = false;
    osg::MaterialPtr material;
};

void setLayerAttributes(const std::string &layerName, const python::object &given,
                        const python::dict &changes)
{
    const RenderLayerPtr layer = findLayer(layerName);
    const Patch patch(changes);
    const Nodes nodes = members(layer, given);
    if (nodes.empty() || patch.isEmpty()) {
        return;
    }
    for (const osg::NodePtr &node : nodes) {
        RaytracingGeoAttachmentPtr attributes(layer->findAttributes(node));
        if (!attributes) {
            attributes = RaytracingGeoAttachment::make();
            layer->replaceAttributes(node, attributes);
        }
        patch.apply(attributes);
    }
    changed();
}

} // namespace

void mkHostParts::defineLayers()
{
    define("_getLayerNames", &getLayerNames);
    define("_createLayer", &createLayer);
    define("_renameLayer", &renameLayer);
    define("_duplicateLayer", &duplicateLayer);
    define("_moveLayer", &moveLayer);
    define("_removeLayer", &removeLayer);
    define("_cleanupLayers", &cleanupLayers);
    define("_isLayerExpanded", &isLayerExpanded);
    define("_setLayerExpanded", &setLayerExpanded);
    define("_getLayerNodes", &getLayerNodes);
    define("_addLayerNodes", &addLayerNodes);
    define("_removeLayerNodes", &removeLayerNodes);
    define("_moveLayerNode", &moveLayerNode);
    define("_activateLayer", &activateLayer);
    define("_attributeNames", &attributeNames);
    define("_getNodeAttributes", &getNodeAttributes);
    define("_getLayerAttributes", &getLayerAttributes);
    define("_setLayerAttributes", &setLayerAttributes);
}
