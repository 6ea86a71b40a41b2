// AVX2 form of the vector layer: eight lanes. See kernel/vec_scalar.hpp for what each operation is.
#ifndef EARSHOT_KERNEL_VEC_AVX2_HPP
#define EARSHOT_KERNEL_VEC_AVX2_HPP

#include "kernel/vec_x86.hpp"

#include <immintrin.h>

namespace earshot {
namespace {

struct avx2_lanes {
    static constexpr s32 width = 8;
    using s32v = __m256i;
    struct pair {
        s32v first, second;
    };

    // The 32 x 32-bit multiply takes every other lane, so sums are kept that way.
    struct s64v {
        __m256i even, odd;
    };

    static s32v load(const s32 *p) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
    }
    static s32v load(const s16 *p) {
        return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)));
    }
    static void store(s32 *p, s32v v) { _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), v); }
    static void store(s16 *p, s32v v) {
        const __m128i packed =
            _mm_packs_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p), packed);
    }
    static s32v splat(s32 x) { return _mm256_set1_epi32(x); }
    static s32v add(s32v a, s32v b) { return _mm256_add_epi32(a, b); }

    static s32v sub(s32v a, s32v b) { return _mm256_sub_epi32(a, b); }
    static pair load_interleaved(const s32 *p) {
        const pair v = load_mixed_interleaved(p);
        return {_mm256_permute4x64_epi64(v.first, 0xD8), _mm256_permute4x64_epi64(v.second, 0xD8)};
    }
    static void store_interleaved(s32 *p, s32v first, s32v second) {
        store_mixed_interleaved(p, _mm256_permute4x64_epi64(first, 0xD8),
                                _mm256_permute4x64_epi64(second, 0xD8));
    }
    static void store_interleaved(s16 *p, s32v first, s32v second) {
        const s32v low = splat(-32768), high = splat(32767);
        const s32v a = _mm256_min_epi32(_mm256_max_epi32(first, low), high);
        const s32v b = _mm256_min_epi32(_mm256_max_epi32(second, low), high);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(p),
                            _mm256_blend_epi16(a, _mm256_slli_epi32(b, 16), 0xAA));
    }
    static s32v load_groups(const s32 *p) {
        return _mm256_permutevar8x32_epi32(load(p), _mm256_setr_epi32(0, 0, 0, 0, 4, 4, 4, 4));
    }
    static void store_quads(s32 *p, s32v a, s32v b, s32v c, s32v d) {
        const s32v ab = _mm256_unpacklo_epi32(a, b), cd = _mm256_unpacklo_epi32(c, d);
        const s32v ef = _mm256_unpackhi_epi32(a, b), gh = _mm256_unpackhi_epi32(c, d);
        store_groups(p, _mm256_unpacklo_epi64(ab, cd), _mm256_unpackhi_epi64(ab, cd),
                     _mm256_unpacklo_epi64(ef, gh), _mm256_unpackhi_epi64(ef, gh));
    }
    static void store_groups(s32 *p, s32v a, s32v b, s32v c, s32v d) {
        store(p, _mm256_permute2x128_si256(a, b, 0x20));
        store(p + width, _mm256_permute2x128_si256(c, d, 0x20));
        store(p + 2 * width, _mm256_permute2x128_si256(a, b, 0x31));
        store(p + 3 * width, _mm256_permute2x128_si256(c, d, 0x31));
    }
    static pair load_interleaved_reversed(const s32 *p) {
        const pair v = load_mixed_interleaved(p);
        const s32v order = _mm256_setr_epi32(7, 6, 3, 2, 5, 4, 1, 0);
        return {_mm256_permutevar8x32_epi32(v.first, order),
                _mm256_permutevar8x32_epi32(v.second, order)};
    }
    static void store_interleaved_reversed(s32 *p, s32v first, s32v second) {
        const s32v order = _mm256_setr_epi32(7, 6, 3, 2, 5, 4, 1, 0);
        store_mixed_interleaved(p, _mm256_permutevar8x32_epi32(first, order),
                                _mm256_permutevar8x32_epi32(second, order));
    }
    static s32v reverse(s32v v) {
        return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
    }
    static s32v neg(s32v a) { return sub(_mm256_setzero_si256(), a); }
    static s32v shift_right(s32v v, s32 n) { return _mm256_sra_epi32(v, _mm_cvtsi32_si128(n)); }
    template <int n> static s32v shift_right(s32v v) { return _mm256_srai_epi32(v, n); }
    template <int n> static s32v add_magnitude(s32v sum, s32v v) {
        return add(sum, _mm256_srli_epi32(_mm256_abs_epi32(v), n));
    }
    static s32v shift_left_sat(s32v v, s32 n) {
        const s32v shifted = _mm256_sll_epi32(v, _mm_cvtsi32_si128(n));
        const s32v fits = _mm256_cmpeq_epi32(shift_right(shifted, n), v);
        return _mm256_blendv_epi8(bound_of(v), shifted, fits);
    }
    static s32v add_sat(s32v a, s32v b) {
        const s32v sum = add(a, b);
        // Overflowed: both operands differ from the sum in sign.
        return saturate_where(_mm256_and_si256(_mm256_xor_si256(a, sum), _mm256_xor_si256(b, sum)),
                              sum, a);
    }
    static s32v sub_sat(s32v a, s32v b) {
        const s32v difference = sub(a, b);
        return saturate_where(
            _mm256_and_si256(_mm256_xor_si256(a, b), _mm256_xor_si256(a, difference)), difference,
            a);
    }
    static s32v neg_sat(s32v a) {
        return add(sub(_mm256_setzero_si256(), a), _mm256_cmpeq_epi32(a, splat(INT32_MIN)));
    }
    static s32v half_add(s32v a, s32v b) {
        return add(_mm256_and_si256(a, b), _mm256_srai_epi32(_mm256_xor_si256(a, b), 1));
    }
    static s32v mul_low(s32v a, s32v b) { return _mm256_mullo_epi32(a, b); }
    static s32v mul_q15_rnd(s32v a, s32v b) {
        const s64v p = product(a, b);
        const __m256i half_unit = _mm256_set1_epi64x(s64{1} << 14);
        return take_odd(_mm256_srli_epi64(_mm256_add_epi64(p.even, half_unit), 15),
                        _mm256_slli_epi64(_mm256_add_epi64(p.odd, half_unit), 17));
    }
    static s32v mul_q31_rnd(s32v a, s32v b) {
        const s64v p = product(a, b);
        const __m256i half_unit = _mm256_set1_epi64x(s64{1} << 30);
        return bits_from_31(_mm256_add_epi64(p.even, half_unit),
                            _mm256_add_epi64(p.odd, half_unit));
    }
    static s32v mul_q31_rnd_sat(s32v a, s32v b) {
        const s32v q = mul_q31_rnd(a, b);
        // No other product gives -2^31 than the one that should give 2^31.
        return add(q, _mm256_cmpeq_epi32(q, splat(INT32_MIN)));
    }
    static s32v either(s32v a, s32v b) { return _mm256_or_si256(a, b); }
    static s32v differing(s32v a, s32v b) { return _mm256_xor_si256(a, b); }
    static s32v pack(s32v low, s32v high) {
        return _mm256_blend_epi16(low, _mm256_slli_epi32(high, 16), 0xAA);
    }

    static s32v mul_q31(s32v a, s32v b) {
        const s64v p = product(a, b);
        return bits_from_31(p.even, p.odd);
    }

    // There is no arithmetic shift of 64-bit lanes. A bias of 2^62 makes every product non-negative
    // and adds 2^31 to every term, which the start of the sum takes off beforehand.
    template <int n> static s64v sum_of() {
        const __m256i start = _mm256_set1_epi64x(-(s64{n} << 31));
        return {start, start};
    }
    static s64v mac_q31(s64v sum, s32v a, s32v b) {
        const s64v p = product(a, b);
        return {add_biased_term(sum.even, p.even), add_biased_term(sum.odd, p.odd)};
    }
    static s32v narrow_sat(s64v sum) {
        const __m256i low = take_odd(sum.even, _mm256_slli_epi64(sum.odd, 32));
        const __m256i high = take_odd(_mm256_srli_epi64(sum.even, 32), sum.odd);
        const __m256i fits = _mm256_cmpeq_epi32(high, _mm256_srai_epi32(low, 31));
        const __m256i bound =
            _mm256_xor_si256(_mm256_srai_epi32(high, 31), _mm256_set1_epi32(0x7FFFFFFF));
        return _mm256_blendv_epi8(bound, low, fits);
    }

    static s64v wide(s64 x) { return {_mm256_set1_epi64x(x), _mm256_set1_epi64x(x)}; }
    static s64v mac(s64v sum, s32v a, s32v b) {
        const s64v p = product(a, b);
        return {_mm256_add_epi64(sum.even, p.even), _mm256_add_epi64(sum.odd, p.odd)};
    }
    // The upper words tell: what is kept fits if all bits from its sign on are the same.
    template <int n> static s32v narrow_sat(s64v sum) {
        const s32v low =
            take_odd(_mm256_srli_epi64(sum.even, n), _mm256_slli_epi64(sum.odd, 32 - n));
        return saturate_where(beyond<n>(sum), low, high_words(sum));
    }
    template <int n> static s32v beyond(s64v sum) {
        const s32v high = high_words(sum);
        const s32v sign = _mm256_srai_epi32(high, 31);
        return differing(splat(-1), _mm256_cmpeq_epi32(_mm256_srai_epi32(high, n - 1), sign));
    }

  protected:
    static s32v high_words(s64v sum) { return take_odd(_mm256_srli_epi64(sum.even, 32), sum.odd); }
    // Pairs, with the lanes in the order 0 1 4 5 2 3 6 7, which shuffles within halves come to.
    static pair load_mixed_interleaved(const s32 *p) {
        const __m256 low = _mm256_castsi256_ps(load(p));
        const __m256 high = _mm256_castsi256_ps(load(p + width));
        return {_mm256_castps_si256(_mm256_shuffle_ps(low, high, 0x88)),
                _mm256_castps_si256(_mm256_shuffle_ps(low, high, 0xDD))};
    }
    static void store_mixed_interleaved(s32 *p, s32v first, s32v second) {
        store(p, _mm256_unpacklo_epi32(first, second));
        store(p + width, _mm256_unpackhi_epi32(first, second));
    }
    // The bound of a's sign in the lanes whose mask is negative, v in the others.
    static s32v saturate_where(s32v mask, s32v v, s32v a) {
        return _mm256_castps_si256(_mm256_blendv_ps(
            _mm256_castsi256_ps(v), _mm256_castsi256_ps(bound_of(a)), _mm256_castsi256_ps(mask)));
    }
    static s32v bound_of(s32v a) {
        return _mm256_xor_si256(_mm256_srai_epi32(a, 31), splat(INT32_MAX));
    }
    static s32v odd_of(s32v v) { return _mm256_shuffle_epi32(v, 0xF5); }
    // The 32 bits from bit 31 of every 64; there are more units that add than units that shift.
    static s32v bits_from_31(__m256i even, __m256i odd) {
        return take_odd(_mm256_srli_epi64(even, 31), _mm256_slli_epi64(odd, 1));
    }
    template <int q> static s32v filter(s32v x, s32v gain) {
        const __m256i x_odd = odd_of(x), gain_odd = odd_of(gain);
        const __m256i half_unit = _mm256_set1_epi64x(s64{1} << (q - 1));
        const __m256i re =
            _mm256_sub_epi64(_mm256_mul_epi32(x, gain), _mm256_mul_epi32(x_odd, gain_odd));
        const __m256i im =
            _mm256_add_epi64(_mm256_mul_epi32(x, gain_odd), _mm256_mul_epi32(x_odd, gain));
        // The 32 bits from bit q of every 64.
        return take_odd(_mm256_srli_epi64(_mm256_add_epi64(re, half_unit), q),
                        _mm256_slli_epi64(_mm256_add_epi64(im, half_unit), 32 - q));
    }
    static s32v dot(s32v a, s32v b) { return _mm256_madd_epi16(a, b); }
    static s64v product(s32v a, s32v b) {
        return {_mm256_mul_epi32(a, b), _mm256_mul_epi32(odd_of(a), odd_of(b))};
    }
    static __m256i add_biased_term(__m256i sum, __m256i p) {
        const __m256i biased = _mm256_add_epi64(p, _mm256_set1_epi64x(s64{1} << 62));
        return _mm256_add_epi64(sum, _mm256_srli_epi64(biased, 31));
    }
    static __m256i take_odd(__m256i even, __m256i odd) {
        return _mm256_blend_epi32(even, odd, 0xAA);
    }
};

using vec_avx2 = vec_x86<avx2_lanes>;

} // namespace
} // namespace earshot

#endif
