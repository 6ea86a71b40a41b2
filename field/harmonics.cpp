// Gains of a direction. A harmonic of degree n and index m (channel n^2 + n + m) is the product of
// a function of the elevation and cos(m azimuth), or sin(|m| azimuth) for m < 0. The functions of
// the elevation are the associated Legendre functions of sin(elevation) without the Condon-Shortley
// phase, times sqrt((2 - [m = 0]) (n - |m|)! / (n + |m|)!).
#include "field/order.hpp"
#include "math/trigonometry.hpp"

namespace earshot {
namespace {

using circle_t = earshot_field_circle;

constexpr s64 one = s64{1} << 30;

constexpr s64 rounded_shift(s64 x, int shift) { return (x + (s64{1} << (shift - 1))) >> shift; }

// Q30 product of two Q30 values.
constexpr s64 times(s64 a, s64 b) { return rounded_shift(a * b, 30); }

// Square roots in Q30.
constexpr s64 sqrt_3 = 1859775393;         // sqrt(3)
constexpr s64 sqrt_3_over_2 = 929887697;   // sqrt(3) / 2
constexpr s64 sqrt_3_8 = 657529896;        // sqrt(3 / 8)
constexpr s64 sqrt_15_over_2 = 2079292101; // sqrt(15) / 2
constexpr s64 sqrt_5_8 = 848867446;        // sqrt(5 / 8)
constexpr s64 sqrt_5_over_4 = 600239927;   // sqrt(5) / 4
constexpr s64 sqrt_35_8 = 2245892157;      // sqrt(35 / 8)
constexpr s64 sqrt_35_over_8 = 794042787;  // sqrt(35) / 8

// The function of the elevation for degree n and index m >= 0; s and c are its sine and cosine.
s64 elevation_function(s32 n, s32 m, s64 s, s64 c) {
    const s64 s2 = times(s, s);
    const s64 c2 = times(c, c);
    switch (10 * n + m) {
    case 10:
        return s;
    case 11:
        return c;
    case 20:
        return rounded_shift(3 * s2 - one, 1);
    case 21:
        return times(sqrt_3, times(s, c));
    case 22:
        return times(sqrt_3_over_2, c2);
    case 30:
        return rounded_shift(times(s, 5 * s2 - 3 * one), 1);
    case 31:
        return times(sqrt_3_8, times(c, 5 * s2 - one));
    case 32:
        return times(sqrt_15_over_2, times(s, c2));
    case 33:
        return times(sqrt_5_8, times(c, c2));
    case 40:
        return rounded_shift(times(s2, 35 * s2 - 30 * one) + 3 * one, 3);
    case 41:
        return times(sqrt_5_8, times(times(s, c), 7 * s2 - 3 * one));
    case 42:
        return times(sqrt_5_over_4, times(c2, 7 * s2 - one));
    case 43:
        return times(sqrt_35_8, times(s, times(c, c2)));
    case 44:
        return times(sqrt_35_over_8, times(c2, c2));
    default:
        return one;
    }
}

// Sine and cosine of 2^-32 turns, Q30. The quarter turn is folded before the angle becomes radians,
// so that the zeros are zeros and opposite directions have opposite gains to the last bit.
s64 sine(u32 turn) {
    const u32 quarter = turn >> 30;
    const s64 within = turn & 0x3FFFFFFF;
    const s64 folded = (quarter & 1) != 0 ? one - within : within; // quarter turns, Q30
    const s64 magnitude = rounded_shift(high_precision_sin(times(folded, half_pi_q31)), 1);
    return quarter < 2 ? magnitude : -magnitude;
}

s64 cosine(u32 turn) { return sine(turn + 0x40000000); }

u32 circle_at(u32 order, u32 elevation, circle_t *circle) {
    if (circle == nullptr) return EARSHOT_BAD_MEMORY;
    if (!is_order(order)) return EARSHOT_BAD_VALUE;
    *circle = {};
    circle->order = order;
    const s64 s = sine(elevation);
    const s64 c = cosine(elevation);
    for (s32 n = 0; n <= static_cast<s32>(order); ++n)
        for (s32 m = -n; m <= n; ++m)
            circle->factors[channel_of(n, m)] =
                static_cast<s32>(elevation_function(n, m < 0 ? -m : m, s, c));
    return EARSHOT_OK;
}

u32 circle_gains(const circle_t *circle, u32 azimuth, s32 *gains) {
    if (circle == nullptr || gains == nullptr) return EARSHOT_BAD_MEMORY;
    if (!is_order(circle->order)) return EARSHOT_BAD_VALUE;
    const s32 order = static_cast<s32>(circle->order);
    // By index m, with the one of 0 in the middle.
    s64 around[2 * EARSHOT_FIELD_ORDER + 1];
    s64 *const middle = around + EARSHOT_FIELD_ORDER;
    middle[0] = one;
    for (s32 m = 1; m <= order; ++m) {
        const u32 multiple = azimuth * static_cast<u32>(m);
        middle[m] = cosine(multiple);
        middle[-m] = sine(multiple);
    }
    for (s32 n = 0; n <= order; ++n) {
        for (s32 m = -n; m <= n; ++m) {
            const u32 channel = channel_of(n, m);
            gains[channel] = static_cast<s32>(times(circle->factors[channel], middle[m]));
        }
    }
    return EARSHOT_OK;
}

u32 gains_of(u32 order, u32 azimuth, u32 elevation, s32 *gains) {
    circle_t circle;
    const u32 status = circle_at(order, elevation, &circle);
    return status != EARSHOT_OK ? status : circle_gains(&circle, azimuth, gains);
}

} // namespace
} // namespace earshot

extern "C" {

u32 earshot_field_gains(u32 order, u32 azimuth, u32 elevation, s32 *gains) {
    return earshot::gains_of(order, azimuth, elevation, gains);
}
u32 earshot_field_circle_at(u32 order, u32 elevation, earshot_field_circle *circle) {
    return earshot::circle_at(order, elevation, circle);
}
u32 earshot_field_circle_gains(const earshot_field_circle *circle, u32 azimuth, s32 *gains) {
    return earshot::circle_gains(circle, azimuth, gains);
}

} // extern "C"
