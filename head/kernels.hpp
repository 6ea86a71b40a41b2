// The kernel that makes a pair of filters out of a head's records, for every instruction set.
#ifndef EARSHOT_HEAD_KERNELS_HPP
#define EARSHOT_HEAD_KERNELS_HPP

#include "head/format.hpp"
#include "kernel/isa.hpp"

namespace earshot {

inline constexpr u32 weight_bits = 14;

// What filters are interpolated from.
struct head_blend {
    const s32 *record[2][3]; // of every ear and vertex
    u32 weight[3];           // of the vertices, Q14, 1 in all
    u32 turn[2];             // what the delay of every ear turns half a bin by, 2^-32 turns
};

struct head_kernels {
    void (*make_filters)(s32 (*ears)[filter_words], const head_blend &blend);
};

extern const head_kernels head_scalar, head_sse41, head_avx2, head_avx512, head_neon, head_wasm;

// The kernels of an instruction set that is available.
const head_kernels &head_kernels_for(isa i);

} // namespace earshot

#endif
