/*
 * Transforms of both widths and their stages: any size, stride and data, with the usual twiddles,
 * altered ones or noise, in blocks that hold just what the headers ask for.
 */
#include "fft/tables.hpp"
#include "fuzz.hpp"

#include <earshot/fft.h>

namespace earshot::fuzz {
namespace {

/* A call's blocks: what is given, and what is to be written. */
template <class Word> struct blocks {
    guarded<Word> from, to;
    blocks(operands &in, u32 words, u32 result_words)
        : from(words, in.flip()), to(result_words, in.flip()) {
        in.fill(from);
    }
};

struct sized_calls {
    operands &in;
    transcript &out;
    s32 n, stride;
    /* Words of complex values, of samples and of a packed spectrum; none for what is no size. */
    u32 complex, real, packed;
    guarded<s32> twiddles{1536, in.flip()}, pairs{512, in.flip()};

    sized_calls(operands &input, transcript &answers) : in(input), out(answers) {
        n = in.below(16) == 0 ? in.take<s32>() : 1 << in.between(2, 11);
        const bool is_size = n >= 8 && n <= 1024 && (n & (n - 1)) == 0;
        stride = static_cast<s32>(in.mostly(is_size ? std::size_t(1024 / n) : 1));
        real = is_size ? static_cast<u32>(n) : 0;
        complex = 2 * real;
        packed = is_size ? real + 2 : 0;
        std::copy_n(&fft_twiddles[0][0], 1536, twiddles.begin());
        std::copy_n(&fft_recombine_twiddles[0][0], 512, pairs.begin());
        const u32 altered = in.below(8);
        if (altered == 0) twiddles[in.take<u16>() % 1536] ^= in.take<s32>();
        if (altered == 1) pairs[in.take<u16>() % 512] ^= in.take<s32>();
        if (altered == 2) in.fill(twiddles);
        if (altered == 3) in.fill(pairs);
    }

    /* call(from, to), which may write to `from` only where it says so. */
    template <class Word, class Call>
    void run(u32 words, u32 result_words, bool keeps, const Call &call) {
        const blocks<Word> b(in, words, result_words);
        const std::vector<Word> given(b.from.begin(), b.from.end());
        call(b.from.data(), b.to.data());
        require(!keeps || std::equal(given.begin(), given.end(), b.from.begin()), "in is kept");
        out.add(b.from);
        out.add(b.to);
        require(twiddles.intact() && pairs.intact(), "tables are not written around");
    }

    void wide() {
        using complex_form = void (*)(const s32 *, s32, const s32 *, s32 *);
        using real_form = void (*)(s32 *, s32, const s32 *, const s32 *, s32, s32 *);
        using first_stage = void (*)(const s32 *, s32, const s32 *, s32 *, s32);
        using later_stages = void (*)(s32 *, s32, const s32 *, s32);
        using last_stage = void (*)(s32 *, s32);
        using split_stage = void (*)(s32 *, s32, const s32 *, s32);
        constexpr complex_form whole[] = {cmplxfft32x32, cmplxifft32x32_scaled, cmplxifft32x32};
        constexpr real_form back[] = {Vorkel_rifft_32x32_scaled, Vorkel_rifft_32x32};
        constexpr first_stage first[] = {fftRadix4Stage1_32x32_neon, ifftRadix4Stage1_32x32_neon,
                                         ifftRadix4Stage1_32x32_neon_noscale};
        constexpr later_stages later[] = {fftRadix4Stage_32x32_neon, ifftRadix4Stage_32x32_neon,
                                          ifftRadix4Stage_32x32_neon_noscale};
        constexpr last_stage last[] = {fftRadix2Stage_neon, ifftRadix2Stage_neon,
                                       ifftRadix2Stage_neon_noscale};
        constexpr split_stage split[] = {rfftStage_32x32_neon, rifftStage_32x32_neon,
                                         rifftStage_32x32_neon_noscale};
        const u32 which = in.below(7), form = in.below(3);
        const s32 *tw = twiddles.data(), *sp = pairs.data();
        const auto call = [&](s32 *x, s32 *y) {
            if (which == 0) whole[form](x, n, tw, y);
            if (which == 1) Vorkel_rfft_32x32(x, n, tw, sp, stride, y);
            if (which == 2) back[form % 2](x, n, tw, sp, stride, y);
            if (which == 3) first[form](x, n, tw, y, 0);
            if (which == 4) later[form](x, n, tw, 0);
            if (which == 5) last[form](x, n);
            if (which == 6) split[form](x, n, sp, stride);
        };
        const u32 from = which == 1 ? real : which == 2 || which == 6 ? packed : complex;
        const u32 to = which == 1 ? packed : which == 2 ? real : which % 3 == 0 ? complex : 0;
        run<s32>(from, which == 6 ? 0 : to, which < 2 || which == 3, call);
    }

    void narrow() {
        const u32 which = in.below(7), inverse = in.below(3);
        const s32 span = std::max(n, 4) / 4;
        guarded<s32> exponent(1);
        const auto call = [&](s16 *x, s16 *y) {
            u32 status = 0;
            if (which == 0) status = c_fft(x, n, inverse, y);
            if (which == 1) status = fft1(x, n, inverse, y, exponent.data());
            if (which == 2) status = r_fft(x, n, inverse, y);
            if (which == 3) status = fft1r(x, n, inverse, y, exponent.data());
            if (which == 4) fftRadix4Stage1(x, n, twiddles.data(), y, 0);
            if (which == 5 && real != 0)
                ButterflyRadix4Scaled(x, span, twiddles.end() - 6 * (1 + in.below(256)));
            if (which == 6) rfftStage(x, n, pairs.data(), stride);
            out.add_status(status, {0, real == 0 || n < 16 ? 2u : 0u});
        };
        const bool is_real = which == 2 || which == 3, back = inverse != 0;
        const u32 from = which == 5   ? real / 2 * 3 + (real == 0 ? 0 : 2)
                         : which == 6 ? packed
                         : !is_real   ? complex
                         : back       ? packed
                                      : real;
        const u32 to = which > 4 ? 0 : !is_real ? complex : back ? real : packed;
        run<s16>(from, to, which < 5, call);
        out.add(exponent);
    }
};

} // namespace
} // namespace earshot::fuzz

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
    using namespace earshot::fuzz;
    same_on_every_isa(data, size, [](operands &in, transcript &out) {
        while (in.are_left()) {
            sized_calls sized(in, out);
            in.flip() ? sized.wide() : sized.narrow();
        }
    });
    return 0;
}
