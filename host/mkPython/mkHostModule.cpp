// The built-in module `mkHost`: what the host itself offers to scripts.

#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkPython/mkHostParts.h"
#include "mkPython/mkPythonMaterial.h"
#include "mkPython/mkPythonNode.h"
#include "mkPython/mkPythonSupport.h"
#include "mkUtils/mkLog.h"

#include <string_view>

namespace {

namespace python = boost::python;
using mkPython::define;
using mkPython::raise;

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

void defineScene()
{
    define("_getRoot", &mkScenegraph::getRoot);
    define("_findNode", &findNode);
    define("_findNodeByPath", &findNodeByPath);
    define("_getSelectedNodes", &getSelectedNodes);
    define("_selectNodes", &selectNodes);
}

} // namespace

BOOST_PYTHON_MODULE(mkHost)
{
    const python::docstring_options options(true, false);
    mkPythonNode::define();
    mkPythonMaterial::define();
    defineScene();
    define("_logInfo", &logInfo);
    define("_logWarning", &logWarning);
    define("_logError", &logError);
    mkHostParts::defineLayers();
    mkHostParts::defineStates();
    mkHostParts::defineFiles();
    const python::dict names = python::extract<python::dict>(python::scope().attr("__dict__"));
    mkPython::load("mkHost.py", names);
    mkPython::load("mkHostHelp.py", names);
}

namespace {

void registerPython(mkPythonRegisterFactory::Level level)
{
    if (level == mkPythonRegisterFactory::BeforeInterpreter) {
        PyImport_AppendInittab("mkHost", &PyInit_mkHost);
    } else if (level == mkPythonRegisterFactory::AfterInterpreter) {
        mkScript::run("import mkHost");
    }
}

const mkPythonRegister registration(registerPython); // clazy:exclude=non-pod-global-static

} // namespace
