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
// complex values by the library's own twiddles. Nothing must overflow, and what is multiplied must
// not pass 2^30 (see first_butterfly).
//
// Those twiddles have a modulus of 1 within 2^-31. A butterfly makes moduli four times as large at
// most: from words below 2^b come moduli below 2^(b + 1/2) n. Rounding adds less than n units to
// that. Halving butterflies leave moduli as they are, within a few units.
constexpr s32 headroom_of(variant v, s32 n) { return v == inverse_scaled ? 2 : log2_of(n) + 2; }

// The form for words of which so much headroom is asked.
inline form form_for(const fft_kernels &kernels, const s32 *words, s32 count, s32 headroom) {
    return kernels.are_within(words, count, 31 - headroom) ? plain : saturating;
}

// Whether a caller's table has the words of the library's own, as far as n complex values need it.
bool is_own_table(const fft_kernels &kernels, const s32 *twiddles, s32 n);

// A transform of n complex values, 16 to 1024; other sizes do nothing.
void complex_transform(variant v, const s32 *in, s32 n, const s32 *twiddles, s32 *out);

} // namespace earshot

#endif
