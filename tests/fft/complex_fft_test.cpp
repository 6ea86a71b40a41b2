/* Complex transforms and their stages: bits against the model, accuracy against a plain DFT. */
#include "fft_model.hpp"

namespace earshot::test {
namespace {

/* The last argument of the stages has no effect. */
#define TRANSFORM(is, function)                                                                    \
    ROUTINE(is, 2, 0, 0, function, (in, n, twiddles, out), out = model.transform(in))
#define FIRST(is, function)                                                                        \
    ROUTINE(is, 2, 0, 0, function, (in, n, twiddles, out, 7), out = model.first_stage(in))
#define LATER(is, function)                                                                        \
    ROUTINE(is, 2, 0, 0, function, (in, n, twiddles, -1), model.later_stages(in))
#define RADIX2(is, function) ROUTINE(is, 2, 0, 0, function, (in, n), model.radix2_stage(in))

const routine routines[] = {
    TRANSFORM(forward, cmplxfft32x32),
    TRANSFORM(scaled, cmplxifft32x32_scaled),
    TRANSFORM(unscaled, cmplxifft32x32),
    FIRST(forward, fftRadix4Stage1_32x32_neon),
    FIRST(scaled, ifftRadix4Stage1_32x32_neon),
    FIRST(unscaled, ifftRadix4Stage1_32x32_neon_noscale),
    LATER(forward, fftRadix4Stage_32x32_neon),
    LATER(scaled, ifftRadix4Stage_32x32_neon),
    LATER(unscaled, ifftRadix4Stage_32x32_neon_noscale),
    RADIX2(forward, fftRadix2Stage_neon),
    RADIX2(scaled, ifftRadix2Stage_neon),
    RADIX2(unscaled, ifftRadix2Stage_neon_noscale),
};
const routine &fft = routines[0], &scaled_ifft = routines[1], &ifft = routines[2];

const std::vector<u64> golden[] = {
    {0x6715744CAB80470F, 0x3CCAB2F6FD832E70, 0xA2AA1FD739850443, 0x8FBF868E78022511,
     0x3C86723D1779764E, 0x58BC2C728EA4EAEC, 0x7797BDB690601184},
    {0x7C264D931BF91410, 0x3D8DFD8A98B911D8, 0xBEFADA9090BA834A, 0x10457377E422EA61,
     0xEAFFB272A36A15FC, 0x58C0130AFEA608AC, 0x000C771852A90FE3},
    {0x2BEAAB6692DC832A, 0x4806B2C737D75585, 0xC84203FE6FEE9471, 0xD4765CA8D20AC368,
     0x8B2BE31EE0B79A96, 0x4A3C1D7B5259D88B, 0xD1348098065E8C87}};

TEST(complex_fft, has_the_bits_of_the_model) { expect_bits(routines, golden); }

/* Where nothing saturates: error in units of the last place, signal to error in dB. */
TEST(complex_fft, is_accurate) {
    operand_source draw;
    for (s32 n = 16; n <= 1024; n *= 2) {
        const int bits = std::countr_zero(u32(n));
        const number units = 1.5 * std::sqrt(number(n));
        const words low = fft.input(draw, n, 0, bits + 1), high = fft.input(draw, n, 0, 1);
        const words spectrum = fft.output(low, n);
        expect_accuracy(spectrum, dft(low, -1, 1), units, 185 - 6 * bits);
        expect_accuracy(ifft.output(low, n), dft(low, 1, 1), units, 185 - 6 * bits);
        expect_accuracy(scaled_ifft.output(high, n), dft(high, 1, n), 4, 175 - 3 * bits);
        expect_accuracy(scaled_ifft.output(spectrum, n), {low.begin(), low.end()}, 3,
                        174 - 6 * bits);
    }
}

/* Bin 0 is a plain sum, which the forward transform saturates and the unscaled inverse wraps. */
TEST(complex_fft, overflows_as_stated) {
    for (s32 n = 16; n <= 1024; n *= 2) {
        words loud, bins(index(2 * n));
        for (s32 i = 0; i < n; ++i) loud.insert(loud.end(), {INT32_MAX, INT32_MIN});
        put(bins, 0, {INT32_MAX, INT32_MIN});
        EXPECT_EQ(fft.output(loud, n), bins);
        put(bins, 0, {-n, 0});
        EXPECT_EQ(ifft.output(loud, n), bins);
    }
}

} // namespace
} // namespace earshot::test
