// The kernels of the renderer whose headroom follows the signal, a table of them per instruction
// set. Windows and transforms have 256 samples.
#ifndef EARSHOT_BINAURAL_KERNELS_HPP
#define EARSHOT_BINAURAL_KERNELS_HPP

#include "kernel/isa.hpp"

#include <earshot/binaural.h>

namespace earshot {

inline constexpr s32 window_length = 256;
inline constexpr s32 spectrum_words = window_length + 2; // bins 0 to 128

// The spectra of both ears, each at the beginning of a cache line.
struct both_ears {
    static constexpr s32 room = (spectrum_words + 15) / 16 * 16;
    s32 ear[2][room];
};

// Blocks of samples of both ears, without what lies before the frame.
struct both_signals {
    const s32 *ear[2];
};

// Fraction bits of the gains as products are shifted: a product is put on the scale of the sums by
// 29 to 32 bits.
inline constexpr s32 least_q = 29, most_q = 32;

struct binaural_kernels {
    // 0 where all 256 words are 0, else a bound on the sum of their magnitudes in units of 256.
    u32 (*magnitude)(const s32 *words);
    // sums += spectrum x filters / 2^(q - least_q), rounded and wrapping, bins 0 to 127; one for
    // each q. Bin 0 is taken for any other: its real word is right, its imaginary word is not.
    void (*add_filtered[most_q - least_q + 1])(both_ears &sums, const s32 *spectrum,
                                               const earshot_filter_pair &filters);
    // The same by two pairs at once: before += spectrum x from, after += spectrum x to.
    void (*add_fading[most_q - least_q + 1])(both_ears &before, both_ears &after,
                                             const s32 *spectrum, const earshot_filter_pair &from,
                                             const earshot_filter_pair &to);
    // 256 words / 2^shift, rounded half up, in place; shift 1 to 31, words below 2^31 - 1 if it
    // is 1.
    void (*shift_right_rnd)(s32 *words, s32 shift);
    // Pairs of after + (before - after) x weight, rounded, the weights Q31; words within 2^30.
    void (*fade)(s32 *out, const both_signals &before, const both_signals &after,
                 const s32 *weights, s32 count);
};

extern const binaural_kernels binaural_scalar, binaural_sse41, binaural_avx2, binaural_avx512,
    binaural_neon, binaural_wasm;

// The kernels of an instruction set that is available.
const binaural_kernels &binaural_kernels_for(isa i);

} // namespace earshot

#endif
