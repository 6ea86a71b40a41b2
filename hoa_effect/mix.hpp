// The mixing kernels of the ambisonic effect, a table of them per instruction set.
#ifndef EARSHOT_HOA_EFFECT_MIX_HPP
#define EARSHOT_HOA_EFFECT_MIX_HPP

#include "kernel/isa.hpp"

#include <earshot/types.h>

namespace earshot {

inline constexpr int mix_channels = 4;

// Q31, [output][input].
using mix_matrix = s32[mix_channels][mix_channels];

// Samples begin to end - 1 of four channels, Sample s16 (Q15) or s32 (Q31). All inputs of an index
// are read before any output of that index is written, so input and output may be the same buffers.
template <class Sample> struct mix_loops {
    // With a constant matrix.
    void (*steady)(const mix_matrix &m, Sample *const *out, const Sample *const *in, s32 begin,
                   s32 end);
    // With a matrix that is stepped (wrapping) before every sample and left as the last sample
    // used it.
    void (*ramp)(mix_matrix &m, const mix_matrix &step, Sample *const *out, const Sample *const *in,
                 s32 begin, s32 end);
};

struct mix_kernels {
    mix_loops<s16> narrow;
    mix_loops<s32> wide;
};

extern const mix_kernels mix_scalar, mix_sse41, mix_avx2, mix_avx512, mix_neon, mix_wasm;

// The kernels of an instruction set that is available.
const mix_kernels &mix_kernels_for(isa i);

} // namespace earshot

#endif
