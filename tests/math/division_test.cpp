/* Division: exact where it is exact, within its error bounds and with pinned bits where not. */
#include "../support/digest.hpp"
#include "../support/operands.hpp"

#include <earshot/kernel.h>
#include <earshot/math.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace earshot::test {
namespace {

/* num 2^q / den for den != 0, truncated toward zero and saturated symmetrically. */
s64 quotient(s64 num, s64 den, u32 q) {
    return std::clamp<s64>(num * (s64{1} << q) / den, -INT32_MAX, INT32_MAX);
}

TEST(exact_division, truncates_and_saturates) {
    operand_source source;
    for (int round = 0; round < rounds; ++round) {
        const s32 num = source.next<s32>(), other = source.next<s32>();
        const s32 den = source.below(8) || num == INT32_MIN ? other : -num;
        const u32 q = static_cast<u32>(source.below(32));
        const s64 sign = num < 0 ? -1 : num > 0, large = std::abs(s64{num}) >> 30 != 0;
        EXPECT_EQ(divide_qx(num, den, q), den ? quotient(num, den, q) : -sign);
        EXPECT_EQ(divide_int32_qx(num, den, q), den ? quotient(num, den, q) : num ? -1 : 0);
        EXPECT_EQ(divide_int32(num, den), den ? quotient(num, den, 0) : num ? sign * large : 1);
        ASSERT_FALSE(HasFailure()) << num << " / " << den << " q " << q;
    }
    EXPECT_EQ(divide_int32(-(1 << 30), 0), -1);
    EXPECT_EQ(divide_qx(-5, 5, 0x10004), -16) << "equal magnitudes take 16 bits of q";
}

/* How far value lies from floor(exact), saturated, beyond what flooring explains. */
double excess(s64 value, double exact) {
    const double error = static_cast<double>(value) - std::clamp(exact, -0x1p31, 0x1p31 - 1);
    return std::max(error, -1 - error);
}

/* Mostly shifts that make quotients of 34 bits down to none. The quotient's mantissa, Q29 between
 * 2^28 and 2^30, is good to 6.5 units; then it is shifted. The digest pins the bits left open. */
TEST(divide_dp, keeps_its_error_bound_and_its_bits) {
    operand_source source(1);
    digest bits;
    for (int round = 0; round < 10 * rounds; ++round) {
        const s64 num = source.next<s64>(), den = source.next<s64>();
        const s32 nn = s16_norm_s64(num);
        const s32 nd = den == INT64_MIN ? -33 : s16_norm_s64(std::abs(den));
        const s32 fitting = nn - nd + source.between(-34, 3);
        const s16 q = static_cast<s16>(source.below(16) ? fitting : source.next<s16>());
        const s32 shift = static_cast<s16>(q - nn + nd);
        const s64 result = divide_dp(num, den, q);
        bits.add(result);
        const double ratio = den == 0 ? 0 : static_cast<double>(num) / static_cast<double>(den);
        const double exact = std::ldexp(ratio, 29 + nn - nd + shift);
        const double bound = std::min(std::ldexp(6.5, shift), std::ldexp(std::abs(exact), -26));
        ASSERT_LE(excess(result, exact), bound) << num << " / " << den << " q " << q;
    }
    EXPECT_EQ(bits.value(), 0x57E7C439C535ABD7u);
}

TEST(audio_divide_sp, keeps_its_error_bound_and_its_bits) {
    operand_source source(2);
    digest bits;
    for (int round = 0; round < 10 * rounds; ++round) {
        const s32 num = source.next<s32>(), den = source.next<s32>();
        const s32 fitting = ARM_s16_norm_s32(den) - ARM_s16_norm_s32(num) + source.between(-3, 34);
        const s32 q = source.below(16) ? fitting : source.next<s32>();
        const s64 result = audio_divide_sp(num, den, q);
        bits.add(result);
        const double ratio = den == 0 ? (num < 0 ? -INFINITY : INFINITY) : double{1} * num / den;
        const double exact = std::ldexp(ratio, 31 - std::clamp(q, -169, 200));
        const double bound = std::isinf(exact) ? 0 : std::ldexp(std::abs(exact), -26);
        ASSERT_LE(excess(result, exact), bound) << num << " / " << den << " q " << q;
    }
    EXPECT_EQ(bits.value(), 0xAAF5A7AAF13FC32Cu);
}

s64 pair(s64 low, s64 high) { return high * (s64{1} << 32) + (low & 0xFFFFFFFF); }

/* Operands as the formulas want them; the primitive that normalises has its own test. */
s64 magnitude(s64 v) { return std::min<s64>(std::abs(v), INT32_MAX); }
s32 norm(s64 v) { return ARM_s16_norm_s32(static_cast<s32>(v)); }
s64 normal(s64 v) { return v * (s64{1} << norm(v)); }

/* 15 bits of num / den; the numerator stands one bit lower. */
s64 mantissa(s64 num, s64 den) {
    const s64 n = normal(magnitude(num)) / 131072, d = normal(magnitude(den)) / 65536;
    const s64 ratio = num == 0 ? 0 : den == 0 ? 65535 : 32768 * n / std::max<s64>(d, 1);
    return (num < 0) == (den < 0) ? ratio : -ratio;
}

/* 1 / x, x in [2^30, 2^31): by a line between knots, and by Newton's steps. */
s32 by_knots(s64 x) {
    const s64 k = x / (1 << 27) - 8, r = x / 2048 % 65536;
    return static_cast<s32>(invTable[k] * 65536 + (invTable[k + 1] - invTable[k]) * r);
}
s64 by_newton(s64 x) {
    const s64 h = x / 65536;
    s64 y = (((0x40008000 - h * 21845) >> 16) * 174760 + 32768) >> 16;
    for (int step = 0; step < 4; ++step) y = (y * ((0x40008000 - h * y) >> 16) * 8 + 32768) >> 16;
    return y;
}

TEST(short_division, follows_its_formulas) {
    const s16 knots[] = {32690, 29066, 26171, 23798, 21820, 20145, 18709, 17463, 16373};
    EXPECT_TRUE(std::equal(knots, knots + 9, invTable));
    operand_source source;
    for (int round = 0; round < rounds; ++round) {
        invTable[0] = static_cast<s16>(knots[0] - (round + 1) % 2); /* the table may be tuned */
        const s32 num = source.next<s32>(), den = source.next<s32>(), q = source.count();
        const s64 m = mantissa(num, den);
        const s32 exponent = !num ? 0 : !den ? 15 : norm(magnitude(den)) - norm(magnitude(num)) + 1;
        const s64 by_zero = q > 0 ? (32768 >> std::min(q, 16)) * 65536 : 32767 * 65536;
        const s16 shift = static_cast<s16>(s64{exponent} - q);
        u16 stored = 77;
        EXPECT_EQ(s32_div_s32_s32_normalized(num, den, &stored), m);
        EXPECT_EQ(static_cast<s16>(stored), exponent);
        EXPECT_EQ(s32_div_s32_s32_sat(num, den, q),
                  num && !den ? by_zero : ARM_s32_shl_s32_sat(static_cast<s32>(m * 65536), shift));
        const s64 x = normal(std::max(den, 1));
        const s64 product = ARM_s32_mult_s32_s16_rnd_sat(static_cast<s32>(normal(num)),
                                                         ARM_s16_round_s32_sat(by_knots(x)));
        const s32 nd = norm(den), nn = norm(num);
        EXPECT_EQ(dsplib_approx_invert(den), den < 1 ? -1 : pair(by_knots(x), nd - 31));
        EXPECT_EQ(dsplib_approx_divide(num, den), den < 1 ? -1 : pair(product, nd - nn - 30));
        EXPECT_EQ(dsplib_newtons_invert(den), den < 1 ? 0 : pair(by_newton(x), nd));
        ASSERT_FALSE(HasFailure()) << num << " / " << den << " q " << q;
    }
}

} // namespace
} // namespace earshot::test
