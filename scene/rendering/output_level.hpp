// A gain as a fixed-point number, found and applied in integers, so that it is the same on every
// machine.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include <earshot/types.h>

#include "scene/rendering/fixed_point.hpp"

namespace earshot_scenes {

// Samples from low to high.
struct sample_range {
    s64 low = INT32_MIN;
    s64 high = INT32_MAX;
};

class output_level {
  public:
    output_level() = default; // leaves samples as they are

    // 10^(thousandths / 20000), to about nine digits. -120000 to 60000.
    static output_level decibels(s32 thousandths);

    // The largest gain that does not take `peak` beyond `target`. Both are positive.
    static output_level reaching(s64 target, s64 peak);

    // One after the other. Rounded down.
    output_level operator*(const output_level &other) const;

    // Times 2^bits.
    output_level raised(int bits) const { return {mantissa_, exponent_ + bits}; }

    // For people, who are told what was done.
    double factor() const { return std::ldexp(mantissa_, exponent_ - 30); }

    // Rounded half up and brought into the range; counts what was out of it.
    s32 apply(s32 sample, const sample_range &range, u64 &clipped) const;

    // The same for a block, of whose samples none is beyond the extremes; out may be in.
    void apply(const s32 *in, s32 *out, std::size_t count, const sample_extremes &extremes,
               const sample_range &range, u64 &clipped) const;

  private:
    output_level(u32 mantissa, int exponent) : mantissa_(mantissa), exponent_(exponent) {}

    bool keeps_inside(const sample_extremes &extremes, const sample_range &range) const;
    void apply_inside(const s32 *in, s32 *out, std::size_t count) const;

    u32 mantissa_ = u32{1} << 30; // Q30, from 1 to 2, 2 included
    int exponent_ = 0;
};

} // namespace earshot_scenes
