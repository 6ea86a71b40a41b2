// The kernels of the transforms over the vector layer V; every fft/kernels_*.cpp compiles them for
// one instruction set.
#include "fft/recombine.inl"

namespace earshot {
namespace {

constexpr s32 most_values = 1024;

// Real words, then imaginary ones, n of each.
split_data split_in(s32 *words, s32 n) { return {words, words + n}; }

// All bits of word(vector type, index) over a number of words; in four chains, or each would wait
// for the one before.
template <class V, class Word> u32 all_bits(s32 count, const Word &word) {
    auto a = V::splat(0), b = a, c = a, d = a;
    s32 i = 0, all = 0;
    for (; count - i >= 4 * V::width; i += 4 * V::width) {
        a = V::either(a, word(V{}, i));
        b = V::either(b, word(V{}, i + V::width));
        c = V::either(c, word(V{}, i + 2 * V::width));
        d = V::either(d, word(V{}, i + 3 * V::width));
    }
    for (; i < count; ++i) all |= word(vec_scalar{}, i);
    s32 each[V::width];
    V::store(each, V::either(V::either(a, b), V::either(c, d)));
    for (const s32 bits : each) all |= bits;
    return static_cast<u32>(all);
}

template <class V> EARSHOT_KERNEL bool are_within(const s32 *words, s32 count, s32 bits) {
    // Adding 2^bits takes what is within to 0 and above, below 2^(bits + 1).
    const s32 offset = s32{1} << bits;
    const auto moved = V::splat(offset);
    const u32 all = all_bits<V>(count, [=](auto v, s32 i) {
        if constexpr (decltype(v)::width == 1)
            return v.add(v.load(words + i), offset);
        else
            return v.add(v.load(words + i), moved);
    });
    return all >> (bits + 1) == 0;
}

template <class V> EARSHOT_KERNEL bool are_same(const s32 *a, const s32 *b, s32 count) {
    return all_bits<V>(count, [=](auto v, s32 i) {
               return v.differing(v.load(a + i), v.load(b + i));
           }) == 0;
}

// The radix-4 passes by way of two buffers, of which the last one to be written is spare and the
// other is a part of what the pass behind them writes.
template <class V, variant v, form f>
split_data radix4_passes_to(split_data spare, const s32 *in, input_shift shift, s32 n,
                            const twiddle_rows &twiddles, s32 writes, split_data target, s32 *out) {
    const bool starts_in_spare = writes % 2 != 0;
    return radix4_passes<V, v, f>(in, shift, n, twiddles, starts_in_spare ? spare : target,
                                  starts_in_spare ? target : spare, out);
}

template <class V, variant v, form f>
void complex_transform(const s32 *in, s32 n, const twiddle_rows &twiddles, s32 *out) {
    alignas(64) s32 work[2 * most_values];
    const s32 writes = (__builtin_ctz(static_cast<u32>(n)) - 1) / 2;
    const split_data last = radix4_passes_to<V, v, f>(split_in(work, n), in, {0, false}, n,
                                                      twiddles, writes, split_in(out, n), out);
    if (is_odd_power_of_2(n)) radix2_pass<V, v, f>(last, n, interleaved_data{out});
}

template <class V, form f>
void real_forward(const s32 *in, input_shift shift, s32 n, const twiddle_rows &twiddles,
                  const recombine_rows &recombine, s32 *out) {
    alignas(64) s32 work[most_values + 1];
    const s32 half = n / 2, writes = __builtin_ctz(static_cast<u32>(half)) / 2;
    const split_data last = radix4_passes_to<V, forward, f>(
        split_in(work, half), in, shift, half, twiddles, writes, split_in(out, half), nullptr);
    if (is_odd_power_of_2(half)) {
        work[n] = 0; // is read as the operand of a result that is not used
        complex_lanes<vec_scalar> first = load_values<vec_scalar>(last, 0);
        complex_lanes<vec_scalar> middle = load_values<vec_scalar>(last, half / 2);
        add_sub<arithmetic<vec_scalar, forward, f>>(first, middle);
        part_dc_and_nyquist<f>(first.re, first.im, out, n);
        recombine_bins<V, forward, f>(from_halves<V, f>{last, half / 2}, n, recombine, out);
        recombine_middle_bin<f>(middle, n, recombine, out);
    } else {
        part_dc_and_nyquist<f>(last.re[0], last.im[0], out, n);
        recombine_bins<V, forward, f>(from_split<V>{last}, n, recombine, out);
    }
}

template <class V, variant v, form f>
void recombine_stage(s32 *spec, s32 n, const recombine_rows &recombine) {
    if constexpr (v == forward)
        part_dc_and_nyquist<f>(spec[0], spec[1], spec, n);
    else
        join_dc_and_nyquist<v, f>(spec, n);
    recombine_bins<V, v, f>(from_interleaved<V>{spec}, n, recombine, spec);
}

template <class V>
constexpr fft_kernels fft_kernels_of = {
    are_within<V>,
    are_same<V>,
    {{complex_transform<V, forward, saturating>, complex_transform<V, forward, plain>},
     {complex_transform<V, inverse_scaled, saturating>,
      complex_transform<V, inverse_scaled, plain>},
     {complex_transform<V, inverse_unscaled, saturating>,
      complex_transform<V, inverse_unscaled, plain>}},
    {real_forward<V, saturating>, real_forward<V, plain>},
    {{recombine_stage<V, forward, saturating>, nullptr}, // not part of a transform
     {recombine_stage<V, inverse_scaled, saturating>, recombine_stage<V, inverse_scaled, plain>},
     {recombine_stage<V, inverse_unscaled, saturating>,
      recombine_stage<V, inverse_unscaled, plain>}}};

} // namespace
} // namespace earshot
