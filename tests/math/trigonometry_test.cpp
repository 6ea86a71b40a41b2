/* Trigonometry: tables against their rules, results against the true functions, and bit by bit
 * against linear interpolation at positions that are rounded to 1/2048 of a table step. */
#include "../support/operands.hpp"

#include <earshot/kernel.h>
#include <earshot/math.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace earshot::test {
namespace {

const double pi = std::acos(-1.0);

/* Entry k is rule(k), at most limit, rounded as far as double precision can tell. */
template <typename T, std::size_t n, typename rule_type>
void check_table(const T (&table)[n], double limit, rule_type rule) {
    for (std::size_t k = 0; k < n; ++k)
        ASSERT_NEAR(table[k], std::min(rule(static_cast<double>(k)), limit), 0.5001) << k;
}

TEST(trigonometric_tables, follow_their_rules) {
    check_table(SIN_TABLE, 0x1p31 - 1, [](double k) { return std::sin(k * pi / 8192) * 0x1p31; });
    check_table(INTERP_TABLE, 0x1p31 - 1, [](double k) { return k * 0x1p20; });
    check_table(ACOS_TABLE, 0x1p32, [](double k) { return std::acos(k / 4096) * 0x1p31; });
    check_table(ACOS_TABLE_HIGH_RES, 0x1p32,
                [](double k) { return std::acos(1 - (4096 - k) * 0.0234 / 4096) * 0x1p31; });
    check_table(ATAN_TABLE, 0x1p32, [](double k) { return std::atan(k / 1024) * 0x1p31; });
    check_table(ATAN_TABLE_LOW_RES, 0x1p32, [](double k) { return std::atan(k / 128) * 0x1p31; });
    for (int k = 0; k < 514; ++k) { /* cosine, sine, cosine ... */
        const double rule = std::cos((k / 2 - k % 2 * 128) * pi / 256) * 0x1p15;
        EXPECT_NEAR(COSSINTAB[k / 2][k % 2], std::min(rule, 0x1p15 - 1), 0.5001) << k;
    }
}

/* From a to b in 2048 steps, rounded half up; the entry at a table's index position / one. */
s64 blend(s64 f, s64 a, s64 b) {
    return (std::min<s64>(f, 2048) * (b - a) + 2048 * a + 1024) / 2048;
}
template <typename T> s64 at(const T (&table)[4097], s64 position, s64 one) {
    const s64 i = std::min<s64>(position / one, 4096), f = (position % one * 4096 / one + 1) / 2;
    return blend(f, table[i], table[std::min<s64>(i + 1, 4096)]);
}

s64 magnitude(s64 v) { return std::min<s64>(std::abs(v), INT32_MAX); }

s64 expected_sin(s64 angle) {
    const s64 half_turns = angle / EARSHOT_PI_Q31, rest = std::abs(angle % EARSHOT_PI_Q31);
    const s64 folded = std::min(rest, EARSHOT_PI_Q31 - rest);
    const s64 value = at(SIN_TABLE, 683565276 * (folded / 2) >> 30, 1 << 18);
    return (angle < 0) == (half_turns % 2 != 0) ? value : -value;
}

s64 expected_acos(s64 x) {
    const s64 a = magnitude(x), fine = 1433950085 * std::max<s64>(a - 2097232531, 0) >> 25;
    const s64 value =
        a < 0x7D080000 ? at(ACOS_TABLE, a, 1 << 19) : at(ACOS_TABLE_HIGH_RES, fine, 1 << 19);
    return x < 0 ? EARSHOT_PI_Q31 - value : value;
}

s64 expected_atan2(s64 y, s64 x) {
    if (x == 0) return y == 0 ? 0 : y > 0 ? EARSHOT_HALF_PI_Q31 : -EARSHOT_HALF_PI_Q31;
    const s64 ny = s16_norm_s64(magnitude(y)), nx = s16_norm_s64(magnitude(x)), more = nx - ny + 1;
    const s64 q = divide_dp((magnitude(y) << ny) / 2, magnitude(x) << nx, 2);
    const s64 ratio = more < 0 ? q >> -more : q << more;
    const s64 value =
        ratio >> 33 ? at(ATAN_TABLE_LOW_RES, ratio, 1 << 24) : at(ATAN_TABLE, ratio, 1 << 21);
    const s64 upper = x < 0 ? EARSHOT_PI_Q31 - value : value;
    return y < 0 ? -upper : upper;
}

/* Rounding to 1/2048 of a step of pi / 8192 costs 201 units, the chord 40, the steps before 8. */
TEST(high_precision, sine) {
    operand_source source;
    giOverflow = 0;
    for (int round = 0; round < 4 * rounds; ++round) {
        const s64 near = source.between(-40, 40) * EARSHOT_HALF_PI_Q31 + source.between(-4, 4);
        const s64 angle = round % 2 ? near : source.next<s64>();
        const double within_turn = static_cast<double>(angle % (2 * EARSHOT_PI_Q31)) / 0x1p31;
        const s32 result = high_precision_sin(angle);
        ASSERT_EQ(result, expected_sin(angle)) << angle;
        ASSERT_NEAR(result, std::sin(within_turn) * 0x1p31, 213) << angle;
    }
    EXPECT_EQ(giOverflow, 0) << "saturates silently";
}

/* The cosine of the result is x, but for rounding to 1/2048 of a step (128 units of x) and the
 * chord over a step (16 / (1 - x^2)); in the fine table a quarter of its last step, 3067. */
TEST(high_precision, arc_cosine) {
    operand_source source;
    for (int round = 0; round < 4 * rounds; ++round) {
        const s32 edge = 0x7D080000 + source.between(-300, 300), side = source.between(-1, 1);
        const s32 x = round % 2 ? source.next<s32>() : side * edge;
        giOverflow = 0;
        const s64 result = high_precision_acos(x);
        const double cosine = std::cos(static_cast<double>(result) / 0x1p31) * 0x1p31;
        ASSERT_EQ(result, expected_acos(x)) << x;
        ASSERT_NEAR(cosine, x, magnitude(x) < 0x7D080000 ? 480 : 3072) << x;
        ASSERT_EQ(giOverflow, x == INT32_MIN) << x;
    }
}

/* Rounding to 1/2048 of a step costs 512 units at 0, 241 at a ratio of 4, the chord there 166 and
 * 453, the quotient 26. Above a ratio of 32 the angle stays. */
TEST(high_precision, angle_of_a_point) {
    operand_source source;
    for (int round = 0; round < 4 * rounds; ++round) {
        const s32 x = source.next<s32>(), other = source.next<s32>();
        const s32 at_switch = x % (1 << 26) * (round % 4 ? 4 : 32) + source.between(-2, 2);
        const s32 y = round % 2 ? other : at_switch;
        giOverflow = 0;
        const s64 result = high_precision_atan2(y, x);
        const double limit = x ? 32 * std::abs(double{1} * x) : 0x1p31;
        const double truth = std::atan2(std::clamp<double>(y, -limit, limit), x);
        EXPECT_EQ(result, expected_atan2(y, x));
        EXPECT_NEAR(static_cast<double>(result), truth * 0x1p31, 740);
        EXPECT_EQ(giOverflow, x == INT32_MIN || (y == INT32_MIN && x != 0));
        ASSERT_FALSE(HasFailure()) << y << ", " << x;
    }
}

TEST(high_precision, interpolation) {
    operand_source source;
    for (int round = 0; round < rounds; ++round) {
        const u32 f = source.next<u32>(), a = source.next<u32>(), b = source.next<u32>();
        const u32 result = high_precision_calculate_interpolation_2048(f, a, b);
        ASSERT_EQ(result, blend(f, a, b)) << f << " from " << a << " to " << b;
    }
}

/* Interpolation in the table of 512 steps per turn; column 0 holds cosines, 1 sines. */
s64 in_pairs(u32 u, int column) {
    const s64 a = COSSINTAB[u >> 15 & 255][column], b = COSSINTAB[(u >> 15 & 255) + 1][column];
    return (a * 65536 + (b - a) * (u & 0x7FFF) * 2) * (u >> 23 & 1 ? -1 : 1);
}

/* The table is good to a unit of Q15 (at its saturated ends), the chord to 40500 units. */
TEST(dsplib, sine_and_cosine) {
    operand_source source;
    for (int round = 0; round < rounds; ++round) {
        const s32 angle = source.next<s32>();
        const u32 u = static_cast<u32>(std::abs(s64{angle}));
        const double turn = static_cast<double>(angle % (1 << 24)) * pi / 0x1p23;
        ASSERT_EQ(dsplib_sin(angle), angle < 0 ? -in_pairs(u, 1) : in_pairs(u, 1)) << angle;
        ASSERT_EQ(dsplib_cos(angle), in_pairs(u, 0)) << angle;
        ASSERT_NEAR(dsplib_sin(angle), std::sin(turn) * 0x1p31, 106100) << angle;
        ASSERT_NEAR(dsplib_cos(angle), std::cos(turn) * 0x1p31, 106100) << angle;
    }
}

TEST(dsplib, arc_tangent) {
    for (s32 x = -32768; x < 32768; ++x) {
        const s32 square = std::min(x * x / 32768, 32767);
        const s32 inner = (-3049 * 32768 + 863 * square) >> 15;
        const s32 slope = (10388 * 32768 + inner * square) >> 15;
        const s32 result = dsplib_atan(x ^ 0x5A5A0000);
        ASSERT_EQ(result, slope * x) << x;
        ASSERT_NEAR(result / 0x1p30, std::atan(x / 0x1p15) / pi, 0.0004) << x;
    }
}

} // namespace
} // namespace earshot::test
