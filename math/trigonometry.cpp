// Trigonometry by table and linear interpolation.
#include "math/trigonometry.hpp"

#include "kernel/scalar.hpp"
#include "math/division.hpp"
#include "math/tables.hpp"

namespace earshot {
namespace {

// --- Looking up ---------------------------------------------------------------------------------

constexpr u64 last_index = 4096;

// Between a and b with weight f / 2048, f = 1 to 2047, rounded half up.
u32 interpolate(u32 f, u32 a, u32 b) {
    const s64 sum = s64{INTERP_TABLE[f]} * b + s64{INTERP_TABLE[2048 - f]} * a;
    return static_cast<u32>((sum + (s64{1} << 30)) >> 31);
}

// The entry of a 4097-entry table at a position with R fraction bits. The fraction is rounded to
// 11 bits, so that positions within half a step of an entry give that entry itself.
template <int R, class T> u32 look_up(const T *table, u64 position) {
    const u64 i = position >> R;
    if (i >= last_index) return static_cast<u32>(table[last_index]);
    const u32 fraction = static_cast<u32>(position & ((u64{1} << R) - 1));
    const u32 f = (fraction + (1u << (R - 12))) >> (R - 11);
    const u32 here = static_cast<u32>(table[i]);
    const u32 next = static_cast<u32>(table[i + 1]);
    return f == 0 ? here : f >= 2048 ? next : interpolate(f, here, next);
}

// --- Small family -------------------------------------------------------------------------------

enum column { cosine = 0, sine = 1 };

// Between the pairs of COSSINTAB, which cover half a turn (2^23 units) in 256 steps.
s32 half_turn_value(u32 angle, column c) {
    const u32 k = (angle >> 15) & 255;
    const s16 fraction = static_cast<s16>(angle & 0x7FFF);
    const s16 here = COSSINTAB[k][c];
    const s16 slope = low_s16(COSSINTAB[k + 1][c] - here);
    return low_s32(s64_mac_s64_s16_s16_shift_sat(s32_deposit_s16_h(here), slope, fraction, 1));
}

constexpr bool in_second_half_turn(u32 angle) { return (angle >> 23 & 1) != 0; }

// constant + x y in Q15, saturated.
constexpr s16 mac_q15(s16 constant, s16 x, s16 y) {
    return ARM_s16_extract_s32_h(
        low_s32(s64_mac_s64_s16_s16_shift_sat(s32_deposit_s16_h(constant), x, y, 1)));
}

s32 dsplib_sin(s32 angle) {
    const u32 u = magnitude(angle);
    const s32 v = half_turn_value(u, sine);
    const bool negative = in_second_half_turn(u) != (angle < 0);
    return negative ? ARM_s32_neg_s32_sat(v) : v;
}

s32 dsplib_cos(s32 angle) {
    const u32 u = magnitude(angle);
    const s32 v = half_turn_value(u, cosine);
    return in_second_half_turn(u) ? ARM_s32_neg_s32_sat(v) : v;
}

s32 dsplib_atan(s32 x) {
    // atan(x) / pi = x (0.31702 - 0.09305 x^2 + 0.026337 x^4)
    const s16 x_q15 = low_s16(x);
    const s16 square = s16_mult_s16_s16_shift_sat(x_q15, x_q15);
    const s16 t = mac_q15(-3049, 863, square);
    return mac_q15(10388, t, square) * x_q15;
}

} // namespace

s32 sine_of_turns(u32 angle) {
    constexpr u32 quarter = u32{1} << 30;
    const u32 in_half = angle & (2 * quarter - 1);
    const u32 position = in_half > quarter ? 2 * quarter - in_half : in_half;
    const s32 v = ARM_s32_saturate_s64(look_up<18>(SIN_TABLE, position));
    return angle >= 2 * quarter ? -v : v;
}

s32 high_precision_sin(s64 angle) {
    const u64 turned = magnitude(angle);
    const u64 half_turns = turned / pi_q31;
    u64 a = turned % pi_q31;
    if (a > half_pi_q31) a = pi_q31 - a;
    // 2^31 / pi: b is in Q30 radians, the position in quarter turns in Q30.
    const u32 b = static_cast<u32>(a >> 1);
    const s64 position = s64_mult_s32_u32_shift(0x28BE60DC, b, 2);
    const s32 v = ARM_s32_saturate_s64(look_up<18>(SIN_TABLE, static_cast<u64>(position)));
    const bool negative = (angle < 0) != (half_turns % 2 != 0);
    return negative ? ARM_s32_neg_s32_sat(v) : v;
}

s64 high_precision_acos(s32 x) {
    constexpr u32 fine_from = 0x7D080000;
    constexpr u32 fine_origin = 0x7D013A93; // 0.9766 in Q31
    constexpr s32 fine_scale = 0x55785785;  // 4096 / 0.0234 in Q13
    const u32 a = u32_abs_s32_sat(x);
    u32 v = 0;
    if (a < fine_from) {
        // The coarse table sees 12 bits of the fraction, the fine one all 19.
        v = look_up<19>(ACOS_TABLE, a & ~u32{0x7F});
    } else {
        const s64 position = s64_mult_s32_u32_shift(fine_scale, a - fine_origin, 7);
        v = look_up<19>(ACOS_TABLE_HIGH_RES, static_cast<u64>(position));
    }
    return x >= 0 ? s64{v} : pi_q31 - v;
}

s64 high_precision_atan2(s32 y, s32 x) {
    if (x == 0) return y > 0 ? half_pi_q31 : y < 0 ? -half_pi_q31 : 0;
    const s64 ay = u32_abs_s32_sat(y);
    const s64 ax = u32_abs_s32_sat(x);
    // The numerator stands one bit below the denominator, so that their quotient is below 1.
    const s32 ny = s16_norm_s64(ay) - 1;
    const s32 nx = s16_norm_s64(ax);
    const s64 normalised = divide_dp(shift(ay, ny), shift(ax, nx), 2);
    const u64 ratio = static_cast<u64>(shift(normalised, nx - ny)); // |y| / |x| in Q31
    const bool below_4 = ratio >> 33 == 0;
    const s64 theta =
        below_4 ? look_up<21>(ATAN_TABLE, ratio) : look_up<24>(ATAN_TABLE_LOW_RES, ratio);
    if (x < 0) return y < 0 ? theta - pi_q31 : pi_q31 - theta;
    return y < 0 ? -theta : theta;
}

} // namespace earshot

extern "C" {

s32 high_precision_sin(s64 angle) { return earshot::high_precision_sin(angle); }
s64 high_precision_acos(s32 x) { return earshot::high_precision_acos(x); }
s64 high_precision_atan2(s32 y, s32 x) { return earshot::high_precision_atan2(y, x); }
u32 high_precision_calculate_interpolation_2048(u32 f, u32 a, u32 b) {
    return f == 0 ? a : f >= 2048 ? b : earshot::interpolate(f, a, b);
}
s32 dsplib_sin(s32 angle) { return earshot::dsplib_sin(angle); }
s32 dsplib_cos(s32 angle) { return earshot::dsplib_cos(angle); }
s32 dsplib_atan(s32 x) { return earshot::dsplib_atan(x); }

} // extern "C"
