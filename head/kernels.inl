// The kernel of heads over the vector layer V; every head/kernels_*.cpp compiles it for one
// instruction set. The bits of a filter are defined by these steps:
//
//     weights  w of 14 bits; of the low part of a record's word (w + 128) >> 8
//     mixed    M = sum over the vertices of high x w + low x ((w + 128) >> 8), Q27
//     phases   16 fine ones, of bins 0 to 15, 8 coarse ones, of bins 0, 16 and so on: cosine, sine
//              by the polynomial below, in high parts, rounded half up, of modulus 32767, and low
//              parts of 2^-14
//     turn     R = fine x coarse, complex: high x high + ((high x low + low x high) >> 14), Q30
//     filter   (M x R + 2^27) >> 28, complex, Q29
//
// Products and sums of the first four fit 32 bits, those of the last 64. Phases of 16 bits alone
// would be a noise 95 dB below the filter, spread over taps where it has nothing.
#include "head/kernels.hpp"
#include "kernel/vec_scalar.hpp"

namespace earshot {
namespace {

constexpr s32 fine = 16, coarse = 8, phases = 2 * (fine + coarse);
constexpr s32 first_coarse = 2 * fine;

// The fine phases of one ear, those of the other, then the coarse ones likewise: angles as
// multiples of what the delays of the two ears turn bin 1 by. Coarse angles are negative, so that
// the same pairs of words serve both.
constexpr struct phase_multiples {
    s32 of[2][phases];
    constexpr phase_multiples() : of() {
        for (s32 ear = 0; ear < 2; ++ear) {
            for (s32 k = 0; k < fine; ++k) of[ear][ear * fine + k] = k;
            for (s32 k = 0; k < coarse; ++k) of[ear][first_coarse + ear * coarse + k] = -fine * k;
        }
    }
} multiples;

// 32767 cos of an angle in 2^-32 turns, Q14 and within 0.03 of it: the sine of what the angle lacks
// to a quarter turn, x in quarter turns, Q30, by x (1.5707910 - 0.6458929 x^2 + 0.0794343 x^4 -
// 0.0043331 x^6), whose error is the same six times between 0 and 1.
template <class V> typename V::s32v cosine(typename V::s32v angle) {
    const auto magnitude = V::differing(angle, V::template shift_right<31>(angle));
    const auto x = V::sub(V::splat(1 << 30), magnitude);
    const auto half = V::mul_q31(x, x), square = V::add(half, half);
    auto sum = V::mul_q31(square, V::splat(-37219869));
    sum = V::mul_q31(square, V::add(sum, V::splat(341157501)));
    sum = V::mul_q31(square, V::add(sum, V::splat(-1387002004)));
    return V::mul_q31(x, V::add(sum, V::splat(1686572534)));
}

constexpr s32 low_bits = 14;

// Of every angle the pairs of words (cosine, sine) and (-sine, cosine), of 16 bits each: times
// (cosine, sine) of a negative angle they are the real and the imaginary part of the factor that
// delays by both. Words of high parts, then words of low parts.
template <class V> void make_phases(s32 (*words)[2 * phases], const u32 *turn) {
    const auto left = V::splat(static_cast<s32>(turn[0]));
    const auto right = V::splat(static_cast<s32>(turn[1]));
    const auto high = [](auto v) {
        return V::template shift_right<low_bits>(V::add(v, V::splat(1 << (low_bits - 1))));
    };
    const auto low = [](auto v, auto high_part) {
        return V::sub(v, V::mul_low(high_part, V::splat(1 << low_bits)));
    };
    const auto store = [](s32 *at, auto c, auto s) {
        V::store_interleaved(at, V::pack(c, s), V::pack(V::neg(s), c));
    };
    for (s32 i = 0; i < phases; i += V::width) {
        const auto angle = V::add(V::mul_low(left, V::load(multiples.of[0] + i)),
                                  V::mul_low(right, V::load(multiples.of[1] + i)));
        const auto c = cosine<V>(angle), s = cosine<V>(V::sub(angle, V::splat(1 << 30)));
        const auto high_c = high(c), high_s = high(s);
        store(words[0] + 2 * i, high_c, high_s);
        store(words[1] + 2 * i, low(c, high_c), low(s, high_s));
    }
}

template <class V>
EARSHOT_KERNEL void make_filters(s32 (*ears)[filter_words], const head_blend &blend) {
    alignas(64) s32 phase[2][2 * phases];
    make_phases<V>(phase, blend.turn);
    const auto weight = [&](u32 k) {
        const u32 w = blend.weight[k];
        return V::splat_factors(static_cast<s32>(w | (w + 128) >> 8 << 16));
    };
    const auto w0 = weight(0), w1 = weight(1), w2 = weight(2);
    for (s32 ear = 0; ear < 2; ++ear) {
        const s32 *const *record = blend.record[ear];
        const s32 *const r0 = record[0], *const r1 = record[1], *const r2 = record[2];
        const s32 *const high = phase[0] + 2 * ear * fine, *const low = phase[1] + 2 * ear * fine;
        for (s32 k = 0; k < coarse; ++k) {
            const s32 at = 2 * (first_coarse + ear * coarse + k);
            const auto begin = V::splat_factors(phase[0][at]);
            const auto begin_low = V::splat_factors(phase[1][at]);
            for (s32 j = 0; j < 2 * fine; j += 2 * V::width) {
                const s32 i = 2 * fine * k + j;
                const auto two =
                    V::add_dot(V::dot(V::load_pairs(r0 + i), w0), V::load_pairs(r1 + i), w1);
                const auto mixed = V::add_dot(two, V::load_pairs(r2 + i), w2);
                const auto fine_high = V::load_pairs(high + j);
                const auto rest =
                    V::add_dot(V::dot(fine_high, begin_low), V::load_pairs(low + j), begin);
                const auto turn = V::template add_shifted<low_bits>(V::dot(fine_high, begin), rest);
                V::store_bins(ears[ear] + i, V::template filter<28>(mixed, turn));
            }
        }
    }
}

template <class V> constexpr head_kernels head_kernels_of = {make_filters<V>};

} // namespace
} // namespace earshot
