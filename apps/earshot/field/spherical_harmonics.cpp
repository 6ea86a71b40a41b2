// A harmonic of degree n and index m (channel n^2 + n + m) is the product of a function of the
// elevation and cos(m azimuth), or sin(|m| azimuth) for m < 0. The functions of the elevation are
// the associated Legendre functions of sin(elevation) without the Condon-Shortley phase, times
// sqrt((2 - [m = 0]) (n - |m|)! / (n + |m|)!).

#include "field/spherical_harmonics.hpp"

#include <cmath>

#include <earshot/math.h>

#include "scene_library.hpp"

namespace earshot_tool {

namespace {

constexpr s64 one = s64{1} << 30;

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

// Where the harmonic of degree n and index m is in the order of channels.
std::size_t channel_of(int n, int m) {
    const int channel = n * n + n + m;
    return static_cast<std::size_t>(channel);
}

// The function of the elevation for degree n and index m >= 0; s and c are its sine and cosine.
s64 elevation_function(int n, int m, s64 s, s64 c) {
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

} // namespace

u32 turn_of_degrees(s64 degrees_q16) {
    constexpr s64 turn_q16 = s64{360} << 16;
    const s64 within = ((degrees_q16 % turn_q16) + turn_q16) % turn_q16;
    return static_cast<u32>(((within << 32) + turn_q16 / 2) / turn_q16);
}

// The remainder is exact.
u32 turn_of_azimuth(double degrees) {
    return turn_of_degrees(degrees_q16(std::fmod(degrees, 360.0)));
}

// The quarter turn is folded before the library is asked, so that the zeros are zeros and opposite
// directions have opposite gains to the last bit.
s32 sine(u32 turn) {
    const u32 quarter = turn >> 30;
    const s64 within = turn & 0x3FFFFFFF;
    const s64 folded = (quarter & 1) != 0 ? one - within : within; // quarter turns, Q30
    const s64 radians = times(folded, EARSHOT_HALF_PI_Q31);
    const s64 magnitude = rounded_shift(high_precision_sin(radians), 1);
    return static_cast<s32>(quarter < 2 ? magnitude : -magnitude);
}

s32 cosine(u32 turn) { return sine(turn + 0x40000000); }

source_gains::source_gains(int order, u32 elevation) : order_(order) {
    const s64 s = sine(elevation);
    const s64 c = cosine(elevation);
    for (int n = 0; n <= order; ++n)
        for (int m = -n; m <= n; ++m)
            elevation_part_[channel_of(n, m)] = elevation_function(n, m < 0 ? -m : m, s, c);
}

void source_gains::at(u32 azimuth, std::array<s32, most_channels> &gains) const {
    // By index m, with the one of 0 in the middle.
    std::array<s64, 2 * highest_order + 1> around;
    s64 *const middle = around.data() + highest_order;
    middle[0] = one;
    for (int m = 1; m <= order_; ++m) {
        const u32 multiple = azimuth * static_cast<u32>(m);
        middle[m] = cosine(multiple);
        middle[-m] = sine(multiple);
    }
    for (int n = 0; n <= order_; ++n) {
        for (int m = -n; m <= n; ++m) {
            const std::size_t channel = channel_of(n, m);
            gains[channel] = static_cast<s32>(times(elevation_part_[channel], middle[m]));
        }
    }
}

} // namespace earshot_tool
