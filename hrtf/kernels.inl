// The kernels of the renderer over the vector layer V; every hrtf/kernels_*.cpp compiles them for
// one instruction set. Blocks of any length end with single samples.
#include "hrtf/kernels.hpp"
#include "kernel/for_each_sample.inl"

namespace earshot {
namespace {

// Both ears in one pass: the spectrum is loaded and prepared once. product(bins, gains).
template <class V, class Product>
void add_products(s32 *const *ears, const s32 *spectrum, const ear_filters &filters, s32 half,
                  const Product &product) {
    s32 *const left = ears[0], *const right = ears[1];
    const s32 *const left_gain = filters.ear[0], *const right_gain = filters.ear[1];
    for (s32 i = 0; i < 2 * half; i += 2 * V::width) {
        const auto x = V::load_bins(spectrum + i);
        const auto add = [&](s32 *sum, const s32 *gain) {
            V::store_bins(sum, V::add(V::load_bins(sum), product(x, V::load_bins(gain))));
        };
        add(left + i, left_gain + i);
        add(right + i, right_gain + i);
    }
}

// The library's own filters have a constant shift; for any other a loop of single bins will do.
template <class V>
EARSHOT_KERNEL void add_filtered(s32 *const *ears, const s32 *spectrum, const ear_filters &filters,
                                 s32 half, s32 q) {
    if (q == filter_q) {
        add_products<V>(ears, spectrum, filters, half,
                        [](auto x, auto gain) { return V::filter(x, gain); });
    } else {
        add_products<vec_scalar>(ears, spectrum, filters, half,
                                 [q](auto x, auto gain) { return vec_scalar::filter(x, gain, q); });
    }
}

template <class V> EARSHOT_KERNEL void restore_level(s32 *samples, s32 count, s32 shift) {
    for_each_sample<V>(count, [=](auto v, s32 i) {
        v.store(samples + i, v.shift_left_sat(v.load(samples + i), shift));
    });
}

template <class V> EARSHOT_KERNEL void narrow(s16 *out, const s32 *samples, s32 count) {
    for_each_sample<V>(count, [=](auto v, s32 i) { v.store(out + i, v.load(samples + i)); });
}

template <class V, class Sample>
EARSHOT_KERNEL void interleave(Sample *out, const s32 *first, const s32 *second, s32 count) {
    for_each_sample<V>(count, [=](auto v, s32 i) {
        v.store_interleaved(out + 2 * i, v.load(first + i), v.load(second + i));
    });
}

constexpr s32 fade = 32;

// The weights of the new samples, Q31. Those of the old ones begin at 1, which no word holds:
// 1 - w is applied as x - w x, whose products floor alike.
constexpr struct fade_weights {
    s32 of_new[fade];
    constexpr fade_weights() : of_new() {
        for (s32 i = 0; i < fade; ++i) of_new[i] = i << 26;
    }
} weights;

template <class V>
EARSHOT_KERNEL void crossfade(s32 *out, const s32 *old_samples, const s32 *new_samples) {
    for (s32 i = 0; i < fade; i += V::width) {
        const auto weight = V::load(weights.of_new + i), old_sample = V::load(old_samples + i);
        const auto faded = V::add(old_sample, V::mul_q31(old_sample, V::neg(weight)));
        V::store(out + i, V::add_sat(faded, V::mul_q31(V::load(new_samples + i), weight)));
    }
}

template <class V>
constexpr hrtf_kernels hrtf_kernels_of = {add_filtered<V>, restore_level<V>,   crossfade<V>,
                                          narrow<V>,       interleave<V, s32>, interleave<V, s16>};

} // namespace
} // namespace earshot
