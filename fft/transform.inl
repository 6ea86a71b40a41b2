// Complex transforms over the vector layer V, radix-4 decimation in frequency (Cooley and Tukey
// 1965) in the self-sorting order of Stockham: every stage reads four quarters of a buffer and
// writes another one, with the results of a butterfly a span apart, so that nothing is ever put in
// bit-reversed order and the last stage leaves the natural one. Between first and last stage real
// and imaginary words lie apart.
#include "fft/butterfly.inl"

namespace earshot {
namespace {

struct planes {
    s32 *re, *im;
};

// Operands of a butterfly by quarter: the middle ones in bit-reversed order.
constexpr s32 quarter_of[4] = {0, 2, 1, 3};

template <class V> complex_lanes<V> load_planes(const planes &p, s32 i) {
    return {V::load(p.re + i), V::load(p.im + i)};
}

// Where the values of a last stage go.
template <class V> struct to_planes {
    planes out;
    void operator()(s32 i, const complex_lanes<V> &x) const {
        V::store(out.re + i, x.re);
        V::store(out.im + i, x.im);
    }
};
template <class V> struct to_pairs {
    s32 *out;
    void operator()(s32 i, const complex_lanes<V> &x) const {
        V::store_pairs(out + 2 * i, x.re, x.im);
    }
};

template <class V, variant v, form f>
EARSHOT_KERNEL void first_stage(const s32 *in, s32 shift, s32 n, const twiddle_rows &twiddles, planes out) {
    for (s32 i = 0; i < n / 4; i += V::width) {
        complex_lanes<V> x[4];
        for (s32 q = 0; q < 4; ++q) {
            const auto loaded = load_complex<V>(in + 2 * (i + quarter_of[q] * (n / 4)));
            x[q] = {V::shift_right(loaded.re, shift), V::shift_right(loaded.im, shift)};
        }
        butterfly<V, v, f>(
            x, load_twiddle<V>(twiddles, i, [](const s32 *p) { return V::load(p); }));
        V::store_quads(out.re + 4 * i, x[0].re, x[1].re, x[2].re, x[3].re);
        V::store_quads(out.im + 4 * i, x[0].im, x[1].im, x[2].im, x[3].im);
    }
}

// The second stage, of span 4, where a vector holds several spans.
template <class V, variant v, form f>
EARSHOT_KERNEL void grouped_stage(planes in, s32 n, const twiddle_rows &twiddles, planes out) {
    for (s32 i = 0; i < n / 4; i += V::width) {
        complex_lanes<V> x[4];
        for (s32 q = 0; q < 4; ++q) x[q] = load_planes<V>(in, i + quarter_of[q] * (n / 4));
        butterfly<V, v, f>(
            x, load_twiddle<V>(twiddles, i, [](const s32 *p) { return V::load_groups(p); }));
        V::store_groups(out.re + 4 * i, x[0].re, x[1].re, x[2].re, x[3].re);
        V::store_groups(out.im + 4 * i, x[0].im, x[1].im, x[2].im, x[3].im);
    }
}

// Four values from i on and the same of each quarter, with one twiddle.
template <class V, variant v, form f>
void radix4(complex_lanes<V> *x, planes in, s32 n, s32 i, const twiddle<V> &w) {
    for (s32 q = 0; q < 4; ++q) x[q] = load_planes<V>(in, i + quarter_of[q] * (n / 4));
    butterfly<V, v, f>(x, w);
}

// A stage of a span of one vector or more.
template <class V, variant v, form f, class Store>
EARSHOT_KERNEL void stage(planes in, s32 n, s32 span, const twiddle_rows &twiddles, const Store &store) {
    for (s32 i = 0; i < n / 4; i += span) {
        const auto w =
            load_twiddle<V>(twiddles, i, [](const s32 *p) { return V::splat(*p); });
        for (s32 k = 0; k < span; k += V::width) {
            complex_lanes<V> x[4];
            radix4<V, v, f>(x, in, n, i + k, w);
            for (s32 q = 0; q < 4; ++q) store(4 * i + q * span + k, x[q]);
        }
    }
}

// For odd log2 n: the last radix-4 stage, of two spans, and the radix-2 stage behind it.
template <class V, variant v, form f, class Store>
EARSHOT_KERNEL void last_two_stages(planes in, s32 n, const twiddle_rows &twiddles, const Store &store) {
    using op = arithmetic<V, v, f>;
    const auto splat = [](const s32 *p) { return V::splat(*p); };
    const s32 span = n / 8;
    const auto first = load_twiddle<V>(twiddles, 0, splat);
    const auto second = load_twiddle<V>(twiddles, span, splat);
    for (s32 k = 0; k < span; k += V::width) {
        complex_lanes<V> a[4], b[4];
        radix4<V, v, f>(a, in, n, k, first);
        radix4<V, v, f>(b, in, n, k + span, second);
        for (s32 q = 0; q < 4; ++q) {
            store(q * span + k, {op::add(a[q].re, b[q].re), op::add(a[q].im, b[q].im)});
            store(n / 2 + q * span + k, {op::sub(a[q].re, b[q].re), op::sub(a[q].im, b[q].im)});
        }
    }
}

constexpr bool is_power_of_4(s32 n) { return (n & 0x55555555) != 0; }

// The stages before the last pass take turns between two buffers and end in source.
template <class V, variant v, form f, class Store>
void transform(const s32 *in, s32 shift, s32 n, const twiddle_rows &twiddles, planes source,
               planes other, const Store &store) {
    const s32 last_span = is_power_of_4(n) ? n / 4 : n / 8;
    planes from = other, to = source;
    const auto turn = [&] {
        const planes last = from;
        from = to;
        to = last;
    };
    for (s32 span = 4; span < last_span; span *= 4) turn();
    first_stage<V, v, f>(in, shift, n, twiddles, to);
    for (s32 span = 4; span < last_span; span *= 4) {
        turn();
        if constexpr (V::width > 4) {
            if (span == 4) {
                grouped_stage<V, v, f>(from, n, twiddles, to);
                continue;
            }
        }
        stage<V, v, f>(from, n, span, twiddles, to_planes<V>{to});
    }
    if (is_power_of_4(n))
        stage<V, v, f>(to, n, last_span, twiddles, store);
    else
        last_two_stages<V, v, f>(to, n, twiddles, store);
}

} // namespace
} // namespace earshot
