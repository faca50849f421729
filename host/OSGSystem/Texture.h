#pragma once

#include "OSGSystem/Attachment.h"

#include <QByteArray>

namespace osg {

/// A picture that materials put on surfaces, as the bytes of a picture file: PNG, JPEG and what
/// else QImage::fromData reads. Texture coordinate (0, 0) is the picture's upper left corner, u
/// goes right and v down. The name is that of AttachmentContainer. Setters announce the change.
class MK_HOST_API Texture : public AttachmentContainer
{
public:
    enum class Wrap { Repeat, Mirror, Clamp };

    static const FieldContainerType _type;
    static const BitVector DataFieldMask;
    static const BitVector WrapFieldMask;
    static Ptr<Texture> create();
    const FieldContainerType &getType() const override { return _type; }

    /// The encoded picture; may be empty or damaged.
    const QByteArray &getData() const { return data; }
    void setData(const QByteArray &newData) { assign(data, newData, DataFieldMask); }
    /// What lies outside the unit square, horizontally and vertically.
    Wrap getWrapU() const { return wrapU; }
    Wrap getWrapV() const { return wrapV; }
    void setWrap(Wrap horizontal, Wrap vertical);
    void visitFields(FieldVisitor &visitor) override;

private:
    QByteArray data;
    Wrap wrapU = Wrap::Repeat;
    Wrap wrapV = Wrap::Repeat;
};
using TexturePtr = Ptr<Texture>;

} // namespace osg
