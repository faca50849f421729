#include "OSGSystem/Attachment.h"

#include <algorithm>

namespace osg {

const FieldContainerType Attachment::_type("Attachment", &FieldContainer::_type);
const FieldContainerType AttachmentContainer::_type("AttachmentContainer", &FieldContainer::_type);
const BitVector AttachmentContainer::AttachmentsFieldMask(1U << 0U);
const BitVector AttachmentContainer::NameFieldMask(1U << 1U);

void AttachmentContainer::addAttachment(const AttachmentPtr &attachment, std::uint16_t binding)
{
    if (!attachment) {
        return;
    }
    const std::uint32_t groupId = attachment->getType().getGroupId();
    for (Entry &entry : attachments) {
        if (entry.groupId == groupId && entry.binding == binding) {
            entry.attachment = attachment;
            return;
        }
    }
    attachments.push_back({ groupId, binding, attachment });
}

void AttachmentContainer::subAttachment(std::uint32_t groupId, std::uint16_t binding)
{
    attachments.erase(std::remove_if(attachments.begin(), attachments.end(),
                                     [=](const Entry &entry) {
                                         return entry.groupId == groupId
                                                && entry.binding == binding;
                                     }),
                      attachments.end());
}

AttachmentPtr AttachmentContainer::findAttachment(std::uint32_t groupId,
                                                  std::uint16_t binding) const
{
    for (const Entry &entry : attachments) {
        if (entry.groupId == groupId && entry.binding == binding) {
            return entry.attachment;
        }
    }
    return NullFC;
}

void AttachmentContainer::setName(const std::string &newName)
{
    if (name != newName) {
        name = newName;
        changed(NameFieldMask, ChangeOrigin::External);
    }
}

std::string AttachmentContainer::describe() const
{
    return name.empty() ? FieldContainer::describe() : '"' + name + '"';
}

} // namespace osg
