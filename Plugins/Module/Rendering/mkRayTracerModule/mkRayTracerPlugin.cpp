#include "mkRayTracerModule.h"

extern "C" {

Q_DECL_EXPORT const char *getPluginVersion()
{
    return "15.3";
}

Q_DECL_EXPORT void initPlugin()
{
    static mkRayTracerModule module;
}

} // extern "C"
