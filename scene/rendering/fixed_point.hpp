// The few fixed-point steps of the tool's own audio path. They are integer end to end, so that the
// same command gives the same bits on every machine.
#pragma once

#include <limits>

#include <earshot/types.h>

namespace earshot_scene {

// x * 2^-shift, rounded half up. shift > 0.
constexpr s64 rounded_shift(s64 x, int shift) { return (x + (s64{1} << (shift - 1))) >> shift; }

// Clamps to a signed width in bits and counts what was out of range.
constexpr s64 clamp_counted(s64 x, int width, u64 &clipped) {
    const s64 limit = s64{1} << (width - 1);
    if (x >= limit || x < -limit) {
        ++clipped;
        return x < 0 ? -limit : limit - 1;
    }
    return x;
}

} // namespace earshot_scene
