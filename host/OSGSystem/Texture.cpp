#include "OSGSystem/Texture.h"

#include "OSGSystem/FieldVisitor.h"

namespace osg {

const FieldContainerType Texture::_type("Texture", &AttachmentContainer::_type,
                                        makeContainer<Texture>);
const BitVector Texture::DataFieldMask(1U << 2U);
const BitVector Texture::WrapFieldMask(1U << 3U);

Ptr<Texture> Texture::create()
{
    return Ptr<Texture>(new Texture);
}

void Texture::setWrap(Wrap horizontal, Wrap vertical)
{
    if (horizontal != wrapU || vertical != wrapV) {
        wrapU = horizontal;
        wrapV = vertical;
        changed(WrapFieldMask, ChangeOrigin::External);
    }
}

void Texture::visitFields(FieldVisitor &visitor)
{
    AttachmentContainer::visitFields(visitor);
    visitor.field("data", data);
    visitor.field("wrapU", wrapU, Wrap::Clamp);
    visitor.field("wrapV", wrapV, Wrap::Clamp);
}

} // namespace osg
