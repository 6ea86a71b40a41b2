// The few fixed-point steps of the tool's own audio path. They are integer end to end, so that the
// same command gives the same bits on every machine.
//
// Those over blocks keep conditions out of their loops and numbers narrow, so that compilers make
// vector code of them for the plainest processors.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>

#include <earshot/types.h>

namespace earshot_scenes {

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

// The lowest and the highest of a block of samples and 0.
struct sample_extremes {
    s32 low = 0;
    s32 high = 0;

    constexpr s64 peak() const { return std::max(-s64{low}, s64{high}); }
};

inline sample_extremes extremes_of(const s32 *samples, std::size_t count) {
    sample_extremes found;
    for (std::size_t i = 0; i < count; ++i) {
        found.low = std::min(found.low, samples[i]);
        found.high = std::max(found.high, samples[i]);
    }
    return found;
}

// Shifts samples down, and adds half of the unit that a later shift leaves: both shifts together
// are one that rounds, without an offset of half a unit.
struct sample_lowering {
    int shift = 0;
    s32 half = 0;

    // In place; saturates.
    void operator()(s32 *samples, std::size_t count) const {
        if (shift == 0 && half == 0) return;
        const s32 added = half; // might change with a sample, for all that a compiler knows
        const int bits = shift;
        if (bits == 0) // otherwise the shift makes room
            for (std::size_t i = 0; i < count; ++i)
                samples[i] = std::min(samples[i], std::numeric_limits<s32>::max() - added);
        for (std::size_t i = 0; i < count; ++i) samples[i] = (samples[i] >> bits) + added;
    }
};

} // namespace earshot_scenes
