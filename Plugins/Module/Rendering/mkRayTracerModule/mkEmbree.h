#pragma once

#if __has_include(<embree4/rtcore.h>)
#include <embree4/rtcore.h>
#else
#include <embree3/rtcore.h>
#endif

/// What Embree 3 and Embree 4 ask for in different ways: rays whose hits pass a filter, which may
/// be null. The filter finds `context` in its arguments.
namespace mkEmbree {

#if RTC_VERSION_MAJOR >= 4

using Context = RTCRayQueryContext;
constexpr RTCSceneFlags filterFlag = RTC_SCENE_FLAG_FILTER_FUNCTION_IN_ARGUMENTS;

template <typename Arguments>
Arguments filtered(Arguments arguments, Context &context, RTCFilterFunctionN filter)
{
    rtcInitRayQueryContext(&context);
    arguments.flags = RTC_RAY_QUERY_FLAG_INVOKE_ARGUMENT_FILTER;
    arguments.context = &context;
    arguments.filter = filter;
    return arguments;
}

inline void intersect(RTCScene scene, Context &context, RTCFilterFunctionN filter, RTCRayHit &hit)
{
    RTCIntersectArguments arguments;
    rtcInitIntersectArguments(&arguments);
    arguments = filtered(arguments, context, filter);
    rtcIntersect1(scene, &hit, &arguments);
}

inline void occlude(RTCScene scene, Context &context, RTCFilterFunctionN filter, RTCRay &ray)
{
    RTCOccludedArguments arguments;
    rtcInitOccludedArguments(&arguments);
    arguments = filtered(arguments, context, filter);
    rtcOccluded1(scene, &ray, &arguments);
}

#else

using Context = RTCIntersectContext;
constexpr RTCSceneFlags filterFlag = RTC_SCENE_FLAG_CONTEXT_FILTER_FUNCTION;

inline void intersect(RTCScene scene, Context &context, RTCFilterFunctionN filter, RTCRayHit &hit)
{
    rtcInitIntersectContext(&context);
    context.filter = filter;
    rtcIntersect1(scene, &context, &hit);
}

inline void occlude(RTCScene scene, Context &context, RTCFilterFunctionN filter, RTCRay &ray)
{
    rtcInitIntersectContext(&context);
    context.filter = filter;
    rtcOccluded1(scene, &context, &ray);
}

#endif

} // namespace mkEmbree
