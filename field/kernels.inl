// The rotation kernels over the vector layer V; every field/kernels_*.cpp compiles them for one
// instruction set.
#include "field/kernels.hpp"
#include "kernel/vec_scalar.hpp"

namespace earshot {
namespace {

constexpr int entry_bits = 30;

// The coefficients of a vector of samples.

template <class V> struct steady_entries {
    const s32 *to;

    typename V::s32v operator()(s32 k) const { return V::splat(to[k]); }
};

template <class V> struct ramping_entries {
    const s32 *to, *rest;
    typename V::s32v weights;

    typename V::s32v operator()(s32 k) const {
        return V::add(V::splat(to[k]), V::mul_q31_rnd(weights, V::splat(rest[k])));
    }
};

// A vector of every channel; what was clipped is taken from the lanes of `clipped`.
template <class V, int size, class Entries>
void rotate_at(const Entries &entries, s32 *const *channels, u32 at, typename V::s32v &clipped) {
    typename V::s32v in[size];
    for (s32 k = 0; k < size; ++k) in[k] = V::load(channels[k] + at);
    for (s32 i = 0; i < size; ++i) {
        auto sum = V::wide(s64{1} << (entry_bits - 1));
        for (s32 k = 0; k < size; ++k) sum = V::mac(sum, entries(i * size + k), in[k]);
        clipped = V::add(clipped, V::template beyond<entry_bits>(sum));
        V::store(channels[i] + at, V::template narrow_sat<entry_bits>(sum));
    }
}

template <class V> u32 count_of(typename V::s32v clipped) {
    s32 lanes[V::width];
    V::store(lanes, clipped);
    u32 sum = 0;
    for (const s32 lane : lanes) sum -= static_cast<u32>(lane);
    return sum;
}

// Whole vectors from `done` on, which becomes the first sample left over.

template <class V, int size>
EARSHOT_KERNEL u32 steady_vectors(const field_matrix &matrix, s32 *const *channels, u32 begin,
                                  s32 count, s32 &done) {
    auto clipped = V::splat(0);
    for (; count - done >= V::width; done += V::width)
        rotate_at<V, size>(steady_entries<V>{matrix.to}, channels, begin + static_cast<u32>(done),
                           clipped);
    return count_of<V>(clipped);
}

template <class V, int size>
EARSHOT_KERNEL u32 ramp_vectors(const field_matrix &matrix, const s32 *weights,
                                s32 *const *channels, u32 begin, s32 count, s32 &done) {
    auto clipped = V::splat(0);
    for (; count - done >= V::width; done += V::width)
        rotate_at<V, size>(ramping_entries<V>{matrix.to, matrix.rest, V::load(weights + done)},
                           channels, begin + static_cast<u32>(done), clipped);
    return count_of<V>(clipped);
}

template <class V, int size>
u32 steady(const field_matrix &matrix, const s32 *, s32 *const *channels, u32 begin, s32 count) {
    s32 done = 0;
    u32 clipped = 0;
    if (V::width > 1) clipped = steady_vectors<V, size>(matrix, channels, begin, count, done);
    return clipped + steady_vectors<vec_scalar, size>(matrix, channels, begin, count, done);
}

template <class V, int size>
u32 ramp(const field_matrix &matrix, const s32 *weights, s32 *const *channels, u32 begin,
         s32 count) {
    s32 done = 0;
    u32 clipped = 0;
    if (V::width > 1)
        clipped = ramp_vectors<V, size>(matrix, weights, channels, begin, count, done);
    return clipped + ramp_vectors<vec_scalar, size>(matrix, weights, channels, begin, count, done);
}

template <class V>
constexpr field_kernels field_kernels_of = {
    {steady<V, 3>, steady<V, 5>, steady<V, 7>, steady<V, 9>},
    {ramp<V, 3>, ramp<V, 5>, ramp<V, 7>, ramp<V, 9>}};

} // namespace
} // namespace earshot
