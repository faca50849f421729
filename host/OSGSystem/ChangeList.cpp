#include "OSGSystem/ChangeList.h"

#include "mkUtils/mkTrace.h"

namespace osg {

namespace {

thread_local ChangeList *currentList = nullptr;

} // namespace

void ChangeList::addChanged(const FieldContainerPtr &container, BitVector which)
{
    mkTrace::call("ChangeList::addChanged", container, which);
    entries.emplace_back(container, which);
}

ChangeList *WinThreadBase::getCurrentChangeList()
{
    return currentList;
}

void WinThreadBase::setCurrentChangeList(ChangeList *list)
{
    currentList = list;
}

} // namespace osg
