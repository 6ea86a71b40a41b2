// The DC blocker.
#include "kernel/scalar.hpp"

#include <earshot/filters.h>

namespace earshot {
namespace {

constexpr s32 guard_bits = 14;
constexpr s32 quarter_unit = 1 << (guard_bits - 2);

// Closer to 1 for higher rates, so that the corner stays in the lowest octaves.
constexpr u16 pole(s32 rate) {
    if (rate <= 8000) return 29490;
    if (rate <= 16000) return 31456;
    if (rate <= 22050) return 32440;
    if (rate <= 32000) return 32570;
    if (rate <= 48000) return 32638;
    if (rate <= 64000) return 32670;
    return 32702;
}

s32 run_stage(s32 x, s16 coef, s32 &xprev, s32 &yprev) {
    const s32 difference = ARM_s32_shl_s32_sat(ARM_s32_sub_s32_s32_sat(x, xprev), guard_bits);
    yprev = ARM_s32_add_s32_s32_sat(difference, ARM_s32_mult_s32_s16_rnd_sat(yprev, coef));
    xprev = x;
    return ARM_s32_add_s32_s32_sat(yprev, quarter_unit) >> guard_bits;
}

} // namespace
} // namespace earshot

using namespace earshot;

extern "C" {

u32 dc_block_init(u16 *coef, dc_block_handle *handle, s32 sample_rate, s32 *xprev, s32 *yprev) {
    *coef = pole(sample_rate);
    *handle = {xprev, yprev};
    for (int stage = 0; stage < 2; ++stage) xprev[stage] = yprev[stage] = 0;
    return EARSHOT_OK;
}

s32 dc_block(const s32 *in, s32 *out, s16 coef, s32 *xprev, s32 *yprev, s32 stages, s32 n) {
    for (s32 i = 0; i < n; ++i) {
        s32 v = in[i];
        for (s32 stage = 0; stage < stages; ++stage)
            v = run_stage(v, coef, xprev[stage], yprev[stage]);
        out[i] = v;
    }
    return n;
}

} // extern "C"
