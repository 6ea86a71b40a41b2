// The stages of the transforms, one set per instruction set. fft/complex.cpp and fft/real.cpp put
// them together.
#ifndef EARSHOT_FFT_KERNELS_HPP
#define EARSHOT_FFT_KERNELS_HPP

#include "kernel/level.hpp"

#include <earshot/types.h>

namespace earshot {

// How a transform adds: that, and the sign of its exponent, is all the three differ in.
enum variant : u32 {
    forward,          // e^(-j...), saturating
    inverse_scaled,   // e^(+j...), halving
    inverse_unscaled, // e^(+j...), wrapping
};

inline constexpr int variant_count = 3;

// n is the size of the complex transform, of the real one for split; log2n its logarithm.
struct fft_stages {
    // Span n/4, from in in natural order to out in bit-reversed order.
    void (*first)(const s32 *in, s32 n, const s32 *twiddles, s32 *out, s32 log2n);
    // The radix-4 stages behind the first, in place.
    void (*later)(s32 *data, s32 n, const s32 *twiddles, s32 log2n);
    // The stage without twiddles for odd log2n, in place.
    void (*radix2)(s32 *data, s32 n);
    // Half-length spectrum to packed spectrum (forward), or back, in place.
    void (*split)(s32 *spec, s32 n, const s32 *split_twiddles, s32 stride);
};

struct fft_set {
    fft_stages of[variant_count];
};

extern const fft_set fft_scalar, fft_avx2, fft_neon;

// The stages of a variant at the active level.
const fft_stages &fft_stages_of(variant v);

} // namespace earshot

#endif
