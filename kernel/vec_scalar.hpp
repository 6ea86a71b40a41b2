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
//     load_groups            four lanes of p[0], four of p[4] and so on (from eight lanes up)
//     load_interleaved,      width interleaved pairs as two vectors, and back; as s16 clamped
//     store_interleaved
//     load_interleaved_reversed, the same with the lanes in reverse order
//     store_interleaved_reversed
//     store_quads            four vectors interleaved lane by lane
//     store_groups           four vectors interleaved by groups of four lanes (from eight lanes up)
//     reverse                the lanes in reverse order
//     add, sub, neg          wrapping
//     add_sat, sub_sat,      saturating
//     neg_sat
//     half_add_sub           the pair of (a + b) >> 1 and (a - b) >> 1 without overflow
//     half_add_sub_small     the same where a + b and a - b do not overflow
//     shift_right, also      arithmetic, by 0 to 31
//     shift_right<n>
//     shift_right_rnd        the same rounded half up, by 1 to 31, where a + 2^(n - 1) does not
//                            overflow for n = 1
//     shift_left_sat         saturating, by 0 to 31
//     add_magnitude<n>       sum + (|a| >> n), wrapping; the magnitude of -2^31 is 2^31
//     mul_low                low 32 bits of a x b
//     mul_q15_rnd            low 32 bits of (a x b + 2^14) >> 15, b of 16 bits
//     mul_q31                a x b >> 31, where not both are -2^31
//     mul_q31_rnd            a x b / 2^31 rounded half up, where a is not -2^31
//     mul_q31_rnd_sat        the same for any a; -2^31 squared saturates
//     either, differing      the bits of a or b, and those that only one of them has
//     sum_of<n>              start of a sum of n terms
//     mac_q31                sum + (a x b >> 31), the products of full width
//     narrow_sat             sum clamped to s32, once all n terms are in
//     wide                   the start of a sum of full products: one value in all lanes
//     mac                    sum + a x b, wrapping
//     narrow_sat<n>          sum >> n clamped to s32, n from 2 to 31
//     beyond<n>              -1 in the lanes that narrow_sat<n> clamps, else 0
//     bins                   width complex words (real word first in memory), in whatever order
//                            suits the instruction set
//     load_bins, store_bins
//     add                    of bins: wrapping
//     filter<q>              of bins by gains in Qq, 28 to 32, 29 where no q is told: the 64-bit
//                            sums of products, wrapping, rounded half up to bit q, of which 32 bits
//                            are kept; here by gains of any Q as well, below 0 and beyond 64
//     pack                   lanes of two s16 each: the low half of a lane of the first, above it
//                            that of the second
//     pairs, load_pairs      width complex words whose parts are two s16 each, as pack makes them
//     factors, splat_factors such a word of two s16 for all lanes
//     dot, add_dot           first s16 times first s16 plus second times second of every part, as
//                            bins or added to bins; not all four of -2^15, sums wrapping
//     add_shifted<n>         bins of a + (b >> n), n from 1 to 31, wrapping
// Everything is in an unnamed namespace: code compiled for a newer instruction set must not be
// shared with the rest of the library by the linker.
#ifndef EARSHOT_KERNEL_VEC_SCALAR_HPP
#define EARSHOT_KERNEL_VEC_SCALAR_HPP

#include <earshot/types.h>

// A function of its own with all that it calls inside: what stays in registers must not go through
// memory, nor one butterfly become part of many functions.
#define EARSHOT_KERNEL __attribute__((noinline, flatten))

