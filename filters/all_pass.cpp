// The second-order all-pass section.
#include "filters/section.hpp"

#include <earshot/filters.h>

namespace earshot {
namespace {

template <class Scale>
void all_pass(const s32 *in, s32 *out, s32 n, const s32 *coefs, s32 *state, Scale scale) {
    const s32 c0 = coefs[0], c1 = coefs[1];
    s32 x1 = state[0], x2 = state[1], y1 = state[2], y2 = state[3];
    for (s32 i = 0; i < n; ++i) {
        const s32 x = in[i];
        const s64 feed_forward = wrap_add(
            wrap_add(ARM_s64_mult_s32_s32(c0, x), ARM_s64_mult_s32_s32(c1, x1)), scale.raise(x2));
        const s64 feedback = wrap_add(ARM_s64_mult_s32_s32(c1, y1), ARM_s64_mult_s32_s32(c0, y2));
        const s32 y = ARM_s32_saturate_s64(scale.lower(wrap_sub(feed_forward, feedback)));
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        out[i] = y;
    }
    state[0] = x1;
    state[1] = x2;
    state[2] = y1;
    state[3] = y2;
}

} // namespace
} // namespace earshot

extern "C" {

void iirDF1_32_ap(const s32 *in, s32 *out, s32 n, const s32 *coefs, s32 *state, s32 shift) {
    if (n < 1) return;
    earshot::with_scale(shift,
                        [=](auto scale) { earshot::all_pass(in, out, n, coefs, state, scale); });
}

} // extern "C"
