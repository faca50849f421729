#include "mkEndEdit.h"

#include "OSGSystem/ChangeList.h"

void endEdit(const osg::FieldContainerPtr &container, const osg::BitVector &mask)
{
    if (!container) {
        return;
    }
    if (osg::ChangeList *const changes = osg::WinThreadBase::getCurrentChangeList()) {
        changes->addChanged(container, mask);
    }
    if (!osg::FieldContainerPtr::_ignore_change) {
        container->changed(mask, osg::ChangeOrigin::External);
    }
}

osg::RaytracingGeoAttachmentPtr mkFindAttributes(const osg::NodePtr &node)
{
    if (!node) {
        return osg::NullFC;
    }
    const std::uint32_t group = osg::RaytracingGeoAttachmentBase::_type.getGroupId();
    return osg::RaytracingGeoAttachmentPtr(node->findAttachment(group, 0));
}

osg::RaytracingGeoAttachmentPtr mkFindOrCreateAttributes(const osg::NodePtr &node)
{
    osg::RaytracingGeoAttachmentPtr attributes = mkFindAttributes(node);
    if (!attributes) {
        attributes = osg::RaytracingGeoAttachmentBase::create();
        if (!attributes) {
            return osg::NullFC;
        }
        node->addAttachment(attributes, 0);
        endEdit(node, osg::AttachmentContainer::AttachmentsFieldMask);
    }
    return attributes;
}
