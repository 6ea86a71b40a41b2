// AVX2 form of the vector layer: eight lanes. See kernel/vec_scalar.hpp for what each operation is.
#ifndef EARSHOT_KERNEL_VEC_AVX2_HPP
#define EARSHOT_KERNEL_VEC_AVX2_HPP

#include <earshot/types.h>

#include <immintrin.h>

namespace earshot {
namespace {

struct vec_avx2 {
    static constexpr s32 width = 8;
    using s32v = __m256i;

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

    static s32v mul_q31(s32v a, s32v b) {
        const s64v p = product(a, b);
        return take_odd(_mm256_srli_epi64(p.even, 31), _mm256_slli_epi64(p.odd, 1));
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

  private:
    static s64v product(s32v a, s32v b) {
        const __m256i odd = _mm256_mul_epi32(_mm256_srli_epi64(a, 32), _mm256_srli_epi64(b, 32));
        return {_mm256_mul_epi32(a, b), odd};
    }
    static __m256i add_biased_term(__m256i sum, __m256i p) {
        const __m256i biased = _mm256_add_epi64(p, _mm256_set1_epi64x(s64{1} << 62));
        return _mm256_add_epi64(sum, _mm256_srli_epi64(biased, 31));
    }
    static __m256i take_odd(__m256i even, __m256i odd) {
        return _mm256_blend_epi32(even, odd, 0xAA);
    }
};

} // namespace
} // namespace earshot

#endif
