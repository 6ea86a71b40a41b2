// Roots, logarithms and exponentials.
//
// Two functions do most of the work, the binary logarithm and the power of two of 64-bit
// fixed-point numbers: each a table of 64 steps and a few terms of a series within the step, good
// to 2^-39. What is left to the others is the change of base and one rounding at the end.
#include "math/power.hpp"

#include "kernel/scalar.hpp"
#include "math/pair.hpp"
#include "math/tables.hpp"

#include <algorithm>

namespace earshot {
namespace {

// --- 64-bit numbers -----------------------------------------------------------------------------

// Stands for value / 2^q.
struct number {
    s64 value, q;
};

constexpr s64 one_q62 = s64{1} << 62;
constexpr s64 log2_e_q62 = 0x5C551D94AE0BF85E;
constexpr u64 log2_e_q63 = 0xB8AA3B295C17F0BC;
constexpr u64 log2_10_q62 = 0xD49A784BCD1B8AFE;
constexpr u64 log10_2_q64 = 0x4D104D427DE7FBCC;
constexpr u64 ln_2_q64 = 0xB17217F7D1CF79AC;
constexpr u64 sqrt_half_q64 = 0xB504F333F9DE6484;

// floor(a b / 2^64) by halves: there is no wider type on 32-bit targets.
constexpr s64 mul_high(s64 a, u64 b) {
    const s64 a_high = a >> 32, b_low = static_cast<u32>(b), b_high = static_cast<s64>(b >> 32);
    const u64 a_low = static_cast<u32>(a);
    const s64 middle = a_high * b_low + static_cast<s64>(a_low * static_cast<u64>(b_low) >> 32);
    const u64 rest = a_low * static_cast<u64>(b_high) + static_cast<u32>(middle);
    return a_high * b_high + (middle >> 32) + static_cast<s64>(rest >> 32);
}
constexpr s64 mul_high(s64 a, s64 b) { return mul_high(a, static_cast<u64>(b)); } // b >= 0

constexpr number times(const number &a, u64 b_q64) { return {mul_high(a.value, b_q64), a.q}; }

// x c, exact to 2^-61 of it.
constexpr number product(s32 x, u64 c, s64 q) {
    const s32 n = 32 + ARM_s16_norm_s32(x);
    return {mul_high(shift_left(x, n), c), q + n - 64};
}

// In another Q format, rounded half up, saturated at 64 bits.
constexpr s64 in_format(const number &a, s64 q) {
    const s64 n = std::min<s64>(q - a.q, 63);
    if (n < 0) return n < -63 ? 0 : shift_right_rounded(a.value, static_cast<s32>(-n));
    const s64 most = s64_max >> n;
    if (a.value > most) return s64_max;
    return a.value < -most - 1 ? -s64_max - 1 : shift_left(a.value, n);
}

// The word that stands for a with exponent b.
constexpr s32 with_exponent(const number &a, s16 b) {
    return ARM_s32_saturate_s64(in_format(a, s64{31} - b));
}

// --- Logarithm and power of base 2 --------------------------------------------------------------

// log2 of (x, a), x > 0. Where it is small it has all its bits behind the point, so that next to
// 1.0 the relative error stays small. From 2^16 on, where no result can follow, it stays.
number binary_log(s32 x, s64 a) {
    const s32 n = ARM_s16_norm_s32(x) + 1;
    const u32 m = static_cast<u32>(x) << n; // Q31, 1 to 2
    const u32 knot = ((m >> 24) + 1) >> 1;  // the nearest, Q6
    const u64 reciprocal = (u32{1} << 22) / knot;
    // r = m reciprocal - 1, below 1/127: log2(1 + r) = log2(e) (r - r^2/2 + r^3/3 - ...)
    const s64 r_q47 = static_cast<s64>(m * reciprocal) - (s64{1} << 47);
    const s64 r_q64 = shift_left(r_q47, 17);
    s64 p = log2_e_q62 / 5;
    for (s64 term = 4; term >= 1; --term) p = log2_e_q62 / term - mul_high(r_q64, p);
    const s64 part_q62 = log2_of_knots[knot - 64] + mul_high(r_q64, p);
    const s64 whole = std::clamp<s64>(a - n, -65536, 65536);
    const s32 q = whole == 0 || whole == -1 ? 62 : 46;
    return {whole * (s64{1} << q) + (part_q62 >> (62 - q)), q};
}

// 2^a with 60 bits behind the leading one. From 2^31 on exponents stay.
number power_of_two(const number &a) {
    const s64 exponent = in_format(a, 32);
    const u32 fraction = static_cast<u32>(exponent);
    const s64 rest_q64 = s64{fraction & 0x3FFFFFF} << 32;
    const s64 x_q64 = mul_high(rest_q64, ln_2_q64);
    s64 p = one_q62; // e^x = 1 + x (1 + x/2 (1 + x/3 (1 + x/4)))
    for (s64 term = 4; term >= 1; --term) p = one_q62 + mul_high(x_q64, p) / term;
    return {mul_high(powers_of_two[fraction >> 26], p), 60 - (exponent >> 32)};
}

// --- Pairs --------------------------------------------------------------------------------------

// The mantissa of a power, 2^30 to 2^31; its Q format is 30 less than the power's.
constexpr s32 mantissa(const number &power) {
    return ARM_s32_saturate_s64(shift_right_rounded(power.value, 30));
}

// --- Interpolation ------------------------------------------------------------------------------

// table[k] 2^bits + the share f of the step to the next entry, 0 <= f < 2^bits.
s64 interpolate(const s32 *table, s32 k, s64 f, s32 bits) {
    return (s64{table[k]} << bits) + (s64{table[k + 1]} - table[k]) * f;
}

// 1 / sqrt(m) for m = 0.5 to 1, Q31.
s64 inverse_root_q60(s32 m) {
    const s64 y_q62 = interpolate(inv_sqrt_table_65, (m >> 24) - 64, m & 0xFFFFFF, 24) << 8;
    const s64 my_q62 = mul_high(y_q62, u64{static_cast<u32>(m)} << 33);
    const s64 square_q61 = mul_high(my_q62, 2 * static_cast<u64>(y_q62));
    return mul_high(y_q62, 3 * (one_q62 / 2) - square_q61); // y (3 - m y^2) / 2
}

// --- The functions ------------------------------------------------------------------------------

s32 sqrt_compute_Nth(s32 x, s16 a, s16 b, s32 n) {
    if (x <= 0 || n < 1) return 0;
    const number log = binary_log(x, a);
    return with_exponent(power_of_two({log.value / n, log.q}), b);
}

s32 inv_sqrt_65(s32 x, s16 a, s16 b) {
    if (x <= 0) return s32_max;
    const s32 n = ARM_s16_norm_s32(x);
    const s32 e = a - n;
    const number root = {inverse_root_q60(x << n), s64{60} + (e >> 1)};
    return with_exponent(e % 2 == 0 ? root : times(root, sqrt_half_q64), b);
}

s32 log_compute(s32 x, s16 a, s16 b) {
    return x <= 0 ? s32_min : with_exponent(times(binary_log(x, a), ln_2_q64), b);
}

s32 exp_compute(s32 x, s16 a, s16 b) {
    return with_exponent(power_of_two(product(x, log2_e_q63, s64{31 + 63} - a)), b);
}

s64 exp_compute_variable_q(s32 x, s32 q) {
    const number power = power_of_two(product(x, log2_e_q63, s64{q} + 63));
    return pair(mantissa(power), ARM_s32_saturate_s64(power.q - 30));
}

s32 log2_lut(s32 x) {
    if (x <= 0) return s32_min;
    const s32 n = ARM_s16_norm_s32(x);
    const s32 m = x << n; // Q30, 1 to 2
    const s64 part_q53 = interpolate(log2table, (m >> 22) - 256, m & 0x3FFFFF, 22);
    return ((30 - n) << 26) + low_s32(shift_right_rounded(part_q53, 53 - 26));
}

s32 dsplib_log10(s32 x, s32 a) {
    if (x <= 0) return s32_min;
    return ARM_s32_saturate_s64(in_format(times(binary_log(x, a), log10_2_q64), 26));
}

s32 log10_fixed(s32 x) { return dsplib_log10(x, 31 - 15); }

s64 dsplib_exp10(s32 x) {
    const number power = power_of_two(product(x, log2_10_q62, 26 + 62));
    return pair(mantissa(power), low_s32(31 - (power.q - 30)));
}

} // namespace

s32 sqrt_compute(s32 x, s16 a, s16 b) {
    if (x < 1) return 0;
    // x 2^a = m 2^(2 half), m from 0.25 to 1.
    const s32 half = (a - ARM_s16_norm_s32(x) - 1) >> 1;
    const s32 m = ARM_s32_shl_s32_sat(x, a - 2 * half - 2);
    const s16 m_q15 = ARM_s16_round_s32_sat(m);
    // sqrt(m) / 2 = 0.10836 + 4 m (0.16515 + 4 m (-0.025747 + 0.00894 m))
    const auto times_4m = [=](s32 v) {
        return ARM_s32_shl_s32_sat(ARM_s32_mult_s32_s16_rnd_sat(v, m_q15), 2);
    };
    s32 p = ARM_s32_mult_s32_s16_rnd_sat(m, 293);
    p = times_4m(ARM_s32_add_s32_s32_sat(p, low_s32(0xFCB45476)));
    p = times_4m(ARM_s32_add_s32_s32_sat(p, 0x15239E51));
    p = ARM_s32_add_s32_s32_sat(p, 0x0DDECD39);
    const s32 k = b - half;
    const s32 rounding = ARM_s32_shl_s32_sat(1, k - 3);
    return ARM_s32_shl_s32_sat(ARM_s32_add_s32_s32_sat(p, rounding), 2 - k);
}

s32 exp10_fixed(s32 x) {
    const s64 exponent_q23 = s64_mult_s32_s16_shift(x, 27213, 0); // log2(10) in Q13
    const s32 whole = low_s16(exponent_q23 >> 23);
    // 2^-g by a parabola, g = 1 - 2^-16 - fraction.
    const u32 g = ~static_cast<u32>(exponent_q23 >> 7) & 0xFFFF;
    const u32 mantissa_q31 = (u32{32701} << 16) - 21871 * g + (g * g >> 16) * 5615;
    return ARM_s32_shl_s32_sat(static_cast<s32>(mantissa_q31), whole - 15);
}

} // namespace earshot

