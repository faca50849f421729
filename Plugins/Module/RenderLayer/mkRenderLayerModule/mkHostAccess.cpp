#include "mkHostAccess.h"

#include "mkKernel/mkScenegraph.h"
#include "mkUtils/mkLog.h"

#include <exception>
#include <stdexcept>

mkRenderLayer *mkStore()
{
    if (mkRenderLayer *const store = mkScenegraph::getRenderLayer()) {
        return store;
    }
    throw std::runtime_error("The scene has no render layers to work on!");
}

void mkReportFailure(const char *function) noexcept
{
    try {
        throw;
    } catch (const std::exception &failure) {
        mkLog::error("%s : %s", function, failure.what());
    } catch (...) {
        mkLog::error("%s : An unknown exception occurred!", function);
    }
}
