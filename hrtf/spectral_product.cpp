#include "hrtf/spectral_product.hpp"

#include "hrtf/kernels.hpp"
#include "kernel/saturate.hpp"

namespace earshot {
namespace {

constexpr s32 kernel_q = 29; // what the kernels round to

constexpr s32 real_product(s32 value, s32 gain, s32 q) {
    return ARM_s32_saturate_s64(s64{value} * gain >> q);
}

// Rounded half up by way of one more bit: adding the half before the shift could overflow.
constexpr s32 rounded(s64 product, s32 q) { return low_s32(((product >> (q - 1)) + 1) >> 1); }

// For filters of any format.
void add_filtered(s32 *ear, const s32 *spectrum, const s32 *filter, s32 half, s32 q) {
    for (s32 i = 0; i < 2 * half; i += 2) {
        const s64 re = spectrum[i], im = spectrum[i + 1];
        const s64 gain_re = filter[i], gain_im = filter[i + 1];
        ear[i] = wrap_add(ear[i], rounded(re * gain_re - im * gain_im, q));
        // Four words of -2^31 make 2^63 here, which wraps.
        ear[i + 1] = wrap_add(ear[i + 1], rounded(wrap_add(re * gain_im, im * gain_re), q));
    }
}

} // namespace

void add_filtered_spectrum(s32 *const *ears, s32 *spectrum, const s32 *const *filters, s32 half,
                           s32 q) {
    const s32 dc = spectrum[0], nyquist = spectrum[2 * half];
    // So that bin 0, whose gains are none of a complex product, passes as any other.
    spectrum[0] = spectrum[1] = 0;
    if (q == kernel_q)
        hrtf_set_at(active_level()).add_filtered(ears, spectrum, {{filters[0], filters[1]}}, half);
    for (s32 c = 0; c < 2; ++c) {
        s32 *const ear = ears[c];
        if (q != kernel_q) add_filtered(ear, spectrum, filters[c], half, q);
        ear[0] = wrap_add(ear[0], real_product(dc, filters[c][0], q));
        ear[2 * half] = wrap_add(ear[2 * half], real_product(nyquist, filters[c][1], q));
    }
}

} // namespace earshot

