// Triangular dither: the sum of two uniform random values, as wide as one step of the output
// either way. It makes the rounding error independent of the signal.
#pragma once

#include <earshot/types.h>

namespace earshot_scenes {

class triangular_dither {
  public:
    // dropped_bits: bits that the output has less than the 32 of the signal, at most 16.
    explicit triangular_dither(int dropped_bits) : mask_((u32{1} << dropped_bits) - 1) {}

    // In (-step, step), in units of the signal.
    s32 next() {
        // A linear congruential generator modulo 2^64 with a full period. Its high bits are the
        // random ones; the two values take 16 of them each.
        state_ = state_ * factor + increment;
        const u32 bits = static_cast<u32>(state_ >> 32);
        return static_cast<s32>(bits & mask_) - static_cast<s32>((bits >> 16) & mask_);
    }

    // Goes past so many values. Steps of a generator that is linear make one such step together:
    // those of 2^k values are made by doubling (F. Brown, Random number generation with arbitrary
    // strides, 1994).
    void skip(u64 values) {
        u64 step_factor = factor;
        u64 step_increment = increment;
        for (; values != 0; values >>= 1) {
            if (values & 1) state_ = state_ * step_factor + step_increment;
            step_increment *= step_factor + 1;
            step_factor *= step_factor;
        }
    }

  private:
    static constexpr u64 factor = 6364136223846793005u;
    static constexpr u64 increment = 1442695040888963407u;

    u64 state_ = 0x6561727368; // the same sequence for every file
    u32 mask_;
};

// In its place where the output is only rounded.
struct no_dither {
    static s32 next() { return 0; }
};

} // namespace earshot_scenes
