// The recombination stage of the real transforms over the vector layer V: between the half-length
// spectrum of pairs of samples and the spectrum of the samples.
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

// Where the bins of the half-length spectrum come from: those of the lower half, and those of the
// upper one in reverse order.
template <class V> struct from_interleaved {
    const s32 *words;
    complex_lanes<V> low(s32 k) const { return load_interleaved<V>(words, k); }
    complex_lanes<V> high_reversed(s32 k) const { return load_reversed<V>(words, k); }
};
template <class V> struct from_split {
    split_data in;
    complex_lanes<V> low(s32 k) const { return load_values<V>(in, k); }
    complex_lanes<V> high_reversed(s32 k) const { return load_reversed<V>(in, k); }
};
// What lacks its radix-2 stage. That of bin 0 in the upper half, bin n/4 of n samples, is not where
// its neighbours are.
template <class V, form f> struct from_halves {
    using op = arithmetic<V, forward, f>;
    split_data in;
    s32 half;
    complex_lanes<V> low(s32 k) const {
        complex_lanes<V> a = load_values<V>(in, k), b = load_values<V>(in, k + half);
        add_sub<op>(a, b);
        return a;
    }
    complex_lanes<V> high_reversed(s32 k) const {
        complex_lanes<V> a = load_reversed<V>(in, k - half), b = load_reversed<V>(in, k);
        add_sub<op>(a, b);
        return b;
    }
};

// Bins k and n/2 - k, in place.
template <class V, variant v, form f>
void recombine_pair(complex_lanes<V> &low, complex_lanes<V> &high, typename V::s32v sine,
                    typename V::s32v cosine) {
    // The forward transform halves here too.
    using op = arithmetic<V, v == forward ? inverse_scaled : v, f>;
    add_sub<op>(low, high);
    const complex_lanes<V> sum = low, difference = high;
    const auto t1 = op::add_sat(op::product(sum.im, sine), op::product(difference.re, cosine));
    const auto t2 = op::sub_sat(op::product(difference.re, sine), op::product(sum.im, cosine));
    low = {op::sub_sat(sum.re, t2), op::sub_sat(difference.im, t1)};
    high = {op::add_sat(sum.re, t2), op::neg(op::add_sat(difference.im, t1))};
}

// Bins 1 to n/2 - 1.
template <class V, variant v, form f, class Load>
EARSHOT_KERNEL void recombine_bins(const Load &bins, s32 n, const recombine_rows &recombine,
                                   s32 *out) {
    for (s32 k = 1; k <= n / 4; k += V::width) {
        const s32 mirrored = n / 2 - k - (V::width - 1);
        complex_lanes<V> low = bins.low(k), high = bins.high_reversed(mirrored);
        recombine_pair<V, v, f>(low, high, V::load(recombine.sine + k - 1),
                                V::load(recombine.cosine + k - 1));
        // Bin n/4 is its own mirror and is written by both, last by the first of them.
        V::store_interleaved_reversed(out + 2 * mirrored, high.re, high.im);
        V::store_interleaved(out + 2 * k, low.re, low.im);
    }
}

// Bin n/4 alone.
template <form f>
void recombine_middle_bin(complex_lanes<vec_scalar> x, s32 n, const recombine_rows &recombine,
                          s32 *out) {
    complex_lanes<vec_scalar> mirrored = x;
    recombine_pair<vec_scalar, forward, f>(x, mirrored, recombine.sine[n / 4 - 1],
                                           recombine.cosine[n / 4 - 1]);
    out[n / 2] = x.re;
    out[n / 2 + 1] = x.im;
}

} // namespace
} // namespace earshot
