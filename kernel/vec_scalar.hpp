// One-lane form of the vector layer: the reference that every instruction set must match, and the
// code for the last samples of a block.
//
// A form of the vector layer is a struct with
//     width                  lanes
//     s32v                   width lanes of s32
//     s64v                   width lanes of s64, in whatever order suits the instruction set
//     load, store            of s32 or s16 samples at any address aligned for the sample; s16 are
//                            sign-extended, and clamped when stored
//     splat                  one value in all lanes
//     load_pairs,            width interleaved pairs as two vectors, and back
//     store_pairs
//     gather                 width words at the given offsets
//     reverse                the lanes in reverse order
//     add, sub               wrapping
//     add_sat, sub_sat,      saturating
//     neg_sat
//     half_add, half_sub     (a + b) >> 1 and (a - b) >> 1 without overflow
//     mul_low                low 32 bits of a x b
//     mul_q15_rnd            low 32 bits of (a x b + 2^14) >> 15, b of 16 bits
//     shift_right<n>         a >> n, 0 < n < 32
//     mul_q31                low 32 bits of a x b >> 31
//     mul_q31_rnd_sat        a x b / 2^31 rounded half up; -2^31 squared saturates
//     sum_of<n>              start of a sum of n terms
//     mac_q31                sum + (a x b >> 31), the products of full width
//     narrow_sat             sum clamped to s32, once all n terms are in
// Everything is in an unnamed namespace: code compiled for a newer instruction set must not be
// shared with the rest of the library by the linker.
#ifndef EARSHOT_KERNEL_VEC_SCALAR_HPP
#define EARSHOT_KERNEL_VEC_SCALAR_HPP

#include <earshot/types.h>

namespace earshot {
namespace {

template <class V> struct vec_pair { V first, second; };

struct vec_scalar {
    static constexpr s32 width = 1;
    using s32v = s32;
    using s64v = s64;
    using half = vec_scalar; // the form for half as many lanes
    struct pair {
        s32v first, second;
    };

    static s32v load(const s32 *p) { return *p; }
    static s32v load(const s16 *p) { return *p; }
    static void store(s32 *p, s32v v) { *p = v; }
    static void store(s16 *p, s32v v) { *p = static_cast<s16>(clamp(v, -32768, 32767)); }
    static s32v splat(s32 x) { return x; }
    static s32v add(s32v a, s32v b) {
        return static_cast<s32>(static_cast<u32>(a) + static_cast<u32>(b));
    }
    static s32v sub(s32v a, s32v b) {
        return static_cast<s32>(static_cast<u32>(a) - static_cast<u32>(b));
    }
    static pair load_pairs(const s32 *p) { return {p[0], p[1]}; }
    static void store_pairs(s32 *p, s32v first, s32v second) {
        p[0] = first;
        p[1] = second;
    }
    static s32v gather(const s32 *p, const s32 *offsets) { return p[*offsets]; }
    static s32v reverse(s32v v) { return v; }
    static s32v add_sat(s32v a, s32v b) { return narrow_sat(s64{a} + b); }
    static s32v sub_sat(s32v a, s32v b) { return narrow_sat(s64{a} - b); }
    static s32v neg_sat(s32v a) { return narrow_sat(-s64{a}); }
    static s32v half_add(s32v a, s32v b) { return static_cast<s32>((s64{a} + b) >> 1); }
    static s32v half_sub(s32v a, s32v b) { return static_cast<s32>((s64{a} - b) >> 1); }
    static s32v mul_low(s32v a, s32v b) {
        return static_cast<s32>(static_cast<u32>(a) * static_cast<u32>(b));
    }
    static s32v mul_q15_rnd(s32v a, s32v b) {
        return static_cast<s32>((s64{a} * b + 0x4000) >> 15);
    }
    template <int n> static s32v shift_right(s32v a) { return a >> n; }
    static s32v mul_q31_rnd_sat(s32v a, s32v b) {
        return narrow_sat((s64{a} * b + 0x40000000) >> 31);
    }
    static s32v mul_q31(s32v a, s32v b) { return static_cast<s32>(s64{a} * b >> 31); }
    template <int n> static s64v sum_of() { return 0; }
    static s64v mac_q31(s64v sum, s32v a, s32v b) { return sum + (s64{a} * b >> 31); }
    static s32v narrow_sat(s64v sum) {
        return static_cast<s32>(clamp(sum, -s64{0x80000000}, 0x7FFFFFFF));
    }

  private:
    static s64 clamp(s64 x, s64 lo, s64 hi) { return x < lo ? lo : x > hi ? hi : x; }
};

} // namespace
} // namespace earshot

#endif
