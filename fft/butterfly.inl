// The arithmetic of the transforms over the vector layer V: additions, products and the radix-4
// butterfly.
#include "fft/kernels.hpp"
#include "kernel/vec_scalar.hpp"

namespace earshot {
namespace {

// In the plain form the sums of a forward transform wrap as well, because nothing overflows.
template <class V, variant v, form f> struct arithmetic {
    using s32v = typename V::s32v;
    static s32v add(s32v a, s32v b) {
        if constexpr (v == inverse_scaled) return half_add(a, b);
        if constexpr (v == forward) return add_sat(a, b);
        return V::add(a, b);
    }
    static s32v sub(s32v a, s32v b) {
        if constexpr (v == inverse_scaled) return half_sub(a, b);
        if constexpr (v == forward) return sub_sat(a, b);
        return V::sub(a, b);
    }
    static s32v half_add(s32v a, s32v b) {
        if constexpr (f == plain) return V::shift_right(V::add(a, b), 1);
        return V::half_add(a, b);
    }
    static s32v half_sub(s32v a, s32v b) {
        if constexpr (f == plain) return V::shift_right(V::sub(a, b), 1);
        return V::half_sub(a, b);
    }
    static s32v add_sat(s32v a, s32v b) {
        if constexpr (f == plain) return V::add(a, b);
        return V::add_sat(a, b);
    }
    static s32v sub_sat(s32v a, s32v b) {
        if constexpr (f == plain) return V::sub(a, b);
        return V::sub_sat(a, b);
    }
    static s32v neg(s32v a) {
        if constexpr (f == plain) return V::neg(a);
        return V::neg_sat(a);
    }
    // Data times twiddle; no other product than that of two -2^31 saturates.
    static s32v product(s32v a, s32v w) {
        if constexpr (f == plain) return V::mul_q31_rnd(a, w);
        return V::mul_q31_rnd_sat(a, w);
    }
};

template <class V> struct complex_lanes { typename V::s32v re, im; };

template <class V> complex_lanes<V> load_complex(const s32 *p) {
    const auto pairs = V::load_pairs(p);
    return {pairs.first, pairs.second};
}

// A table entry: W^1 and W^3 turned by -90 degrees, W^2 as it is; conjugated for the inverses.
template <class V> struct twiddle { complex_lanes<V> pair[3]; };

// The entry of butterfly i, or of each of those from i on, by what load does to a word's address.
template <class V, class Load>
twiddle<V> load_twiddle(const twiddle_rows &rows, s32 i, Load load) {
    const auto pair = [&](s32 k) -> complex_lanes<V> {
        return {load(rows.re + k * rows.length + i), load(rows.im + k * rows.length + i)};
    };
    return {{pair(0), pair(1), pair(2)}};
}

// x[0] to x[3] to y[0] to y[3], in place.
template <class V, variant v, form f> void butterfly(complex_lanes<V> *x, const twiddle<V> &w) {
    using op = arithmetic<V, v, f>;
    const auto sum = [](const auto &a, const auto &b) -> complex_lanes<V> {
        return {op::add(a.re, b.re), op::add(a.im, b.im)};
    };
    const auto difference = [](const auto &a, const auto &b) -> complex_lanes<V> {
        return {op::sub(a.re, b.re), op::sub(a.im, b.im)};
    };
    const auto multiply = [](const auto &a, const auto &b) -> complex_lanes<V> {
        return {op::sub_sat(op::product(a.re, b.re), op::product(a.im, b.im)),
                op::add_sat(op::product(a.re, b.im), op::product(a.im, b.re))};
    };
    const complex_lanes<V> s01 = sum(x[0], x[1]), s23 = sum(x[2], x[3]);
    const complex_lanes<V> d01 = difference(x[0], x[1]), d23 = difference(x[2], x[3]);
    // The table's W^1 and W^3 lack a quarter turn, which is given to x0 - x1 here.
    const complex_lanes<V> turned = v == forward ? complex_lanes<V>{op::neg(d01.im), d01.re}
                                                 : complex_lanes<V>{d01.im, op::neg(d01.re)};
    x[0] = sum(s01, s23);
    x[1] = multiply(sum(turned, d23), w.pair[0]);
    x[2] = multiply(difference(s01, s23), w.pair[1]);
    x[3] = multiply(difference(turned, d23), w.pair[2]);
}

} // namespace
} // namespace earshot