namespace earshot {
namespace {

struct vec_scalar {
    static constexpr s32 width = 1;
    using s32v = s32;
    using s64v = s64;
    struct pair {
        s32v first, second;
    };
    struct bins {
        s32 re, im;
    };
    using pairs = bins;
    using factors = s32;

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
    static pair load_interleaved(const s32 *p) { return {p[0], p[1]}; }
    static void store_interleaved(s32 *p, s32v first, s32v second) {
        p[0] = first;
        p[1] = second;
    }
    static void store_interleaved(s16 *p, s32v first, s32v second) {
        store(p, first);
        store(p + 1, second);
    }
    static void store_quads(s32 *p, s32v a, s32v b, s32v c, s32v d) {
        p[0] = a;
        p[1] = b;
        p[2] = c;
        p[3] = d;
    }
    static pair load_interleaved_reversed(const s32 *p) { return load_interleaved(p); }
    static void store_interleaved_reversed(s32 *p, s32v first, s32v second) {
        store_interleaved(p, first, second);
    }
    static s32v reverse(s32v v) { return v; }
    static s32v neg(s32v a) { return sub(0, a); }
    static s32v shift_right(s32v v, s32 n) { return v >> n; }
    template <int n> static s32v shift_right(s32v v) { return v >> n; }
    static s32v shift_right_rnd(s32v v, s32 n) { return shift_right<1>(add(v >> (n - 1), 1)); }
    template <int n> static s32v add_magnitude(s32v sum, s32v v) {
        const u32 magnitude = v < 0 ? 0u - static_cast<u32>(v) : static_cast<u32>(v);
        return add(sum, static_cast<s32>(magnitude >> n));
    }
    static s32v shift_left_sat(s32v v, s32 n) {
        return narrow_sat(static_cast<s64>(static_cast<u64>(v) << n));
    }
    static s32v either(s32v a, s32v b) { return a | b; }
    static s32v differing(s32v a, s32v b) { return a ^ b; }
    static s32v add_sat(s32v a, s32v b) { return narrow_sat(s64{a} + b); }
    static s32v sub_sat(s32v a, s32v b) { return narrow_sat(s64{a} - b); }
    static s32v neg_sat(s32v a) { return narrow_sat(-s64{a}); }
    static pair half_add_sub(s32v a, s32v b) {
        return {static_cast<s32>((s64{a} + b) >> 1), static_cast<s32>((s64{a} - b) >> 1)};
    }
    static pair half_add_sub_small(s32v a, s32v b) {
        const s32v sum = shift_right<1>(add(a, b));
        return {sum, sub(sum, b)};
    }
    static s32v mul_q31_rnd_sat(s32v a, s32v b) {
        return narrow_sat((s64{a} * b + 0x40000000) >> 31);
    }
    static s32v mul_low(s32v a, s32v b) {
        return static_cast<s32>(static_cast<u32>(a) * static_cast<u32>(b));
    }
    static s32v mul_q15_rnd(s32v a, s32v b) {
        return static_cast<s32>((s64{a} * b + 0x4000) >> 15);
    }
    static s32v mul_q31_rnd(s32v a, s32v b) {
        return static_cast<s32>((s64{a} * b + 0x40000000) >> 31);
    }
    static s32v mul_q31(s32v a, s32v b) { return static_cast<s32>(s64{a} * b >> 31); }
    template <int n> static s64v sum_of() { return 0; }
    static s64v mac_q31(s64v sum, s32v a, s32v b) { return sum + (s64{a} * b >> 31); }
    static s32v narrow_sat(s64v sum) {
        return static_cast<s32>(clamp(sum, -s64{0x80000000}, 0x7FFFFFFF));
    }
    static s64v wide(s64 x) { return x; }
    static s64v mac(s64v sum, s32v a, s32v b) {
        return static_cast<s64>(static_cast<u64>(sum) + product(a, b));
    }
    template <int n> static s32v narrow_sat(s64v sum) { return narrow_sat(sum >> n); }
    template <int n> static s32v beyond(s64v sum) {
        return (sum >> n) == static_cast<s32>(sum >> n) ? 0 : -1;
    }
    static bins load_bins(const s32 *p) { return {p[0], p[1]}; }
    static void store_bins(s32 *p, bins b) {
        p[0] = b.re;
        p[1] = b.im;
    }
    static bins add(bins a, bins b) { return {add(a.re, b.re), add(a.im, b.im)}; }
    template <int q = 29> static bins filter(bins x, bins gain) { return filter(x, gain, q); }
    static bins filter(bins x, bins gain, s32 q) {
        return {rounded(product(x.re, gain.re) - product(x.im, gain.im), q),
                rounded(product(x.re, gain.im) + product(x.im, gain.re), q)};
    }

    static s32v pack(s32v low, s32v high) {
        return static_cast<s32>((static_cast<u32>(low) & 0xFFFF) | static_cast<u32>(high) << 16);
    }
    static pairs load_pairs(const s32 *p) { return load_bins(p); }
    static factors splat_factors(s32 word) { return word; }
    static bins dot(pairs p, factors f) { return {dot(p.re, f), dot(p.im, f)}; }
    static bins add_dot(bins sum, pairs p, factors f) { return add(sum, dot(p, f)); }
    template <int n> static bins add_shifted(bins a, bins b) {
        return add(a, {b.re >> n, b.im >> n});
    }

  private:
    static s32 dot(s32 a, s32 b) {
        return static_cast<s16>(a) * static_cast<s16>(b) + (a >> 16) * (b >> 16);
    }
    static u64 product(s32 a, s32 b) { return static_cast<u64>(s64{a} * b); }
    static s32 rounded(u64 sum, s32 q) {
        if (q > 63) return 0;
        if (q < 1) return q > -32 ? static_cast<s32>(sum << -q) : 0;
        // Rounding belongs to the last 32 bits of the shift at most: a carry past bit 63 that it
        // makes is not kept.
        const s32 last = q < 32 ? q : 32;
        const u64 rest = static_cast<u64>(static_cast<s64>(sum) >> (q - last));
        return static_cast<s32>((rest + (u64{1} << (last - 1))) >> last);
    }
    static s64 clamp(s64 x, s64 lo, s64 hi) { return x < lo ? lo : x > hi ? hi : x; }
};

} // namespace
} // namespace earshot

#endif
