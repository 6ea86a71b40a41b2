// Quotients: exact ones by integer division, fast ones by Newton-Raphson on the reciprocal.
#include "math/division.hpp"

#include "kernel/scalar.hpp"
#include "math/pair.hpp"

#include <algorithm>

namespace earshot {
namespace {

constexpr s32 with_sign(s32 value, bool negative) { return negative ? -value : value; }

// Left shifts that bring a magnitude to [2^30, 2^31); -1 for 2^31, which is halved without loss.
constexpr s32 norm_of_magnitude(u32 x) { return x == 0 ? 0 : std::countl_zero(x) - 1; }

constexpr u32 shift_magnitude(u32 x, s32 n) { return n >= 0 ? x << n : x >> -n; }

// floor(num 2^q / den), saturated to 0x7FFFFFFF, for non-zero operands. The result has
// q - na + nb + 1 bits, counted in 16 bits: more than 32 saturate and none or fewer give 0, so that
// the division is one of 64 bits by 32 whatever q is.
s32 magnitude_quotient(u32 num, u32 den, u32 q) {
    const s32 na = norm_of_magnitude(num);
    const s32 nb = norm_of_magnitude(den);
    const s16 bits = low_s16(s64{q} - na + nb + 1);
    if (bits < 1) return 0;
    if (bits > 32) return s32_max;
    const u64 a = u64{shift_magnitude(num, na)} << (bits - 1);
    return static_cast<s32>(std::min<u64>(a / shift_magnitude(den, nb), s32_max));
}

constexpr bool signs_differ(s32 a, s32 b) { return (a ^ b) < 0; }

// --- Newton-Raphson -----------------------------------------------------------------------------

// a x b >> (32 - scale), rounded after the low 16 bits of the product are dropped, saturated.
s32 mul_high(s32 a, s32 b, s32 scale) {
    const s64 product = shift_left(s64{a} * b >> 16, scale);
    return ARM_s32_saturate_s64((product + 32768) >> 16);
}

// 1 / d in Q30 for d in [0.5, 1), Q31. The start, 4/3, is wrong by a third at most; every step
// squares the error, so that after five only the rounding is left.
s32 reciprocal_q30(s32 d) {
    s32 x = s32_deposit_s16_h(21845);
    for (int step = 0; step < 5; ++step) {
        const s32 two_minus_dx = low_s32((s64{1} << 30) - mul_high(d, x, 0)); // Q29
        x = mul_high(x, two_minus_dx, 3);
    }
    return x;
}

// The same for audio_divide_sp, from the line 3 - 2 d, whose third is refined to the whole by the
// first step.
s64 reciprocal_q30_from_line(s32 d) {
    const s64 third = 0x40000000 + (s64{d} * -0x55555555 >> 32);
    const s64 two_thirds_minus_dy = 0xAAAAAAA8 - 8 * (d * third >> 32); // Q32
    s64 y = 9 * (third * two_thirds_minus_dy >> 32);
    for (int step = 0; step < 4; ++step) {
        y = y * (((s64{1} << 62) - d * y) >> 32) >> 29;
    }
    return y;
}

// --- Knots of 1 / m -----------------------------------------------------------------------------

// 1 / x in [0.5, 1], Q31, for x normalised to [2^30, 2^31).
s32 approximate_reciprocal(s32 x) {
    const s32 k = (x >> 27) - 8;
    const s64 fraction = (x >> 11) & 0xFFFF;
    const s64 slope = s64{invTable[k + 1]} - invTable[k];
    return low_s32(invTable[k] * s64{65536} + slope * fraction);
}

constexpr s64 no_reciprocal = pair(-1, -1);

} // namespace

s32 divide_qx(s32 num, s32 den, u32 q) {
    if (num == 0) return 0;
    const bool negative = signs_differ(num, den);
    if (magnitude(num) == magnitude(den)) {
        const s32 one = q == 31 ? s32_max : low_s32(shift_left(1, q & 0xFFFF));
        return with_sign(one, negative);
    }
    const s32 quotient = den == 0 ? -1 : magnitude_quotient(magnitude(num), magnitude(den), q);
    return with_sign(quotient, negative);
}

s64 divide_dp(s64 num, s64 den, s16 q) {
    if (den == 0) return 0;
    const s16 nn = s16_norm_s64(num);
    const u64 den_magnitude = magnitude(den);
    // One more than s16_norm_s64 can say: 2^63 has no redundant bit and no sign bit.
    const s32 nd = std::countl_zero(den_magnitude) - 33;
    const u64 d = nd >= 0 ? den_magnitude << nd : den_magnitude >> -nd;
    const s32 reciprocal = reciprocal_q30(static_cast<s32>(d));
    const s32 mantissa = mul_high(reciprocal, low_s32(shift(num, nn)), 0); // Q29
    const s16 count = low_s16(q - nn + nd);
    const s32 signed_mantissa = with_sign(mantissa, den < 0);
    return ARM_s32_shl_s32_sat(signed_mantissa, count);
}

namespace {

s32 divide_int32_qx(s32 num, s32 den, u32 q) {
    if (num == 0) return 0;
    if (den == 0) return -1;
    const s32 quotient = magnitude_quotient(magnitude(num), magnitude(den), q);
    return with_sign(quotient, signs_differ(num, den));
}

s32 divide_int32(s32 num, s32 den) {
    if (den == 0) {
        // What one step of a restoring division leaves when the divisor cannot be normalised.
        if (num == 0) return 1;
        return magnitude(num) >= 0x40000000 ? with_sign(1, num < 0) : 0;
    }
    const u32 quotient = std::min<u32>(magnitude(num) / magnitude(den), s32_max);
    return with_sign(static_cast<s32>(quotient), signs_differ(num, den));
}

s32 audio_divide_sp(s32 num, s32 den, s32 q) {
    if (den == 0) return s32_max ^ (num >> 31);
    const s32 n1 = ARM_s16_norm_s32(num);
    const s32 n2 = norm_of_magnitude(magnitude(den));
    const s32 d = static_cast<s32>(shift_magnitude(magnitude(den), n2));
    const s32 reciprocal = ARM_s32_saturate_s64(reciprocal_q30_from_line(d));
    const s64 product =
        s64{den < 0 ? ARM_s32_neg_s32_sat(reciprocal) : reciprocal} * low_s32(shift_left(num, n1));
    const s64 s = s64{n2} - n1 - q + 1;
    return s > 30 ? shift_left_sat32(product, s - 31)
                  : ARM_s32_saturate_s64(shift_right(product, 31 - s));
}

s32 s32_div_s32_s32_normalized(s32 num, s32 den, u16 *exp) {
    if (num == 0) return *exp = 0, 0;
    if (den == 0) return *exp = 15, with_sign(65535, num < 0);
    const s32 a = static_cast<s32>(std::min<u32>(magnitude(num), s32_max));
    const s32 b = static_cast<s32>(std::min<u32>(magnitude(den), s32_max));
    const s32 nn = ARM_s16_norm_s32(a);
    const s32 nd = ARM_s16_norm_s32(b);
    const s16 mantissa =
        ARM_s16_div_s16_s16_sat(ARM_s16_extract_s32_h(ARM_s32_shl_s32_sat(a, nn - 1)),
                                ARM_s16_extract_s32_h(ARM_s32_shl_s32_sat(b, nd)));
    *exp = static_cast<u16>(nd - nn + 1);
    return with_sign(mantissa, signs_differ(num, den));
}

s32 s32_div_s32_s32_sat(s32 num, s32 den, s32 q) {
    if (num == 0) return 0;
    if (den == 0) {
        return ARM_s32_shl_s32_sat(q > 0 ? ARM_s32_shr_s32_sat(32768, q) : s32{s16_max}, 16);
    }
    u16 exponent = 0;
    const s32 mantissa = s32_div_s32_s32_normalized(num, den, &exponent);
    return ARM_s32_shl_s32_sat(ARM_s32_shl_s32_sat(mantissa, 16), low_s16(s64{exponent} - q));
}

s64 dsplib_approx_invert(s32 x) {
    if (x < 1) return no_reciprocal;
    const s32 n = ARM_s16_norm_s32(x);
    return pair(approximate_reciprocal(x << n), n - 31);
}

s64 dsplib_approx_divide(s32 num, s32 den) {
    if (den < 1) return no_reciprocal;
    const s32 n = ARM_s16_norm_s32(den);
    const s32 m = ARM_s16_norm_s32(num);
    const s16 reciprocal = ARM_s16_round_s32_sat(approximate_reciprocal(den << n));
    const s32 quotient = ARM_s32_mult_s32_s16_rnd_sat(low_s32(shift_left(num, m)), reciprocal);
    return pair(quotient, n - m - 30);
}

s64 dsplib_newtons_invert(s32 x) {
    if (x <= 0) return 0;
    const s32 n = ARM_s16_norm_s32(x);
    const s64 h = (x << n) >> 16;   // Q15
    constexpr s64 two = 0x40008000; // in Q29, with half a unit of what >> 16 keeps
    s64 y = (((h * -21845 + two) >> 16) * 174760 + 32768) >> 16; // Q14
    for (int step = 0; step < 4; ++step) y = (y * ((two - h * y) >> 16) * 8 + 32768) >> 16;
    return pair(low_s32(y), n);
}

} // namespace

} // namespace earshot

