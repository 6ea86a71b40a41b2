// Gain over distance.
#include "kernel/scalar.hpp"
#include "math/division.hpp"
#include "math/power.hpp"

#include <earshot/spatial.h>

namespace earshot {
namespace {

constexpr s32 one_unit = 65536; // of distance, Q16
constexpr s32 full_gain = 0x10000000;
constexpr s32 gain_at_minimum = 0x08000000;
constexpr s32 one_percent_q31 = 21474836;

constexpr s32 at_least_0(s32 gain) { return gain < 0 ? 0 : gain; }

s32 linear_gain(s32 distance, s32 minimum, s32 maximum) {
    const s32 slope = divide_qx(0x8000, ARM_s32_sub_s32_s32_sat(maximum, minimum), 12);
    const s32 loss = low_s32(s64{ARM_s32_sub_s32_s32_sat(distance, minimum)} * slope);
    return at_least_0(ARM_s32_sub_s32_s32_sat(gain_at_minimum, loss));
}

// distance / minimum in Q16, as 1 + the rest.
s32 ratio(s32 distance, s32 minimum) {
    const s32 rest = divide_qx(ARM_s32_sub_s32_s32_sat(distance, minimum), minimum, 16);
    return ARM_s32_add_s32_s32_sat(rest, one_unit);
}

s32 inverse_gain(s32 distance, s32 minimum, s32 maximum) {
    // exp10_fixed is not exact at 0, so 1.0 is set apart.
    const s32 scale = minimum == one_unit
                          ? 0x8000
                          : exp10_fixed(ARM_s32_saturate_s64(-102 * (s64{minimum} - one_unit)));
    return at_least_0(ARM_s32_sub_s32_s32_sat(divide_qx(scale, ratio(distance, minimum), 28),
                                              divide_qx(scale, ratio(maximum, minimum), 28)));
}

s32 gain_within(s32 distance, s32 minimum, s32 maximum, u32 model) {
    if (distance < one_unit) return full_gain;
    if (distance < minimum) return gain_at_minimum;
    const s32 last_percent = low_s32(s64{maximum} * one_percent_q31 >> 31);
    if (distance > ARM_s32_sub_s32_s32_sat(maximum, last_percent)) return 0;
    const s32 least = minimum <= one_unit ? one_unit : minimum;
    switch (model) {
    case ROLLOFF_NONE:
        return full_gain;
    case ROLLOFF_LINEAR:
        return linear_gain(distance, least, maximum);
    default:
        return inverse_gain(distance, least, maximum);
    }
}

} // namespace
} // namespace earshot

extern "C" {

s32 rolloff_gain(s32 *gain, s32 distance, s32 minimum, s32 maximum, u32 model) {
    if (minimum > maximum || model > ROLLOFF_NONE) return -1;
    *gain = earshot::gain_within(distance, minimum, maximum, model);
    return 0;
}

} // extern "C"
