/*
 * Every form of the rotation kernels against the scalar one: the same memory before, the same bytes
 * after, around the channels as well as inside.
 */
#include "../support/isas.hpp"
#include "../support/operands.hpp"

#include <earshot/field.h>

#include <algorithm>
#include <vector>

namespace earshot::test {
namespace {

constexpr std::size_t widest = 16, most_frames = 3 * widest + 1,
                      room = most_frames + 2 * widest + 4;

struct variant_case {
    earshot_field_rotation from, to;
    u32 length, begin, frames;
    std::size_t offset;
    std::vector<s32> memory;
    u64 clipped = 0;

    void run() {
        std::vector<s32 *> channels;
        for (std::size_t k = 0; k < EARSHOT_FIELD_CHANNELS; ++k)
            channels.push_back(memory.data() + k * room + widest + offset);
        ASSERT_EQ(EARSHOT_OK, earshot_field_rotate(&from, &to, length, begin, frames,
                                                   channels.data(), &clipped));
    }
};

/* Entries of any size: what wraps wraps alike. */
variant_case random_case(operand_source &draw, u32 frames) {
    variant_case c{};
    c.from.order = c.to.order = 1 + static_cast<u32>(draw.below(4));
    for (s32 &entry : c.from.entries) entry = draw.next<s32>();
    for (s32 &entry : c.to.entries) entry = draw.next<s32>();
    if (draw.below(2) == 0) c.from = c.to;
    c.begin = static_cast<u32>(draw.below(50));
    c.frames = frames;
    c.length = std::max(c.begin + frames + static_cast<u32>(draw.below(2)), 1u);
    c.offset = draw.below(4);
    c.memory.resize(EARSHOT_FIELD_CHANNELS * room);
    for (s32 &x : c.memory) x = draw.next<s32>();
    return c;
}

TEST(FieldVariants, GiveTheBitsOfTheScalarForm) {
    std::vector<variant_case> cases, expected;
    operand_source draw;
    for (int turn = 0; turn < 8; ++turn)
        for (u32 frames = 0; frames <= most_frames; ++frames)
            cases.push_back(random_case(draw, frames));
    expected = cases;
    const isa before = active_isa();
    force_isa(isa::scalar);
    for (variant_case &c : expected) c.run();
    force_isa(before);
    on_every_isa([&](isa) {
        for (std::size_t i = 0; i < cases.size(); ++i) {
            variant_case actual = cases[i];
            ASSERT_NO_FATAL_FAILURE(actual.run());
            ASSERT_EQ(expected[i].memory, actual.memory)
                << actual.frames << " frames of order " << actual.to.order << " at offset "
                << actual.offset;
            ASSERT_EQ(expected[i].clipped, actual.clipped);
        }
    });
}

} // namespace
} // namespace earshot::test
