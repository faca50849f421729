#pragma once

#include "mkRaySnapshot.h"

#include <ImathBox.h>

/// Moves a camera about a point, upright: +Y stays up.
class mkRayCameraControl
{
public:
    const mkRayCamera &camera() const { return current; }

    /// Takes a camera over. It turns about the point of its line of sight that is nearest to the
    /// middle of `scene`.
    void lookThrough(const mkRayCamera &camera, const Imath::Box3f &scene);
    /// Turns about the middle of `box` from now on, and moves back or forth until all of it is in
    /// sight in a picture whose width is `aspect` times its height. Nothing for an empty box.
    void frame(const Imath::Box3f &box, float aspect);
    /// The view of a scene without cameras: from the left, slightly above.
    void frameAnew(const Imath::Box3f &box, float aspect);

    /// Angles in radians; the camera goes round to the right and up.
    void orbit(float around, float up);
    /// Moves the scene by parts of the picture's height, to the right and up.
    void pan(float right, float up);
    /// Divides the distance.
    void zoom(float factor);

private:
    void aim(const Imath::V3f &forward);

    mkRayCamera current;
    Imath::V3f pivot{ 0, 0, 0 };
    float distance = 5;
};
