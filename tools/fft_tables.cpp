// Writes the twiddle tables of the transforms as DIRECTORY/*.inc: fft_tables DIRECTORY
#include "exact_table.hpp"

using namespace exact_table;

namespace {

long reverse_8_bits(long x) {
    long reversed = 0;
    for (int bit = 0; bit < 8; ++bit) reversed = reversed << 1 | (x >> bit & 1);
    return reversed;
}

// Entry g: six functions of theta = 2 pi r / 1024, r = g with its bits reversed.
std::int64_t twiddle_word(long index) {
    constexpr long words = 6;
    const long r = reverse_8_bits(index / words);
    const long word = index % words;
    const long multiple = word / 2 + 1; // of theta
    // The middle pair is e^(-j 2 theta) as it is, the outer ones are turned by -90 degrees.
    const bool is_sine = multiple == 2 ? word == 3 : word % 2 == 0;
    const std::int64_t sign = word == 2 ? 1 : -1;
    const std::int64_t value = nearest(
        [=](mpfr_ptr x) { is_sine ? sine(x, multiple * r, 512) : cosine(x, multiple * r, 512); },
        31);
    return std::min(sign * value, s32_max);
}

// Pair e: sine and cosine of 2 pi (e + 1) / 1024 times 2^31 - 1.
std::int64_t recombine_word(long index) {
    const long k = index / 2 + 1;
    return nearest(
        [=](mpfr_ptr x) {
            index % 2 == 0 ? sine(x, k, 512) : cosine(x, k, 512);
            mpfr_mul_si(x, x, s32_max, MPFR_RNDN);
        },
        0);
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fputs("usage: fft_tables DIRECTORY\n", stderr);
        return 1;
    }
    write_table("fft_tables.cpp", argv[1], "twiddles",
                "-sin t, -cos t, cos 2t, -sin 2t, -sin 3t, -cos 3t, Q31, bit-reversed order",
                256 * 6, twiddle_word);
    write_table("fft_tables.cpp", argv[1], "recombine_twiddles",
                "pairs sin, cos of 2 pi (e + 1) / 1024 times 2^31 - 1", 256 * 2, recombine_word);
    return 0;
}
