// What the x86 forms of the vector layer make of their own operations in the same way. See
// kernel/vec_scalar.hpp for what each operation is.
#ifndef EARSHOT_KERNEL_VEC_X86_HPP
#define EARSHOT_KERNEL_VEC_X86_HPP

#include "kernel/vec_scalar.hpp"

namespace earshot {
namespace {

// Lanes: a form that lacks the operations below, with filter and dot for the bins of one vector.
template <class Lanes> struct vec_x86 : Lanes {
    using Lanes::add;
    using typename Lanes::pair;
    using typename Lanes::s32v;
    struct bins {
        s32v low, high;
    };
    using pairs = bins;
    using factors = s32v;

    // a - b = a + b - 2 b
    static pair half_add_sub(s32v a, s32v b) {
        const s32v sum = Lanes::half_add(a, b);
        return {sum, Lanes::sub(sum, b)};
    }
    static pair half_add_sub_small(s32v a, s32v b) {
        const s32v sum = Lanes::template shift_right<1>(add(a, b));
        return {sum, Lanes::sub(sum, b)};
    }

    static s32v shift_right_rnd(s32v v, s32 n) {
        return Lanes::template shift_right<1>(add(Lanes::shift_right(v, n - 1), Lanes::splat(1)));
    }

    static bins load_bins(const s32 *p) { return {Lanes::load(p), Lanes::load(p + Lanes::width)}; }
    static void store_bins(s32 *p, bins b) {
        Lanes::store(p, b.low);
        Lanes::store(p + Lanes::width, b.high);
    }
    static bins add(bins a, bins b) { return {add(a.low, b.low), add(a.high, b.high)}; }
    template <int q = 29> static bins filter(bins x, bins gain) {
        return {Lanes::template filter<q>(x.low, gain.low),
                Lanes::template filter<q>(x.high, gain.high)};
    }
    static pairs load_pairs(const s32 *p) { return load_bins(p); }
    static factors splat_factors(s32 word) { return Lanes::splat(word); }
    static bins dot(pairs p, factors f) { return {Lanes::dot(p.low, f), Lanes::dot(p.high, f)}; }
    static bins add_dot(bins sum, pairs p, factors f) { return add(sum, dot(p, f)); }
    template <int n> static bins add_shifted(bins a, bins b) {
        return {add(a.low, Lanes::template shift_right<n>(b.low)),
                add(a.high, Lanes::template shift_right<n>(b.high))};
    }
};

} // namespace
} // namespace earshot

#endif
