// The kernels that rotate the channels of a degree, a table of them per instruction set.
#ifndef EARSHOT_FIELD_KERNELS_HPP
#define EARSHOT_FIELD_KERNELS_HPP

#include "field/order.hpp"
#include "kernel/isa.hpp"

namespace earshot {

// A matrix of a degree, row by row, Q30, and for one that is on its way what it still lacks of it
// at each sample: `rest`, of which the weights, Q31 and not below 0, tell the share.
struct field_matrix {
    const s32 *to, *rest;
};

// Samples begin to begin + count - 1 of the 2n + 1 channels of a degree, in place; weights[0] is
// that of the first. Returns how many samples were clipped. A count of 2^26 is the largest.
struct field_kernels {
    u32 (*steady[EARSHOT_FIELD_ORDER])(const field_matrix &matrix, const s32 *weights,
                                       s32 *const *channels, u32 begin, s32 count);
    u32 (*ramp[EARSHOT_FIELD_ORDER])(const field_matrix &matrix, const s32 *weights,
                                     s32 *const *channels, u32 begin, s32 count);
};

extern const field_kernels field_scalar, field_sse41, field_avx2, field_avx512, field_neon,
    field_wasm;

// The kernels of an instruction set that is available.
const field_kernels &field_kernels_for(isa i);

} // namespace earshot

#endif
