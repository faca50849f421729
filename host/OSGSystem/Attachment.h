#pragma once

#include "OSGSystem/FieldContainer.h"

#include <forward_list>

namespace osg {

/// Something that can be attached to a node, a core or a material. Each kind of attachment opens
/// a group of its own.
class MK_HOST_API Attachment : public FieldContainer
{
public:
    static const FieldContainerType _type;
};
using AttachmentPtr = Ptr<Attachment>;

/// A container that carries attachments, at most one for each group and binding, and a name.
class MK_HOST_API AttachmentContainer : public FieldContainer
{
public:
    static const FieldContainerType _type;
    static const BitVector AttachmentsFieldMask;
    static const BitVector NameFieldMask;

    /// Attaches; replaces the attachment of the same group and binding. Null is ignored.
    void addAttachment(const AttachmentPtr &attachment, std::uint16_t binding = 0);
    void subAttachment(std::uint32_t groupId, std::uint16_t binding = 0);
    /// The attachment of this group and binding, or null.
    AttachmentPtr findAttachment(std::uint32_t groupId, std::uint16_t binding = 0) const;

    /// UTF-8; may be empty.
    const std::string &getName() const { return name; }
    /// Announces the change.
    void setName(const std::string &newName);
    std::string describe() const override;
    void visitFields(FieldVisitor &visitor) override;

private:
    struct Entry
    {
        std::uint32_t groupId;
        std::uint16_t binding;
        AttachmentPtr attachment;
    };

    std::string name;
    /// In the order in which they came. Most containers have none, or one: a list that takes one
    /// pointer then, and not three.
    std::forward_list<Entry> attachments;
};

} // namespace osg
