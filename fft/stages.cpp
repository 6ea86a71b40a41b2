// The stages of the complex transforms by themselves, in bit-reversed order and in place, one value
// at a time: the transforms do without them (see fft/transform.inl), and what tests compare those
// with is made of them.
#include "fft/butterfly.inl"
#include "fft/complex.hpp"

#include <earshot/fft.h>

namespace earshot {
namespace {

using scalar = vec_scalar;

constexpr s32 least_size = 16;
constexpr s32 words_per_entry = 6;

// Four values a step apart in, four another step apart out, which may be the same.
template <variant v>
void butterfly_at(const s32 *in, s32 in_step, const s32 *entry, s32 *out, s32 out_step) {
    const auto imaginary = [&](s32 k) {
        return v == forward ? entry[k] : scalar::neg_sat(entry[k]);
    };
    const twiddle<scalar> w = {
        {entry[0], imaginary(1)}, {entry[2], imaginary(3)}, {entry[4], imaginary(5)}};
    const auto operand = [&](s32 q) -> complex_lanes<scalar> {
        return {in[2 * q * in_step], in[2 * q * in_step + 1]};
    };
    complex_lanes<scalar> x0 = operand(0), x1 = operand(1), x2 = operand(2), x3 = operand(3);
    butterfly<scalar, v, saturating>(x0, x1, x2, x3, w);
    const auto put = [&](s32 q, const complex_lanes<scalar> &value) {
        scalar::store_interleaved(out + 2 * q * out_step, value.re, value.im);
    };
    put(0, x0);
    put(1, x1);
    put(2, x2);
    put(3, x3);
}

template <variant v> void first_stage(const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    if (!is_transform_size(n, least_size)) return;
    // The middle operands stand in bit-reversed order, as in the later stages.
    const auto reversed = [=](s32 i) {
        s32 result = 0;
        for (s32 bit = 1; bit < n; bit *= 2) result = 2 * result + ((i & bit) != 0 ? 1 : 0);
        return result;
    };
    for (s32 block = 0; block < n / 4; ++block) {
        s32 x[8];
        for (s32 q = 0; q < 4; ++q) {
            const s32 *from = in + 2 * reversed(4 * block + q);
            scalar::store_interleaved(x + 2 * q, from[0], from[1]);
        }
        butterfly_at<v>(x, 1, twiddles + words_per_entry * block, out + 8 * block, 1);
    }
}

template <variant v> void later_stages(s32 *data, s32 n, const s32 *twiddles) {
    if (!is_transform_size(n, least_size)) return;
    for (s32 span = 4; 4 * span <= n; span *= 4) {
        for (s32 block = 0; block < n / (4 * span); ++block) {
            const s32 *entry = twiddles + words_per_entry * block;
            for (s32 k = 0; k < span; ++k) {
                s32 *p = data + 2 * (4 * span * block + k);
                butterfly_at<v>(p, span, entry, p, span);
            }
        }
    }
}

template <variant v> void radix2_stage(s32 *data, s32 n) {
    using op = arithmetic<scalar, v, saturating>;
    if (!is_transform_size(n, least_size)) return;
    for (s32 i = 0; i < n; ++i) {
        const auto y = op::add_sub(data[i], data[n + i]);
        data[i] = y.first;
        data[n + i] = y.second;
    }
}

} // namespace
} // namespace earshot

using namespace earshot;

extern "C" {

void fftRadix4Stage1_32x32_neon(const s32 *in, s32 n, const s32 *twiddles, s32 *out, s32) {
    first_stage<forward>(in, n, twiddles, out);
}
void ifftRadix4Stage1_32x32_neon(const s32 *in, s32 n, const s32 *twiddles, s32 *out, s32) {
    first_stage<inverse_scaled>(in, n, twiddles, out);
}
void ifftRadix4Stage1_32x32_neon_noscale(const s32 *in, s32 n, const s32 *twiddles, s32 *out, s32) {
    first_stage<inverse_unscaled>(in, n, twiddles, out);
}
void fftRadix4Stage_32x32_neon(s32 *data, s32 n, const s32 *twiddles, s32) {
    later_stages<forward>(data, n, twiddles);
}
void ifftRadix4Stage_32x32_neon(s32 *data, s32 n, const s32 *twiddles, s32) {
    later_stages<inverse_scaled>(data, n, twiddles);
}
void ifftRadix4Stage_32x32_neon_noscale(s32 *data, s32 n, const s32 *twiddles, s32) {
    later_stages<inverse_unscaled>(data, n, twiddles);
}
void fftRadix2Stage_neon(s32 *data, s32 n) { radix2_stage<forward>(data, n); }
void ifftRadix2Stage_neon(s32 *data, s32 n) { radix2_stage<inverse_scaled>(data, n); }
void ifftRadix2Stage_neon_noscale(s32 *data, s32 n) { radix2_stage<inverse_unscaled>(data, n); }

} // extern "C"