extern "C" {

s32 sqrt_compute(s32 x, s16 a, s16 b) { return earshot::sqrt_compute(x, a, b); }
s32 ARM_sqrt_compute(s32 x, s16 a, s16 b) { return earshot::sqrt_compute(x, a, b); }
s32 sqrt_compute_Nth(s32 x, s16 a, s16 b, s32 n) { return earshot::sqrt_compute_Nth(x, a, b, n); }
s32 inv_sqrt_65(s32 x, s16 a, s16 b) { return earshot::inv_sqrt_65(x, a, b); }
s32 log_compute(s32 x, s16 a, s16 b) { return earshot::log_compute(x, a, b); }
s32 ARM_log_compute(s32 x, s16 a, s16 b) { return earshot::log_compute(x, a, b); }
s32 exp_compute(s32 x, s16 a, s16 b) { return earshot::exp_compute(x, a, b); }
s64 exp_compute_variable_q(s32 x, s32 q) { return earshot::exp_compute_variable_q(x, q); }
s32 log2_lut(s32 x) { return earshot::log2_lut(x); }
s32 exp10_fixed(s32 x) { return earshot::exp10_fixed(x); }
s32 log10_fixed(s32 x) { return earshot::log10_fixed(x); }
s64 dsplib_exp10(s32 x) { return earshot::dsplib_exp10(x); }
s32 dsplib_log10(s32 x, s32 a) { return earshot::dsplib_log10(x, a); }

} // extern "C"
