/* The square root and the power of ten that positioning rests on, to the bit. */
#include "../support/exact.hpp"
#include "../support/operands.hpp"

#include <earshot/kernel.h>
#include <earshot/math.h>

#include <algorithm>
#include <cmath>

namespace earshot::test {
namespace {

/* v 2^n, floored and saturated. */
s64 shifted(s64 v, s64 n) { return clamp32(scaled(v, n)); }

/* Horner's rule over the mantissa m = x 2^31 in [0.25, 1), which comes with an even exponent. */
s64 root(s32 x, s64 a, s64 b) {
    if (x < 1) return 0;
    const s64 half_e = floor_div(a - ARM_s16_norm_s32(x) - 1, 2), k = b - half_e;
    const s64 m = shifted(x, a - 2 * half_e - 2), h = high_rounded(m);
    s64 p = clamp32(mult_halves(m, 293) + wrap(0xFCB45476));
    p = clamp32(shifted(mult_halves(p, h), 2) + 0x15239E51);
    p = clamp32(shifted(mult_halves(p, h), 2) + 0x0DDECD39);
    return shifted(clamp32(p + shifted(1, k - 3)), 2 - k);
}

s64 power_of_ten(s64 x) {
    const s64 p = floor_div(x * 27213, 65536);
    const s64 whole = static_cast<s16>(floor_div(p, 1 << 23)), g = 65535 - (p >> 7 & 0xFFFF);
    return shifted(wrap(32701 * s64{65536} - 21871 * g + g * g / 65536 * 5615), whole - 15);
}

/* Relative, of results with 15 bits and more that fit. */
double error(s32 result, double exact) {
    return exact > 32768 && exact < 0x1p31 - 1 ? std::abs(result / exact - 1) : 0;
}

TEST(square_root, follows_its_steps_for_every_exponent) {
    operand_source source;
    double worst = 0;
    for (s32 round = 0; round < 0x18000; ++round) {
        // Exponents of every size; results between nothing and saturation, and far beyond.
        const s32 x = source.next<s32>(), near = source.between(-80, 80);
        const s16 a = static_cast<s16>(source.below(8) ? round : near), any = source.next<s16>();
        const s16 b = source.below(4) ? static_cast<s16>(a / 2 + near / 4 + 10) : any;
        const s32 result = sqrt_compute(x, a, b);
        ASSERT_EQ(result, root(x, a, b)) << x << " (" << a << ", " << b << ')';
        ASSERT_EQ(ARM_sqrt_compute(x, a, b), result);
        const double exact = std::sqrt(std::ldexp(x, a % 2 + 31)) * std::exp2(a / 2 - b);
        worst = std::max(worst, error(result, exact));
    }
    EXPECT_LT(worst, 0.0022);
    EXPECT_EQ(sqrt_compute(65536, 16, 16), 46341);
}

TEST(power_of_ten, follows_its_steps) {
    operand_source source;
    double worst = 0;
    for (int round = 0; round < 5 * rounds; ++round) {
        const s32 x = source.next<s32>() >> source.below(4);
        ASSERT_EQ(exp10_fixed(x), power_of_ten(x)) << x;
        worst = std::max(worst, error(exp10_fixed(x), std::pow(10, x * 0x1p-26) * 32768));
    }
    EXPECT_LT(worst, 0.0038);
    EXPECT_EQ(exp10_fixed(0), 32890);
}

} // namespace
} // namespace earshot::test
