/*
 * Every form of the mixing kernels against the scalar one: the same memory before, the same bytes
 * after, around the buffers as well as inside.
 */
#include "../support/isas.hpp"
#include "../support/operands.hpp"
#include "hoa_effect/mix.hpp"

#include <vector>

namespace earshot::test {
namespace {

constexpr s32 widest = 16; // lanes of the widest instruction set
constexpr s32 most_samples = 3 * widest + 1;
constexpr s32 room = most_samples + 2 * widest + 4; // with guards on both sides of a channel

/* Eight channels with guards between them. */
template <class Sample> struct arena {
    std::vector<Sample> memory = std::vector<Sample>(8 * room);

    explicit arena(operand_source &draw) {
        for (Sample &s : memory) s = draw.next<Sample>();
    }
    Sample *channel(int c, s32 offset) { return memory.data() + c * room + widest + offset; }
};

struct mix_case {
    s32 begin, end, offset;
    bool in_place;
};

template <class Sample>
void run(const mix_loops<Sample> &loops, const mix_case &c, arena<Sample> &a, mix_matrix &m,
         const mix_matrix *step) {
    Sample *out[4];
    const Sample *in[4];
    for (int i = 0; i < 4; ++i) {
        in[i] = a.channel(i, c.offset);
        // In place, with the channels in another order.
        out[i] = a.channel(c.in_place ? (i + 1) % 4 : i + 4, c.offset);
    }
    if (step != nullptr)
        loops.ramp(m, *step, out, in, c.begin, c.end);
    else
        loops.steady(m, out, in, c.begin, c.end);
}

template <class Sample>
void expect_same(const mix_loops<Sample> &variant, const mix_loops<Sample> &reference,
                 const mix_case &c, bool ramp, operand_source &draw) {
    mix_matrix m, m_variant, step;
    for (int i = 0; i < 16; ++i) {
        m[i / 4][i % 4] = m_variant[i / 4][i % 4] = draw.next<s32>();
        step[i / 4][i % 4] = draw.below(2) != 0 ? draw.next<s32>() : draw.next<s32>() >> 10;
    }
    arena<Sample> expected(draw), actual = expected;
    run(reference, c, expected, m, ramp ? &step : nullptr);
    run(variant, c, actual, m_variant, ramp ? &step : nullptr);
    ASSERT_EQ(expected.memory, actual.memory)
        << "samples " << c.begin << " to " << c.end << " at offset " << c.offset
        << (c.in_place ? " in place" : "") << (ramp ? ", ramp" : ", steady");
    for (int i = 0; i < 16; ++i) ASSERT_EQ(m[i / 4][i % 4], m_variant[i / 4][i % 4]);
}

template <class Sample>
void check_variant(const mix_loops<Sample> &variant, const mix_loops<Sample> &reference) {
    operand_source draw;
    for (s32 length = 0; length <= most_samples; ++length)
        for (s32 begin = 0; begin <= (length < 4 ? length : 4); ++begin)
            for (s32 offset = 0; offset < 4; ++offset)
                for (const bool in_place : {false, true})
                    for (const bool ramp : {false, true})
                        ASSERT_NO_FATAL_FAILURE(expect_same(
                            variant, reference, {begin, length, offset, in_place}, ramp, draw));
}

TEST(MixVariants, GiveTheBitsOfTheScalarForm) {
    const mix_kernels &reference = mix_kernels_for(isa::scalar);
    on_every_isa([&](isa i) {
        ASSERT_NO_FATAL_FAILURE(check_variant(mix_kernels_for(i).narrow, reference.narrow));
        ASSERT_NO_FATAL_FAILURE(check_variant(mix_kernels_for(i).wide, reference.wide));
    });
}

/* What the load-time choice may be is what the platform is known to have. */
TEST(MixVariants, TheBestAvailableIsaIsActive) {
    isa best = isa::scalar;
    for (const isa i : all_isas)
        if (processor_has(i)) best = i;
    EXPECT_EQ(best, active_isa());
}

} // namespace
} // namespace earshot::test
