#pragma once

#include "OSGSystem/Node.h"
#include "mkOpenSGExt/RenderLayers.h"

#include <set>
#include <string>
#include <vector>

/// Helpers on scene nodes and names.
namespace mkNodeUtils {

/// The node's name, UTF-8; the empty string for a null node. Valid until the node is renamed.
MK_HOST_API const char *getName(const osg::NodePtr &node);

/// `name` itself when it is not in `taken`, else `name` followed by the lowest decimal number
/// from 1 that makes it new: Paint, Paint1, Paint2.
MK_HOST_API std::string getUniqueName(const std::string &name,
                                      const std::vector<std::string> &taken);

/// The render attributes that the node itself carries; null when there are none.
MK_HOST_API osg::RaytracingGeoAttachmentPtr getRenderAttributes(const osg::NodePtr &node);

/// The same, made and announced where there are none. `node` is not null.
MK_HOST_API osg::RaytracingGeoAttachmentPtr getOrMakeRenderAttributes(const osg::NodePtr &node);
/// Stores the current attributes of every drawable from `root` down under a name, in place of what
/// was stored under it. Returns the number of drawables.
MK_HOST_API int storeRenderLayerState(const osg::NodePtr &root, const std::string &name);
/// Forgets the state of this name on every drawable from `root` down that has it. Returns the
/// number of these.
MK_HOST_API int removeRenderLayerState(const osg::NodePtr &root, const std::string &name);
/// The names of the states stored on drawables from `root` down.
MK_HOST_API std::set<std::string> getRenderLayerStates(const osg::NodePtr &root);
/// Stores a layer as a state: for every drawable among its nodes and below them, the attributes
/// that activation of the layer would give it, and the layer's id. Returns the number of drawables.
MK_HOST_API int storeRenderLayerState(const osg::RenderLayerPtr &layer, const std::string &name);

/// Writes the values of `attributes` into the attachment of the node and of every node below it,
/// made where missing, and announces each change. Nothing when either is null.
MK_HOST_API void applyRenderLayerAttributes(const osg::NodePtr &node,
                                            const osg::RaytracingGeoAttachmentPtr &attributes);

/// The same, but leaves out every subtree below the node for whose root `skip` answers true.
MK_HOST_API void applyRenderLayerAttributes(const osg::NodePtr &node,
                                            const osg::RaytracingGeoAttachmentPtr &attributes,
                                            const std::function<bool(const osg::NodePtr &)> &skip);

/// Sets the attributes of `root` and of every node below it that carries any to the defaults.
/// Stored states stay. Nothing for a null root.
MK_HOST_API void resetRenderLayerAttributes(const osg::NodePtr &root);

/// The slash-separated names from the scene root to the node, as in "/studio/car/body".
MK_HOST_API std::string getPath(const osg::NodePtr &node);

} // namespace mkNodeUtils
