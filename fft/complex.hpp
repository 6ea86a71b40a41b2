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

// A transform of n complex values, 16 to 1024; other sizes do nothing.
void complex_transform(variant v, const s32 *in, s32 n, const s32 *twiddles, s32 *out);

} // namespace earshot

#endif
