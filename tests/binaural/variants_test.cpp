/*
 * The renderer's kernels and transforms on every isa: kernels against plain definitions, with the
 * memory around what they write; transforms at the bounds that they are stated for against the
 * exported ones, which find their own form and saturate where they must.
 */
#include "../support/exact.hpp"
#include "../support/isas.hpp"
#include "../support/operands.hpp"
#include "binaural/kernels.hpp"
#include "fft/real.hpp"
#include "fft/tables.hpp"

#include <earshot/fft.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

namespace earshot::test {
namespace {

using words = std::vector<s32>;
constexpr u32 n = 256;

words operands(operand_source &draw, u32 count, u64 shift = 0) {
    words result(count);
    for (s32 &w : result) w = draw.next<s32>() >> shift;
    return result;
}

/* Floors of 24 bits; what they lose is at most the bound's 256 units. */
void check_magnitude(const binaural_kernels &kernels, operand_source &draw) {
    const u64 shift = draw.below(32);
    words x = operands(draw, n + 1, shift);
    if (draw.below(3) == 0) std::fill(x.begin(), x.end(), draw.below(2) ? INT32_MIN : 0);
    if (draw.below(2)) x[1 + static_cast<u32>(draw.below(n))] = static_cast<s32>(draw.below(3)) - 1;
    s64 sum = 0, any = 0;
    for (u32 i = 1; i <= n; ++i) {
        sum += std::abs(s64{x[i]}) / 256;
        any |= x[i];
    }
    ASSERT_EQ(any == 0 ? 0 : sum + 256, kernels.magnitude(&x[1]));
}

/* Word i of a product with a pair's filter, the 32 bits from bit q of the rounded 64-bit sum. */
s64 product(const words &x, const s32 *gain, u32 i, s64 q) {
    const u32 re = i & ~1u;
    const auto times = [&](u32 a, u32 b) { return s64{x[re + a]} * gain[re + b]; };
    const s64 sum = i & 1 ? sum64(times(0, 1), times(1, 0)) : sum64(times(0, 0), -times(1, 1));
    return wrap(rounded64(sum, -q));
}

void check_products(const binaural_kernels &kernels, operand_source &draw, bool extreme) {
    struct memory {
        earshot_filter_pair from, to;
        both_ears before, after;
    };
    const auto all = std::make_unique<memory>();
    for (s32 &w : std::span(&all->from.ear[0][0], sizeof(memory) / sizeof(s32)))
        w = draw.next<s32>();
    words x = operands(draw, n);
    if (extreme) std::fill(x.begin(), x.end(), INT32_MIN);
    if (extreme) std::fill_n(all->from.ear[0], n, INT32_MIN);
    for (u32 q = 29; q <= 32; ++q) {
        auto expected = std::make_unique<memory>(*all), actual = std::make_unique<memory>(*all);
        const auto add = [&](both_ears &sums, const earshot_filter_pair &pair) {
            for (u32 i = 0; i < 2 * n; ++i) {
                s32 &sum = sums.ear[i / n][i % n];
                sum = wrap(sum + product(x, pair.ear[i / n], i % n, q));
            }
        };
        add(expected->before, all->from);
        kernels.add_filtered[q - 29](actual->before, x.data(), all->from);
        ASSERT_EQ(0, std::memcmp(expected.get(), actual.get(), sizeof(memory))) << "Q" << q;
        add(expected->before, all->from);
        add(expected->after, all->to);
        kernels.add_fading[q - 29](actual->before, actual->after, x.data(), all->from, all->to);
        ASSERT_EQ(0, std::memcmp(expected.get(), actual.get(), sizeof(memory))) << "Q" << q;
    }
}

/* The other kernels have no corners that whole frames do not meet. */
TEST(BinauralVariants, KernelsFollowTheDefinitions) {
    on_every_isa([](isa i) {
        const binaural_kernels &kernels = binaural_kernels_for(i);
        operand_source draw;
        for (int round = 0; round < 200; ++round)
            ASSERT_NO_FATAL_FAILURE(check_magnitude(kernels, draw));
        for (int round = 0; round < 20; ++round)
            ASSERT_NO_FATAL_FAILURE(check_products(kernels, draw, round == 0));
    });
}

/* Few words that share a sum of magnitudes: one, two or many of them, at equal or any parts. */
void spread(words &x, u64 total, operand_source &draw) {
    const u32 many[] = {1, 2, 4, 16, 256}, count = many[draw.below(5)];
    std::fill(x.begin(), x.end(), 0);
    for (u32 i = 0; i < count; ++i) {
        const u32 at = static_cast<u32>(count == 256 ? i : draw.below(x.size()));
        const s64 part = static_cast<s64>(std::min<u64>(total / count, INT32_MAX));
        x[at] = static_cast<s32>(draw.below(2) ? part : -part);
    }
}

/* A tone or two of any phase, whose moduli add up to total with those of the conjugate half.
 * Eighths of the sample rate meet in the first butterfly of the first pass. */
words tones(double total, operand_source &draw) {
    words spec(n + 2);
    const u32 count = 1 + static_cast<u32>(draw.below(2));
    for (u32 i = 0; i < count; ++i) {
        const s32 any = draw.between(1, 127), k = draw.below(2) ? any / 43 * 32 + 32 : any;
        const double phase = 0.001 * draw.between(0, 6283), modulus = total / 2 / count;
        spec[static_cast<u32>(2 * k)] = static_cast<s32>(modulus * std::cos(phase));
        spec[static_cast<u32>(2 * k + 1)] = static_cast<s32>(modulus * std::sin(phase));
    }
    return spec;
}

TEST(BinauralVariants, TransformsHoldTheirBounds) {
    const auto *twiddles = &fft_twiddles[0][0], *recombine = &fft_recombine_twiddles[0][0];
    on_every_isa([&](isa) {
        operand_source draw;
        words x(n), rounded(n), expected(n + 2), actual(n + 2), blocks[2] = {words(n), words(n)};
        for (int round = 0; round < 2000; ++round) {
            const u32 shift = static_cast<u32>(draw.below(11));
            spread(x, u64{most_input} << shift, draw);
            for (u32 i = 0; i < n; ++i) rounded[i] = static_cast<s32>(rounded64(x[i], -s64{shift}));
            Vorkel_rfft_32x32(rounded.data(), n, twiddles, recombine, 4, expected.data());
            rfft_of_rounded(x.data(), static_cast<s32>(shift), n, actual.data());
            ASSERT_EQ(expected, actual) << "shift " << shift;

            expected = actual = tones(most_spectrum, draw);
            Vorkel_rifft_32x32(expected.data(), n, twiddles, recombine, 4, blocks[0].data());
            rifft_of_bounded(actual.data(), n, blocks[1].data());
            ASSERT_EQ(blocks[0], blocks[1]);
        }
    });
}

} // namespace
} // namespace earshot::test
