/* Roots, logarithms and exponentials against the true functions: errors in units of the result. */
#include "../support/digest.hpp"
#include "../support/operands.hpp"

#include <earshot/math.h>

#include <algorithm>
#include <cmath>

namespace earshot::test {
namespace {

using number = long double;

const number log2_e = 1 / std::log(number{2}), log2_10 = std::log2(number{10});

s32 low(s64 pair) { return static_cast<s32>(pair); }
s32 high(s64 pair) { return static_cast<s32>(pair >> 32); }
number saturated(number v) { return std::clamp<number>(v, INT32_MIN, INT32_MAX); }

/* In units of the result. */
number error(s32 actual, number exact) { return std::abs(number(actual) - saturated(exact)); }
/* 2^e with exponent b. */
number power(number e, int b) { return saturated(std::exp2(e + 31 - b)); }

struct operands : operand_source {
    s16 any_exponent() { return next<s16>(); }
    s16 small_exponent() { return static_cast<s16>(between(-40, 40)); }
    s32 positive() {
        const s32 v = next<s32>();
        return v > 0 ? v : v < -1 ? ~v : 1;
    }
    /* One at which 2^e has 28 to 31 bits, or any. */
    s16 exponent_for(number e) {
        const number fits = std::ceil(e) + between(0, 3);
        return below(4) ? static_cast<s16>(std::clamp<number>(fits, -32768, 32767))
                        : any_exponent();
    }
};

TEST(powers, tables_follow_their_rules) {
    for (int k = 0; k <= 256; ++k)
        EXPECT_EQ(log2table[k], saturated(std::round(std::log2(1 + k / number{256}) * 0x1p31L)));
    for (int k = 0; k <= 64; ++k)
        EXPECT_EQ(inv_sqrt_table_65[k],
                  std::round(0x1p30L / std::sqrt(number{0.5} + k / number{128})));
    for (int k = 0; k <= 30; ++k) {
        EXPECT_EQ(exp_l[k], (k + 1) / 2 * 2 - 1);
        EXPECT_EQ(exp_r[k], 16 - (k + 1) / 2);
    }
}

TEST(powers, roots) {
    operands draw;
    for (int round = 0; round < 4 * rounds; ++round) {
        const s32 x = draw.positive(), n = round % 2 ? draw.between(1, 12) : draw.positive();
        const s16 a = round % 4 < 2 ? draw.small_exponent() : draw.any_exponent();
        const number e = std::log2(number(x)) + a - 31;
        const s16 b = draw.exponent_for(e / n), inverse = draw.exponent_for(-e / 2);
        EXPECT_LE(error(sqrt_compute_Nth(x, a, b, n), power(e / n, b)), 0.71L) << b << ", " << n;
        EXPECT_LE(error(inv_sqrt_65(x, a, inverse), power(-e / 2, inverse)), 2.2L) << inverse;
        EXPECT_EQ(sqrt_compute_Nth(x, a, b, -n) | sqrt_compute_Nth(-x, a, b, n), 0);
        EXPECT_EQ(inv_sqrt_65(-x, a, b), INT32_MAX);
        ASSERT_FALSE(HasFailure()) << x << ", " << a;
    }
}

/* Next to 1.0 natural logarithms are small, and have all their bits with a negative exponent. */
TEST(powers, logarithms_next_to_1) {
    operands draw;
    for (int round = 0; round < rounds; ++round) {
        const s32 off = draw.positive() >> draw.between(4, 30);
        const number above = std::log1p(off / 0x1p30L), below = std::log1p(-(off + 1) / 0x1p31L);
        const s16 b = draw.exponent_for(std::log2(std::max(above, 0x1p-31L)));
        EXPECT_LE(error(log_compute((1 << 30) + off, 1, b), std::ldexp(above, 31 - b)), 0.81L);
        EXPECT_LE(error(log_compute(INT32_MAX - off, 0, b), std::ldexp(below, 31 - b)), 0.81L);
        ASSERT_FALSE(HasFailure()) << off << ", " << b;
    }
}

TEST(powers, logarithms) {
    operands draw;
    for (int round = 0; round < 4 * rounds; ++round) {
        const s32 x = draw.positive(), half = draw.next<s32>() / 2;
        const s16 a = round % 2 ? draw.small_exponent() : draw.any_exponent();
        const number of_x = std::log2(number(x)), e = of_x + a - 31, ln = e / log2_e;
        const s16 b = std::max<s16>(0, draw.exponent_for(std::log2(std::abs(ln) + 1e-30L)));
        EXPECT_LE(error(log_compute(x, a, b), std::ldexp(ln, 31 - b)), 0.52L) << b;
        EXPECT_LE(error(dsplib_log10(x, a), e / log2_10 * 0x1p26L), 0.52L);
        EXPECT_LE(error(log10_fixed(x), (of_x - 15) / log2_10 * 0x1p26L), 0.52L);
        EXPECT_LE(log2_lut(x), of_x * 0x1p26L + 0.52L);
        EXPECT_GE(log2_lut(x), of_x * 0x1p26L - 185);
        EXPECT_EQ(ARM_log_compute(x, a, b), log_compute(x, a, b));
        EXPECT_EQ(dsplib_log10(x, half < 0 ? half - (1 << 30) : half + (1 << 30)),
                  half < 0 ? INT32_MIN : INT32_MAX);
        for (const s32 none :
             {log_compute(-x, a, b), log10_fixed(-x), dsplib_log10(-x, a), log2_lut(-x)})
            EXPECT_EQ(none, INT32_MIN);
        ASSERT_FALSE(HasFailure()) << x << ", " << a;
    }
}

TEST(powers, exponentials) {
    operands draw;
    for (int round = 0; round < 4 * rounds; ++round) {
        const s32 x = draw.next<s32>(), q = draw.between(18, 70);
        const s16 a = round % 2 ? static_cast<s16>(draw.between(-40, 15)) : draw.any_exponent();
        const number e = std::ldexp(number(x), a - 31) * log2_e, of_q = std::ldexp(x * log2_e, -q);
        const number of_10 = std::ldexp(x * log2_10, -26);
        const s16 b = draw.exponent_for(e);
        const s64 pair_q = exp_compute_variable_q(x, q), pair_10 = dsplib_exp10(x);
        EXPECT_LE(error(exp_compute(x, a, b), power(e, b)), 0.71L) << b;
        EXPECT_LE(error(low(pair_q), std::exp2(of_q + high(pair_q))), 0.95L) << q;
        EXPECT_LE(error(low(pair_10), power(of_10, high(pair_10))), 0.71L);
        EXPECT_GE(std::min(low(pair_q), low(pair_10)), 1 << 30);
        ASSERT_FALSE(HasFailure()) << x << ", " << a;
    }
}

/* Powers whose exponent does not fit, and mantissas that are not lost beside a huge exponent. */
TEST(powers, exponents_of_any_size) {
    constexpr s32 least = 1 << 30, most = INT32_MAX;
    const s32 cases[][4] = {
        {most, 0, most, 30 - most},       {INT32_MIN, 0, least, most},
        {1, INT32_MIN, most, 30 - most},  {-1, INT32_MIN, least, most},
        {0, INT32_MIN, least, 30},        {INT32_MIN, most, least, 30},
        {1, -29, 1359034633, -774540972}, {-123456789, -1, 1509318093, 356221025}};
    for (const auto &[x, q, mantissa, format] : cases) {
        const s64 result = exp_compute_variable_q(x, q);
        EXPECT_NEAR(low(result), mantissa, 1) << x << ", " << q;
        EXPECT_EQ(high(result), format) << x << ", " << q;
    }
}

/* On every target. */
TEST(powers, keep_their_bits) {
    operand_source draw(1);
    digest d;
    for (int round = 0; round < rounds; ++round) {
        const s32 x = draw.next<s32>(), n = draw.next<s32>();
        const s16 a = draw.next<s16>(), b = static_cast<s16>(a / 2 + draw.between(-20, 20));
        for (const s64 v :
             {s64{sqrt_compute_Nth(x, a, b, n)}, s64{inv_sqrt_65(x, a, b)},
              s64{log_compute(x, a, b)}, s64{exp_compute(x, a, b)}, exp_compute_variable_q(x, n),
              s64{log2_lut(x)}, s64{log10_fixed(x)}, dsplib_exp10(x), s64{dsplib_log10(x, n)}})
            d.add(v);
    }
    EXPECT_EQ(d.value(), 0x179B55C81BE83709);
}

TEST(powers, undo_each_other_and_rise) {
    operands draw;
    for (int round = 0; round < rounds; ++round) {
        const s32 x = draw.next<s32>(), y = round % 2 ? draw.next<s32>() : x - (x > INT32_MIN);
        const s32 less = std::min(x, y), more = std::max(x, y);
        EXPECT_EQ(dsplib_log10(low(dsplib_exp10(x)), high(dsplib_exp10(x))), x);
        EXPECT_EQ(sqrt_compute_Nth(exp_compute(x, 0, 2), 2, 2, 1), exp_compute(x, 0, 2));
        EXPECT_LE(exp10_fixed(less), exp10_fixed(more));
        EXPECT_LE(dsplib_exp10(less), dsplib_exp10(more));
        EXPECT_LE(exp_compute(less, 0, 2), exp_compute(more, 0, 2));
        EXPECT_LE(log10_fixed(less), log10_fixed(more));
        EXPECT_LE(log2_lut(less), log2_lut(more));
        EXPECT_LE(log_compute(less, 3, 5), log_compute(more, 3, 5));
        ASSERT_FALSE(HasFailure()) << x << ", " << y;
    }
}

} // namespace
} // namespace earshot::test
