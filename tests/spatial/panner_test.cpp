/* Both panners against the loop over single samples that defines them, in every form there is. */
#include "../support/exact.hpp"
#include "../support/isas.hpp"
#include "../support/operands.hpp"

#include <earshot/math.h>
#include <earshot/spatial.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace earshot::test {
namespace {

/* What the two kinds differ in; samples as the model wants them, functions as the library has them.
 */
struct narrow {
    using record = a3d_panner;
    using gain = s16;
    static constexpr u32 fraction = 16; /* bits of the step */
    static s64 bounded(s64 v) { return clamp16(v); }
    static s64 left(s64 way) { return clamp16(floor_div(way + 0x8000, 65536)); }
    static s32 applied(s64 in, s64 g) { return wrap(floor_div(in * g + 0x4000, 32768)); }

    static constexpr auto setup = a3d_panner_setup;
    static constexpr auto status = a3d_panner_get_status;
    static constexpr auto current = a3d_panner_get_current;
    static constexpr auto fill = a3d_buffer32_fill_panner;
};

struct wide {
    using record = a3d_panner32q28;
    using gain = s32;
    static constexpr u32 fraction = 0;
    static s64 bounded(s64 v) { return clamp32(v); }
    static s64 left(s64 way) { return wrap(way); }
    static s32 applied(s64 in, s64 g) {
        return wrap(floor_div(wrap(in * g) + s64{1 << 27}, 1 << 28));
    }

    static constexpr auto setup = a3d_panner32q28_setup;
    static constexpr auto status = a3d_panner32q28_get_status;
    static constexpr auto current = a3d_panner32q28_get_current;
    static s32 fill(s32 *out, const s32 *in, record *p, s32 count, s32) {
        return a3d_buffer32_fill_panner32q28(out, in, p, count);
    }
};

template <class Kind> s64 current(const typename Kind::record &p) {
    const s64 left = p.remaining == 0 ? 0 : Kind::left(s64{p.step} * p.remaining);
    return Kind::bounded(p.target - left);
}

template <class Kind>
void setup(typename Kind::record &p, typename Kind::gain target, s32 duration, u32 user) {
    const s64 way = duration < 1 ? 0 : Kind::bounded(target - current<Kind>(p));
    p.step = way != 0 ? divide_qx(static_cast<s32>(way), duration, Kind::fraction) : 0;
    p.remaining = way != 0 ? duration : 0;
    p.user = duration < 1 ? 0 : user;
    p.target = target;
}

/* each samples have one gain. */
template <class Kind>
void fill(s32 *out, const s32 *in, typename Kind::record &p, s32 steps, s32 each) {
    constexpr s64 unit = s64{1} << Kind::fraction;
    const s32 ramp = std::min(p.remaining, steps);
    s64 gain = current<Kind>(p) * unit;
    for (s32 step = 0; each > 0 && step < steps; ++step) {
        const s64 g = step < ramp ? floor_div(gain, unit) : p.target;
        for (s32 i = 0; i < each; ++i) *out++ = Kind::applied(*in++, g);
        gain = clamp32(gain + p.step);
    }
    p.remaining = wrap(s64{p.remaining} - ramp);
}

constexpr s32 widest = 16; // lanes of the widest instruction set
constexpr s32 farthest = widest + 2, margin = farthest + 5;

/* A random record, or one that was set up on it, fills random samples between guards; out lies lag
 * after in, or apart. */
template <class Kind> void check(s32 count, s32 lag, operand_source &draw) {
    typename Kind::record panner, model;
    std::memset(&panner, 0x5A, sizeof panner);
    panner.step = draw.next<s32>() >> draw.below(20);
    panner.remaining = draw.below(4) ? draw.between(-3, count + 3) : draw.next<s32>();
    panner.target = draw.next<typename Kind::gain>();
    ASSERT_EQ(Kind::status(&panner), panner.remaining);
    ASSERT_EQ(Kind::current(panner), current<Kind>(panner))
        << panner.target << " - " << panner.step << " x " << panner.remaining;
    model = panner;
    if (draw.below(2)) {
        const auto target =
            draw.below(4) ? draw.next<typename Kind::gain>() : Kind::current(panner);
        const s32 duration = draw.below(3) ? draw.between(-1, 2 * count) : draw.next<s32>();
        setup<Kind>(model, target, duration, 77);
        Kind::setup(&panner, target, duration, 77);
        ASSERT_EQ(std::memcmp(&panner, &model, sizeof panner), 0) << target << " in " << duration;
    }
    // Many short frames or few long ones, of no samples too.
    const bool few = Kind::fraction != 0 && draw.below(2);
    s32 each = Kind::fraction == 0 ? 1 : few ? count : draw.between(-1, 3);
    s32 steps = few ? draw.between(1, 3) : count;
    if (draw.below(8) == 0) steps = std::min(draw.next<s32>(), each > 0 ? 0 : INT32_MAX);

    const s32 room = 3 * count + margin;
    std::vector<s32> memory(u32(2 * room + margin));
    const u64 smaller = draw.below(2) * draw.below(31);
    for (s32 &s : memory) s = draw.next<s32>() >> smaller;
    std::vector<s32> expected = memory;
    const s32 in = margin + count % 5, out = in + (lag > farthest ? room - 5 : lag);
    const auto before = model;
    fill<Kind>(&expected[u32(out)], &expected[u32(in)], model, steps, each);
    const s32 left = Kind::fill(&memory[u32(out)], &memory[u32(in)], &panner, steps, each);
    ASSERT_TRUE(memory == expected && left == model.remaining &&
                !std::memcmp(&panner, &model, sizeof panner))
        << steps << " x " << each << " samples, out " << out - in << " after in, step "
        << before.step << ", remaining " << before.remaining << ", target " << before.target;
}

/* All isas in one process; the one that was active comes back. */
TEST(panner, follows_the_scalar_loop_on_every_isa) {
    on_every_isa([](isa) {
        operand_source draw;
        // Every length up to three of the widest vectors and one, and some long ones.
        for (s32 count = 0; count <= 140 && !HasFailure(); count += count > 3 * widest ? 13 : 1)
            for (s32 lag = -farthest; lag <= farthest + 1 && !HasFailure(); ++lag) {
                check<narrow>(count, lag, draw);
                check<wide>(count, lag, draw);
            }
    });
}

TEST(panner, multiplies) {
    operand_source source;
    for (int round = 0; round < rounds; ++round) {
        const s32 a = source.next<s32>(), b = source.next<s32>();
        ASSERT_EQ(a3d_local_mult(a, b), wrap(floor_div(s64{a} * b + 0x8000, 65536)));
        ASSERT_EQ(s32_mult_s32_s32_shr28(a, b), wide::applied(a, b)) << a << " x " << b;
    }
    EXPECT_EQ(s32_mult_s32_s32_shr28(16, 268435456), 0);
}

} // namespace
} // namespace earshot::test
