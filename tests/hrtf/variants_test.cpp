/*
 * Every form of the renderer's kernels against plain definitions: the same memory before, the same
 * words after, around the buffers as well as inside.
 */
#include "../support/exact.hpp"
#include "../support/isas.hpp"
#include "../support/operands.hpp"
#include "hrtf/kernels.hpp"

#include <vector>

namespace earshot::test {
namespace {

using words = std::vector<s32>;

constexpr s32 widest = 16; // lanes of the widest instruction set
constexpr s32 most = 3 * widest + 1;
constexpr u32 room = 2 * most + 2 * widest;

/* Corners and noise; what the kernels write goes to the middle of it. */
template <class Word> std::vector<Word> operands(operand_source &draw, u32 count) {
    std::vector<Word> result(count);
    for (Word &w : result) w = draw.next<Word>();
    return result;
}

/* How a kernel writes to out, and what is to be at word i of it. */
template <class Word, class Run, class Definition>
void expect_words(operand_source &draw, s32 written, s32 offset, const Run &run,
                  const Definition &definition) {
    auto expected = operands<Word>(draw, room), actual = expected;
    const auto first = static_cast<u32>(widest + offset);
    for (s32 i = 0; i < written; ++i)
        expected[first + static_cast<u32>(i)] =
            static_cast<Word>(definition(i, expected[first + static_cast<u32>(i)]));
    run(&actual[first]);
    ASSERT_EQ(expected, actual) << written << " words at offset " << offset;
}

void check_blocks(const hrtf_kernels &kernels, operand_source &draw, s32 count, s32 offset) {
    const words a = operands<s32>(draw, room), b = operands<s32>(draw, room);
    const s32 *first = &a[static_cast<u32>(offset)], *second = &b[3 - static_cast<u32>(offset)];
    const s32 shift = draw.between(0, 31);
    expect_words<s32>(
        draw, count, offset, [&](s32 *out) { kernels.restore_level(out, count, shift); },
        [&](s32, s64 x) { return clamp32(x * (s64{1} << shift)); });
    expect_words<s16>(
        draw, count, offset, [&](s16 *out) { kernels.narrow(out, first, count); },
        [&](s32 i, s16) { return clamp16(first[i]); });
    const auto pair = [&](s32 i) { return s64{i % 2 ? second[i / 2] : first[i / 2]}; };
    expect_words<s32>(
        draw, 2 * count, offset, [&](s32 *out) { kernels.interleave(out, first, second, count); },
        [&](s32 i, s32) { return pair(i); });
    expect_words<s16>(
        draw, 2 * count, offset,
        [&](s16 *out) { kernels.interleave_narrow(out, first, second, count); },
        [&](s32 i, s16) { return clamp16(pair(i)); });
}

s64 faded(s32 i, s64 from, s64 to) {
    return clamp32(floor_div((32 - i) * from, 32) + floor_div(i * to, 32));
}

void check_crossfade(const hrtf_kernels &kernels, operand_source &draw, s32 offset) {
    const words other = operands<s32>(draw, room);
    const s32 *samples = &other[static_cast<u32>(offset)];
    expect_words<s32>(
        draw, 32, offset, [&](s32 *out) { kernels.crossfade(out, samples, out); },
        [&](s32 i, s32 x) { return faded(i, samples[i], x); });
    expect_words<s32>(
        draw, 32, offset, [&](s32 *out) { kernels.crossfade(out, out, samples); },
        [&](s32 i, s32 x) { return faded(i, x, samples[i]); });
}

/* The 64-bit sum of products, and from it the 32 bits from bit q, rounded half up. */
s64 filtered(const s32 *x, const s32 *gain, s32 part, s64 q) {
    const auto times = [&](s32 i, s32 k) { return s64{x[i]} * gain[k]; };
    const s64 cross = times(1, part == 0 ? 1 : 0);
    const s64 sum = sum64(times(0, part), part == 0 ? -cross : cross);
    return wrap(rounded64(sum, -q));
}

/* The ears may be the same, and all words may be -2^31, whose products make 2^63. */
void check_filters(const hrtf_kernels &kernels, operand_source &draw, bool extreme, bool same_ear,
                   s32 q) {
    constexpr s32 half = 128;
    words x = operands<s32>(draw, 2 * half), gains = operands<s32>(draw, 4 * half + 1);
    if (extreme) std::fill(x.begin(), x.end(), INT32_MIN);
    if (extreme) std::fill(gains.begin(), gains.end(), INT32_MIN);
    words expected = operands<s32>(draw, 4 * half + 3), actual = expected;
    for (s32 ear : {0, 1}) {
        s32 *sum = &expected[same_ear ? 0 : static_cast<u32>(ear * (2 * half + 1))];
        for (s32 i = 0; i < 2 * half; ++i)
            sum[i] = wrap(sum[i] + filtered(&x[static_cast<u32>(i & ~1)],
                                            &gains[static_cast<u32>(ear * 2 * half + (i & ~1))],
                                            i & 1, q));
    }
    s32 *const ears[] = {&actual[0], &actual[same_ear ? 0 : 2 * half + 1]};
    kernels.add_filtered(ears, x.data(), {{gains.data(), gains.data() + 2 * half}}, half, q);
    ASSERT_EQ(expected, actual);
}

TEST(HrtfVariants, FollowTheDefinitions) {
    on_every_isa([](isa i) {
        const hrtf_kernels &kernels = hrtf_kernels_for(i);
        operand_source draw;
        for (s32 offset = 0; offset < 4; ++offset) {
            for (s32 count = 0; count <= most; ++count)
                ASSERT_NO_FATAL_FAILURE(check_blocks(kernels, draw, count, offset));
            ASSERT_NO_FATAL_FAILURE(check_crossfade(kernels, draw, offset));
            for (const bool same_ear : {false, true})
                for (const s32 q : {29, 29, 29, 1, 20, 31, 32, 63, 64, 0, -31, INT32_MIN})
                    ASSERT_NO_FATAL_FAILURE(check_filters(kernels, draw, offset == 0, same_ear, q))
                        << "Q" << q;
        }
    });
}

} // namespace
} // namespace earshot::test
