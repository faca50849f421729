// The built-in module `mkHost`: what the host itself offers to scripts.

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkPython/mkPythonNode.h"
#include "mkPython/mkPythonSupport.h"
#include "mkUtils/mkLog.h"

#include <string_view>

namespace {

namespace python = boost::python;
using mkPython::define;
using mkPython::raise;
using osg::RaytracingGeoAttachment;
using osg::RaytracingGeoAttachmentPtr;
using osg::RenderLayerPtr;

python::object toDictionary(const RaytracingGeoAttachmentPtr &attributes)
{
    if (!attributes) {
        return {};
    }
    const osg::RenderAttributeValues &values = attributes->getValues();
    python::dict dictionary;
    for (const osg::RenderAttribute &attribute : osg::renderAttributes) {
        dictionary[attribute.keyword] = values.*attribute.value;
    }
    dictionary["overrideMaterial"] = mkMaterials::getName(values.overrideMaterial);
    return std::move(dictionary);
}

std::vector<mkNodePtr> findNodes(const std::string &name)
{
    std::vector<mkNodePtr> found;
    osg::traverse(mkScenegraph::getRoot(), [&](const osg::NodePtr &node) {
        if (node->getName() == name) {
            found.emplace_back(node);
        }
        return osg::Action::Continue;
    });
    return found;
}

osg::NodePtr findNode(const std::string &name)
{
    osg::NodePtr found;
    osg::traverse(mkScenegraph::getRoot(), [&](const osg::NodePtr &node) {
        if (node->getName() != name) {
            return osg::Action::Continue;
        }
        found = node;
        return osg::Action::Quit;
    });
    return found;
}

osg::NodePtr findNodeByPath(const std::string &path)
{
    // Siblings may share a name, and names may hold slashes: every way down is tried.
    std::vector<std::pair<osg::NodePtr, std::string_view>> pending{ { mkScenegraph::getRoot(),
                                                                      path } };
    while (!pending.empty()) {
        const auto [node, rest] = pending.back();
        pending.pop_back();
        const std::string step = node ? '/' + node->getName() : std::string();
        if (!node || rest.substr(0, step.size()) != step) {
            continue;
        }
        if (rest.size() == step.size()) {
            return node;
        }
        const auto &children = node->getChildren();
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            pending.emplace_back(*child, rest.substr(step.size()));
        }
    }
    return {};
}

std::vector<mkNodePtr> getSelectedNodes()
{
    return mkSelectionManager::getSelectedNodes();
}

void selectNodes(const std::vector<mkNodePtr> &nodes)
{
    const mkScopedUndo step(true);
    mkSelectionManager::selectNodes(nodes);
}

python::list getMaterialNames()
{
    python::list names;
    for (const osg::MaterialPtr &material : mkMaterials::getMaterials()) {
        names.append(material->getName());
    }
    return names;
}

python::object getMaterialColor(const std::string &name)
{
    const osg::MaterialPtr material = mkMaterials::findMaterial(name.c_str()).get();
    if (!material) {
        return {};
    }
    const osg::Material::Color &color = material->getColor();
    return python::make_tuple(color[0], color[1], color[2], color[3]);
}

void openScene(const std::string &file)
{
    try {
        mkScenegraph::openFile(QString::fromStdString(file));
    } catch (const std::exception &failure) {
        raise(PyExc_RuntimeError, file + ": " + failure.what());
    }
}

std::string getSceneFile()
{
    return mkScenegraph::getFile().toStdString();
}

void logInfo(const std::string &text)
{
    mkLog::info("%s", text.c_str());
}

void logWarning(const std::string &text)
{
    mkLog::warning("%s", text.c_str());
}

void logError(const std::string &text)
{
    mkLog::error("%s", text.c_str());
}

