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
    const auto y = op::add_sub(dc, nyquist);
    spec[0] = y.first;
    spec[1] = y.second;
}
template <form f> void part_dc_and_nyquist(s32 even, s32 odd, s32 *spec, s32 n) {
    using op = arithmetic<vec_scalar, forward, f>;
    const auto y = op::add_sub(even, odd);
    spec[0] = y.first;
    spec[n] = y.second;
    spec[1] = spec[n + 1] = 0;
}

// Where the bins of the half-length spectrum come from, the lower half of them and the upper one.
template <class V> struct from_pairs {
    const s32 *words;
    complex_lanes<V> low(s32 k) const { return load_pairs<V>(words, k); }
    complex_lanes<V> high(s32 k) const { return load_pairs<V>(words, k); }
};
template <class V> struct from_planes {
    planes in;
    complex_lanes<V> low(s32 k) const { return load_values<V>(in, k); }
    complex_lanes<V> high(s32 k) const { return load_values<V>(in, k); }
};
// What lacks its radix-2 stage.
template <class V, form f> struct from_halves {
    using op = arithmetic<V, forward, f>;
    planes in;
    s32 half;
    complex_lanes<V> low(s32 k) const {
        return add_sub<op>(load_values<V>(in, k), load_values<V>(in, k + half)).sum;
    }
    complex_lanes<V> high(s32 k) const {
        return add_sub<op>(load_values<V>(in, k - half), load_values<V>(in, k)).difference;
    }
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
        const complex_lanes<V> x = bins.low(k), m = reversed<V>(bins.high(mirrored));
        const auto sine = V::factor_of(V::load(split.sine + k - 1));
        const auto cosine_as_is = V::load(split.cosine + k - 1);
        const auto cosine =
            V::factor_of(v == forward ? cosine_as_is : V::neg_sat(cosine_as_is));
        const auto [sum, difference] = add_sub<op>(x, m);
        const auto t1 = op::add_sat(op::product(sum.im, sine), op::product(difference.re, cosine));
        const auto t2 = op::sub_sat(op::product(difference.re, sine), op::product(sum.im, cosine));
        const complex_lanes<V> high = {op::add_sat(sum.re, t2),
                                       op::neg(op::add_sat(difference.im, t1))};
        // Bin n/4 is its own mirror and is written by both, last by the first of them.
        store_values<V>(pairs{out}, mirrored, reversed<V>(high));
        store_values<V>(pairs{out}, k, {op::sub_sat(sum.re, t2), op::sub_sat(difference.im, t1)});
    }
}

} // namespace
} // namespace earshot
