// The kernels of the renderer's two ends, a table of them per instruction set.
#ifndef EARSHOT_HRTF_KERNELS_HPP
#define EARSHOT_HRTF_KERNELS_HPP

#include "kernel/isa.hpp"

#include <earshot/types.h>

namespace earshot {

inline constexpr s32 filter_q = 29; // fraction bits of the library's own filters

// A filter of each ear: as many complex gains as bins.
struct ear_filters {
    const s32 *ear[2];
};

struct hrtf_kernels {
    // ears += spectrum x filters of q fraction bits (any q), rounded and wrapping, over bins 0 to
    // half - 1, half a multiple of 64.
    void (*add_filtered)(s32 *const *ears, const s32 *spectrum, const ear_filters &filters,
                         s32 half, s32 q);
    // Saturating shift to the left by 0 to 31, in place.
    void (*restore_level)(s32 *samples, s32 count, s32 shift);
    // a3d_crossfade but for its result.
    void (*crossfade)(s32 *out, const s32 *old_samples, const s32 *new_samples);
    // To 16 bits, saturating, and two signals interleaved.
    void (*narrow)(s16 *out, const s32 *samples, s32 count);
    void (*interleave)(s32 *out, const s32 *first, const s32 *second, s32 count);
    void (*interleave_narrow)(s16 *out, const s32 *first, const s32 *second, s32 count);
};

extern const hrtf_kernels hrtf_scalar, hrtf_sse41, hrtf_avx2, hrtf_avx512, hrtf_neon, hrtf_wasm;

// The kernels of an instruction set that is available.
const hrtf_kernels &hrtf_kernels_for(isa i);

} // namespace earshot

#endif
