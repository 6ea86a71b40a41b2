// WebAssembly form of the vector layer (simd128): four lanes. See kernel/vec_scalar.hpp for what
// each operation is.
#ifndef EARSHOT_KERNEL_VEC_WASM_HPP
#define EARSHOT_KERNEL_VEC_WASM_HPP

#include "kernel/vec_scalar.hpp"

#include <wasm_simd128.h>

namespace earshot {
namespace {

struct vec_wasm {
    static constexpr s32 width = 4;
    using s32v = v128_t;
    struct pair {
        s32v first, second;
    };
    struct bins {
        s32v re, im;
    };
    using pairs = bins;
    using factors = s32v;
    struct s64v { // lanes 0 and 1, lanes 2 and 3
        v128_t low, high;
    };

    static s32v load(const s32 *p) { return wasm_v128_load(p); }
    static s32v load(const s16 *p) { return wasm_i32x4_load16x4(p); }
    static void store(s32 *p, s32v v) { wasm_v128_store(p, v); }
    static void store(s16 *p, s32v v) {
        wasm_v128_store64_lane(p, wasm_i16x8_narrow_i32x4(v, v), 0);
    }
    static s32v splat(s32 x) { return wasm_i32x4_splat(x); }
    static pair load_interleaved(const s32 *p) {
        const s32v low = load(p), high = load(p + width);
        return {even(low, high), odd(low, high)};
    }
    static void store_interleaved(s32 *p, s32v first, s32v second) {
        store(p, zip_low(first, second));
        store(p + width, zip_high(first, second));
    }
    static void store_interleaved(s16 *p, s32v first, s32v second) {
        const s32v both = wasm_i16x8_narrow_i32x4(first, second);
        wasm_v128_store(p, wasm_i16x8_shuffle(both, both, 0, 4, 1, 5, 2, 6, 3, 7));
    }
    static void store_quads(s32 *p, s32v a, s32v b, s32v c, s32v d) {
        const s32v ab = zip_low(a, b), cd = zip_low(c, d);
        const s32v ef = zip_high(a, b), gh = zip_high(c, d);
        store(p, wasm_i64x2_shuffle(ab, cd, 0, 2));
        store(p + width, wasm_i64x2_shuffle(ab, cd, 1, 3));
        store(p + 2 * width, wasm_i64x2_shuffle(ef, gh, 0, 2));
        store(p + 3 * width, wasm_i64x2_shuffle(ef, gh, 1, 3));
    }
    static pair load_interleaved_reversed(const s32 *p) {
        const pair v = load_interleaved(p);
        return {reverse(v.first), reverse(v.second)};
    }
    static void store_interleaved_reversed(s32 *p, s32v first, s32v second) {
        store_interleaved(p, reverse(first), reverse(second));
    }
    static s32v reverse(s32v v) { return wasm_i32x4_shuffle(v, v, 3, 2, 1, 0); }

    static s32v add(s32v a, s32v b) { return wasm_i32x4_add(a, b); }
    static s32v sub(s32v a, s32v b) { return wasm_i32x4_sub(a, b); }
    static s32v neg(s32v a) { return wasm_i32x4_neg(a); }
    static s32v shift_right(s32v v, s32 n) { return wasm_i32x4_shr(v, static_cast<u32>(n)); }
    template <int n> static s32v shift_right(s32v v) { return wasm_i32x4_shr(v, n); }
    static s32v shift_right_rnd(s32v v, s32 n) {
        return shift_right<1>(add(shift_right(v, n - 1), splat(1)));
    }
    template <int n> static s32v add_magnitude(s32v sum, s32v v) {
        return add(sum, wasm_u32x4_shr(wasm_i32x4_abs(v), n));
    }
    static s32v shift_left_sat(s32v v, s32 n) {
        const s32v shifted = wasm_i32x4_shl(v, static_cast<u32>(n));
        const s32v fits = wasm_i32x4_eq(shift_right(shifted, n), v);
        return wasm_v128_bitselect(shifted, bound_of(v), fits);
    }
    static s32v add_sat(s32v a, s32v b) {
        const s32v sum = add(a, b);
        // Overflowed: both operands differ from the sum in sign.
        return saturate_where(wasm_v128_and(differing(a, sum), differing(b, sum)), sum, a);
    }
    static s32v sub_sat(s32v a, s32v b) {
        const s32v difference = sub(a, b);
        return saturate_where(wasm_v128_and(differing(a, b), differing(a, difference)), difference,
                              a);
    }
    static s32v neg_sat(s32v a) { return add(neg(a), wasm_i32x4_eq(a, splat(INT32_MIN))); }
    // a - b = a + b - 2 b
    static pair half_add_sub(s32v a, s32v b) {
        const s32v sum = add(wasm_v128_and(a, b), shift_right<1>(differing(a, b)));
        return {sum, sub(sum, b)};
    }
    static pair half_add_sub_small(s32v a, s32v b) {
        const s32v sum = shift_right<1>(add(a, b));
        return {sum, sub(sum, b)};
    }
    static s32v mul_low(s32v a, s32v b) { return wasm_i32x4_mul(a, b); }
    static s32v mul_q15_rnd(s32v a, s32v b) { return rounded<15>(product(a, b)); }
    static s32v mul_q31_rnd(s32v a, s32v b) { return rounded<31>(product(a, b)); }
    static s32v mul_q31_rnd_sat(s32v a, s32v b) {
        const s32v q = mul_q31_rnd(a, b);
        // No other product gives -2^31 than the one that should give 2^31.
        return add(q, wasm_i32x4_eq(q, splat(INT32_MIN)));
    }
    static s32v mul_q31(s32v a, s32v b) { return shifted<31>(product(a, b)); }
    static s32v either(s32v a, s32v b) { return wasm_v128_or(a, b); }
    static s32v differing(s32v a, s32v b) { return wasm_v128_xor(a, b); }

