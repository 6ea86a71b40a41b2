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
        if constexpr (f == plain) return V::half_add_sub_small(a, b);
        return V::half_add_sub(a, b);
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
// All of what follows works in place on values of their own, never on arrays or whole butterflies
// of them: these would be copied by way of memory.

// a + b and a - b.
template <class Op, class V> void add_sub(complex_lanes<V> &a, complex_lanes<V> &b) {
    const auto re = Op::add_sub(a.re, b.re), im = Op::add_sub(a.im, b.im);
    a = {re.first, im.first};
    b = {re.second, im.second};
}

// A table entry: W^1 and W^3 turned by -90 degrees, W^2 as it is; conjugated for the inverses.
template <class V> struct twiddle {
    struct pair {
        typename V::s32v re, im;
    };
    pair first, second, third;
};

// The entry of butterfly i, or of each of those from i on, by what load does to a word's address.
template <class V, class Load> twiddle<V> load_twiddle(const twiddle_rows &rows, s32 i, Load load) {
    const s32 *re = rows.re + i, *im = rows.im + i;
    const s32 next = rows.length;
    return {{load(re), load(im)},
            {load(re + next), load(im + next)},
            {load(re + 2 * next), load(im + 2 * next)}};
}

// The sums of a butterfly: its first result, and what is multiplied by the factors of its entry.
template <class V, variant v, form f>
void butterfly_sums(complex_lanes<V> &x0, complex_lanes<V> &x1, complex_lanes<V> &x2,
                    complex_lanes<V> &x3) {
    using op = arithmetic<V, v, f>;
    add_sub<op>(x0, x1);
    add_sub<op>(x2, x3);
    // The table's W^1 and W^3 lack a quarter turn, which is given to x0 - x1 here.
    if constexpr (v == forward)
        x1 = {op::neg(x1.im), x1.re};
    else
        x1 = {x1.im, op::neg(x1.re)};
    add_sub<op>(x0, x2);
    add_sub<op>(x1, x3);
}

template <class V, variant v, form f>
void multiply(complex_lanes<V> &x, const typename twiddle<V>::pair &w) {
    using op = arithmetic<V, v, f>;
    x = {op::sub_sat(op::product(x.re, w.re), op::product(x.im, w.im)),
         op::add_sat(op::product(x.re, w.im), op::product(x.im, w.re))};
}

template <class V, variant v, form f>
void butterfly(complex_lanes<V> &x0, complex_lanes<V> &x1, complex_lanes<V> &x2,
               complex_lanes<V> &x3, const twiddle<V> &w) {
    butterfly_sums<V, v, f>(x0, x1, x2, x3);
    multiply<V, v, f>(x1, w.first);
    multiply<V, v, f>(x2, w.second);
    multiply<V, v, f>(x3, w.third);
}

// By entry 0 of the library's own table, in the plain form: its 2^31 - 1 is as good as 1 for words
// from -2^30 + 1 to 2^30, because products are rounded, and its -2^31 is -1.
template <class V, variant v>
void first_butterfly(complex_lanes<V> &x0, complex_lanes<V> &x1, complex_lanes<V> &x2,
                     complex_lanes<V> &x3) {
    butterfly_sums<V, v, plain>(x0, x1, x2, x3);
    const auto turn_back = [](complex_lanes<V> &x) {
        if constexpr (v == forward)
            x = {x.im, V::neg(x.re)};
        else
            x = {V::neg(x.im), x.re};
    };
    turn_back(x1);
    turn_back(x3);
}

} // namespace
} // namespace earshot
