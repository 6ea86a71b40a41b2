// The kernels of the transforms over the vector layer V; every fft/kernels_*.cpp compiles them for
// one instruction set.
#include "fft/split.inl"

namespace earshot {
namespace {

constexpr s32 most_values = 1024;

// Real words, then imaginary ones, n of each.
planes planes_in(s32 *words, s32 n) { return {words, words + n}; }

template <class V> u32 magnitude_bits(const s32 *words, s32 count) {
    auto lanes = V::splat(0);
    s32 i = 0, all = 0;
    for (; count - i >= V::width; i += V::width) lanes = V::magnitudes(lanes, V::load(words + i));
    for (; i < count; ++i) all = vec_scalar::magnitudes(all, words[i]);
    s32 each[V::width];
    V::store(each, lanes);
    for (const s32 bits : each) all |= bits;
    return static_cast<u32>(all);
}

template <class V, variant v, form f>
void complex_transform(const s32 *in, s32 n, const twiddle_rows &twiddles, s32 *out) {
    alignas(64) s32 work[2 * most_values];
    transform<V, v, f>(in, 0, n, twiddles, planes_in(work, n), planes_in(out, n), to_pairs<V>{out});
}

template <class V, form f>
void real_forward(const s32 *in, s32 shift, s32 n, const twiddle_rows &twiddles,
                  const split_rows &split, s32 *out) {
    alignas(64) s32 work[most_values];
    const planes half_length = planes_in(work, n / 2);
    transform<V, forward, f>(in, shift, n / 2, twiddles, planes_in(out, n / 2), half_length,
                             to_planes<V>{half_length});
    part_dc_and_nyquist<f>(half_length.re[0], half_length.im[0], out, n);
    split_bins<V, forward, f>(from_planes<V>{half_length}, n, split, out);
}

template <class V, variant v, form f> void split_stage(s32 *spec, s32 n, const split_rows &split) {
    if constexpr (v == forward)
        part_dc_and_nyquist<f>(spec[0], spec[1], spec, n);
    else
        join_dc_and_nyquist<v, f>(spec, n);
    split_bins<V, v, f>(from_pairs<V>{spec}, n, split, spec);
}

template <class V>
constexpr fft_set fft_set_of = {
    magnitude_bits<V>,
    {{complex_transform<V, forward, saturating>, complex_transform<V, forward, plain>},
     {complex_transform<V, inverse_scaled, saturating>,
      complex_transform<V, inverse_scaled, plain>},
     {complex_transform<V, inverse_unscaled, saturating>,
      complex_transform<V, inverse_unscaled, plain>}},
    {real_forward<V, saturating>, real_forward<V, plain>},
    {{split_stage<V, forward, saturating>, split_stage<V, forward, plain>},
     {split_stage<V, inverse_scaled, saturating>, split_stage<V, inverse_scaled, plain>},
     {split_stage<V, inverse_unscaled, saturating>, split_stage<V, inverse_unscaled, plain>}}};

} // namespace
} // namespace earshot