int storeRenderLayerState(const std::string &name)
{
    if (name.empty()) {
        raise(PyExc_ValueError, "A state needs a name.");
    }
    const int count = mkNodeUtils::storeRenderLayerState(mkScenegraph::getRoot(), name);
    if (count > 0) {
        mkController::setModified(1);
    }
    return count;
}

python::object getNodeAttributes(const mkPythonNode &node)
{
    return toDictionary(mkNodeUtils::getRenderAttributes(node.live()));
}

osg::RenderLayersPtr getLayers()
{
    const mkRenderLayer *const store = mkScenegraph::getRenderLayer();
    return store ? store->getAttachment() : osg::RenderLayersPtr();
}

python::list getLayerNames()
{
    python::list names;
    if (const osg::RenderLayersPtr layers = getLayers()) {
        for (const osg::FieldContainerPtr &entry : layers->getLayers()) {
            if (const RenderLayerPtr layer{ entry }) {
                names.append(layer->getName());
            }
        }
    }
    return names;
}

RenderLayerPtr findLayer(const std::string &name)
{
    const osg::RenderLayersPtr layers = getLayers();
    RenderLayerPtr layer = layers ? layers->findLayer(name) : RenderLayerPtr();
    if (!layer) {
        raise(PyExc_LookupError, "There is no render layer '" + name + "'.");
    }
    return layer;
}

python::list getLayerNodes(const std::string &layerName)
{
    python::list nodes;
    for (const osg::NodePtr &node : findLayer(layerName)->getNodes()) {
        nodes.append(node);
    }
    return nodes;
}

python::object getLayerAttributes(const std::string &layerName, const mkPythonNode &node)
{
    const RenderLayerPtr layer = findLayer(layerName);
    if (!layer->contains(node.get())) {
        raise(PyExc_LookupError, "The node '" + node.get()->getName()
                                     + "' is not in the render layer '" + layerName + "'.");
    }
    return toDictionary(RaytracingGeoAttachmentPtr(layer->findAttributes(node.get())));
}

constexpr char moduleDoc[] =
    "The host as scripts see it.\n\n"
    "The scene's nodes and materials, the selection, the log, and the render layers for "
    "reading.\n\n"
    "Functions that find something return None when there is nothing of that name. Asking a "
    "layer that does not exist raises LookupError. A node that has left the scene raises "
    "ReferenceError.\n\n"
    "Layers are made and activated with the functions of mkRenderLayerModule, which are global "
    "names in scripts.";

void defineScene()
{
    using python::arg;
    define("getRoot", &mkScenegraph::getRoot,
           "Returns the root of the scene.\n\n"
           "@rtype: Node");
    define("findNode", &findNode, arg("name"),
           "Returns the first node of this name, parents before children, or None.\n\n"
           "@param name: The name of the node; upper and lower case differ.\n\n"
           "@type name: string\n\n"
           "@rtype: Node or None");
    define("findNodes", &findNodes, arg("name"),
           "Returns every node of this name, parents before children.\n\n"
           "@param name: The name of the nodes; upper and lower case differ.\n\n"
           "@type name: string\n\n"
           "@rtype: list of Node");
    define("findNodeByPath", &findNodeByPath, arg("path"),
           "Returns the node at this place in the scene, or None.\n\n"
           "@param path: The names from the root to the node, each behind a slash, as in "
           "\"/studio/car/body\".\n\n"
           "@type path: string\n\n"
           "@rtype: Node or None");
    define("getSelectedNodes", &getSelectedNodes,
           "Returns the selected nodes, in the order of their selection.\n\n"
           "@rtype: list of Node");
    define("selectNodes", &selectNodes, arg("nodes"),
           "Makes these nodes the selection; the change can be undone.\n\n"
           "@param nodes: The nodes; None in between is passed over, an empty list selects "
           "nothing.\n\n"
           "@type nodes: sequence of Node");
    define("getMaterialNames", &getMaterialNames,
           "Returns the names of the document's materials; each is unique.\n\n"
           "@rtype: list of string");
    define("getMaterialColor", &getMaterialColor, arg("name"),
           "Returns the base colour of a material as (red, green, blue, alpha), each from 0 "
           "to 1, or None when there is no such material.\n\n"
           "@param name: The name of the material.\n\n"
           "@type name: string\n\n"
           "@rtype: tuple of float or None");
    define("openScene", &openScene, arg("file"),
           "Opens a scene file in place of the open scene, without asking whether that has "
           "changes. Raises RuntimeError with the reason, and leaves the open scene, when "
           "the file cannot be read.\n\n"
           "@param file: The path of the file.\n\n"
           "@type file: string");
    define("getSceneFile", &getSceneFile,
           "Returns the path of the open scene's file, or \"\" when it is in no file.\n\n"
           "@rtype: string");
}

