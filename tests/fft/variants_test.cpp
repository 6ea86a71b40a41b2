/*
 * The plain form of the transforms against the saturating one, at the border of the headroom that
 * it needs: both are called directly, whatever would be chosen. The model and the digests of the
 * other tests hold the choice and the saturating form on every isa.
 */
#include "fft/complex.hpp"
#include "fft_model.hpp"

namespace earshot::test {
namespace {

/* The border is said once more here: 2^border is the first magnitude without headroom. Below it
 * nothing passes 2^30, from twice that on the sums of a signal in phase do. */
s32 border_of(kind is, s32 n, bool real) {
    const s32 bits = std::countr_zero(static_cast<u32>(n));
    if (!is.inverse) return real ? 30 - bits : 29 - bits;
    if (is.rule == carry::halves) return real ? 28 : 29;
    return real ? 28 - bits : 29 - bits;
}

/* Words of the largest magnitude in the phase of some bin, of all or at random, or at random. */
words loudest(operand_source &draw, u32 count, s32 border, int sort) {
    const s64 high = (s64{1} << border) - 1, low = -high - 1;
    const u64 k = sort < 4 ? draw.below(4) * count / 8 : draw.below(count);
    const u64 eighth = count / 2; /* of a turn: so many bins make one, and begin there */
    words result(count);
    for (u32 i = 0; i < count; ++i) {
        const u64 angle = 8 * k * (i / 2) + (i % 2 ? 1 : 3) * eighth; /* a cosine's as a sine's */
        const s32 any = static_cast<s32>(draw.below(u64{1} << 32)) >> (31 - border);
        const s64 extreme = angle % (8 * eighth) <= 4 * eighth ? high : low;
        result[i] = static_cast<s32>(sort % 4 == 3                     ? any
                                     : draw.below(u64(sort) * 100 + 2) ? extreme
                                                                       : any);
    }
    return result;
}

constexpr kind kinds[] = {forward, scaled, unscaled};

/* What a form makes of in: spectrum or samples, and in itself where it changes. */
words complex_result(const fft_kernels &kernels, u32 v, form f, const words &in, s32 n) {
    words out(in.size());
    kernels.complex[v][f](in.data(), n, own_twiddle_rows(n, v != 0), out.data());
    return out;
}
words real_result(const fft_kernels &kernels, u32 v, form f, const words &in, s32 n) {
    words spec = in, out(in.size());
    const twiddle_rows twiddles = own_twiddle_rows(n / 2, v != 0);
    const recombine_rows recombine = own_recombine_rows(n, v != 0);
    if (v == 0) {
        kernels.real_forward[f](in.data(), {0, false}, n, twiddles, recombine, out.data());
        return out;
    }
    kernels.recombine[v][f](spec.data(), n, recombine);
    kernels.complex[v][f](spec.data(), n / 2, twiddles, out.data());
    out.insert(out.end(), spec.begin(), spec.end());
    return out;
}

TEST(fft_variants, plain_has_the_bits_of_saturating_up_to_the_border) {
    on_every_isa([](isa which) {
        operand_source draw;
        for (s32 n = 16; n <= 1024; n *= 2) {
            for (u32 v = 0; v < 3; ++v) {
                for (int sort = 0; sort < 24; ++sort) {
                    const fft_kernels &kernels = fft_kernels_for(which, n),
                                      &half_kernels = fft_kernels_for(which, n / 2);
                    const words in = loudest(draw, u32(2 * n), border_of(kinds[v], n, false), sort);
                    ASSERT_EQ(complex_result(kernels, v, saturating, in, n),
                              complex_result(kernels, v, plain, in, n))
                        << "complex " << n << ", variant " << v << ", input " << sort;
                    if (n == 16) continue;
                    const words real =
                        loudest(draw, u32(n + 2), border_of(kinds[v], n, true), sort);
                    ASSERT_EQ(real_result(half_kernels, v, saturating, real, n),
                              real_result(half_kernels, v, plain, real, n))
                        << "real " << n << ", variant " << v << ", input " << sort;
                }
            }
        }
    });
}

/* Words that differ, and those beyond the border, wherever they stand. */
TEST(fft_variants, single_words_are_seen) {
    on_every_isa([](isa which) {
        for (const s32 n : {16, 64}) {
            const fft_kernels &kernels = fft_kernels_for(which, n);
            for (s32 count = 1; count <= 67; ++count) {
                words a(u32(count) + 5), b = a;
                a[0] = a.back() = INT32_MIN; /* outside */
                for (s32 i = 1; i <= count; ++i) {
                    const s32 bits = i % 31, low = static_cast<s32>(-(s64{1} << bits));
                    s32 &word = a[u32(i)];
                    const auto within = [&](s32 w) {
                        word = w;
                        return kernels.are_within(&a[1], count, bits);
                    };
                    EXPECT_TRUE(within(low) && within(~low)) << count << ' ' << i;
                    EXPECT_FALSE(within(low - 1) || within(-low)) << count << ' ' << i;
                    EXPECT_FALSE(within(INT32_MIN) || within(INT32_MAX));
                    word = low;
                    EXPECT_FALSE(kernels.are_same(&a[1], &b[1], count));
                    word = 0;
                    EXPECT_TRUE(kernels.are_same(&a[1], &b[1], count));
                }
            }
        }
    });
}

} // namespace
} // namespace earshot::test
