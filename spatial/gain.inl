// The panners' kernels over the vector layer V; every spatial/gain_*.cpp compiles them for one
// instruction set.
#include "kernel/vec_scalar.hpp"
#include "spatial/gain.hpp"

namespace earshot {
namespace {

template <class V> struct q15_gain {
    using s32v = typename V::s32v;
    static s32v apply(s32v x, s32v gain) { return V::mul_q15_rnd(x, gain); }
};

// The sum with 2^27 could overflow, so that one more bit is kept and rounded off.
template <class V> struct q28_gain {
    using s32v = typename V::s32v;
    static s32v apply(s32v x, s32v gain) {
        const s32v p = V::template shift_right<27>(V::mul_low(x, gain));
        return V::template shift_right<1>(V::add(p, V::splat(1)));
    }
};

template <class V> bool starts_within_a_vector_after(const s32 *out, const s32 *in) {
    const uintptr_t distance = reinterpret_cast<uintptr_t>(out) - reinterpret_cast<uintptr_t>(in);
    return distance != 0 && distance < V::width * sizeof(s32);
}

// Whole vectors from begin on; gain(i) are the gains of sample i and those behind it. Returns the
// index of the first sample left over.
template <class V, template <class> class Product, class Gain>
EARSHOT_KERNEL s64 vectors(s32 *out, const s32 *in, Gain gain, s64 begin, s64 count) {
    for (; count - begin >= V::width; begin += V::width)
        V::store(out + begin, Product<V>::apply(V::load(in + begin), gain(begin)));
    return begin;
}

template <class V, template <class> class Product>
void steady(s32 *out, const s32 *in, s32 gain, s64 count) {
    s64 done = 0;
    if (V::width > 1 && !starts_within_a_vector_after<V>(out, in)) {
        const auto lanes = V::splat(gain);
        done = vectors<V, Product>(
            out, in, [&](s64) { return lanes; }, 0, count);
    }
    vectors<vec_scalar, Product>(
        out, in, [&](s64) { return gain; }, done, count);
}

template <class V, template <class> class Product>
void ramp(s32 *out, const s32 *in, const s32 *gains, s64 count) {
    s64 done = 0;
    if (V::width > 1 && !starts_within_a_vector_after<V>(out, in))
        done = vectors<V, Product>(
            out, in, [=](s64 i) { return V::load(gains + i); }, 0, count);
    vectors<vec_scalar, Product>(
        out, in, [=](s64 i) { return gains[i]; }, done, count);
}

template <class V>
constexpr gain_set gain_set_of = {{steady<V, q15_gain>, ramp<V, q15_gain>},
                                  {steady<V, q28_gain>, ramp<V, q28_gain>}};

} // namespace
} // namespace earshot
