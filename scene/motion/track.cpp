#include "scene/motion/track.hpp"

#include "scene/motion/geometry.hpp"

namespace earshot_scenes {

namespace {

// The sign of the product of two quaternions as vectors of four.
bool points_away(const quaternion &a, const quaternion &b) {
    const auto term = [](s32 x, s32 y) { return s64{x} * y >> 2; };
    return term(a.w, b.w) + term(a.x, b.x) + term(a.y, b.y) + term(a.z, b.z) < 0;
}

constexpr s32 negated(s32 x) { return x == INT32_MIN ? INT32_MAX : -x; }

} // namespace

// The product can be wider than 64 bits: the upper half of the way is divided first, and what that
// leaves goes into the division of the lower half.
s32 between(s32 a, s32 b, const way &way) {
    const s64 difference = s64{b} - a;
    const s64 upper = (difference >> 16) * way.part;
    s64 quotient = upper / way.whole;
    s64 rest = upper % way.whole;
    if (rest < 0) {
        rest += way.whole;
        --quotient;
    }
    const s64 lower = rest * 65536 + (difference & 0xFFFF) * way.part + way.whole / 2;
    return static_cast<s32>(a + quotient * 65536 + lower / way.whole);
}

// Near the ends of the 32 bits the way would lead out of them: it is gone a turn further in.
s32 between_angles(s32 a, s32 b, const way &way) {
    const s64 end = a + shorter(s64{b} - a);
    const s64 inwards = end > INT32_MAX ? -whole_turn : end < INT32_MIN ? whole_turn : 0;
    return between(static_cast<s32>(a + inwards), static_cast<s32>(end + inwards), way);
}

position between(const position &a, const position &b, const way &way) {
    return {between(a.x, b.x, way), between(a.y, b.y, way), between(a.z, b.z, way)};
}

direction between(const direction &a, const direction &b, const way &way) {
    return {between_angles(a.azimuth, b.azimuth, way), between(a.elevation, b.elevation, way)};
}

head_angles between(const head_angles &a, const head_angles &b, const way &way) {
    return {between_angles(a.yaw, b.yaw, way), between_angles(a.pitch, b.pitch, way),
            between_angles(a.roll, b.roll, way)};
}

quaternion between(const quaternion &a, const quaternion &b, const way &way) {
    // q and -q are the same turn.
    const quaternion end =
        points_away(a, b) ? quaternion{negated(b.w), negated(b.x), negated(b.y), negated(b.z)} : b;
    return normalised({between(a.w, end.w, way), between(a.x, end.x, way), between(a.y, end.y, way),
                       between(a.z, end.z, way)});
}

} // namespace earshot_scenes
