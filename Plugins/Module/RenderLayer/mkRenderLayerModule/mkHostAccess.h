#pragma once

#include "OSGSystem/Node.h"
#include "mkOpenSGExt/RenderLayers.h"
#include "mkOpenSGUtils/mkMaterialPtr.h"
#include "mkOpenSGUtils/mkNodePtr.h"
#include "mkOpenSGUtils/mkRenderLayer.h"

#include <QtGlobal>

#include <cstddef>

// What the plug-in needs of the host beyond the operations that every host of it has under the same
// names. Only mkHostAccess.cpp changes with the host.

/// The scene's store, asked for anew at every use. Throws std::runtime_error when the host has
/// none: whoever is entered from outside handles that, see mkReportFailure().
mkRenderLayer *mkStore();

/// For `catch (...)` where the host or Qt enters the plug-in: writes the exception in flight to
/// the log under the name of `function`, "class::function". Exceptions end there, except those on
/// their way to a script or out of the construction of the module.
void mkReportFailure(const char *function) noexcept;

/// To be called after fields of `container` were edited: records the change in the thread's
/// change list, if there is one, and notifies the container unless changes are being ignored.
/// Nothing for null.
void endEdit(const osg::FieldContainerPtr &container, const osg::BitVector &mask);
/// The mask of all fields.
osg::BitVector mkAllFields();

/// 0 for null.
quint32 mkIdOf(const osg::FieldContainerPtr &container);
/// Null when there is no container of this id, or it is no node. `id` is not 0.
osg::NodePtr mkFindNode(quint32 id);
osg::FieldContainerPtr mkCoreOf(const osg::NodePtr &node);
/// True when the node has a core, and that can be drawn.
bool mkIsDrawable(const osg::NodePtr &node);
osg::NodePtr mkUnwrap(const mkNodePtr &node);
osg::MaterialPtr mkUnwrap(const mkMaterialPtr &material);

/// The render attributes that the node itself carries; null when there are none or for null.
osg::RaytracingGeoAttachmentPtr mkFindAttributes(const osg::NodePtr &node);

// The store's content. Null has no entries; those past the end, and of another type, are null.

std::size_t mkLayerCount(const osg::RenderLayersPtr &content);
osg::RenderLayerPtr mkLayerAt(const osg::RenderLayersPtr &content, std::size_t index);
std::size_t mkNodeCount(const osg::RenderLayerPtr &layer);
osg::NodePtr mkNodeAt(const osg::RenderLayerPtr &layer, std::size_t index);
osg::RaytracingGeoAttachmentPtr mkAttributesAt(const osg::RenderLayerPtr &layer, std::size_t index);
