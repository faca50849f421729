#include "OSGSystem/Revision.h"

#include <utility>

namespace osg {

namespace {

std::uint64_t count = 0;

std::function<void()> &currentListener()
{
    static std::function<void()> listener;
    return listener;
}

} // namespace

std::uint64_t Revision::get()
{
    return count;
}

void Revision::advance()
{
    ++count;
    if (currentListener()) {
        currentListener()();
    }
}

void Revision::setListener(std::function<void()> listener)
{
    currentListener() = std::move(listener);
}

} // namespace osg
