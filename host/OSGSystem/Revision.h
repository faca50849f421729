#pragma once

#include "mkHostExport.h"

#include <cstdint>
#include <functional>

namespace osg {

/// Counts the changes to what scene files keep, announced or not. Whoever remembers the count
/// knows later whether anything changed; what is merely shown differently (an expanded row) does
/// not count.
class MK_HOST_API Revision
{
public:
    static std::uint64_t get();
    static void advance();
    /// Called after each step; one listener, an empty one for none.
    static void setListener(std::function<void()> listener);
};

} // namespace osg
