// The arithmetic of the transforms over the vector layer V: additions, products and the radix-4
// butterfly.
#include "fft/kernels.hpp"
#include "kernel/vec_scalar.hpp"

namespace earshot {
namespace {

// In the plain form the sums of a forward transform wrap as well, because nothing overflows.
template <class V, variant v, form f> struct arithmetic {
    using s32v = typename V::s32v;
    using pair = typename V::pair;
    // Sum and difference, as the variant adds.
    static pair add_sub(s32v a, s32v b) {
        if constexpr (v == inverse_scaled) return half_add_sub(a, b);
        if constexpr (v == forward) return {add_sat(a, b), sub_sat(a, b)};
        return {V::add(a, b), V::sub(a, b)};
    }
    static pair half_add_sub(s32v a, s32v b) {
        if constexpr (f == saturating) return V::half_add_sub(a, b);
        const s32v sum = V::shift_right(V::add(a, b), 1);
        return {sum, V::sub(sum, b)}; // a - b = a + b - 2 b
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
    static s32v product(s32v a, const typename V::factor &w) {
        if constexpr (f == plain) return V::mul_q31_rnd(a, w);
        return V::mul_q31_rnd_sat(a, w);
    }
};

template <class V> struct complex_lanes { typename V::s32v re, im; };
template <class V> struct complex_pair { complex_lanes<V> sum, difference; };

template <class Op, class V>
complex_pair<V> add_sub(const complex_lanes<V> &a, const complex_lanes<V> &b) {
    const auto re = Op::add_sub(a.re, b.re), im = Op::add_sub(a.im, b.im);
    return {{re.first, im.first}, {re.second, im.second}};
}

// A table entry: W^1 and W^3 turned by -90 degrees, W^2 as it is; conjugated for the inverses.
template <class V> struct twiddle {
    struct pair {
        typename V::factor re, im;
    };
    pair first, second, third;
};

// The entry of butterfly i, or of each of those from i on, by what load does to a word's address.
template <class V, class Load>
twiddle<V> load_twiddle(const twiddle_rows &rows, s32 i, Load load) {
    const s32 *re = rows.re + i, *im = rows.im + i;
    const s32 next = rows.length;
    return {{load(re), load(im)},
            {load(re + next), load(im + next)},
            {load(re + 2 * next), load(im + 2 * next)}};
}

// Operands or results of a butterfly. They are named, not indexed: an array would live in memory.
template <class V> struct quad { complex_lanes<V> _0, _1, _2, _3; };

template <class V, variant v, form f> quad<V> butterfly(const quad<V> &x, const twiddle<V> &w) {
    using op = arithmetic<V, v, f>;
    const auto multiply = [](const auto &a, const auto &b) -> complex_lanes<V> {
        return {op::sub_sat(op::product(a.re, b.re), op::product(a.im, b.im)),
                op::add_sat(op::product(a.re, b.im), op::product(a.im, b.re))};
    };
    const auto [s01, d01] = add_sub<op>(x._0, x._1);
    const auto [s23, d23] = add_sub<op>(x._2, x._3);
    // The table's W^1 and W^3 lack a quarter turn, which is given to x0 - x1 here.
    const complex_lanes<V> turned = v == forward ? complex_lanes<V>{op::neg(d01.im), d01.re}
                                                 : complex_lanes<V>{d01.im, op::neg(d01.re)};
    const auto [y0, y2] = add_sub<op>(s01, s23);
    const auto [y1, y3] = add_sub<op>(turned, d23);
    return {y0, multiply(y1, w.first), multiply(y2, w.second), multiply(y3, w.third)};
}

} // namespace
} // namespace earshot
