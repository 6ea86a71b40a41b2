// The kernel of heads over the vector layer V; every head/kernels_*.cpp compiles it for one
// instruction set. The bits of a filter are defined by these steps:
//
//     weights  w of 14 bits; of the low part of a record's word (w + 128) >> 8
//     mixed    M = sum over the vertices of high x w + low x ((w + 128) >> 8), Q27
//     phases   8 coarse ones, of bins 7.5, 23.5 and so on, and 16 fine ones, of bins -7.5 to 7.5,
//              those below 0 being conjugates: cosine and sine by the polynomial below, in high
//              parts, rounded half up, of modulus 32767, and low parts of 2^-14
//     turn     R = coarse x fine, complex: high x high + ((high x low + low x high) >> 14), Q30
//     filter   (M x R + 2^27) >> 28, complex, Q29
//
// Products and sums of the first four fit 32 bits, those of the last 64. Phases of 16 bits alone
// would be a noise 95 dB below the filter, spread over taps where it has nothing.
#include "head/kernels.hpp"
#include "kernel/vec_scalar.hpp"

namespace earshot {
namespace {

constexpr s32 fine = 16, coarse = 8, angles = fine / 2 + coarse;

// What of the delay's turn of half a bin the angles of an ear are: first the fine ones above 0.
constexpr struct angle_multiples {
    s32 of[angles];
    constexpr angle_multiples() : of() {
        for (s32 k = 0; k < fine / 2; ++k) of[k] = 2 * k + 1;
        for (s32 k = 0; k < coarse; ++k) of[fine / 2 + k] = 2 * fine * k + fine - 1;
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

// The phases of an ear as pairs of words, (cosine, sine) and (-sine, cosine), of 16 bits each:
// those of the angles from the middle on, before it those of their negatives, in reverse order. The
// first word of a negative angle is what both words of another one are to be multiplied by: the
// products are the real and the imaginary part of the factor that delays by both.
struct ear_phases {
    static constexpr s32 middle = 2 * angles;
    static constexpr s32 first_fine = middle - fine, first_coarse = middle - fine - 2;
    alignas(64) s32 high[4 * angles], low[4 * angles];
};

template <class V> void store_phases(s32 *words, s32 i, typename V::s32v c, typename V::s32v s) {
    const auto minus_s = V::neg(s);
    s32 *const middle = words + ear_phases::middle;
    V::store_interleaved(middle + 2 * i, V::pack(c, s), V::pack(minus_s, c));
    V::store_interleaved_reversed(middle - 2 * (i + V::width), V::pack(c, minus_s), V::pack(s, c));
}

template <class V> void make_phases(ear_phases &phases, u32 turn) {
    const auto half_bin = V::splat(static_cast<s32>(turn));
    const auto high = [](auto v) {
        return V::template shift_right<low_bits>(V::add(v, V::splat(1 << (low_bits - 1))));
    };
    const auto low = [](auto v, auto high_part) {
        return V::sub(v, V::mul_low(high_part, V::splat(1 << low_bits)));
    };
    for (s32 i = 0; i < angles; i += V::width) {
        const auto angle = V::mul_low(half_bin, V::load(multiples.of + i));
        const auto c = cosine<V>(angle), s = cosine<V>(V::sub(angle, V::splat(1 << 30)));
        const auto high_c = high(c), high_s = high(s);
        store_phases<V>(phases.high, i, high_c, high_s);
        store_phases<V>(phases.low, i, low(c, high_c), low(s, high_s));
    }
}

template <class V>
EARSHOT_KERNEL void make_filters(s32 (*ears)[filter_words], const head_blend &blend) {
    ear_phases phases;
    const auto weight = [&](u32 k) {
        const u32 w = blend.weight[k];
        return V::splat_factors(static_cast<s32>(w | (w + 128) >> 8 << 16));
    };
    const auto w0 = weight(0), w1 = weight(1), w2 = weight(2);
    for (s32 ear = 0; ear < 2; ++ear) {
        const s32 *const *record = blend.record[ear];
        const s32 *const r0 = record[0], *const r1 = record[1], *const r2 = record[2];
        make_phases<V>(phases, blend.turn[ear]);
        const s32 *const high = phases.high + ear_phases::first_fine;
        const s32 *const low = phases.low + ear_phases::first_fine;
        for (s32 k = 0; k < coarse; ++k) {
            const s32 at = ear_phases::first_coarse - 2 * k;
            const auto block = V::splat_factors(phases.high[at]);
            const auto block_low = V::splat_factors(phases.low[at]);
            for (s32 j = 0; j < 2 * fine; j += 2 * V::width) {
                const s32 i = 2 * fine * k + j;
                const auto two =
                    V::add_dot(V::dot(V::load_pairs(r0 + i), w0), V::load_pairs(r1 + i), w1);
                const auto mixed = V::add_dot(two, V::load_pairs(r2 + i), w2);
                const auto fine_high = V::load_pairs(high + j);
                const auto rest =
                    V::add_dot(V::dot(fine_high, block_low), V::load_pairs(low + j), block);
                const auto turn = V::template add_shifted<low_bits>(V::dot(fine_high, block), rest);
                V::store_bins(ears[ear] + i, V::template filter<28>(mixed, turn));
            }
        }
    }
}

template <class V> constexpr head_kernels head_kernels_of = {make_filters<V>};

} // namespace
} // namespace earshot
