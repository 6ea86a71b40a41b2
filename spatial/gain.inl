// The panners' kernels over the vector layer V; every spatial/gain_*.cpp compiles them for one
// instruction set.
#include "kernel/vec_scalar.hpp"
#include "spatial/gain.hpp"

namespace earshot {
namespace {

template <class V> struct q15_gain {
    using s32v = typename V::s32v;
    static s32v apply(s32v x, s32v gain) { return V::mul_q15_rnd(x, gain); }
    static s32v of_ramp(s32v accumulator) { return V::template shift_right<16>(accumulator); }
};

// The sum with 2^27 could overflow, so that one more bit is kept and rounded off.
template <class V> struct q28_gain {
    using s32v = typename V::s32v;
    static s32v apply(s32v x, s32v gain) {
        const s32v p = V::template shift_right<27>(V::mul_low(x, gain));
        return V::template shift_right<1>(V::add(p, V::splat(1)));
    }
    static s32v of_ramp(s32v accumulator) { return accumulator; }
};

template <class V> bool starts_within_a_vector_after(const s32 *out, const s32 *in) {
    const uintptr_t distance = reinterpret_cast<uintptr_t>(out) - reinterpret_cast<uintptr_t>(in);
    return distance != 0 && distance < V::width * sizeof(s32);
}

// Whole vectors from begin on. Both return the index of the first sample left over.

template <class V, template <class> class Product>
s64 steady_vectors(s32 *out, const s32 *in, s32 gain, s64 begin, s64 count) {
    const auto gains = V::splat(gain);
    for (; count - begin >= V::width; begin += V::width)
        V::store(out + begin, Product<V>::apply(V::load(in + begin), gains));
    return begin;
}

template <class V, template <class> class Product>
s64 ramp_vectors(s32 *out, const s32 *in, s32 start, s32 step, s64 begin, s64 count) {
    const auto after = [=](s64 steps) {
        return static_cast<s32>(static_cast<u32>(start) +
                                static_cast<u32>(steps) * static_cast<u32>(step));
    };
    s32 first[V::width];
    for (s32 lane = 0; lane < V::width; ++lane) first[lane] = after(begin + lane);
    auto accumulator = V::load(first);
    const auto stride = V::splat(static_cast<s32>(u32{V::width} * static_cast<u32>(step)));
    for (; count - begin >= V::width; begin += V::width) {
        const auto gains = Product<V>::of_ramp(accumulator);
        V::store(out + begin, Product<V>::apply(V::load(in + begin), gains));
        accumulator = V::add(accumulator, stride);
    }
    return begin;
}

template <class V> constexpr bool may_use_vectors(const s32 *out, const s32 *in) {
    return V::width > 1 && !starts_within_a_vector_after<V>(out, in);
}

template <class V, template <class> class Product>
void steady(s32 *out, const s32 *in, s32 gain, s64 count) {
    s64 done = 0;
    if (may_use_vectors<V>(out, in)) done = steady_vectors<V, Product>(out, in, gain, 0, count);
    steady_vectors<vec_scalar, Product>(out, in, gain, done, count);
}

template <class V, template <class> class Product>
void ramp(s32 *out, const s32 *in, s32 start, s32 step, s64 count) {
    s64 done = 0;
    if (may_use_vectors<V>(out, in))
        done = ramp_vectors<V, Product>(out, in, start, step, 0, count);
    ramp_vectors<vec_scalar, Product>(out, in, start, step, done, count);
}

template <class V>
constexpr gain_kernels gain_kernels_of = {{steady<V, q15_gain>, ramp<V, q15_gain>},
                                          {steady<V, q28_gain>, ramp<V, q28_gain>}};

} // namespace
} // namespace earshot
