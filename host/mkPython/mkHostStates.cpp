// Stored render attributes as scripts see them.

#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkPython/mkHostParts.h"
#include "mkPython/mkPythonSupport.h"

namespace {

namespace python = boost::python;
using mkPython::define;
using mkPython::raise;

osg::NodePtr startOf(const osg::NodePtr &node)
{
    return node ? node : mkScenegraph::getRoot();
}

python::list getRenderLayerStates(const osg::NodePtr &node)
{
    python::list names;
    for (const std::string &name : mkNodeUtils::getRenderLayerStates(startOf(node))) {
        names.append(name);
    }
    return names;
}

int storeRenderLayerState(const std::string &name, const osg::NodePtr &node)
{
    if (name.empty()) {
        raise(PyExc_ValueError, "A state needs a name.");
    }
    const int count = mkNodeUtils::storeRenderLayerState(startOf(node), name);
    if (count > 0) {
        mkController::setModified(1);
    }
    return count;
}

int storeLayerAsState(const std::string &name, const std::string &layerName)
{
    if (name.empty()) {
        raise(PyExc_ValueError, "A state needs a name.");
    }
    const osg::RenderLayerPtr layer = mkScenegraph::getRenderLayer()->getAttachment()->findLayer(
        layerName);
    if (!layer) {
        raise(PyExc_LookupError, "There is no render layer '" + layerName + "'.");
    }
    const int count = mkNodeUtils::storeRenderLayerState(layer, name);
    if (count > 0) {
        mkController::setModified(1);
    }
    return count;
}

int removeRenderLayerState(const std::string &name, const osg::NodePtr &node)
{
    const int count = mkNodeUtils::removeRenderLayerState(startOf(node), name);
    if (count == 0) {
        raise(PyExc_LookupError, "There is no state '" + name + "'.");
    }
    mkController::setModified(1);
    return count;
}

} // namespace

void mkHostParts::defineStates()
{
    define("_getRenderLayerStates", &getRenderLayerStates);
    define("_storeRenderLayerState", &storeRenderLayerState);
    define("_storeLayerAsState", &storeLayerAsState);
    define("_removeRenderLayerState", &removeRenderLayerState);
}
