// Triangular dither: the sum of two uniform random values, as wide as one step of the output
// either way. It makes the rounding error independent of the signal.
#pragma once

#include <earshot/types.h>

namespace earshot_tool {

class triangular_dither {
  public:
    // dropped_bits: bits that the output has less than the 32 of the signal, at most 16.
    explicit triangular_dither(int dropped_bits) : mask_((u32{1} << dropped_bits) - 1) {}

    // In (-step, step), in units of the signal.
    s32 next() {
        // A linear congruential generator modulo 2^64 with a full period. Its high bits are the
        // random ones; the two values take 16 of them each.
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        const u32 bits = static_cast<u32>(state_ >> 32);
        return static_cast<s32>(bits & mask_) - static_cast<s32>((bits >> 16) & mask_);
    }

  private:
    u64 state_ = 0x6561727368; // the same sequence for every file
    u32 mask_;
};

// In its place where the output is only rounded.
struct no_dither {
    static s32 next() { return 0; }
};

} // namespace earshot_tool
