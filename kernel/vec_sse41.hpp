// SSE4.1 form of the vector layer: four lanes; so far what the transforms need where eight lanes
// are too many. See kernel/vec_scalar.hpp for what each operation is.
#ifndef EARSHOT_KERNEL_VEC_SSE41_HPP
#define EARSHOT_KERNEL_VEC_SSE41_HPP

#include "kernel/vec_scalar.hpp"

#include <smmintrin.h>

namespace earshot {
namespace {

struct vec_sse41 {
    static constexpr s32 width = 4;
    using s32v = __m128i;
    using half = vec_sse41; // four lanes are the least
    struct pair {
        s32v first, second;
    };

    static s32v load(const s32 *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
    static void store(s32 *p, s32v v) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }
    static s32v splat(s32 x) { return _mm_set1_epi32(x); }
    static pair load_pairs(const s32 *p) {
        const __m128 low = _mm_castsi128_ps(load(p));
        const __m128 high = _mm_castsi128_ps(load(p + width));
        return {_mm_castps_si128(_mm_shuffle_ps(low, high, 0x88)),
                _mm_castps_si128(_mm_shuffle_ps(low, high, 0xDD))};
    }
    static void store_pairs(s32 *p, s32v first, s32v second) {
        store(p, _mm_unpacklo_epi32(first, second));
        store(p + width, _mm_unpackhi_epi32(first, second));
    }
    static s32v gather(const s32 *p, const s32 *offsets) {
        return _mm_setr_epi32(p[offsets[0]], p[offsets[1]], p[offsets[2]], p[offsets[3]]);
    }
    static s32v add(s32v a, s32v b) { return _mm_add_epi32(a, b); }
    static s32v sub(s32v a, s32v b) { return _mm_sub_epi32(a, b); }
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
    static s32v neg_sat(s32v a) {
        return add(sub(_mm_setzero_si128(), a), _mm_cmpeq_epi32(a, splat(INT32_MIN)));
    }
    static s32v half_add(s32v a, s32v b) {
        return add(_mm_and_si128(a, b), _mm_srai_epi32(_mm_xor_si128(a, b), 1));
    }
    // a - b = (a xor b) - 2 (b without a)
    static s32v half_sub(s32v a, s32v b) {
        return sub(_mm_srai_epi32(_mm_xor_si128(a, b), 1), _mm_andnot_si128(a, b));
    }
    static s32v mul_low(s32v a, s32v b) { return _mm_mullo_epi32(a, b); }
    template <int n> static s32v shift_right(s32v a) { return _mm_srai_epi32(a, n); }
    static s32v mul_q31_rnd_sat(s32v a, s32v b) {
        const __m128i half_unit = _mm_set1_epi64x(s64{1} << 30);
        const __m128i even = _mm_add_epi64(_mm_mul_epi32(a, b), half_unit);
        const __m128i odd =
            _mm_add_epi64(_mm_mul_epi32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32)), half_unit);
        const s32v q = _mm_blend_epi16(_mm_srli_epi64(even, 31), _mm_slli_epi64(odd, 1), 0xCC);
        // No other product gives -2^31 than the one that should give 2^31.
        return add(q, _mm_cmpeq_epi32(q, splat(INT32_MIN)));
    }

  private:
    // The bound of a's sign in the lanes whose mask is negative, v in the others.
    static s32v saturate_where(s32v mask, s32v v, s32v a) {
        const s32v bound = _mm_xor_si128(_mm_srai_epi32(a, 31), splat(INT32_MAX));
        return _mm_castps_si128(
            _mm_blendv_ps(_mm_castsi128_ps(v), _mm_castsi128_ps(bound), _mm_castsi128_ps(mask)));
    }
};

} // namespace
} // namespace earshot

#endif
