#pragma once

#include "OSGSystem/FieldContainer.h"

#include <utility>
#include <vector>

namespace osg {

/// What was changed since the list was last cleared, in order. It keeps the containers alive.
class MK_HOST_API ChangeList
{
public:
    using Entry = std::pair<FieldContainerPtr, BitVector>;

    void addChanged(const FieldContainerPtr &container, BitVector which);
    const std::vector<Entry> &getChanged() const { return entries; }
    void clear() { entries.clear(); }

private:
    std::vector<Entry> entries;
};

/// The calling thread's own things.
class MK_HOST_API WinThreadBase
{
public:
    /// The thread's current change list; null when nobody collects changes.
    static ChangeList *getCurrentChangeList();
    /// The list stays the caller's, who takes it back with null before it dies.
    static void setCurrentChangeList(ChangeList *list);
};

} // namespace osg
