#pragma once

#include "OSGSystem/Node.h"
#include "mkOpenSGExt/RaytracingGeoAttachment.h"

/// To be called after fields of `container` were edited: records the change in the thread's
/// change list, if there is one, and notifies the container unless changes are being ignored.
/// Nothing for null.
void endEdit(const osg::FieldContainerPtr &container, const osg::BitVector &mask);

/// The render attributes that the node itself carries; null when there are none or for null.
osg::RaytracingGeoAttachmentPtr mkFindAttributes(const osg::NodePtr &node);
/// The same, made and attached where there are none; null if the host makes none. `node` is not
/// null.
osg::RaytracingGeoAttachmentPtr mkFindOrCreateAttributes(const osg::NodePtr &node);
