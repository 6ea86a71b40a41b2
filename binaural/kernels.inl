// The kernels of the renderer over the vector layer V; every binaural/kernels_*.cpp compiles them
// for one instruction set.
#include "binaural/kernels.hpp"
#include "kernel/for_each_sample.inl"

namespace earshot {
namespace {

// Magnitudes are cut to 24 bits, so that 256 of them add up in 32; each loses less than a unit.
template <class V> EARSHOT_KERNEL u32 magnitude(const s32 *words) {
    auto sums = V::splat(0);
    for (s32 i = 0; i < window_length; i += 4 * V::width)
        for (s32 k = i; k < i + 4 * V::width; k += V::width)
            sums = V::template add_magnitude<8>(sums, V::load(words + k));
    s32 lanes[V::width];
    V::store(lanes, sums);
    u32 sum = 0;
    for (const s32 lane : lanes) sum += static_cast<u32>(lane);
    if (sum != 0) return sum + window_length;

    auto bits = V::splat(0);
    for (s32 i = 0; i < window_length; i += V::width) bits = V::either(bits, V::load(words + i));
    V::store(lanes, bits);
    s32 all = 0;
    for (const s32 lane : lanes) all |= lane;
    return all == 0 ? 0 : window_length;
}

template <class V, int q> void add_product(s32 *sum, typename V::bins x, const s32 *gain) {
    V::store_bins(sum, V::add(V::load_bins(sum), V::template filter<q>(x, V::load_bins(gain))));
}

template <class V, int q>
EARSHOT_KERNEL void add_filtered(both_ears &sums, const s32 *spectrum,
                                 const earshot_filter_pair &filters) {
    for (s32 i = 0; i < window_length; i += 2 * V::width) {
        const auto x = V::load_bins(spectrum + i);
        add_product<V, q>(sums.ear[0] + i, x, filters.ear[0] + i);
        add_product<V, q>(sums.ear[1] + i, x, filters.ear[1] + i);
    }
}

template <class V, int q>
EARSHOT_KERNEL void add_fading(both_ears &before, both_ears &after, const s32 *spectrum,
                               const earshot_filter_pair &from, const earshot_filter_pair &to) {
    for (s32 i = 0; i < window_length; i += 2 * V::width) {
        const auto x = V::load_bins(spectrum + i);
        add_product<V, q>(before.ear[0] + i, x, from.ear[0] + i);
        add_product<V, q>(before.ear[1] + i, x, from.ear[1] + i);
        add_product<V, q>(after.ear[0] + i, x, to.ear[0] + i);
        add_product<V, q>(after.ear[1] + i, x, to.ear[1] + i);
    }
}

template <class V> EARSHOT_KERNEL void shift_right_rnd(s32 *words, s32 shift) {
    for (s32 i = 0; i < window_length; i += V::width)
        V::store(words + i, V::shift_right_rnd(V::load(words + i), shift));
}

template <class V>
EARSHOT_KERNEL void fade(s32 *out, const both_signals &before, const both_signals &after,
                         const s32 *weights, s32 count) {
    for_each_sample<V>(count, [=](auto v, s32 i) {
        const auto weight = v.load(weights + i);
        const auto faded = [&](s32 ear) {
            const auto to = v.load(after.ear[ear] + i);
            return v.add(to, v.mul_q31_rnd(v.sub(v.load(before.ear[ear] + i), to), weight));
        };
        v.store_interleaved(out + 2 * i, faded(0), faded(1));
    });
}

template <class V>
constexpr binaural_kernels binaural_kernels_of = {
    magnitude<V>,
    {add_filtered<V, 29>, add_filtered<V, 30>, add_filtered<V, 31>, add_filtered<V, 32>},
    {add_fading<V, 29>, add_fading<V, 30>, add_fading<V, 31>, add_fading<V, 32>},
    shift_right_rnd<V>,
    fade<V>};

} // namespace
} // namespace earshot
