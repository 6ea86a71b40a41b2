/* Gain over distance: every branch to the bit, and the laws that the models stand for. */
#include "../support/exact.hpp"
#include "../support/operands.hpp"

#include <earshot/math.h>
#include <earshot/spatial.h>

#include <algorithm>
#include <cmath>

namespace earshot::test {
namespace {

constexpr s32 unit = 65536, full = 0x10000000, half = 0x08000000, untouched = -77;

s32 saturated(s64 v) { return static_cast<s32>(clamp32(v)); }

/* A / (v / m), where v / m, Q16, is formed as one more than what is above m. */
s64 inverse(s64 v, s64 m) {
    const s32 a = m == unit ? 0x8000 : exp10_fixed(saturated(-102 * (m - unit)));
    const s64 above = divide_qx(saturated(v - m), static_cast<s32>(m), 16);
    return divide_qx(a, saturated(above + unit), 28);
}

/* How often each rule decided. */
int reached[8];

s64 rolloff(s64 distance, s64 minimum, s64 maximum, u32 model) {
    const s64 m = std::max<s64>(minimum, unit), percent = floor_div(maximum * 21474836, 0x80000000);
    if (minimum > maximum || model > 2) return ++reached[0], untouched;
    if (distance < unit) return ++reached[1], full;
    if (distance < minimum) return ++reached[2], half;
    if (distance > clamp32(maximum - percent)) return ++reached[3], 0;
    if (model == ROLLOFF_NONE) return ++reached[4], full;
    if (model == ROLLOFF_LINEAR) {
        const s64 slope = divide_qx(0x8000, saturated(maximum - m), 12);
        return ++reached[5], std::max<s64>(half - wrap32((distance - m) * slope), 0);
    }
    ++reached[m == unit ? 6 : 7];
    return std::max<s64>(clamp32(inverse(distance, m) - inverse(maximum, m)), 0);
}

TEST(rolloff, follows_its_rules_in_every_branch) {
    operand_source source;
    for (int round = 0; round < 5 * rounds; ++round) {
        s32 minimum = source.next<s32>(), maximum = source.next<s32>();
        if (source.below(2)) minimum = source.between(-unit, 8 * unit);
        if (source.below(2)) maximum = wrap(s64{minimum} + source.between(0, 1 << 20));
        // Anywhere, inside, or beside the edges between the branches.
        const s64 edges[] = {unit, minimum, maximum,
                             maximum - s64{maximum} * 21474836 / 0x80000000};
        s32 distance = source.next<s32>();
        if (source.below(3) == 0) distance = wrap(edges[source.below(4)] + source.between(-2, 2));
        if (source.below(3) == 0 && maximum > minimum)
            distance = wrap(s64{minimum} + u32(distance) % (u32(maximum) - u32(minimum)));
        const u32 model = source.below(16) ? static_cast<u32>(source.below(3)) : source.next<u32>();
        const s64 expected = rolloff(distance, minimum, maximum, model);
        s32 gain = untouched;
        ASSERT_EQ(rolloff_gain(&gain, distance, minimum, maximum, model), -(expected == untouched));
        ASSERT_EQ(gain, expected) << distance << " in " << minimum << " to " << maximum << " model "
                                  << model;
    }
    for (const int times : reached) EXPECT_GT(times, rounds / 20);
}

/* Of the inverse model: without what is left at the maximum, gain times distance is constant. */
TEST(rolloff, falls_by_its_law) {
    constexpr s32 maximum = 100 * unit;
    for (const s32 m : {unit, 3 * unit / 2, 2 * unit, 5 * unit}) {
        const double top = half * std::pow(10, -102.0 * (m - unit) / 0x1p26);
        const double left = top * m / maximum, tolerance = top * (m == unit ? 3e-5 : 4e-3);
        s32 before[2] = {half, half};
        for (s32 distance = m; distance < maximum; distance += unit / 19) {
            s32 gains[2] = {};
            for (const u32 model : {ROLLOFF_INVERSE, ROLLOFF_LINEAR}) {
                EXPECT_EQ(rolloff_gain(gains + model, distance, m, maximum, model), 0);
                ASSERT_TRUE(0 <= gains[model] && gains[model] <= before[model]) << distance;
                before[model] = gains[model];
            }
            if (distance > maximum - unit) continue;
            ASSERT_NEAR((gains[0] + left) * distance, top * m, tolerance * distance) << distance;
            ASSERT_NEAR(gains[1], half * double{1} * (maximum - distance) / (maximum - m),
                        0.05 * half)
                << "slopes are whole";
        }
        EXPECT_EQ(before[0] + before[1], 0);
    }
}

} // namespace
} // namespace earshot::test
