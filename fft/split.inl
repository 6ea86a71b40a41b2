// The split stage of the real transforms over the vector layer V: between the half-length spectrum
// of pairs of samples and the spectrum of the samples.
#include "fft/transform.inl"

namespace earshot {
namespace {

// Bin 0 of a half-length spectrum holds the sums of even and odd samples, a packed one has DC and
// Nyquist in bins of their own.
template <variant v, form f> void join_dc_and_nyquist(s32 *spec, s32 n) {
    using op = arithmetic<vec_scalar, v, f>;
    const s32 dc = spec[0], nyquist = spec[n];
    spec[0] = op::add(dc, nyquist);
    spec[1] = op::sub(dc, nyquist);
}
template <form f> void part_dc_and_nyquist(s32 even, s32 odd, s32 *spec, s32 n) {
    using op = arithmetic<vec_scalar, forward, f>;
    spec[0] = op::add(even, odd);
    spec[n] = op::sub(even, odd);
    spec[1] = spec[n + 1] = 0;
}

// Where the bins of the half-length spectrum come from.
template <class V> struct from_planes {
    planes in;
    complex_lanes<V> operator()(s32 k) const { return load_planes<V>(in, k); }
};
template <class V> struct from_pairs {
    const s32 *in;
    complex_lanes<V> operator()(s32 k) const { return load_complex<V>(in + 2 * k); }
};

template <class V> complex_lanes<V> reversed(const complex_lanes<V> &x) {
    return {V::reverse(x.re), V::reverse(x.im)};
}

// Bins 1 to n/2 - 1, k and n/2 - k together.
template <class V, variant v, form f, class Load>
EARSHOT_KERNEL void split_bins(const Load &bins, s32 n, const split_rows &split, s32 *out) {
    // The forward transform halves here too.
    using op = arithmetic<V, v == forward ? inverse_scaled : v, f>;
    for (s32 k = 1; k <= n / 4; k += V::width) {
        const s32 mirrored = n / 2 - k - (V::width - 1);
        const complex_lanes<V> x = bins(k), m = reversed<V>(bins(mirrored));
        const auto sine = V::load(split.sine + k - 1);
        auto cosine = V::load(split.cosine + k - 1);
        if constexpr (v != forward) cosine = V::neg_sat(cosine);
        const auto sum_re = op::add(x.re, m.re), difference_re = op::sub(x.re, m.re);
        const auto sum_im = op::add(x.im, m.im), difference_im = op::sub(x.im, m.im);
        const auto t1 = op::add_sat(op::product(sum_im, sine), op::product(difference_re, cosine));
        const auto t2 = op::sub_sat(op::product(difference_re, sine), op::product(sum_im, cosine));
        const complex_lanes<V> high = {op::add_sat(sum_re, t2),
                                       op::neg(op::add_sat(difference_im, t1))};
        // Bin n/4 is its own mirror and is written by both, last by the first of them.
        const to_pairs<V> store = {out};
        store(mirrored, reversed<V>(high));
        store(k, {op::sub_sat(sum_re, t2), op::sub_sat(difference_im, t1)});
    }
}

} // namespace
} // namespace earshot
