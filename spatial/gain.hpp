// The kernels of the panners, a table of them per instruction set: samples times gains.
#ifndef EARSHOT_SPATIAL_GAIN_HPP
#define EARSHOT_SPATIAL_GAIN_HPP

#include "kernel/isa.hpp"

#include <earshot/types.h>

namespace earshot {

// out may be in; vectors are used where out does not begin within one of them after in, which makes
// the result that of the ascending loop for every overlap.
struct gain_loops {
    // One gain for all samples.
    void (*steady)(s32 *out, const s32 *in, s32 gain, s64 count);
    // Gains on a line from start on by step, which wraps. That of q15 has 16 more fraction bits.
    void (*ramp)(s32 *out, const s32 *in, s32 start, s32 step, s64 count);
};

struct gain_kernels {
    gain_loops q15; // (in x gain + 2^14) >> 15, low 32 bits; gains of 16 bits
    gain_loops q28; // (low 32 bits of in x gain + 2^27) >> 28
};

extern const gain_kernels gain_scalar, gain_sse41, gain_avx2, gain_avx512, gain_neon, gain_wasm;

const gain_kernels &gain_kernels_for(isa i);

} // namespace earshot

#endif
