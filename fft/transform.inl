// Complex transforms over the vector layer V, radix-4 decimation in frequency (Cooley and Tukey
// 1965) in the self-sorting order of Stockham: every pass reads four quarters of a buffer and writes
// another one, with the results of a butterfly a span apart, so that nothing is ever put in
// bit-reversed order and the last pass leaves the natural one. Between first and last pass real and
// imaginary words lie apart.
#include "fft/butterfly.inl"

namespace earshot {
namespace {

// Complex values in memory.
struct planes {
    s32 *re, *im;
};
struct pairs {
    s32 *words;
};

template <class V> complex_lanes<V> load_values(const planes &p, s32 i) {
    return {V::load(p.re + i), V::load(p.im + i)};
}
template <class V> complex_lanes<V> load_pairs(const s32 *words, s32 i) {
    const auto pair = V::load_pairs(words + 2 * i);
    return {pair.first, pair.second};
}
template <class V> void store_values(const planes &p, s32 i, const complex_lanes<V> &x) {
    V::store(p.re + i, x.re);
    V::store(p.im + i, x.im);
}
template <class V> void store_values(const pairs &p, s32 i, const complex_lanes<V> &x) {
    V::store_pairs(p.words + 2 * i, x.re, x.im);
}

// What a pass does, beside its butterflies: one function has all of them, because a butterfly is
// the larger part of its code and the choices cost little beside one.
struct pass_plan {
    const s32 *in_pairs; // or null
    planes in;
    s32 shift; // of pairs, to the right
    s32 n, span;
    planes out;
    s32 *out_pairs; // or null; from a span of one vector on
};

// The middle operands of a butterfly stand in bit-reversed order.
template <class V> quad<V> load_operands(const pass_plan &plan, s32 i) {
    const s32 quarter = plan.n / 4;
    const auto four = [&](auto load) -> quad<V> {
        return {load(i), load(i + 2 * quarter), load(i + quarter), load(i + 3 * quarter)};
    };
    if (plan.in_pairs == nullptr)
        return four([&](s32 k) { return load_values<V>(plan.in, k); });
    return four([&](s32 k) -> complex_lanes<V> {
        const auto loaded = load_pairs<V>(plan.in_pairs, k);
        return {V::shift_right(loaded.re, plan.shift), V::shift_right(loaded.im, plan.shift)};
    });
}

// Spans shorter than a vector: that of the first stage, and the next one's of wide vectors.
template <class V> bool is_short(s32 span) { return span < V::width; }

template <class V>
twiddle<V> twiddles_of(const pass_plan &plan, const twiddle_rows &rows, s32 i) {
    if (plan.span == 1)
        return load_twiddle<V>(rows, i, [](const s32 *p) { return V::factor_of(V::load(p)); });
    if constexpr (V::width > 4) {
        if (is_short<V>(plan.span))
            return load_twiddle<V>(
                rows, i, [](const s32 *p) { return V::factor_of_pairs(V::load_groups(p)); });
    }
    return load_twiddle<V>(rows, i & -plan.span,
                           [](const s32 *p) { return V::factor_of_pairs(V::splat(*p)); });
}

template <class V> void store_results(const quad<V> &y, const pass_plan &plan, s32 i) {
    if (plan.span == 1) {
        V::store_quads(plan.out.re + 4 * i, y._0.re, y._1.re, y._2.re, y._3.re);
        V::store_quads(plan.out.im + 4 * i, y._0.im, y._1.im, y._2.im, y._3.im);
        return;
    }
    if constexpr (V::width > 4) {
        if (is_short<V>(plan.span)) {
            V::store_groups(plan.out.re + 4 * i, y._0.re, y._1.re, y._2.re, y._3.re);
            V::store_groups(plan.out.im + 4 * i, y._0.im, y._1.im, y._2.im, y._3.im);
            return;
        }
    }
    const auto four = [&](const auto &out) {
        const s32 k = i & (plan.span - 1), first = 4 * (i - k) + k;
        store_values<V>(out, first, y._0);
        store_values<V>(out, first + plan.span, y._1);
        store_values<V>(out, first + 2 * plan.span, y._2);
        store_values<V>(out, first + 3 * plan.span, y._3);
    };
    if (plan.out_pairs == nullptr)
        four(plan.out);
    else
        four(pairs{plan.out_pairs});
}

template <class V, variant v, form f>
EARSHOT_KERNEL void radix4_pass(const pass_plan &given, const twiddle_rows &given_rows) {
    // Copies: what the pass writes might be these words for all that the compiler knows.
    const pass_plan plan = given;
    const twiddle_rows rows = given_rows;
    for (s32 i = 0; i < plan.n / 4; i += V::width) {
        const quad<V> x = load_operands<V>(plan, i);
        store_results<V>(butterfly<V, v, f>(x, twiddles_of<V>(plan, rows, i)), plan, i);
    }
}

template <class V, variant v, form f>
EARSHOT_KERNEL void radix2_pass(const planes &in, s32 n, const pairs &out) {
    using op = arithmetic<V, v, f>;
    for (s32 i = 0; i < n / 2; i += V::width) {
        const auto y = add_sub<op>(load_values<V>(in, i), load_values<V>(in, i + n / 2));
        store_values<V>(out, i, y.sum);
        store_values<V>(out, i + n / 2, y.difference);
    }
}

constexpr bool is_odd_power_of_2(s32 n) { return (n & 0x55555555) == 0; }

// All radix-4 passes, taking turns between two buffers. The last one of an even log2 n writes pairs
// where out is not null; any other last one leaves planes, which are returned.
template <class V, variant v, form f>
planes radix4_passes(const s32 *in, s32 shift, s32 n, const twiddle_rows &rows, planes first,
                     planes second, s32 *out) {
    pass_plan plan = {in, second, shift, n, 1, first, nullptr};
    radix4_pass<V, v, f>(plan, rows);
    plan.in_pairs = nullptr;
    for (plan.span = 4; plan.span <= n / 4; plan.span *= 4) {
        const planes last = plan.in;
        plan.in = plan.out;
        plan.out = last;
        if (plan.span == n / 4) plan.out_pairs = out;
        radix4_pass<V, v, f>(plan, rows);
    }
    return plan.out;
}

} // namespace
} // namespace earshot