extern "C" {

s16 invTable[9] = {32690, 29066, 26171, 23798, 21820, 20145, 18709, 17463, 16373};

s32 divide_qx(s32 num, s32 den, u32 q) { return earshot::divide_qx(num, den, q); }
s32 divide_int32_qx(s32 num, s32 den, u32 q) { return earshot::divide_int32_qx(num, den, q); }
s32 divide_int32(s32 num, s32 den) { return earshot::divide_int32(num, den); }
s64 divide_dp(s64 num, s64 den, s16 q) { return earshot::divide_dp(num, den, q); }
s32 audio_divide_sp(s32 num, s32 den, s32 q) { return earshot::audio_divide_sp(num, den, q); }
s32 s32_div_s32_s32_normalized(s32 num, s32 den, u16 *exp) {
    return earshot::s32_div_s32_s32_normalized(num, den, exp);
}
s32 s32_div_s32_s32_sat(s32 num, s32 den, s32 q) {
    return earshot::s32_div_s32_s32_sat(num, den, q);
}
s64 dsplib_approx_invert(s32 x) { return earshot::dsplib_approx_invert(x); }
s64 dsplib_approx_divide(s32 num, s32 den) { return earshot::dsplib_approx_divide(num, den); }
s64 dsplib_newtons_invert(s32 x) { return earshot::dsplib_newtons_invert(x); }

} // extern "C"
