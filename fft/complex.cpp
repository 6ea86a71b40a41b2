// The complex transforms: the entry points and their stages by themselves.
#include "fft/complex.hpp"

#include <earshot/fft.h>

namespace earshot {
namespace {

constexpr s32 least_size = 16;

void first_stage(variant v, const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    if (is_transform_size(n, least_size)) fft_stages_of(v).first(in, n, twiddles, out, log2_of(n));
}

void later_stages(variant v, s32 *data, s32 n, const s32 *twiddles) {
    if (is_transform_size(n, least_size)) fft_stages_of(v).later(data, n, twiddles, log2_of(n));
}

void radix2_stage(variant v, s32 *data, s32 n) {
    if (is_transform_size(n, least_size)) fft_stages_of(v).radix2(data, n);
}

} // namespace

void complex_transform(variant v, const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    if (!is_transform_size(n, least_size)) return;
    const fft_stages &stages = fft_stages_of(v);
    const s32 log2n = log2_of(n);
    stages.first(in, n, twiddles, out, log2n);
    stages.later(out, n, twiddles, log2n);
    if (log2n % 2 != 0) stages.radix2(out, n);
}

} // namespace earshot

using namespace earshot;

extern "C" {

void cmplxfft32x32(const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    complex_transform(forward, in, n, twiddles, out);
}
void cmplxifft32x32_scaled(const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    complex_transform(inverse_scaled, in, n, twiddles, out);
}
void cmplxifft32x32(const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    complex_transform(inverse_unscaled, in, n, twiddles, out);
}

void fftRadix4Stage1_32x32_neon(const s32 *in, s32 n, const s32 *twiddles, s32 *out, s32) {
    first_stage(forward, in, n, twiddles, out);
}
void ifftRadix4Stage1_32x32_neon(const s32 *in, s32 n, const s32 *twiddles, s32 *out, s32) {
    first_stage(inverse_scaled, in, n, twiddles, out);
}
void ifftRadix4Stage1_32x32_neon_noscale(const s32 *in, s32 n, const s32 *twiddles, s32 *out, s32) {
    first_stage(inverse_unscaled, in, n, twiddles, out);
}
void fftRadix4Stage_32x32_neon(s32 *data, s32 n, const s32 *twiddles, s32) {
    later_stages(forward, data, n, twiddles);
}
void ifftRadix4Stage_32x32_neon(s32 *data, s32 n, const s32 *twiddles, s32) {
    later_stages(inverse_scaled, data, n, twiddles);
}
void ifftRadix4Stage_32x32_neon_noscale(s32 *data, s32 n, const s32 *twiddles, s32) {
    later_stages(inverse_unscaled, data, n, twiddles);
}
void fftRadix2Stage_neon(s32 *data, s32 n) { radix2_stage(forward, data, n); }
void ifftRadix2Stage_neon(s32 *data, s32 n) { radix2_stage(inverse_scaled, data, n); }
void ifftRadix2Stage_neon_noscale(s32 *data, s32 n) { radix2_stage(inverse_unscaled, data, n); }

} // extern "C"
