/* 16-bit transforms: accuracy against a plain DFT, the parts against the whole, refusals. */
#include "fft_model.hpp"

namespace earshot::test {
namespace {

using halves = std::vector<s16>;

struct transform16 {
    const char *name;
    bool real, block_scaled, inverse;
    number units, dB; /* largest error; signal to error of white noise, and 3 dB per bit of N */

    u32 run(const s16 *in, s32 n, s16 *out, s32 *exponent) const {
        const u32 direction = inverse ? 77 : 0;
        if (block_scaled) return (real ? fft1r : fft1)(in, n, direction, out, exponent);
        return (real ? r_fft : c_fft)(in, n, direction, out);
    }
    index words_in(s32 n) const { return index(!real ? 2 * n : inverse ? n + 2 : n); }
    index words_out(s32 n) const { return index(!real ? 2 * n : inverse ? n : n + 2); }

    /* The result, which is all that is written. */
    words result(const halves &in, s32 n, s32 *exponent) const {
        halves kept(in), memory(10 + words_out(n), 0x5AFE), frame(10, 0x5AFE);
        *exponent = std::countr_zero(u32(n));
        EXPECT_EQ(run(kept.data(), n, memory.data() + 5, exponent), 0u);
        const words out(memory.begin() + 5, memory.end() - 5);
        memory.erase(memory.begin() + 5, memory.end() - 5);
        EXPECT_EQ(memory, frame);
        EXPECT_EQ(kept, in);
        return out;
    }

    /* The sum itself over 2^exponent. */
    std::vector<number> exact(const halves &in, s32 n, s32 exponent) const {
        words full(in.begin(), in.end());
        if (real) full.assign(index(2 * n), 0);
        for (index k = 0; k < index(n) && real; ++k) {
            const index bin = std::min(k, index(n) - k);
            full[2 * k] = in[inverse ? 2 * bin : k];
            if (inverse && 2 * k % index(n) != 0)
                full[2 * k + 1] = in[2 * bin + 1] * (k == bin ? 1 : -1);
        }
        const std::vector<number> sums = dft(full, inverse ? 1 : -1, 1);
        std::vector<number> kept;
        for (index k = 0; k < words_out(n); ++k)
            kept.push_back(std::ldexp(sums[real && inverse ? 2 * k : k], -exponent));
        return kept;
    }

