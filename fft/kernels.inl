// The stages of the transforms over the vector layer V; every fft/kernels_*.cpp compiles them for
// one instruction set.
//
// Radix-4 decimation in frequency after the usual split of the index n into four quarters (Cooley
// and Tukey 1965), with results in bit-reversed order: a stage with G groups needs the first G
// entries of the bit-reversed twiddle table, so that one table serves every size and stage.
#include "fft/kernels.hpp"
#include "kernel/vec_scalar.hpp"

namespace earshot {
namespace {

constexpr s32 words_per_twiddle = 6;

// The additions of a variant.
template <class V, variant v> struct adding {
    using s32v = typename V::s32v;
    static s32v add(s32v a, s32v b) {
        return v == forward          ? V::add_sat(a, b)
               : v == inverse_scaled ? V::half_add(a, b)
                                     : V::add(a, b);
    }
    static s32v sub(s32v a, s32v b) {
        return v == forward          ? V::sub_sat(a, b)
               : v == inverse_scaled ? V::half_sub(a, b)
                                     : V::sub(a, b);
    }
};

template <class V> struct complex_lanes { typename V::s32v re, im; };

template <class V> complex_lanes<V> load_complex(const s32 *p) {
    const auto pairs = V::load_pairs(p);
    return {pairs.first, pairs.second};
}

template <class V> void store_complex(s32 *p, const complex_lanes<V> &x) {
    V::store_pairs(p, x.re, x.im);
}

template <class V> complex_lanes<V> multiply(const complex_lanes<V> &x, const complex_lanes<V> &w) {
    const auto p = [](auto a, auto b) { return V::mul_q31_rnd_sat(a, b); };
    return {V::sub_sat(p(x.re, w.re), p(x.im, w.im)), V::add_sat(p(x.re, w.im), p(x.im, w.re))};
}

// A table entry: W^1 and W^3 turned by -90 degrees, W^2 as it is. The inverses take conjugates.
template <class V> struct twiddle { complex_lanes<V> first, second, third; };

// word(k): word k of the entry of every lane.
template <class V, variant v, class Word> twiddle<V> make_twiddle(Word word) {
    const auto imaginary = [&](s32 k) { return v == forward ? word(k) : V::neg_sat(word(k)); };
    return {{word(0), imaginary(1)}, {word(2), imaginary(3)}, {word(4), imaginary(5)}};
}

// The same entry for all lanes.
template <class V, variant v> twiddle<V> broadcast_twiddle(const s32 *entry) {
    return make_twiddle<V, v>([=](s32 k) { return V::splat(entry[k]); });
}

// x[0] to x[3] to y[0] to y[3], in place.
template <class V, variant v> void butterfly(complex_lanes<V> *x, const twiddle<V> &w) {
    using op = adding<V, v>;
    const auto sum = [](const auto &a, const auto &b) -> complex_lanes<V> {
        return {op::add(a.re, b.re), op::add(a.im, b.im)};
    };
    const auto difference = [](const auto &a, const auto &b) -> complex_lanes<V> {
        return {op::sub(a.re, b.re), op::sub(a.im, b.im)};
    };
    const complex_lanes<V> s01 = sum(x[0], x[1]), s23 = sum(x[2], x[3]);
    const complex_lanes<V> d01 = difference(x[0], x[1]), d23 = difference(x[2], x[3]);
    // The table's W^1 and W^3 lack a quarter turn, which is given to x0 - x1 here.
    const complex_lanes<V> turned = v == forward ? complex_lanes<V>{V::neg_sat(d01.im), d01.re}
                                                 : complex_lanes<V>{d01.im, V::neg_sat(d01.re)};
    x[0] = sum(s01, s23);
    x[1] = multiply<V>(sum(turned, d23), w.first);
    x[2] = multiply<V>(difference(s01, s23), w.second);
    x[3] = multiply<V>(difference(turned, d23), w.third);
}

// --- First stage ----------------------------------------------------------------------------

constexpr unsigned reverse_8_bits(unsigned x) {
    x = (x & 0x55) << 1 | (x & 0xAA) >> 1;
    x = (x & 0x33) << 2 | (x & 0xCC) >> 2;
    return (x & 0x0F) << 4 | (x & 0xF0) >> 4;
}

// Writes lane l of y[0] to y[3] to the four positions of block group[l].
template <class V> void scatter(s32 *out, const s32 *group, const complex_lanes<V> *y) {
    s32 words[8][V::width];
    for (int k = 0; k < 4; ++k) {
        V::store(words[2 * k], y[k].re);
        V::store(words[2 * k + 1], y[k].im);
    }
    for (s32 lane = 0; lane < V::width; ++lane) {
        s32 *block = out + 8 * group[lane];
        for (int k = 0; k < 8; ++k) block[k] = words[k][lane];
    }
}

template <class V, variant v>
void first_stage(const s32 *in, s32 n, const s32 *twiddles, s32 *out, s32 log2n) {
    if constexpr (V::width > V::half::width) {
        if (n / 4 < V::width) return first_stage<typename V::half, v>(in, n, twiddles, out, log2n);
    }
    for (s32 i = 0; i < n / 4; i += V::width) {
        s32 group[V::width], offset[V::width];
        for (s32 lane = 0; lane < V::width; ++lane) {
            const unsigned reversed = reverse_8_bits(static_cast<unsigned>(i + lane));
            group[lane] = static_cast<s32>(reversed >> (10 - log2n));
            offset[lane] = words_per_twiddle * group[lane];
        }
        // The middle operands stand in bit-reversed order, as in every stage.
        complex_lanes<V> x[4] = {load_complex<V>(in + 2 * i), load_complex<V>(in + 2 * (i + n / 2)),
                                 load_complex<V>(in + 2 * (i + n / 4)),
                                 load_complex<V>(in + 2 * (i + n / 4 * 3))};
        butterfly<V, v>(x,
                        make_twiddle<V, v>([&](s32 k) { return V::gather(twiddles + k, offset); }));
        scatter<V>(out, group, x);
    }
}

// --- Later stages ---------------------------------------------------------------------------

// One stage of the given span: a block of four spans per table entry.
template <class V, variant v> void radix4_stage(s32 *data, s32 n, s32 span, const s32 *twiddles) {
    for (s32 block = 0; block < n / (4 * span); ++block) {
        const auto w = broadcast_twiddle<V, v>(twiddles + words_per_twiddle * block);
        s32 *base = data + 2 * 4 * span * block;
        for (s32 k = 0; k < span; k += V::width) {
            s32 *p = base + 2 * k;
            complex_lanes<V> x[4];
            for (int q = 0; q < 4; ++q) x[q] = load_complex<V>(p + 2 * span * q);
            butterfly<V, v>(x, w);
            for (int q = 0; q < 4; ++q) store_complex<V>(p + 2 * span * q, x[q]);
        }
    }
}

template <class V, variant v> void later_stages(s32 *data, s32 n, const s32 *twiddles, s32 log2n) {
    s32 span = 4;
    for (s32 stage = 1; stage < log2n / 2; ++stage, span *= 4) {
        if (span < V::width)
            radix4_stage<typename V::half, v>(data, n, span, twiddles);
        else
            radix4_stage<V, v>(data, n, span, twiddles);
    }
}

template <class V, variant v> void radix2_stage(s32 *data, s32 n) {
    using op = adding<V, v>;
    for (s32 i = 0; i < n; i += V::width) {
        const auto a = V::load(data + i), b = V::load(data + n + i);
        V::store(data + i, op::add(a, b));
        V::store(data + n + i, op::sub(a, b));
    }
}

// --- Split stage of the real transforms -----------------------------------------------------

template <variant v> void split_dc_and_nyquist(s32 *spec, s32 n) {
    using op = adding<vec_scalar, v>;
    // The half-length spectrum has (even, odd) sums in bin 0, the packed one DC and Nyquist apart.
    const s32 a = spec[0];
    const s32 b = v == forward ? spec[1] : spec[n];
    spec[0] = op::add(a, b);
    if (v == forward) {
        spec[1] = 0;
        spec[n] = op::sub(a, b);
        spec[n + 1] = 0;
    } else {
        spec[1] = op::sub(a, b);
    }
}

// Bins k and n/2 - k together, from k on in the lanes, the mirrored ones reversed.
template <class V, variant v> void split_bins(s32 *low, s32 *high, const complex_lanes<V> &w) {
    using op =
        adding<V, v == forward ? inverse_scaled : v>; // the forward transform halves here too
    const auto p = [](auto a, auto b) { return V::mul_q31_rnd_sat(a, b); };
    const complex_lanes<V> x = load_complex<V>(low);
    const complex_lanes<V> reversed = load_complex<V>(high);
    const complex_lanes<V> m = {V::reverse(reversed.re), V::reverse(reversed.im)};
    const auto sum_re = op::add(x.re, m.re), difference_re = op::sub(x.re, m.re);
    const auto sum_im = op::add(x.im, m.im), difference_im = op::sub(x.im, m.im);
    const auto t1 = V::add_sat(p(sum_im, w.im), p(difference_re, w.re));
    const auto t2 = V::sub_sat(p(difference_re, w.im), p(sum_im, w.re));
    const auto mirrored_im = V::neg_sat(V::add_sat(difference_im, t1));
    // Bin n/4 is its own mirror and is written by both, last by the first of them.
    store_complex<V>(high, {V::reverse(V::add_sat(sum_re, t2)), V::reverse(mirrored_im)});
    store_complex<V>(low, {V::sub_sat(sum_re, t2), V::sub_sat(difference_im, t1)});
}

template <class V, variant v>
void split_stage(s32 *spec, s32 n, const s32 *split_twiddles, s32 stride) {
    split_dc_and_nyquist<v>(spec, n);
    for (s32 k = 1; k <= n / 4; k += V::width) {
        s32 offset[V::width];
        for (s32 lane = 0; lane < V::width; ++lane) offset[lane] = 2 * ((k + lane) * stride - 1);
        const auto sine = V::gather(split_twiddles, offset);
        const auto cosine = V::gather(split_twiddles + 1, offset);
        split_bins<V, v>(spec + 2 * k, spec + n - 2 * (k + V::width - 1),
                         {v == forward ? cosine : V::neg_sat(cosine), sine});
    }
}

// --- Sets -----------------------------------------------------------------------------------

template <class V, variant v>
constexpr fft_stages stages_of = {first_stage<V, v>, later_stages<V, v>, radix2_stage<V, v>,
                                  split_stage<V, v>};

template <class V>
constexpr fft_set fft_set_of = {
    {stages_of<V, forward>, stages_of<V, inverse_scaled>, stages_of<V, inverse_unscaled>}};

} // namespace
} // namespace earshot
