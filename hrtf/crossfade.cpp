#include "hrtf/kernels.hpp"

#include <earshot/hrtf.h>

extern "C" {

s32 a3d_crossfade(s32 *out, const s32 *old_samples, const s32 *new_samples) {
    earshot::hrtf_kernels_for(earshot::active_isa()).crossfade(out, old_samples, new_samples);
    return out[HRTF_CROSSFADE_FRAMES - 1];
}

} // extern "C"
