// Complex transforms for the rest of the library; exported from fft/complex.cpp.
#ifndef EARSHOT_FFT_COMPLEX_HPP
#define EARSHOT_FFT_COMPLEX_HPP

#include "fft/kernels.hpp"

#include <bit>

namespace earshot {

// A power of two from least to 1024.
constexpr bool is_transform_size(s32 n, s32 least) {
    return n >= least && n <= 1024 && std::has_single_bit(static_cast<u32>(n));
}

constexpr s32 log2_of(s32 n) { return std::countr_zero(static_cast<u32>(n)); }

// How many of the 31 bits of a magnitude must be free for the plain form of a transform of n
// complex values, by the library's own twiddles or by any.
//
// Own twiddles have a modulus of 1 within 2^-31. A butterfly makes moduli four times as large at
// most, so that words below 2^b end below 2^(b + 1/2) n; each product is off by at most half a unit,
// which makes less than n units in the end. Halving butterflies leave moduli as they are, within a
// few units. A twiddle of any words can be as long as sqrt 2, and a radix-4 stage goes through one.
constexpr s32 headroom_of(variant v, s32 n, bool is_own) {
    return (v == inverse_scaled ? 2 : log2_of(n) + 1) + (is_own ? 0 : log2_of(n) / 2);
}

// Which form may run on words whose magnitudes need these bits.
constexpr form form_for(u32 magnitude_bits, s32 headroom) {
    return headroom < 31 && magnitude_bits >> (31 - headroom) == 0 ? plain : saturating;
}

// Whether a caller's table has the words of the library's own, as far as n complex values need it.
bool is_own_table(const fft_set &set, const s32 *twiddles, s32 n);

// A transform of n complex values, 16 to 1024; other sizes do nothing.
void complex_transform(variant v, const s32 *in, s32 n, const s32 *twiddles, s32 *out);

} // namespace earshot

#endif