    template <int n> static s64v sum_of() { return wide(0); }
    static s64v mac_q31(s64v sum, s32v a, s32v b) {
        const s64v p = product(a, b);
        return {wasm_i64x2_add(sum.low, wasm_i64x2_shr(p.low, 31)),
                wasm_i64x2_add(sum.high, wasm_i64x2_shr(p.high, 31))};
    }
    static s32v narrow_sat(s64v sum) {
        const s32v low = even(sum.low, sum.high), high = odd(sum.low, sum.high);
        return wasm_v128_bitselect(low, bound_of(high), wasm_i32x4_eq(high, shift_right<31>(low)));
    }
    static s64v wide(s64 x) { return {wasm_i64x2_splat(x), wasm_i64x2_splat(x)}; }
    static s64v mac(s64v sum, s32v a, s32v b) { return plus(sum, product(a, b)); }
    // The upper words tell: what is kept fits if all bits from its sign on are the same.
    template <int n> static s32v narrow_sat(s64v sum) {
        return wasm_v128_bitselect(bound_of(odd(sum.low, sum.high)), shifted<n>(sum),
                                   beyond<n>(sum));
    }
    template <int n> static s32v beyond(s64v sum) {
        const s32v high = odd(sum.low, sum.high);
        return wasm_i32x4_ne(shift_right<n - 1>(high), shift_right<31>(high));
    }

    static bins load_bins(const s32 *p) {
        const pair v = load_interleaved(p);
        return {v.first, v.second};
    }
    static void store_bins(s32 *p, bins b) { store_interleaved(p, b.re, b.im); }
    static bins add(bins a, bins b) { return {add(a.re, b.re), add(a.im, b.im)}; }
    template <int q = 29> static bins filter(bins x, bins gain) {
        return {rounded<q>(minus(product(x.re, gain.re), product(x.im, gain.im))),
                rounded<q>(plus(product(x.re, gain.im), product(x.im, gain.re)))};
    }
    static s32v pack(s32v low, s32v high) {
        return wasm_v128_bitselect(low, wasm_i32x4_shl(high, 16), splat(0xFFFF));
    }
    static pairs load_pairs(const s32 *p) { return load_bins(p); }
    static factors splat_factors(s32 word) { return splat(word); }
    static bins dot(pairs p, factors f) {
        return {wasm_i32x4_dot_i16x8(p.re, f), wasm_i32x4_dot_i16x8(p.im, f)};
    }
    static bins add_dot(bins sum, pairs p, factors f) { return add(sum, dot(p, f)); }
    template <int n> static bins add_shifted(bins a, bins b) {
        return {add(a.re, shift_right<n>(b.re)), add(a.im, shift_right<n>(b.im))};
    }

  private:
    static s32v even(s32v a, s32v b) { return wasm_i32x4_shuffle(a, b, 0, 2, 4, 6); }
    static s32v odd(s32v a, s32v b) { return wasm_i32x4_shuffle(a, b, 1, 3, 5, 7); }
    static s32v zip_low(s32v a, s32v b) { return wasm_i32x4_shuffle(a, b, 0, 4, 1, 5); }
    static s32v zip_high(s32v a, s32v b) { return wasm_i32x4_shuffle(a, b, 2, 6, 3, 7); }
    static s32v bound_of(s32v a) { return differing(shift_right<31>(a), splat(INT32_MAX)); }
    // The bound of a's sign in the lanes whose mask is negative, v in the others.
    static s32v saturate_where(s32v mask, s32v v, s32v a) {
        return wasm_v128_bitselect(bound_of(a), v, shift_right<31>(mask));
    }
    static s64v product(s32v a, s32v b) {
        return {wasm_i64x2_extmul_low_i32x4(a, b), wasm_i64x2_extmul_high_i32x4(a, b)};
    }
    static s64v plus(s64v a, s64v b) {
        return {wasm_i64x2_add(a.low, b.low), wasm_i64x2_add(a.high, b.high)};
    }
    static s64v minus(s64v a, s64v b) {
        return {wasm_i64x2_sub(a.low, b.low), wasm_i64x2_sub(a.high, b.high)};
    }
    // The 32 bits from bit n of every sum, n from 1 to 32; rounded: half up.
    template <int n> static s32v shifted(s64v sum) {
        if constexpr (n == 32) return odd(sum.low, sum.high);
        return even(wasm_u64x2_shr(sum.low, n), wasm_u64x2_shr(sum.high, n));
    }
    template <int n> static s32v rounded(s64v sum) {
        return shifted<n>(plus(sum, wide(s64{1} << (n - 1))));
    }
};

} // namespace
} // namespace earshot

#endif
