// The Python module, and its registration with the host. PyInit_mkRenderLayerModule is exported.

#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkRenderLayerModule.h"

#include <QCoreApplication>
#include <QThread>

#include <boost/python.hpp>

namespace {

namespace python = boost::python;

/// Call policy: a thread that a script started gets an exception, where it would bring Qt down.
struct GuiThreadOnly : python::default_call_policies
{
    template <typename Arguments>
    static bool precall(const Arguments &)
    {
        // Without an application there is no thread to tell apart.
        const QCoreApplication *const application = QCoreApplication::instance();
        if (!application || application->thread() == QThread::currentThread()) {
            return true;
        }
        PyErr_SetString(PyExc_RuntimeError, "Render layers are for the main thread only.");
        return false;
    }
};

// clang-format off
constexpr char activateDoc[] =
    "Activates a renderlayer.\n\n"
    "@param name: The name of the layer.\n\n"
    "@type name: string";

constexpr char addNodesDoc[] =
    "Add nodes to a renderlayer.\n\n"
    "@param nodes: The pointers to the nodes.\n\n"
    "@type nodeName: vector of pointers \n\n"
    "@param layerName: The name of the layer.\n\n"
    "@type layerName: string";

constexpr char resetDoc[] =
    "Resets all activated render layers.\n\n";

constexpr char setFlagsDoc[] =
    "Sets the visibility flags and the override material for a given node and its children.\n\n"
    "@param node: The root node.\n\n"
    "@type node: NodePtr\n\n"
    "@param visible: Visibility: On/Off.\n\n"
    "@type visible: bool\n\n"
    "@param visibleInAlpha: Visibility in alpha: On/Off.\n\n"
    "@type visibleInAlpha: bool\n\n"
    "@param primaryVisibility: Primary visibility: On/Off.\n\n"
    "@type primaryVisibility: bool\n\n"
    "@param visibleInReflections: Visibility in reflections: On/Off.\n\n"
    "@type visibleInReflections: bool\n\n"
    "@param visibleInRefractions: Visibility in refractions: On/Off.\n\n"
    "@type visibleInRefractions: bool\n\n"
    "@param castShadows: Cast shadows: On/Off.\n\n"
    "@type castShadows: bool\n\n"
    "@param receiveShadows: Receive shadows: On/Off.\n\n"
    "@type receiveShadows: bool\n\n"
    "@param doubleSided: Double sided: On/Off.\n\n"
    "@type doubleSided: bool\n\n"
    "@param visibleForPhotons: Visible for Photons: On/Off.\n\n"
    "@type visibleForPhotons: bool\n\n"
    "@param castShadowOnShadowMaterial: If off, the objects don't cast shadows from the Ibl onto the shadow material: On/Off.\n\n"
    "@type castShadowOnShadowMaterial: bool\n\n"
    "@param useOverrideMaterial: If off, the objects don't use the override material: On/Off.\n\n"
    "@type useOverrideMaterial: bool\n\n"
    "@param overrideMaterial: the name of the override material, defaults to none: string.\n\n"
    "@type overrideMaterial: string";

constexpr char resetFlagsDoc[] =
    "Resets the node visibility flags for a given node and its children.\n\n"
    "@param node: The root node.\n\n"
    "@type node: NodePtr";

constexpr char activateStateDoc[] =
    "Activates stored node visibility states for the whole scene.\n\n"
    "@param name: Stored name of the render layer state.\n\n"
    "@type name: string";
// clang-format on

/// Between two nodes a script can be interrupted; those that were added stay, and are shown.
void addNodes(const std::vector<mkNodePtr> &nodes, const char *layerName)
{
    for (const mkNodePtr &node : nodes) {
        mkRenderLayerModule::addNodesToRenderLayer({ node }, layerName);
        if (PyErr_CheckSignals() != 0) {
            python::throw_error_already_set();
        }
    }
}

/// One form for each number of arguments. The keywords carry no defaults of their own, so that what
/// is passed must be an unbroken run from the first parameter.
BOOST_PYTHON_FUNCTION_OVERLOADS(FlagSetters, mkRenderLayerModule::setNodeVisibilityFlags, 9, 13)

void defineFunctions()
{
    using python::arg;
    const python::docstring_options options(true, false);
    python::def("createRenderLayer", &mkRenderLayerModule::createRenderLayer, arg("name"),
                activateDoc, GuiThreadOnly());
    python::def("addNodesToRenderLayer", &addNodes, (arg("nodes"), arg("layerName")), addNodesDoc,
                GuiThreadOnly());
    python::def("activateRenderLayer", &mkRenderLayerModule::activateRenderLayer, arg("name"),
                activateDoc, GuiThreadOnly());
    python::def("resetRenderLayers", &mkRenderLayerModule::resetRenderLayers, resetDoc,
                GuiThreadOnly());
    const auto flagSetterKeywords = (arg("node"), arg("visible"), arg("visibleInAlpha"),
                                     arg("primaryVisibility"), arg("visibleInReflections"),
                                     arg("visibleInRefractions"), arg("castShadows"),
                                     arg("receiveShadows"), arg("doubleSided"),
                                     arg("visibleForPhotons"), arg("visibleForShadowMaterial"),
                                     arg("useOverrideMaterial"), arg("overrideMaterial"));
    python::def("setNodeVisibilityFlags", &mkRenderLayerModule::setNodeVisibilityFlags,
                FlagSetters(flagSetterKeywords, setFlagsDoc)[GuiThreadOnly()]);
    python::def("resetNodeVisibilityFlags", &mkRenderLayerModule::resetNodeVisibilityFlags,
                arg("node"), resetFlagsDoc, GuiThreadOnly());
    python::def("activateRenderLayerState", &mkRenderLayerModule::activateRenderLayerState,
                arg("name"), activateStateDoc, GuiThreadOnly());
}

} // namespace

/// As BOOST_PYTHON_MODULE makes it, but for the definition: Python looks at that whenever it
/// collects garbage, and at the module's name whenever it imports one, also once the library is
/// unloaded, so both lie elsewhere and are never freed.
extern "C" Q_DECL_EXPORT PyObject *PyInit_mkRenderLayerModule()
{
    auto *const definition = new PyModuleDef{};
    definition->m_base = PyModuleDef_HEAD_INIT;
    definition->m_name = "mkRenderLayerModule";
    definition->m_size = -1;
    return python::detail::init_module(*definition, defineFunctions);
}

namespace {

/// Levels of the host's start-up.
constexpr int beforeInterpreter = 0;
constexpr int afterInterpreter = 1;

void registerPython(mkPythonRegisterFactory::Level level)
{
    if (level == beforeInterpreter) {
        PyImport_AppendInittab(qstrdup("mkRenderLayerModule"), &PyInit_mkRenderLayerModule);
    } else if (level == afterInterpreter) {
        mkScript::run("import mkRenderLayerModule");
        mkScript::run("from mkRenderLayerModule import *");
    }
}

// The host is to know of it as soon as the library is loaded.
const mkPythonRegister pythonRegistration(registerPython); // clazy:exclude=non-pod-global-static

} // namespace
