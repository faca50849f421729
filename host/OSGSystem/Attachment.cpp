#include "OSGSystem/Attachment.h"

#include "OSGSystem/FieldVisitor.h"
#include "OSGSystem/Revision.h"

#include <limits>
#include <set>

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
    Revision::advance();
    const std::uint32_t groupId = attachment->getType().getGroupId();
    auto last = attachments.before_begin();
    for (auto entry = attachments.begin(); entry != attachments.end(); last = entry++) {
        if (entry->groupId == groupId && entry->binding == binding) {
            entry->attachment = attachment;
            return;
        }
    }
    attachments.insert_after(last, { groupId, binding, attachment });
}

void AttachmentContainer::subAttachment(std::uint32_t groupId, std::uint16_t binding)
{
    Revision::advance();
    attachments.remove_if(
        [=](const Entry &entry) { return entry.groupId == groupId && entry.binding == binding; });
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

void AttachmentContainer::visitFields(FieldVisitor &visitor)
{
    std::vector<AttachmentPtr> held;
    std::vector<std::uint32_t> bindings;
    for (const Entry &entry : attachments) {
        held.push_back(entry.attachment);
        bindings.push_back(entry.binding);
    }
    visitor.field("name", name);
    visitor.field("attachments", held);
    visitor.field("bindings", bindings);
    if (!visitor.isReading()) {
        return;
    }
    if (bindings.size() != held.size()) {
        visitor.refuse();
    }
    attachments.clear();
    auto last = attachments.before_begin();
    std::set<std::pair<std::uint32_t, std::uint32_t>> places;
    for (std::size_t i = 0; i < held.size(); ++i) {
        if (held[i]) {
            const std::uint32_t groupId = held[i]->getType().getGroupId();
            if (bindings[i] > std::numeric_limits<std::uint16_t>::max()
                || !places.emplace(groupId, bindings[i]).second) {
                visitor.refuse();
            }
            last = attachments.insert_after(last, { groupId, std::uint16_t(bindings[i]), held[i] });
        }
    }
}

} // namespace osg
