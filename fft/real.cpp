// The real transforms: a complex transform of half the length over pairs of samples, and the stage
// that splits its spectrum into those of the even and the odd samples and joins them.
#include "fft/real.hpp"

#include "fft/complex.hpp"

#include <earshot/fft.h>

namespace earshot {
namespace {

constexpr s32 least_size = 32;

// The stride picks pairs within the 256 of the table.
constexpr bool is_real_transform(s32 n, s32 stride) {
    return is_transform_size(n, least_size) && stride >= 1 && stride <= 1024 / n;
}

void split_stage(variant v, s32 *spec, s32 n, const s32 *split_twiddles, s32 stride) {
    if (is_real_transform(n, stride)) fft_stages_of(v).split(spec, n, split_twiddles, stride);
}

void inverse(variant v, s32 *spec, s32 n, const s32 *twiddles, const s32 *split_twiddles,
             s32 stride, s32 *out) {
    if (!is_real_transform(n, stride)) return;
    split_stage(v, spec, n, split_twiddles, stride);
    complex_transform(v, spec, n / 2, twiddles, out);
}

} // namespace

void rfft_32x32(const s32 *in, s32 n, const s32 *twiddles, const s32 *split_twiddles, s32 stride,
                s32 *out) {
    if (!is_real_transform(n, stride)) return;
    complex_transform(forward, in, n / 2, twiddles, out);
    split_stage(forward, out, n, split_twiddles, stride);
}

void rifft_32x32_scaled(s32 *spec, s32 n, const s32 *twiddles, const s32 *split_twiddles,
                        s32 stride, s32 *out) {
    inverse(inverse_scaled, spec, n, twiddles, split_twiddles, stride, out);
}

} // namespace earshot

using namespace earshot;

extern "C" {

void Vorkel_rfft_32x32(const s32 *in, s32 n, const s32 *twiddles, const s32 *split_twiddles,
                       s32 stride, s32 *out) {
    rfft_32x32(in, n, twiddles, split_twiddles, stride, out);
}
void Vorkel_rifft_32x32_scaled(s32 *spec, s32 n, const s32 *twiddles, const s32 *split_twiddles,
                               s32 stride, s32 *out) {
    rifft_32x32_scaled(spec, n, twiddles, split_twiddles, stride, out);
}
void Vorkel_rifft_32x32(s32 *spec, s32 n, const s32 *twiddles, const s32 *split_twiddles,
                        s32 stride, s32 *out) {
    inverse(inverse_unscaled, spec, n, twiddles, split_twiddles, stride, out);
}

void rfftStage_32x32_neon(s32 *spec, s32 n, const s32 *split_twiddles, s32 stride) {
    split_stage(forward, spec, n, split_twiddles, stride);
}
void rifftStage_32x32_neon(s32 *spec, s32 n, const s32 *split_twiddles, s32 stride) {
    split_stage(inverse_scaled, spec, n, split_twiddles, stride);
}
void rifftStage_32x32_neon_noscale(s32 *spec, s32 n, const s32 *split_twiddles, s32 stride) {
    split_stage(inverse_unscaled, spec, n, split_twiddles, stride);
}

} // extern "C"
