#pragma once

#include "OSGSystem/FieldContainer.h"

#include <map>

namespace osg {

/// What scene file readers leave behind for those who must follow stored ids.
class MK_HOST_API NFIOBase
{
public:
    using FieldContainerMap = std::map<unsigned int, FieldContainerPtr>;

    /// From ids in the file that was read last to the containers made from them; ids that nothing
    /// read has stored may be missing. A reader fills
    /// it before the message that follows reading; the host empties it once that message has
    /// been handled, so that a map does not keep a closed scene alive.
    static const FieldContainerMap &getFieldContainerMap();
    static void setFieldContainerMap(FieldContainerMap map);
};

} // namespace osg
