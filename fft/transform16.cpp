// The transforms of 16-bit data. Their order is that of the 32-bit ones (fft/stages.cpp), so that
// the twiddle tables are the same; but sums are exact, and what is stored is rounded once per
// stage.
#include "fft/complex.hpp"
#include "fft/tables.hpp"
#include "kernel/complex.hpp"

#include <earshot/fft.h>

#include <cstddef>

namespace earshot {
namespace {

constexpr s32 least_size = 16;
constexpr s32 least_complex_size = 8; // that of the least real transform
constexpr s32 words_per_twiddle = 6;

constexpr bool is_real_transform16(s32 n, s32 stride) {
    return is_transform_size(n, least_size) && stride >= 1 && stride <= 1024 / n;
}

struct point {
    s64 re, im;
};

constexpr point operator+(point a, point b) { return {a.re + b.re, a.im + b.im}; }
constexpr point operator-(point a, point b) { return {a.re - b.re, a.im - b.im}; }
constexpr point operator*(point a, point b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
constexpr point conjugate(point a) { return {a.re, -a.im}; }
constexpr point times_q31_one(point a) { return {a.re * (s64{1} << 31), a.im * (s64{1} << 31)}; }

point load(const s16 *p) { return {p[0], p[1]}; }

// Stores a / 2^n, n >= 1.
void store(s16 *p, point a, s32 n) {
    p[0] = ARM_s16_saturate_s32(ARM_s32_saturate_s64(shift_right_rounded(a.re, n)));
    p[1] = ARM_s16_saturate_s32(ARM_s32_saturate_s64(shift_right_rounded(a.im, n)));
}

// --- Complex transform --------------------------------------------------------------------------

struct four_points {
    point of[4];
};

// Results are 2^31 times the sums. Entries 1 and 3 of the table lack a quarter turn, which is given
// to x0 - x1.
four_points butterfly(const four_points &x, const s32 *w, bool inverse) {
    const auto factor = [=](int k) {
        const point f = {w[2 * k], w[2 * k + 1]};
        return inverse ? conjugate(f) : f;
    };
    const point s01 = x.of[0] + x.of[1], s23 = x.of[2] + x.of[3];
    const point d01 = x.of[0] - x.of[1], d23 = x.of[2] - x.of[3];
    const point turned = inverse ? point{d01.im, -d01.re} : point{-d01.im, d01.re};
    return {times_q31_one(s01 + s23), (turned + d23) * factor(0), (s01 - s23) * factor(1),
            (turned - d23) * factor(2)};
}

// From in to out in bit-reversed order, with a factor of 2^up / 4.
void first_stage(const s16 *in, s32 n, const s32 *twiddles, bool inverse, s32 up, s16 *out) {
    const s32 quarter = n / 4, index_bits = log2_of(n) - 2;
    for (s32 i = 0; i < quarter; ++i) {
        const s32 group = s32_bitrev_s32(i, index_bits);
        // The middle operands stand in bit-reversed order, as in every stage.
        const four_points y =
            butterfly({load(in + 2 * i), load(in + 2 * (i + 2 * quarter)),
                       load(in + 2 * (i + quarter)), load(in + 2 * (i + 3 * quarter))},
                      twiddles + words_per_twiddle * group, inverse);
        for (s32 k = 0; k < 4; ++k) store(out + 2 * (4 * group + k), y.of[k], 33 - up);
    }
}

void butterfly_in_place(s16 *data, std::ptrdiff_t span, const s32 *twiddle, bool inverse) {
    s16 *at[4];
    for (s32 k = 0; k < 4; ++k) at[k] = data + 2 * span * k;
    const four_points y =
        butterfly({load(at[0]), load(at[1]), load(at[2]), load(at[3])}, twiddle, inverse);
    for (s32 k = 0; k < 4; ++k) store(at[k], y.of[k], 33);
}

void radix2_stage(s16 *data, s32 n) {
    for (s16 *p = data; p < data + n; p += 2) {
        const point a = load(p), b = load(p + n);
        store(p, a + b, 1);
        store(p + n, a - b, 1);
    }
}

// With a factor of 2^up / n.
void complex16(const s16 *in, s32 n, bool inverse, s32 up, s16 *out) {
    first_stage(in, n, &fft_twiddles[0][0], inverse, up, out);
    s32 span = 4;
    for (; 4 * span <= n; span *= 4) {
        for (s32 block = 0; block < n / (4 * span); ++block) {
            s16 *data = out + 8 * span * block;
            for (s32 k = 0; k < span; ++k) {
                butterfly_in_place(data + 2 * k, span, fft_twiddles[block], inverse);
            }
        }
    }
    if (span < n) radix2_stage(out, n);
}

// --- Real transforms ----------------------------------------------------------------------------

// Bins k and n/2 - k of the half-length spectrum from those of the packed one (inverse) or the
// other way round, with a factor of 2^up; from and to may be the same.
void recombine_bins(const s16 *from, s16 *to, s32 n, bool inverse, s32 up,
                    const s32 *recombine_twiddles, s32 stride) {
    for (s32 k = 1; k <= n / 4; ++k) {
        const point a = load(from + 2 * k), mirrored = conjugate(load(from + n - 2 * k));
        const s32 *w = recombine_twiddles + 2 * (k * stride - 1);
        const point factor = {-s64{w[0]},
                              inverse ? s64{w[1]} : -s64{w[1]}}; // -+j times e^(-+j theta)
        const point even = times_q31_one(a + mirrored), odd = (a - mirrored) * factor;
        store(to + 2 * k, even + odd, 32 - up);
        store(to + n - 2 * k, conjugate(even - odd), 32 - up);
    }
}

void recombine(s16 *spec, s32 n, const s32 *recombine_twiddles, s32 stride) {
    const point first = load(spec);
    store(spec, times_q31_one({first.re + first.im, 0}), 31);
    store(spec + n, times_q31_one({first.re - first.im, 0}), 31);
    recombine_bins(spec, spec, n, false, 0, recombine_twiddles, stride);
}

// With a factor of 2 x 2^up / n.
void real16_forward(const s16 *in, s32 n, s32 up, s16 *out) {
    complex16(in, n / 2, false, up, out);
    recombine(out, n, &fft_recombine_twiddles[0][0], 1024 / n);
}

// With a factor of 2^up / n.
void real16_inverse(const s16 *in, s32 n, s32 up, s16 *out) {
    s16 half_length[1024];
    store(half_length, times_q31_one({s64{in[0]} + in[n], s64{in[0]} - in[n]}), 32 - up);
    recombine_bins(in, half_length, n, true, up, &fft_recombine_twiddles[0][0], 1024 / n);
    complex16(half_length, n / 2, true, 0, out);
}

// --- Block scaling ------------------------------------------------------------------------------

// Bits in which some word differs from its sign.
u32 used_bits(const s16 *words, s32 count) {
    u32 used = 0;
    for (s32 i = 0; i < count; ++i) used |= static_cast<u32>(words[i] ^ (words[i] >> 15));
    return used;
}

// Left shifts that use all 16 bits; 15 for nothing but 0 and -1.
constexpr s32 headroom(u32 used) { return 15 - static_cast<s32>(std::bit_width(used)); }

} // namespace
} // namespace earshot

using namespace earshot;

extern "C" {

u32 c_fft(const s16 *in, s32 n, u32 inverse, s16 *out) {
    if (!is_transform_size(n, least_size)) return EARSHOT_BAD_VALUE;
    complex16(in, n, inverse != 0, 0, out);
    return EARSHOT_OK;
}

u32 fft1(const s16 *in, s32 n, u32 inverse, s16 *out, s32 *exponent) {
    if (!is_transform_size(n, least_size)) return EARSHOT_BAD_VALUE;
    const s32 up = headroom(used_bits(in, 2 * n)) - 1;
    complex16(in, n, inverse != 0, up, out);
    *exponent = log2_of(n) - up;
    return EARSHOT_OK;
}

u32 r_fft(const s16 *in, s32 n, u32 inverse, s16 *out) {
    if (!is_transform_size(n, least_size)) return EARSHOT_BAD_VALUE;
    if (inverse == 0)
        real16_forward(in, n, -1, out);
    else
        real16_inverse(in, n, 0, out);
    return EARSHOT_OK;
}

u32 fft1r(const s16 *in, s32 n, u32 inverse, s16 *out, s32 *exponent) {
    if (!is_transform_size(n, least_size)) return EARSHOT_BAD_VALUE;
    if (inverse == 0) {
        const s32 up = headroom(used_bits(in, n)) - 1;
        real16_forward(in, n, up, out);
        *exponent = log2_of(n) - 1 - up;
    } else {
        // Without the imaginary words of the first and the last bin.
        const s32 up = headroom(used_bits(in, 1) | used_bits(in + 2, n - 1)) - 2;
        real16_inverse(in, n, up, out);
        *exponent = log2_of(n) - up;
    }
    return EARSHOT_OK;
}

void fftRadix4Stage1(const s16 *in, s32 n, const s32 *twiddles, s16 *out, s32) {
    if (is_transform_size(n, least_complex_size)) first_stage(in, n, twiddles, false, 0, out);
}

void ButterflyRadix4Scaled(s16 *data, s32 span, const s32 *twiddle) {
    butterfly_in_place(data, span, twiddle, false);
}

void rfftStage(s16 *spec, s32 n, const s32 *recombine_twiddles, s32 stride) {
    if (is_real_transform16(n, stride)) recombine(spec, n, recombine_twiddles, stride);
}

} // extern "C"
