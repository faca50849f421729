#include "mkUtils/mkMessage.h"

#include <boost/core/demangle.hpp>

#include <execinfo.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <utility>

mkMessage::mkMessage(std::string name, std::uint64_t id)
    : messageName(std::move(name))
    , messageId(id)
{}

void mkMessage::printBT()
{
    std::array<void *, 64> frames{};
    const int depth = backtrace(frames.data(), int(frames.size()));
    backtrace_symbols_fd(frames.data(), depth, STDERR_FILENO);
}

void mkMessage::reportWrongType(const std::string &attribute, const std::type_info &held,
                                const std::type_info &requested)
{
    std::fprintf(stderr, "mkMessage::get : Attribute '%s' has wrong type (is:'%s' != req:'%s')!\n",
                 attribute.c_str(), boost::core::demangle(held.name()).c_str(),
                 boost::core::demangle(requested.name()).c_str());
    printBT();
}
