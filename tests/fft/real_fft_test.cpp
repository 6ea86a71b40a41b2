/* Real transforms and their recombination stages: bits against the model, accuracy against a plain
 * DFT. */
#include "fft_model.hpp"

namespace earshot::test {
namespace {

#define FORWARD(is, function)                                                                      \
    ROUTINE(is, 1, 0, 2, function, (in, n, twiddles, pairs, stride, out),                          \
            out = model.transform(in);                                                             \
            out.resize(in.size() + 2); model.recombine(out))
#define INVERSE(is, function)                                                                      \
    ROUTINE(is, 1, 2, 0, function, (in, n, twiddles, pairs, stride, out), model.recombine(in);     \
            out = model.transform(words(in.begin(), in.end() - 2)))
#define RECOMBINE(is, function)                                                                    \
    ROUTINE(is, 1, 2, 0, function, (in, n, pairs, stride), model.recombine(in))

const routine routines[] = {
    FORWARD(forward, Vorkel_rfft_32x32),      INVERSE(scaled, Vorkel_rifft_32x32_scaled),
    INVERSE(unscaled, Vorkel_rifft_32x32),    RECOMBINE(forward, rfftStage_32x32_neon),
    RECOMBINE(scaled, rifftStage_32x32_neon), RECOMBINE(unscaled, rifftStage_32x32_neon_noscale),
};
const routine &rfft = routines[0], &scaled_rifft = routines[1], &rifft = routines[2];

const std::vector<u64> golden[] = {{0xB834298665AA82FC, 0x3909037F0CE0CB1D, 0xBCD9A881167B47BB,
                                    0x141DB8D47DB485B0, 0x6AF7AC7360B008EA, 0xEEF1005D4C5A31BE},
                                   {0x8D4109FCD00FCF55, 0xA1FDB33D79387D22, 0xB230BFC54445F41D,
                                    0x6F54BE6ECF27FC67, 0x678FDFADFA583823, 0xFA02B1255DDC1CC2},
                                   {0x0C9F067F7634D34E, 0xDEA49DFAA02CFE89, 0x03BE1B57446107F6,
                                    0xDC5C478AE8D21D0D, 0xD1DFF3616C91AFB7, 0x28A28978852DE6B4}};

TEST(real_fft, has_the_bits_of_the_model) { expect_bits(routines, golden); }

/* Where nothing saturates: error in units of the last place, signal to error in dB. */
TEST(real_fft, is_accurate) {
    operand_source draw;
    for (s32 n = 32; n <= 1024; n *= 2) {
        const int bits = std::countr_zero(u32(n));
        const words in = rfft.input(draw, n, 0, bits + 1), spectrum = rfft.output(in, n);
        words complex_in;
        std::vector<number> times_n;
        for (const s32 v : in) {
            complex_in.insert(complex_in.end(), {v, 0});
            times_n.push_back(number(v) * n);
        }
        expect_accuracy(spectrum, dft(complex_in, -1, 1), std::sqrt(number(n)), 184 - 6 * bits);
        expect_accuracy(rifft.output(spectrum, n), times_n, 1.5 * n, 174 - 6 * bits);
        expect_accuracy(scaled_rifft.output(spectrum, n), {in.begin(), in.end()}, 3,
                        174 - 6 * bits);
    }
}

} // namespace
} // namespace earshot::test
