// The kernels of the transforms, a table of them per instruction set. fft/complex.cpp and
// fft/real.cpp choose among them.
#ifndef EARSHOT_FFT_KERNELS_HPP
#define EARSHOT_FFT_KERNELS_HPP

#include "fft/twiddle_rows.hpp"
#include "kernel/isa.hpp"

#include <earshot/types.h>

namespace earshot {

// How a transform adds: that, and the sign of its exponent, is all the three differ in.
enum variant : u32 {
    forward,          // e^(-j...), saturating
    inverse_scaled,   // e^(+j...), halving
    inverse_unscaled, // e^(+j...), wrapping
};

// What the operands of a kernel may be. Both forms give the same bits where plain may run.
enum form : u32 {
    saturating, // anything
    plain,      // so small that no sum overflows (see headroom_of)
};

inline constexpr int variant_count = 3, form_count = 2;

// What is done to samples before a transform: a shift to the right, by 0 to 31 bits, or one that
// rounds half up, by 1 to 31 (see shift_right_rnd of the vector layer).
struct input_shift {
    s32 bits;
    bool rounds;
};

struct fft_kernels {
    // Whether all words are from -2^bits to 2^bits - 1, bits at most 30.
    bool (*are_within)(const s32 *words, s32 count, s32 bits);
    // Whether all words are the same.
    bool (*are_same)(const s32 *a, const s32 *b, s32 count);
    // n complex values.
    void (*complex[variant_count][form_count])(const s32 *in, s32 n, const twiddle_rows &twiddles,
                                               s32 *out);
    // n samples, which are shifted right first, to the packed spectrum.
    void (*real_forward[form_count])(const s32 *in, input_shift shift, s32 n,
                                     const twiddle_rows &twiddles, const recombine_rows &recombine,
                                     s32 *out);
    // Half-length spectrum of n samples to packed spectrum (forward, only saturating), or back, in
    // place.
    void (*recombine[variant_count][form_count])(s32 *spec, s32 n, const recombine_rows &recombine);
};

extern const fft_kernels fft_scalar, fft_sse41, fft_avx2, fft_avx512, fft_neon, fft_wasm;

// The kernels for n complex values, of an instruction set that is available or, where its vectors
// are too wide for so few, of a narrower one.
const fft_kernels &fft_kernels_for(isa i, s32 n);

} // namespace earshot

#endif
