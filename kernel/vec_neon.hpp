// NEON form of the vector layer: four lanes. See kernel/vec_scalar.hpp for what each operation is.
#ifndef EARSHOT_KERNEL_VEC_NEON_HPP
#define EARSHOT_KERNEL_VEC_NEON_HPP

#include "kernel/vec_scalar.hpp"

#include <arm_neon.h>

namespace earshot {
namespace {

struct vec_neon {
    static constexpr s32 width = 4;
    using s32v = int32x4_t;
    struct pair {
        s32v first, second;
    };
    struct bins {
        s32v re, im;
    };
    struct pairs { // the first and the second s16 of both parts
        int16x4_t re[2], im[2];
    };
    using factors = int16x4_t;
    struct s64v {
        int64x2_t low, high;
    };

    static s32v load(const s32 *p) { return vld1q_s32(p); }
    static s32v load(const s16 *p) { return vmovl_s16(vld1_s16(p)); }
    static void store(s32 *p, s32v v) { vst1q_s32(p, v); }
    static void store(s16 *p, s32v v) { vst1_s16(p, vqmovn_s32(v)); }
    static s32v splat(s32 x) { return vdupq_n_s32(x); }
    static s32v add(s32v a, s32v b) { return vaddq_s32(a, b); }

    static s32v sub(s32v a, s32v b) { return vsubq_s32(a, b); }
    static pair load_interleaved(const s32 *p) {
        const int32x4x2_t v = vld2q_s32(p);
        return {v.val[0], v.val[1]};
    }
    static void store_interleaved(s32 *p, s32v first, s32v second) {
        vst2q_s32(p, int32x4x2_t{{first, second}});
    }
    static void store_interleaved(s16 *p, s32v first, s32v second) {
        vst2_s16(p, int16x4x2_t{{vqmovn_s32(first), vqmovn_s32(second)}});
    }
    static void store_quads(s32 *p, s32v a, s32v b, s32v c, s32v d) {
        vst4q_s32(p, int32x4x4_t{{a, b, c, d}});
    }
    static pair load_interleaved_reversed(const s32 *p) {
        const pair v = load_interleaved(p);
        return {reverse(v.first), reverse(v.second)};
    }
    static void store_interleaved_reversed(s32 *p, s32v first, s32v second) {
        store_interleaved(p, reverse(first), reverse(second));
    }
    static s32v reverse(s32v v) {
        const s32v swapped = vrev64q_s32(v);
        return vcombine_s32(vget_high_s32(swapped), vget_low_s32(swapped));
    }
    static s32v neg(s32v a) { return vnegq_s32(a); }
    static s32v shift_right(s32v v, s32 n) { return vshlq_s32(v, vdupq_n_s32(-n)); }
    template <int n> static s32v shift_right(s32v v) { return vshrq_n_s32(v, n); }
    static s32v shift_right_rnd(s32v v, s32 n) { return vrshlq_s32(v, vdupq_n_s32(-n)); }
    template <int n> static s32v add_magnitude(s32v sum, s32v v) {
        const uint32x4_t magnitude = vreinterpretq_u32_s32(vabsq_s32(v));
        return vreinterpretq_s32_u32(vsraq_n_u32(vreinterpretq_u32_s32(sum), magnitude, n));
    }
    static s32v shift_left_sat(s32v v, s32 n) { return vqshlq_s32(v, vdupq_n_s32(n)); }
    static s32v add_sat(s32v a, s32v b) { return vqaddq_s32(a, b); }
    static s32v sub_sat(s32v a, s32v b) { return vqsubq_s32(a, b); }
    static s32v neg_sat(s32v a) { return vqnegq_s32(a); }
    static pair half_add_sub(s32v a, s32v b) { return {vhaddq_s32(a, b), vhsubq_s32(a, b)}; }
    static pair half_add_sub_small(s32v a, s32v b) { return half_add_sub(a, b); }
    static s32v mul_low(s32v a, s32v b) { return vmulq_s32(a, b); }
    static s32v mul_q15_rnd(s32v a, s32v b) {
        return vcombine_s32(vrshrn_n_s64(low_product(a, b), 15),
                            vrshrn_n_s64(high_product(a, b), 15));
    }
    static s32v mul_q31_rnd(s32v a, s32v b) { return vqrdmulhq_s32(a, b); }
    static s32v mul_q31_rnd_sat(s32v a, s32v b) { return vqrdmulhq_s32(a, b); }

