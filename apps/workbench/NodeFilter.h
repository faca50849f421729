#pragma once

#include "mkOpenSGUtils/mkNodeSet.h"

#include <memory>

/// What a search has found.
struct NodeFilter
{
    mkNodeSet matching;
    /// The nodes that match and all above them.
    mkNodeSet shown;
};
using NodeFilterPtr = std::shared_ptr<const NodeFilter>;