void defineLog()
{
    using python::arg;
    define("logInfo", &logInfo, arg("text"),
           "Writes a line to the host's log.\n\n"
           "@param text: The line.\n\n"
           "@type text: string");
    define("logWarning", &logWarning, arg("text"),
           "Writes a warning to the host's log.\n\n"
           "@param text: The line.\n\n"
           "@type text: string");
    define("logError", &logError, arg("text"),
           "Writes an error to the host's log.\n\n"
           "@param text: The line.\n\n"
           "@type text: string");
}

void defineRenderLayers()
{
    using python::arg;
    define("storeRenderLayerState", &storeRenderLayerState, arg("name"),
           "Stores the current render attributes of every drawable of the scene under a "
           "name, in place of what was stored under it. activateRenderLayerState(name) brings "
           "them back; the groups above drawables keep what they carry.\n\n"
           "@param name: The name of the state; \"\" raises ValueError.\n\n"
           "@type name: string\n\n"
           "@return: The number of drawables.\n\n"
           "@rtype: int");
    define("getNodeAttributes", &getNodeAttributes, arg("node"),
           "Returns the current render attributes of a node under the keywords of "
           "setNodeVisibilityFlags, or None when the node carries none. The override "
           "material is given by its name, \"\" for none, so that "
           "setNodeVisibilityFlags(other, **getNodeAttributes(node)) copies them.\n\n"
           "@param node: The node.\n\n"
           "@type node: Node\n\n"
           "@rtype: dict or None");
    define("getLayerNames", &getLayerNames,
           "Returns the names of the render layers, in order.\n\n"
           "@rtype: list of string");
    define("getLayerNodes", &getLayerNodes, arg("layerName"),
           "Returns the nodes of a render layer, in order, with those that have left the "
           "scene. Raises LookupError when there is no such layer.\n\n"
           "@param layerName: The name of the layer.\n\n"
           "@type layerName: string\n\n"
           "@rtype: list of Node");
    define("getLayerAttributes", &getLayerAttributes, (arg("layerName"), arg("node")),
           "Returns the render attributes that a layer keeps for a node, as "
           "getNodeAttributes does. Raises LookupError when there is no such layer or the "
           "node is not in it.\n\n"
           "@param layerName: The name of the layer.\n\n"
           "@type layerName: string\n\n"
           "@param node: The node.\n\n"
           "@type node: Node\n\n"
           "@rtype: dict or None");
}

} // namespace

BOOST_PYTHON_MODULE(mkHost)
{
    const python::docstring_options options(true, false);
    python::scope().attr("__doc__") = moduleDoc;
    mkPythonNode::define();
    defineScene();
    defineLog();
    defineRenderLayers();
}

namespace {

const mkPythonRegister registration([](mkPythonRegisterFactory::Level level) {
    if (level == mkPythonRegisterFactory::BeforeInterpreter) {
        PyImport_AppendInittab("mkHost", &PyInit_mkHost);
    } else if (level == mkPythonRegisterFactory::AfterInterpreter) {
        mkScript::run("import mkHost");
    }
});

} // namespace
