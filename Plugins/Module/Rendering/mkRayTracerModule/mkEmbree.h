#pragma once

// Embree 4, or Embree 3 behind those names of version 4 that are used here.
#if __has_include(<embree4/rtcore.h>)

#include <embree4/rtcore.h>

#else

#include <embree3/rtcore.h>

constexpr RTCSceneFlags RTC_SCENE_FLAG_FILTER_FUNCTION_IN_ARGUMENTS =
    RTC_SCENE_FLAG_CONTEXT_FILTER_FUNCTION;

using RTCRayQueryContext = RTCIntersectContext;

struct RTCIntersectArguments
{
    RTCRayQueryContext *context;
    RTCFilterFunctionN filter;
};
using RTCOccludedArguments = RTCIntersectArguments;

inline void rtcInitRayQueryContext(RTCRayQueryContext *context)
{
    rtcInitIntersectContext(context);
}

inline void rtcInitIntersectArguments(RTCIntersectArguments *arguments)
{
    *arguments = {};
}

inline void rtcInitOccludedArguments(RTCOccludedArguments *arguments)
{
    *arguments = {};
}

inline void rtcIntersect1(RTCScene scene, RTCRayHit *hit, RTCIntersectArguments *arguments)
{
    arguments->context->filter = arguments->filter;
    rtcIntersect1(scene, arguments->context, hit);
}

inline void rtcOccluded1(RTCScene scene, RTCRay *ray, RTCOccludedArguments *arguments)
{
    arguments->context->filter = arguments->filter;
    rtcOccluded1(scene, arguments->context, ray);
}

#endif