    /* As loud as it may be without saturation: white noise, or extremes in runs. */
    halves input(operand_source &draw, s32 n, bool extremes) const {
        const s32 most = !real ? 23169 : inverse ? 11584 : 32767;
        halves in(words_in(n));
        s32 extreme = most;
        for (s16 &v : in) {
            if (draw.below(3) == 0) extreme = ~extreme;
            v = static_cast<s16>(extremes ? extreme : draw.between(-most, most));
        }
        return in;
    }
};

const transform16 transforms[] = {
    {"c_fft", false, false, false, 2, 88}, {"c_fft inverse", false, false, true, 2, 88},
    {"fft1", false, true, false, 2, 82},   {"fft1 inverse", false, true, true, 2, 82},
    {"r_fft", true, false, false, 3, 86},  {"r_fft inverse", true, false, true, 2, 84},
    {"fft1r", true, true, false, 3, 86},   {"fft1r inverse", true, true, true, 2, 78},
};

/* Where the block is scaled at any level; enough words for a steady mean. */
TEST(transform16, is_accurate) {
    operand_source draw;
    for (const transform16 &t : transforms)
        for (s32 n = 16; n <= 1024; n *= 2) {
            words actual;
            std::vector<number> exact;
            for (s32 round = 0; round < std::max(2, 512 / n); ++round) {
                const bool extremes = round % 4 == 1;
                halves in = t.input(draw, n, extremes);
                const int quieter = t.block_scaled ? draw.between(0, extremes ? 15 : 8) : 0;
                for (s16 &v : in) v = static_cast<s16>(v >> quieter);
                s32 exponent = 0;
                const words out = t.result(in, n, &exponent);
                const std::vector<number> sums = t.exact(in, n, exponent);
                expect_accuracy(out, sums, t.units, -99);
                if (extremes) continue;
                actual.insert(actual.end(), out.begin(), out.end());
                exact.insert(exact.end(), sums.begin(), sums.end());
            }
            expect_accuracy(actual, exact, t.units, t.dB - 3 * std::countr_zero(u32(n)));
            ASSERT_FALSE(HasFailure()) << t.name << ' ' << n;
        }
}

/* Exponents by the largest word, whose place and sign do not matter. */
TEST(transform16, scales_blocks_as_stated) {
    for (const transform16 &t : transforms)
        for (s32 bits = 0; bits <= 15 && t.block_scaled; ++bits) {
            const s32 largest = bits == 0 ? 0 : bits % 2 ? (1 << bits) - 1 : -(1 << bits);
            const s32 used = !t.real ? 14 : t.inverse ? 13 : 15;
            halves in(t.words_in(64));
            if (t.real && t.inverse) in[1] = in[65] = -32768; /* ignored */
            in[in.size() - 2 - 4 * index(15 - bits)] = static_cast<s16>(largest);
            s32 exponent = 0;
            t.result(in, 64, &exponent);
            EXPECT_EQ(exponent, 6 + bits - used) << t.name << ' ' << bits;
        }
}

/* The highest frequency is exact at full scale; what does not fit saturates. */
TEST(transform16, holds_full_scale) {
    for (s32 n = 16; n <= 1024; n *= 2) {
        halves high, out(index(n + 2));
        for (s32 i = 0; i < n; ++i) high.push_back(i % 2 ? -32768 : 32767);
        r_fft(high.data(), n, 0, out.data());
        EXPECT_EQ(out[index(n)], 32767) << n;
    }
    halves loud = {32767, 32767, -32768, -32768, -32768, 32767, 32767, -32768};
    ButterflyRadix4Scaled(loud.data(), 1, &true_twiddles[6]); /* a corner turned onto the axis */
    EXPECT_EQ(loud, (halves{0, 0, 32767, 0, 0, 0, 0, 0}));
}

/* A transform put together as the header says; of 8 values as well. */
halves by_parts(const halves &in) {
    const s32 n = static_cast<s32>(in.size() / 2);
    halves out(in.size());
    fftRadix4Stage1(in.data(), n, true_twiddles.data(), out.data(), -1);
    s32 s = 4;
    for (; s <= n / 4; s *= 4)
        for (s32 i = 0; i < n / 4; ++i)
            ButterflyRadix4Scaled(out.data() + i / s * 8 * s + i % s * 2, s,
                                  true_twiddles.data() + i / s * 6);
    for (s16 *p = out.data(); p < out.data() + n && s < n; ++p) {
        const s32 a = p[0], b = p[n];
        p[0] = static_cast<s16>((a + b + 1) >> 1);
        p[n] = static_cast<s16>((a - b + 1) >> 1);
    }
    return out;
}

TEST(transform16, has_the_bits_of_its_parts) {
    operand_source draw;
    for (s32 n = 16; n <= 1024; n *= 2) {
        const halves in = transforms[0].input(draw, n, false);
        halves out(in.size()), spectrum(index(n + 2));
        c_fft(in.data(), n, 0, out.data());
        EXPECT_EQ(by_parts(in), out) << n;

        /* With one bit of headroom the scaled transform neither shifts nor halves its input. */
        halves samples(in.begin(), in.begin() + n);
        for (s16 &v : samples) v /= 2;
        samples[0] = 16383;
        s32 exponent = 0;
        fft1r(samples.data(), n, 0, spectrum.data(), &exponent);
        halves parts = by_parts(samples);
        parts.resize(index(n + 2));
        rfftStage(parts.data(), n, true_pairs.data(), 1024 / n);
        EXPECT_EQ(parts, spectrum) << n;
    }
}

/* A caller's twiddles may be anything: -j (0 + j) = 1, the largest factor, keeps every bin. */
TEST(transform16, splits_by_the_extreme_twiddle) {
    operand_source draw;
    words pairs(512);
    for (index i = 0; i < pairs.size(); i += 2) pairs[i] = INT32_MIN;
    for (s32 n = 16; n <= 1024; n *= 2) {
        halves spectrum(index(n + 2));
        for (s16 &v : spectrum) v = draw.next<s16>();
        halves expected = spectrum;
        rfftStage(spectrum.data(), n, pairs.data(), 1);
        for (const s32 bin : {0, n / 2})
            for (const s32 part : {0, 1})
                expected[index(2 * bin + part)] = spectrum[index(2 * bin + part)];
        EXPECT_EQ(expected, spectrum) << n;
    }
}

/* On every target; of all that was tested above. */
TEST(transform16, keeps_its_bits) {
    operand_source draw(1);
    digest d;
    for (const transform16 &t : transforms)
        for (s32 n = 16; n <= 1024; n *= 2) {
            s32 exponent = 0;
            halves in(t.words_in(n));
            for (s16 &v : in) v = draw.next<s16>();
            for (const s32 v : t.result(in, n, &exponent)) d.add(v);
            d.add(exponent);
        }
    EXPECT_EQ(d.value(), 0x84074A57E38C65F5);
}

TEST(transform16, refuses_other_sizes) {
    const halves in(5000, 12345), untouched(5000, 0x5AFE);
    halves out = untouched;
    s32 exponent = 99;
    for (const s32 n : {INT32_MIN, -16, 0, 1, 4, 8, 15, 17, 48, 1023, 1025, 2048, INT32_MAX}) {
        for (const transform16 &t : transforms)
            EXPECT_EQ(t.run(in.data(), n, out.data(), &exponent), 2u) << t.name << ' ' << n;
        if (n != 8) fftRadix4Stage1(in.data(), n, true_twiddles.data(), out.data(), 4);
        rfftStage(out.data(), n, true_pairs.data(), 1);
    }
    for (s32 n = 16; n <= 1024; n *= 2)
        for (const s32 stride : {INT32_MIN, -1, 0, 1024 / n + 1, INT32_MAX})
            rfftStage(out.data(), n, true_pairs.data(), stride);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(exponent, 99);
}

} // namespace
} // namespace earshot::test
