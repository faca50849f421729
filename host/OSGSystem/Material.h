#pragma once

#include "OSGSystem/Attachment.h"

#include <array>

namespace osg {

/// How a surface looks: a name and a base colour. The name is that of AttachmentContainer.
class MK_HOST_API Material : public AttachmentContainer
{
public:
    /// Red, green, blue, alpha, each 0 to 1.
    using Color = std::array<float, 4>;

    static const FieldContainerType _type;
    static Ptr<Material> create();
    const FieldContainerType &getType() const override { return _type; }

    const Color &getColor() const { return color; }
    void setColor(const Color &newColor) { color = newColor; }

private:
    Color color{ 1, 1, 1, 1 };
};
using MaterialPtr = Ptr<Material>;

} // namespace osg
