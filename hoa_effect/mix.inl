// The mixing kernels over the vector layer V; every hoa_effect/mix_*.cpp compiles them for one
// instruction set.
#include "hoa_effect/mix.hpp"
#include "kernel/vec_scalar.hpp"

namespace earshot {
namespace {

constexpr s32 most_lanes = 16;
// What the lanes of a vector are behind its last one.
constexpr s32 steps_back[most_lanes] = {-15, -14, -13, -12, -11, -10, -9, -8,
                                        -7,  -6,  -5,  -4,  -3,  -2,  -1, 0};

// A matrix with the coefficients of width consecutive samples in its lanes.
template <class V> struct lanes_matrix { typename V::s32v c[mix_channels][mix_channels]; };

// 32-bit samples: full products, each truncated on its own, a 64-bit sum, one clamp.
template <class V>
typename V::s32v mix_row(const s32 *, const typename V::s32v *c, const typename V::s32v *x) {
    auto sum = V::template sum_of<mix_channels>();
    for (int k = 0; k < mix_channels; ++k) sum = V::mac_q31(sum, c[k], x[k]);
    return V::narrow_sat(sum);
}

// 16-bit samples: no term is wider than 17 bits, so that 32 bits hold their sum.
template <class V>
typename V::s32v mix_row(const s16 *, const typename V::s32v *c, const typename V::s32v *x) {
    auto sum = V::mul_q31(c[0], x[0]);
    for (int k = 1; k < mix_channels; ++k) sum = V::add(sum, V::mul_q31(c[k], x[k]));
    return sum;
}

template <class V, class Sample>
void mix_at_index(const lanes_matrix<V> &m, Sample *const *out, const Sample *const *in, s32 t) {
    typename V::s32v x[mix_channels];
    for (int k = 0; k < mix_channels; ++k) x[k] = V::load(in[k] + t);
    for (int i = 0; i < mix_channels; ++i) V::store(out[i] + t, mix_row<V>(in[0], m.c[i], x));
}

// Whole vectors from begin on; returns the index of the first sample left over.
template <class V, class Sample>
EARSHOT_KERNEL s32 steady_vectors(const mix_matrix &m, Sample *const *out, const Sample *const *in,
                                  s32 begin, s32 end) {
    lanes_matrix<V> lanes;
    for (int i = 0; i < mix_channels; ++i)
        for (int k = 0; k < mix_channels; ++k) lanes.c[i][k] = V::splat(m[i][k]);
    for (; end - begin >= V::width; begin += V::width) mix_at_index<V>(lanes, out, in, begin);
    return begin;
}

template <class V, class Sample>
EARSHOT_KERNEL s32 ramp_vectors(mix_matrix &m, const mix_matrix &step, Sample *const *out,
                                const Sample *const *in, s32 begin, s32 end) {
    const auto advanced = [&](int i, int k, s32 samples) {
        return static_cast<s32>(static_cast<u32>(m[i][k]) +
                                static_cast<u32>(samples) * static_cast<u32>(step[i][k]));
    };
    const s32 vectors = (end - begin) / V::width;
    const auto back = V::load(steps_back + most_lanes - V::width);
    lanes_matrix<V> lanes, stride;
    for (int i = 0; i < mix_channels; ++i) {
        for (int k = 0; k < mix_channels; ++k) {
            // One stride back: the first vector advances like every other.
            lanes.c[i][k] = V::add(V::splat(m[i][k]), V::mul_low(V::splat(step[i][k]), back));
            stride.c[i][k] =
                V::splat(static_cast<s32>(u32{V::width} * static_cast<u32>(step[i][k])));
            m[i][k] = advanced(i, k, vectors * V::width);
        }
    }
    for (s32 n = 0; n < vectors; ++n, begin += V::width) {
        for (int i = 0; i < mix_channels; ++i)
            for (int k = 0; k < mix_channels; ++k)
                lanes.c[i][k] = V::add(lanes.c[i][k], stride.c[i][k]);
        mix_at_index<V>(lanes, out, in, begin);
    }
    return begin;
}

// Vectors first, then the rest sample by sample.

template <class V, class Sample>
void steady(const mix_matrix &m, Sample *const *out, const Sample *const *in, s32 begin, s32 end) {
    if (V::width > 1) begin = steady_vectors<V>(m, out, in, begin, end);
    steady_vectors<vec_scalar>(m, out, in, begin, end);
}

template <class V, class Sample>
void ramp(mix_matrix &m, const mix_matrix &step, Sample *const *out, const Sample *const *in,
          s32 begin, s32 end) {
    if (V::width > 1) begin = ramp_vectors<V>(m, step, out, in, begin, end);
    ramp_vectors<vec_scalar>(m, step, out, in, begin, end);
}

template <class V>
constexpr mix_kernels mix_kernels_of = {{steady<V, s16>, ramp<V, s16>},
                                        {steady<V, s32>, ramp<V, s32>}};

} // namespace
} // namespace earshot
