"""Waits until the ray-traced view, where there is one, shows a picture: before one of the window."""

import sys

tracer = sys.modules.get("mkRayTracerModule")
if tracer:
    tracer.waitForView(8)
