// Where a listener hears something.
#pragma once

#include "scene/description/scene.hpp"

namespace earshot_scenes {

// Yaw, then pitch, then roll.
quaternion rotation_of(const head_angles &angles);

// How a head has turned at a time.
quaternion orientation_at(const orientation_track &head, s64 time);

// To a modulus of 1, within 3e-9. The modulus is at least 0.7 and at most 1.1.
quaternion normalised(const quaternion &q);

// Metres, Q16, rounded; at most what a word holds.
s32 distance_between(const position &a, const position &b);

// The direction of a point for a listener at `ear` whose head has turned by `head`: azimuth from
// -180 to 180 degrees, true within 0.00006 degrees. Where the point is the ear: the front.
direction heard_at(const position &point, const position &ear, const quaternion &head);

// The direction of something that is too far away for steps to change it. A head that looks to the
// front hears it exactly where it is.
direction heard_from(const direction &world, const quaternion &head);

// The same by the library's geometry, which is good enough to choose among directions that are 5
// degrees apart: from one metre on, azimuths are true within 0.002 degrees and elevations within
// 0.07; close to 90 degrees to either side, and straight up or down, an angle can be 1.8 degrees
// off (cart_to_spher in earshot/spatial.h tells why).
direction roughly_heard_at(const position &point, const position &ear, const quaternion &head);
direction roughly_heard_from(const direction &world, const quaternion &head);

} // namespace earshot_scenes
