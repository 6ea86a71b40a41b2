// SSE4.1 form of the vector layer: four lanes. See kernel/vec_scalar.hpp for what each operation
// is.
#ifndef EARSHOT_KERNEL_VEC_SSE41_HPP
#define EARSHOT_KERNEL_VEC_SSE41_HPP

#include "kernel/vec_x86.hpp"

#include <smmintrin.h>

namespace earshot {
namespace {

struct sse41_lanes {
    static constexpr s32 width = 4;
    using s32v = __m128i;
    struct pair {
        s32v first, second;
    };

    // The 32 x 32-bit multiply takes every other lane, so sums are kept that way.
    struct s64v {
        __m128i even, odd;
    };

    static s32v load(const s32 *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
    static s32v load(const s16 *p) {
        return _mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(p)));
    }
    static void store(s32 *p, s32v v) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }
    static void store(s16 *p, s32v v) {
        _mm_storel_epi64(reinterpret_cast<__m128i *>(p), _mm_packs_epi32(v, v));
    }
    static s32v splat(s32 x) { return _mm_set1_epi32(x); }
    static pair load_interleaved(const s32 *p) {
        const __m128 low = _mm_castsi128_ps(load(p));
        const __m128 high = _mm_castsi128_ps(load(p + width));
        return {_mm_castps_si128(_mm_shuffle_ps(low, high, 0x88)),
                _mm_castps_si128(_mm_shuffle_ps(low, high, 0xDD))};
    }
    static void store_interleaved(s32 *p, s32v first, s32v second) {
        store(p, _mm_unpacklo_epi32(first, second));
        store(p + width, _mm_unpackhi_epi32(first, second));
    }
    static void store_interleaved(s16 *p, s32v first, s32v second) {
        const s32v both = _mm_packs_epi32(first, second);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p),
                         _mm_unpacklo_epi16(both, _mm_unpackhi_epi64(both, both)));
    }
    static void store_quads(s32 *p, s32v a, s32v b, s32v c, s32v d) {
        const s32v ab = _mm_unpacklo_epi32(a, b), cd = _mm_unpacklo_epi32(c, d);
        const s32v ef = _mm_unpackhi_epi32(a, b), gh = _mm_unpackhi_epi32(c, d);
        store(p, _mm_unpacklo_epi64(ab, cd));
        store(p + width, _mm_unpackhi_epi64(ab, cd));
        store(p + 2 * width, _mm_unpacklo_epi64(ef, gh));
        store(p + 3 * width, _mm_unpackhi_epi64(ef, gh));
    }
    static pair load_interleaved_reversed(const s32 *p) {
        const pair v = load_interleaved(p);
        return {reverse(v.first), reverse(v.second)};
    }
    static void store_interleaved_reversed(s32 *p, s32v first, s32v second) {
        store_interleaved(p, reverse(first), reverse(second));
    }
    static s32v reverse(s32v v) { return _mm_shuffle_epi32(v, 0x1B); }

    static s32v add(s32v a, s32v b) { return _mm_add_epi32(a, b); }
    static s32v sub(s32v a, s32v b) { return _mm_sub_epi32(a, b); }
    static s32v neg(s32v a) { return sub(_mm_setzero_si128(), a); }
    static s32v shift_right(s32v v, s32 n) { return _mm_sra_epi32(v, _mm_cvtsi32_si128(n)); }
    template <int n> static s32v shift_right(s32v v) { return _mm_srai_epi32(v, n); }
    template <int n> static s32v add_magnitude(s32v sum, s32v v) {
        return add(sum, _mm_srli_epi32(_mm_abs_epi32(v), n));
    }
    static s32v shift_left_sat(s32v v, s32 n) {
        const s32v shifted = _mm_sll_epi32(v, _mm_cvtsi32_si128(n));
        const s32v fits = _mm_cmpeq_epi32(shift_right(shifted, n), v);
        return _mm_blendv_epi8(bound_of(v), shifted, fits);
    }
    static s32v add_sat(s32v a, s32v b) {
        const s32v sum = add(a, b);
        // Overflowed: both operands differ from the sum in sign.
        return saturate_where(_mm_and_si128(_mm_xor_si128(a, sum), _mm_xor_si128(b, sum)), sum, a);
    }
    static s32v sub_sat(s32v a, s32v b) {
        const s32v difference = sub(a, b);
        return saturate_where(_mm_and_si128(_mm_xor_si128(a, b), _mm_xor_si128(a, difference)),
                              difference, a);
    }
    static s32v neg_sat(s32v a) { return add(neg(a), _mm_cmpeq_epi32(a, splat(INT32_MIN))); }
    static s32v half_add(s32v a, s32v b) {
        return add(_mm_and_si128(a, b), _mm_srai_epi32(_mm_xor_si128(a, b), 1));
    }
    static s32v mul_low(s32v a, s32v b) { return _mm_mullo_epi32(a, b); }
    static s32v mul_q15_rnd(s32v a, s32v b) {
        const s64v p = product(a, b);
        const __m128i half_unit = _mm_set1_epi64x(s64{1} << 14);
        return take_odd(_mm_srli_epi64(_mm_add_epi64(p.even, half_unit), 15),
                        _mm_slli_epi64(_mm_add_epi64(p.odd, half_unit), 17));
    }
    static s32v mul_q31_rnd(s32v a, s32v b) {
        const s64v p = product(a, b);
        const __m128i half_unit = _mm_set1_epi64x(s64{1} << 30);
        return bits_from_31(_mm_add_epi64(p.even, half_unit), _mm_add_epi64(p.odd, half_unit));
    }
    static s32v mul_q31_rnd_sat(s32v a, s32v b) {
        const s32v q = mul_q31_rnd(a, b);
        // No other product gives -2^31 than the one that should give 2^31.
        return add(q, _mm_cmpeq_epi32(q, splat(INT32_MIN)));
    }
    static s32v mul_q31(s32v a, s32v b) {
        const s64v p = product(a, b);
        return bits_from_31(p.even, p.odd);
    }
    static s32v either(s32v a, s32v b) { return _mm_or_si128(a, b); }
    static s32v differing(s32v a, s32v b) { return _mm_xor_si128(a, b); }
    static s32v pack(s32v low, s32v high) {
        return _mm_blend_epi16(low, _mm_slli_epi32(high, 16), 0xAA);
    }

    // There is no arithmetic shift of 64-bit lanes. A bias of 2^62 makes every product non-negative
    // and adds 2^31 to every term, which the start of the sum takes off beforehand.
    template <int n> static s64v sum_of() {
        const __m128i start = _mm_set1_epi64x(-(s64{n} << 31));
        return {start, start};
    }
    static s64v mac_q31(s64v sum, s32v a, s32v b) {
        const s64v p = product(a, b);
        return {add_biased_term(sum.even, p.even), add_biased_term(sum.odd, p.odd)};
    }
    static s32v narrow_sat(s64v sum) {
        const __m128i low = take_odd(sum.even, _mm_slli_epi64(sum.odd, 32));
        const __m128i high = take_odd(_mm_srli_epi64(sum.even, 32), sum.odd);
        const __m128i fits = _mm_cmpeq_epi32(high, _mm_srai_epi32(low, 31));
        return _mm_blendv_epi8(bound_of(high), low, fits);
    }

    static s64v wide(s64 x) { return {_mm_set1_epi64x(x), _mm_set1_epi64x(x)}; }
    static s64v mac(s64v sum, s32v a, s32v b) {
        const s64v p = product(a, b);
        return {_mm_add_epi64(sum.even, p.even), _mm_add_epi64(sum.odd, p.odd)};
    }
    // The upper words tell: what is kept fits if all bits from its sign on are the same.
    template <int n> static s32v narrow_sat(s64v sum) {
        const s32v low = take_odd(_mm_srli_epi64(sum.even, n), _mm_slli_epi64(sum.odd, 32 - n));
        return saturate_where(beyond<n>(sum), low, high_words(sum));
    }
    template <int n> static s32v beyond(s64v sum) {
        const s32v high = high_words(sum);
        const s32v sign = _mm_srai_epi32(high, 31);
        return differing(splat(-1), _mm_cmpeq_epi32(_mm_srai_epi32(high, n - 1), sign));
    }

  protected:
    static s32v high_words(s64v sum) { return take_odd(_mm_srli_epi64(sum.even, 32), sum.odd); }
    // The bound of a's sign in the lanes whose mask is negative, v in the others.
    static s32v saturate_where(s32v mask, s32v v, s32v a) {
        return _mm_castps_si128(_mm_blendv_ps(_mm_castsi128_ps(v), _mm_castsi128_ps(bound_of(a)),
                                              _mm_castsi128_ps(mask)));
    }
    static s32v bound_of(s32v a) { return _mm_xor_si128(_mm_srai_epi32(a, 31), splat(INT32_MAX)); }
    static s32v odd_of(s32v v) { return _mm_shuffle_epi32(v, 0xF5); }
    static s32v dot(s32v a, s32v b) { return _mm_madd_epi16(a, b); }
    static s64v product(s32v a, s32v b) {
        return {_mm_mul_epi32(a, b), _mm_mul_epi32(odd_of(a), odd_of(b))};
    }
    static __m128i add_biased_term(__m128i sum, __m128i p) {
        const __m128i biased = _mm_add_epi64(p, _mm_set1_epi64x(s64{1} << 62));
        return _mm_add_epi64(sum, _mm_srli_epi64(biased, 31));
    }
    static __m128i take_odd(__m128i even, __m128i odd) { return _mm_blend_epi16(even, odd, 0xCC); }
    // The 32 bits from bit 31 of every 64; there are more units that add than units that shift.
    static s32v bits_from_31(__m128i even, __m128i odd) {
        return take_odd(_mm_srli_epi64(even, 31), _mm_add_epi64(odd, odd));
    }
    template <int q> static s32v filter(s32v x, s32v gain) {
        const __m128i x_odd = odd_of(x), gain_odd = odd_of(gain);
        const __m128i half_unit = _mm_set1_epi64x(s64{1} << (q - 1));
        const __m128i re = _mm_sub_epi64(_mm_mul_epi32(x, gain), _mm_mul_epi32(x_odd, gain_odd));
        const __m128i im = _mm_add_epi64(_mm_mul_epi32(x, gain_odd), _mm_mul_epi32(x_odd, gain));
        // The 32 bits from bit q of every 64.
        return take_odd(_mm_srli_epi64(_mm_add_epi64(re, half_unit), q),
                        _mm_slli_epi64(_mm_add_epi64(im, half_unit), 32 - q));
    }
};

using vec_sse41 = vec_x86<sse41_lanes>;

} // namespace
} // namespace earshot

#endif
