// AVX-512 form of the vector layer: sixteen lanes. See kernel/vec_scalar.hpp for what each
// operation is. The byte-wise multishift takes a rounded product out of its 64 bits in one step.
#ifndef EARSHOT_KERNEL_VEC_AVX512_HPP
#define EARSHOT_KERNEL_VEC_AVX512_HPP

#include "kernel/vec_x86.hpp"

// gcc takes the operands that its own header leaves undefined on purpose for mistakes.
#if !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>
#if !defined(__clang__)
#pragma GCC diagnostic pop
#endif

namespace earshot {
namespace {

struct avx512_lanes {
    static constexpr s32 width = 16;
    using s32v = __m512i;
    struct pair {
        s32v first, second;
    };

    // The 32 x 32-bit multiply takes every other lane, so sums are kept that way.
    struct s64v {
        __m512i even, odd;
    };

    static s32v load(const s32 *p) { return _mm512_loadu_si512(p); }
    static s32v load(const s16 *p) {
        return _mm512_cvtepi16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(p)));
    }
    static void store(s32 *p, s32v v) { _mm512_storeu_si512(p, v); }
    static void store(s16 *p, s32v v) {
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), _mm512_cvtsepi32_epi16(v));
    }
    static s32v splat(s32 x) { return _mm512_set1_epi32(x); }
    static s32v load_groups(const s32 *p) {
        return _mm512_permutexvar_epi32(
            _mm512_setr_epi32(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12), load(p));
    }
    static pair load_interleaved(const s32 *p) {
        const s32v low = load(p), high = load(p + width);
        const s32v first =
            _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
        const s32v second =
            _mm512_setr_epi32(1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
        return {_mm512_permutex2var_epi32(low, first, high),
                _mm512_permutex2var_epi32(low, second, high)};
    }
    static void store_interleaved(s32 *p, s32v first, s32v second) {
        const pair mixed = interleave(first, second);
        store(p, mixed.first);
        store(p + width, mixed.second);
    }
    static void store_interleaved(s16 *p, s32v first, s32v second) {
        const s32v low = _mm512_set1_epi32(-32768), high = _mm512_set1_epi32(32767);
        const s32v a = _mm512_min_epi32(_mm512_max_epi32(first, low), high);
        const s32v b = _mm512_min_epi32(_mm512_max_epi32(second, low), high);
        _mm512_storeu_si512(p, _mm512_mask_blend_epi16(0xAAAAAAAA, a, _mm512_slli_epi32(b, 16)));
    }
    static void store_quads(s32 *p, s32v a, s32v b, s32v c, s32v d) {
        const pair even = interleave(a, c), odd = interleave(b, d);
        const pair low = interleave(even.first, odd.first);
        const pair high = interleave(even.second, odd.second);
        store(p, low.first);
        store(p + width, low.second);
        store(p + 2 * width, high.first);
        store(p + 3 * width, high.second);
    }
    static void store_groups(s32 *p, s32v a, s32v b, s32v c, s32v d) {
        const s32v ab = _mm512_shuffle_i32x4(a, b, 0x44), cd = _mm512_shuffle_i32x4(c, d, 0x44);
        const s32v ef = _mm512_shuffle_i32x4(a, b, 0xEE), gh = _mm512_shuffle_i32x4(c, d, 0xEE);
        store(p, _mm512_shuffle_i32x4(ab, cd, 0x88));
        store(p + width, _mm512_shuffle_i32x4(ab, cd, 0xDD));
        store(p + 2 * width, _mm512_shuffle_i32x4(ef, gh, 0x88));
        store(p + 3 * width, _mm512_shuffle_i32x4(ef, gh, 0xDD));
    }
    static pair load_interleaved_reversed(const s32 *p) {
        const s32v low = load(p), high = load(p + width);
        const s32v first =
            _mm512_setr_epi32(30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8, 6, 4, 2, 0);
        const s32v second =
            _mm512_setr_epi32(31, 29, 27, 25, 23, 21, 19, 17, 15, 13, 11, 9, 7, 5, 3, 1);
        return {_mm512_permutex2var_epi32(low, first, high),
                _mm512_permutex2var_epi32(low, second, high)};
    }
    static void store_interleaved_reversed(s32 *p, s32v first, s32v second) {
        const s32v low =
            _mm512_setr_epi32(15, 31, 14, 30, 13, 29, 12, 28, 11, 27, 10, 26, 9, 25, 8, 24);
        const s32v high = _mm512_setr_epi32(7, 23, 6, 22, 5, 21, 4, 20, 3, 19, 2, 18, 1, 17, 0, 16);
        store(p, _mm512_permutex2var_epi32(first, low, second));
        store(p + width, _mm512_permutex2var_epi32(first, high, second));
    }
    static s32v reverse(s32v v) {
        return _mm512_permutexvar_epi32(
            _mm512_setr_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0), v);
    }

    static s32v add(s32v a, s32v b) { return _mm512_add_epi32(a, b); }
    static s32v sub(s32v a, s32v b) { return _mm512_sub_epi32(a, b); }
    static s32v neg(s32v a) { return sub(_mm512_setzero_si512(), a); }
    static s32v shift_right(s32v v, s32 n) { return _mm512_sra_epi32(v, _mm_cvtsi32_si128(n)); }
    template <int n> static s32v shift_right(s32v v) { return _mm512_srai_epi32(v, n); }
    template <int n> static s32v add_magnitude(s32v sum, s32v v) {
        return add(sum, _mm512_srli_epi32(_mm512_abs_epi32(v), n));
    }
    static s32v shift_left_sat(s32v v, s32 n) {
        const s32v shifted = _mm512_sll_epi32(v, _mm_cvtsi32_si128(n));
        return saturate_where(_mm512_cmpneq_epi32_mask(shift_right(shifted, n), v), shifted, v);
    }
    static s32v add_sat(s32v a, s32v b) {
        const s32v sum = add(a, b);
        // Overflowed: both operands differ from the sum in sign.
        return saturate_where(_mm512_movepi32_mask(_mm512_ternarylogic_epi32(a, b, sum, 0x42)), sum,
                              a);
    }
    static s32v sub_sat(s32v a, s32v b) {
        const s32v difference = sub(a, b);
        return saturate_where(
            _mm512_movepi32_mask(_mm512_ternarylogic_epi32(a, b, difference, 0x18)), difference, a);
    }
    static s32v neg_sat(s32v a) { return neg(_mm512_max_epi32(a, splat(-INT32_MAX))); }
    static s32v half_add(s32v a, s32v b) {
        return add(_mm512_and_si512(a, b), _mm512_srai_epi32(_mm512_xor_si512(a, b), 1));
    }
    static s32v mul_low(s32v a, s32v b) { return _mm512_mullo_epi32(a, b); }
    static s32v mul_q15_rnd(s32v a, s32v b) {
        const s64v p = product(a, b);
        const __m512i half_unit = _mm512_set1_epi64(s64{1} << 14);
        return bits_from<15>(_mm512_add_epi64(p.even, half_unit),
                             _mm512_add_epi64(p.odd, half_unit));
    }
    static s32v mul_q31_rnd(s32v a, s32v b) {
        const s64v p = product(a, b);
        const __m512i half_unit = _mm512_set1_epi64(s64{1} << 30);
        return bits_from<31>(_mm512_add_epi64(p.even, half_unit),
                             _mm512_add_epi64(p.odd, half_unit));
    }
    static s32v mul_q31_rnd_sat(s32v a, s32v b) {
        const s32v q = mul_q31_rnd(a, b);
        // No other product gives -2^31 than the one that should give 2^31.
        return _mm512_mask_mov_epi32(q, _mm512_cmpeq_epi32_mask(q, splat(INT32_MIN)),
                                     splat(INT32_MAX));
    }
    static s32v mul_q31(s32v a, s32v b) {
        const s64v p = product(a, b);
        return bits_from<31>(p.even, p.odd);
    }
    static s32v either(s32v a, s32v b) { return _mm512_or_si512(a, b); }
    static s32v differing(s32v a, s32v b) { return _mm512_xor_si512(a, b); }
    static s32v pack(s32v low, s32v high) {
        return _mm512_mask_blend_epi16(0xAAAAAAAA, low, _mm512_slli_epi32(high, 16));
    }

    template <int n> static s64v sum_of() {
        return {_mm512_setzero_si512(), _mm512_setzero_si512()};
    }
    static s64v mac_q31(s64v sum, s32v a, s32v b) {
        const s64v p = product(a, b);
        return {_mm512_add_epi64(sum.even, _mm512_srai_epi64(p.even, 31)),
                _mm512_add_epi64(sum.odd, _mm512_srai_epi64(p.odd, 31))};
    }
    static s32v narrow_sat(s64v sum) {
        const __m512i low = _mm512_set1_epi64(INT32_MIN), high = _mm512_set1_epi64(INT32_MAX);
        const __m512i even = _mm512_min_epi64(_mm512_max_epi64(sum.even, low), high);
        const __m512i odd = _mm512_min_epi64(_mm512_max_epi64(sum.odd, low), high);
        return _mm512_mask_shuffle_epi32(even, odd_lanes, odd, _MM_PERM_CCAA);
    }

    static s64v wide(s64 x) { return {_mm512_set1_epi64(x), _mm512_set1_epi64(x)}; }
    static s64v mac(s64v sum, s32v a, s32v b) {
        const s64v p = product(a, b);
        return {_mm512_add_epi64(sum.even, p.even), _mm512_add_epi64(sum.odd, p.odd)};
    }
    template <int n> static s32v narrow_sat(s64v sum) {
        return narrow_sat({_mm512_srai_epi64(sum.even, n), _mm512_srai_epi64(sum.odd, n)});
    }
    // Fits if all bits from the sign of what is kept on are the same.
    template <int n> static s32v beyond(s64v sum) {
        const __m512i high = _mm512_mask_shuffle_epi32(sum.odd, 0x5555, sum.even, _MM_PERM_DDBB);
        return _mm512_movm_epi32(
            _mm512_cmpneq_epi32_mask(_mm512_srai_epi32(high, n - 1), _mm512_srai_epi32(high, 31)));
    }

  protected:
    static constexpr __mmask16 odd_lanes = 0xAAAA;

    // Two vectors of words, lane by lane in turn.
    static pair interleave(s32v a, s32v b) {
        const s32v low = _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
        const s32v high =
            _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
        return {_mm512_permutex2var_epi32(a, low, b), _mm512_permutex2var_epi32(a, high, b)};
    }
    // The bound of a's sign in the lanes of the mask, v in the others.
    static s32v saturate_where(__mmask16 mask, s32v v, s32v a) {
        return _mm512_mask_xor_epi32(v, mask, _mm512_srai_epi32(a, 31), splat(INT32_MAX));
    }
    static s32v odd_of(s32v v) { return _mm512_shuffle_epi32(v, _MM_PERM_DDBB); }
    static s64v product(s32v a, s32v b) {
        return {_mm512_mul_epi32(a, b), _mm512_mul_epi32(odd_of(a), odd_of(b))};
    }
    // The 32 bits from bit n of every 64.
    template <int n> static s32v bits_from(__m512i even, __m512i odd) {
        constexpr s64 bytes = n | (n + 8) << 8 | (n + 16) << 16 | s64{n + 24} << 24;
        const __m512i control = _mm512_set1_epi64(bytes << 32 | bytes);
        return _mm512_mask_multishift_epi64_epi8(_mm512_multishift_epi64_epi8(control, even),
                                                 0xF0F0F0F0F0F0F0F0, control, odd);
    }
    static s32v dot(s32v a, s32v b) { return _mm512_madd_epi16(a, b); }
    template <int q> static s32v filter(s32v x, s32v gain) {
        const __m512i x_odd = odd_of(x), gain_odd = odd_of(gain);
        const __m512i half_unit = _mm512_set1_epi64(s64{1} << (q - 1));
        const __m512i re =
            _mm512_sub_epi64(_mm512_mul_epi32(x, gain), _mm512_mul_epi32(x_odd, gain_odd));
        const __m512i im =
            _mm512_add_epi64(_mm512_mul_epi32(x, gain_odd), _mm512_mul_epi32(x_odd, gain));
        return bits_from<q>(_mm512_add_epi64(re, half_unit), _mm512_add_epi64(im, half_unit));
    }
};

using vec_avx512 = vec_x86<avx512_lanes>;

} // namespace
} // namespace earshot

#endif