    static s32v mul_q31(s32v a, s32v b) { return vqdmulhq_s32(a, b); }
    template <int n> static s64v sum_of() { return {vdupq_n_s64(0), vdupq_n_s64(0)}; }
    static s64v mac_q31(s64v sum, s32v a, s32v b) {
        return {vsraq_n_s64(sum.low, low_product(a, b), 31),
                vsraq_n_s64(sum.high, high_product(a, b), 31)};
    }
    static s32v narrow_sat(s64v sum) {
        return vcombine_s32(vqmovn_s64(sum.low), vqmovn_s64(sum.high));
    }
    static s64v wide(s64 x) { return {vdupq_n_s64(x), vdupq_n_s64(x)}; }
    static s64v mac(s64v sum, s32v a, s32v b) {
        return {vmlal_s32(sum.low, vget_low_s32(a), vget_low_s32(b)),
                vmlal_s32(sum.high, vget_high_s32(a), vget_high_s32(b))};
    }
    template <int n> static s32v narrow_sat(s64v sum) {
        return vcombine_s32(vqshrn_n_s64(sum.low, n), vqshrn_n_s64(sum.high, n));
    }
    // Fits if all bits from the sign of what is kept on are the same.
    template <int n> static s32v beyond(s64v sum) {
        const s32v high = vcombine_s32(vshrn_n_s64(sum.low, 32), vshrn_n_s64(sum.high, 32));
        const uint32x4_t fits = vceqq_s32(vshrq_n_s32(high, n - 1), vshrq_n_s32(high, 31));
        return vreinterpretq_s32_u32(vmvnq_u32(fits));
    }
    static s32v either(s32v a, s32v b) { return vorrq_s32(a, b); }
    static s32v differing(s32v a, s32v b) { return veorq_s32(a, b); }

    static bins load_bins(const s32 *p) {
        const int32x4x2_t v = vld2q_s32(p);
        return {v.val[0], v.val[1]};
    }
    static void store_bins(s32 *p, bins b) { store_interleaved(p, b.re, b.im); }
    static bins add(bins a, bins b) { return {add(a.re, b.re), add(a.im, b.im)}; }
    template <int q = 29> static bins filter(bins x, bins gain) {
        const auto low = [](s32v v) { return vget_low_s32(v); };
        const auto high = [](s32v v) { return vget_high_s32(v); };
        const int64x2_t re_low = vmlsl_s32(low_product(x.re, gain.re), low(x.im), low(gain.im));
        const int64x2_t re_high = vmlsl_s32(high_product(x.re, gain.re), high(x.im), high(gain.im));
        const int64x2_t im_low = vmlal_s32(low_product(x.re, gain.im), low(x.im), low(gain.re));
        const int64x2_t im_high = vmlal_s32(high_product(x.re, gain.im), high(x.im), high(gain.re));
        return {vcombine_s32(vrshrn_n_s64(re_low, q), vrshrn_n_s64(re_high, q)),
                vcombine_s32(vrshrn_n_s64(im_low, q), vrshrn_n_s64(im_high, q))};
    }
    static s32v pack(s32v low, s32v high) { return vsliq_n_s32(low, high, 16); }
    static pairs load_pairs(const s32 *p) {
        const int16x4x4_t v = vld4_s16(reinterpret_cast<const s16 *>(p));
        return {{v.val[0], v.val[1]}, {v.val[2], v.val[3]}};
    }
    static factors splat_factors(s32 word) { return vreinterpret_s16_s32(vdup_n_s32(word)); }
    static bins dot(pairs p, factors f) {
        return {vmlal_lane_s16(vmull_lane_s16(p.re[0], f, 0), p.re[1], f, 1),
                vmlal_lane_s16(vmull_lane_s16(p.im[0], f, 0), p.im[1], f, 1)};
    }
    static bins add_dot(bins sum, pairs p, factors f) {
        return {vmlal_lane_s16(vmlal_lane_s16(sum.re, p.re[0], f, 0), p.re[1], f, 1),
                vmlal_lane_s16(vmlal_lane_s16(sum.im, p.im[0], f, 0), p.im[1], f, 1)};
    }
    template <int n> static bins add_shifted(bins a, bins b) {
        return {vsraq_n_s32(a.re, b.re, n), vsraq_n_s32(a.im, b.im, n)};
    }

  private:
    static int64x2_t low_product(s32v a, s32v b) {
        return vmull_s32(vget_low_s32(a), vget_low_s32(b));
    }
    static int64x2_t high_product(s32v a, s32v b) {
        return vmull_s32(vget_high_s32(a), vget_high_s32(b));
    }
};

} // namespace
} // namespace earshot

#endif
