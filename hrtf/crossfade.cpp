#include "hrtf/crossfade.hpp"

#include "kernel/scalar.hpp"

namespace earshot {
namespace {

constexpr u32 one_q31 = 0x80000000;
constexpr u32 weight_step = one_q31 / HRTF_CROSSFADE_FRAMES;

constexpr s32 weighted(s32 sample, u32 weight) {
    return ARM_s32_saturate_s64(s64{sample} * s64{weight} >> 31);
}

} // namespace

s32 crossfade(s32 *out, const s32 *old_samples, const s32 *new_samples) {
    for (u32 i = 0; i < HRTF_CROSSFADE_FRAMES; ++i) {
        const u32 new_weight = i * weight_step;
        out[i] = ARM_s32_add_s32_s32_sat(weighted(old_samples[i], one_q31 - new_weight),
                                         weighted(new_samples[i], new_weight));
    }
    return out[HRTF_CROSSFADE_FRAMES - 1];
}

} // namespace earshot

extern "C" {

s32 a3d_crossfade(s32 *out, const s32 *old_samples, const s32 *new_samples) {
    return earshot::crossfade(out, old_samples, new_samples);
}

} // extern "C"
