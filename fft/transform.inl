// Complex transforms over the vector layer V, radix-4 decimation in frequency (Cooley and Tukey
// 1965) in the self-sorting order of Stockham: every pass reads four quarters of a buffer and
// writes another one, with the results of a butterfly a span apart, so that nothing is ever put in
// bit-reversed order and the last pass leaves the natural one. Input and output are interleaved,
// what lies between the first and the last pass is split.
#include "fft/butterfly.inl"

namespace earshot {
namespace {

// Complex values in memory: real and imaginary words in planes of their own, or in pairs.
struct split_data {
    s32 *re, *im;
};
struct interleaved_data {
    s32 *words;
};

template <class V> complex_lanes<V> load_values(const split_data &p, s32 i) {
    return {V::load(p.re + i), V::load(p.im + i)};
}
template <class V> complex_lanes<V> load_interleaved(const s32 *words, s32 i) {
    const auto pair = V::load_interleaved(words + 2 * i);
    return {pair.first, pair.second};
}
template <class V> complex_lanes<V> load_reversed(const split_data &p, s32 i) {
    return {V::reverse(V::load(p.re + i)), V::reverse(V::load(p.im + i))};
}
template <class V> complex_lanes<V> load_reversed(const s32 *words, s32 i) {
    const auto pair = V::load_interleaved_reversed(words + 2 * i);
    return {pair.first, pair.second};
}
template <class V> void store_values(const split_data &p, s32 i, const complex_lanes<V> &x) {
    V::store(p.re + i, x.re);
    V::store(p.im + i, x.im);
}
template <class V> void store_values(const interleaved_data &p, s32 i, const complex_lanes<V> &x) {
    V::store_interleaved(p.words + 2 * i, x.re, x.im);
}

// What a pass does, beside its butterflies: one function has all of them, because a butterfly is
// the larger part of its code and the choices cost little beside one.
struct pass_plan {
    const s32 *in_interleaved; // or null
    split_data in;
    input_shift shift; // before anything else
    s32 n, span;
    split_data out;
    s32 *out_interleaved; // or null; from a span of one vector on
};

template <class V> complex_lanes<V> load_operand(const pass_plan &plan, s32 i) {
    return plan.in_interleaved == nullptr ? load_values<V>(plan.in, i)
                                          : load_interleaved<V>(plan.in_interleaved, i);
}

template <class V> void shift_right(complex_lanes<V> &x, s32 bits) {
    x = {V::shift_right(x.re, bits), V::shift_right(x.im, bits)};
}
template <class V> void shift_right_rnd(complex_lanes<V> &x, s32 bits) {
    x = {V::shift_right_rnd(x.re, bits), V::shift_right_rnd(x.im, bits)};
}

template <class Step, class... X> void for_all(const Step &step, X &...x) { (step(x), ...); }

// Spans shorter than a vector: that of the first stage, and the next one's of wide vectors.
template <class V> bool is_short(s32 span) { return span < V::width; }

template <class V> twiddle<V> twiddles_of(const pass_plan &plan, const twiddle_rows &rows, s32 i) {
    if (plan.span == 1) return load_twiddle<V>(rows, i, [](const s32 *p) { return V::load(p); });
    if constexpr (V::width > 4) {
        if (is_short<V>(plan.span))
            return load_twiddle<V>(rows, i, [](const s32 *p) { return V::load_groups(p); });
    }
    return load_twiddle<V>(rows, i & -plan.span, [](const s32 *p) { return V::splat(*p); });
}

template <class V>
void store_results(const complex_lanes<V> &y0, const complex_lanes<V> &y1,
                   const complex_lanes<V> &y2, const complex_lanes<V> &y3, const pass_plan &plan,
                   s32 i) {
    if (plan.span == 1) {
        V::store_quads(plan.out.re + 4 * i, y0.re, y1.re, y2.re, y3.re);
        V::store_quads(plan.out.im + 4 * i, y0.im, y1.im, y2.im, y3.im);
        return;
    }
    if constexpr (V::width > 4) {
        if (is_short<V>(plan.span)) {
            V::store_groups(plan.out.re + 4 * i, y0.re, y1.re, y2.re, y3.re);
            V::store_groups(plan.out.im + 4 * i, y0.im, y1.im, y2.im, y3.im);
            return;
        }
    }
    const auto store = [&](const auto &out) {
        const s32 k = i & (plan.span - 1), first = 4 * (i - k) + k;
        store_values<V>(out, first, y0);
        store_values<V>(out, first + plan.span, y1);
        store_values<V>(out, first + 2 * plan.span, y2);
        store_values<V>(out, first + 3 * plan.span, y3);
    };
    if (plan.out_interleaved == nullptr)
        store(plan.out);
    else
        store(interleaved_data{plan.out_interleaved});
}

template <class V, variant v, form f>
EARSHOT_KERNEL void radix4_pass(const pass_plan &given, const twiddle_rows &given_rows) {
    // Copies: what the pass writes might be these words for all that the compiler knows.
    const pass_plan plan = given;
    const twiddle_rows rows = given_rows;
    const s32 quarter = plan.n / 4;
    for (s32 i = 0; i < quarter; i += V::width) {
        // The middle operands of a butterfly stand in bit-reversed order.
        complex_lanes<V> x0 = load_operand<V>(plan, i);
        complex_lanes<V> x1 = load_operand<V>(plan, i + 2 * quarter);
        complex_lanes<V> x2 = load_operand<V>(plan, i + quarter);
        complex_lanes<V> x3 = load_operand<V>(plan, i + 3 * quarter);
        if (plan.shift.bits != 0) {
            const auto shift = [&](complex_lanes<V> &x) { shift_right<V>(x, plan.shift.bits); };
            const auto round = [&](complex_lanes<V> &x) { shift_right_rnd<V>(x, plan.shift.bits); };
            plan.shift.rounds ? for_all(round, x0, x1, x2, x3) : for_all(shift, x0, x1, x2, x3);
        }
        if (f == plain && i < plan.span && !is_short<V>(plan.span))
            first_butterfly<V, v>(x0, x1, x2, x3);
        else
            butterfly<V, v, f>(x0, x1, x2, x3, twiddles_of<V>(plan, rows, i));
        store_results<V>(x0, x1, x2, x3, plan, i);
    }
}

template <class V, variant v, form f>
EARSHOT_KERNEL void radix2_pass(const split_data &in, s32 n, const interleaved_data &out) {
    using op = arithmetic<V, v, f>;
    for (s32 i = 0; i < n / 2; i += V::width) {
        complex_lanes<V> a = load_values<V>(in, i), b = load_values<V>(in, i + n / 2);
        add_sub<op>(a, b);
        store_values<V>(out, i, a);
        store_values<V>(out, i + n / 2, b);
    }
}

constexpr bool is_odd_power_of_2(s32 n) { return (n & 0x55555555) == 0; }

// All radix-4 passes, taking turns between two buffers. The last one of an even log2 n interleaves
// into out unless it is null; any other last one leaves split data, which are returned.
template <class V, variant v, form f>
split_data radix4_passes(const s32 *in, input_shift shift, s32 n, const twiddle_rows &rows,
                         split_data first, split_data second, s32 *out) {
    pass_plan plan = {in, second, shift, n, 1, first, nullptr};
    radix4_pass<V, v, f>(plan, rows);
    plan.in_interleaved = nullptr;
    plan.shift = {0, false};
    for (plan.span = 4; plan.span <= n / 4; plan.span *= 4) {
        const split_data last = plan.in;
        plan.in = plan.out;
        plan.out = last;
        if (plan.span == n / 4) plan.out_interleaved = out;
        radix4_pass<V, v, f>(plan, rows);
    }
    return plan.out;
}

} // namespace
} // namespace earshot
