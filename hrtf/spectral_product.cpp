#include "hrtf/spectral_product.hpp"

#include "kernel/saturate.hpp"

namespace earshot {
namespace {

constexpr s32 real_product(s32 value, s32 gain, s32 q) {
    return ARM_s32_saturate_s64(s64{value} * gain >> q);
}

// Rounded half up by way of one more bit: adding the half before the shift could overflow.
constexpr s32 rounded(s64 product, s32 q) { return low_s32(((product >> (q - 1)) + 1) >> 1); }

} // namespace

void spectral_product(s32 *out, const s32 *spectrum, const s32 *filter, s32 half, s32 q) {
    out[0] = real_product(spectrum[0], filter[0], q);
    out[1] = 0;
    out[2 * half] = real_product(spectrum[2 * half], filter[1], q);
    out[2 * half + 1] = 0;
    for (s32 i = 2; i < 2 * half; i += 2) {
        const s64 re = spectrum[i], im = spectrum[i + 1];
        const s64 gain_re = filter[i], gain_im = filter[i + 1];
        out[i] = rounded(re * gain_re - im * gain_im, q);
        // Four words of -2^31 make 2^63 here, which wraps.
        out[i + 1] = rounded(wrap_add(re * gain_im, im * gain_re), q);
    }
}

void add_spectrum(s32 *sum, const s32 *term, s32 half) {
    for (s32 i = 0; i < 2 * half + 2; ++i) sum[i] = wrap_add(sum[i], term[i]);
}

} // namespace earshot
