// A frame through the renderer: bounds on what sums can reach, the sources added to the spectra of
// both ears, and these transformed back.
//
// Scales. The window of a source is shifted by its own e bits and transformed; products with its
// filters (Q29) are shifted by 29 + E - e and added up, so that a spectrum is in units of 2^E; the
// spectra are shifted by d more for the inverse transform, which makes samples 256 times as large
// as they are. So a word of the output counts 2^(E + d - 8).
#include "binaural/instance.hpp"
#include "fft/real.hpp"
#include "hrtf/kernels.hpp"
#include "kernel/saturate.hpp"

#include <string.h>

namespace earshot {
namespace {

using instance_t = earshot_binaural;
using source_t = binaural_source;
using pair_t = earshot_filter_pair;

// --- Bounds -------------------------------------------------------------------------------------

constexpr s32 most_extra = most_q - least_q; // bits by which a source may be finer than the sums

// No entry of words in Q29 has a modulus above 4 sqrt 2, whatever a pair says. Q16, rounded up.
constexpr u32 largest_gain = 370728;

constexpr u32 smaller(u32 a, u32 b) { return a < b ? a : b; }
constexpr s32 larger(s32 a, s32 b) { return a > b ? a : b; }

// The smallest shift, no less than least, that brings a bound below a limit.
s32 shift_to(u64 bound, u64 limit, s32 least) {
    s32 shift = least;
    while ((bound >> shift) >= limit) ++shift;
    return shift;
}

u32 gain_of(const source_t &source) {
    const u32 before = source.filters->gain, after = source.next->gain;
    return smaller(before > after ? before : after, largest_gain);
}

// What a frame asks for.
struct frame_bounds {
    s32 shift = 0;    // the largest of a window
    u64 sum = 0;      // of all products, at full scale
    u64 rounding = 0; // what rounding can add to it on any scale
    bool has_sound = false, fades = false;

    // The scale of the sums, E: 32 bits hold them, rounding included.
    s32 scale() const { return shift_to(sum, u64{s32_max} - rounding, shift); }
};

// A window of magnitude a has no spectrum beyond a, and 256 units more by rounding (see
// fft/real.hpp); filtered, it is larger by the gain. Rounding the product adds half a unit to each
// of its words.
void measure(source_t &source, u32 magnitude, frame_bounds &bounds) {
    source.shift = magnitude == 0 ? -1 : shift_to(u64{magnitude} << 8, most_input, 0);
    if (source.is_silent()) return;
    const u32 gain = gain_of(source);
    bounds.sum += (u64{magnitude} * gain >> 8) + 1;
    bounds.rounding += (u64{gain} << 8 >> 16) + 2;
    bounds.shift = larger(bounds.shift, source.shift);
    bounds.has_sound = true;
    bounds.fades = bounds.fades || source.is_fading();
}

frame_bounds measure_all(const binaural_kernels &kernels, instance_t *renderer,
                         const s32 *const *windows) {
    frame_bounds bounds;
    for (u32 i = 0; i < renderer->config.sources; ++i) {
        source_t &source = renderer->sources()[i];
        // The first filters are there from the beginning.
        if (source.filters == nullptr) source.filters = source.next;
        measure(source, kernels.magnitude(windows[i]), bounds);
    }
    return bounds;
}

// --- Spectra ------------------------------------------------------------------------------------

// Bin 128 is real, as are its gains, which stand in the imaginary word of entry 0.
void add_nyquist(both_ears &sums, s32 value, const pair_t &filters, s32 q) {
    for (u32 c = 0; c < 2; ++c) {
        s32 &sum = sums.ear[c][window_length];
        const s64 product = s64{value} * filters.ear[c][1];
        sum = wrap_add(sum, low_s32((product + (s64{1} << (q - 1))) >> q));
    }
}

// To the sums by what the source ends the frame with and, if it fades, those by what it begins
// with.
void add_source(const binaural_kernels &kernels, instance_t *renderer, const source_t &source,
                const s32 *window, s32 scale) {
    const bool fixed = renderer->fixed_bits != follows;
    const s32 shift = fixed ? scale : larger(source.shift, scale - most_extra);
    const s32 extra = scale - shift, q = least_q + extra;
    s32 *spectrum = renderer->spectrum;
    both_ears &after = renderer->after.spectra, &before = renderer->before.spectra;
    rfft_of_rounded(window, shift, window_length, spectrum);
    const s32 nyquist = spectrum[window_length];
    add_nyquist(after, nyquist, *source.next, q);
    if (!source.is_fading()) return kernels.add_filtered[extra](after, spectrum, *source.next);
    add_nyquist(before, nyquist, *source.filters, q);
    kernels.add_fading[extra](before, after, spectrum, *source.filters, *source.next);
}

// Sources that do not fade first: they sound alike by either choice of filters.
void add_sources(const binaural_kernels &kernels, instance_t *renderer, const s32 *const *windows,
                 s32 scale, bool fades) {
    both_ears &after = renderer->after.spectra;
    const auto add_those = [&](bool fading) {
        for (u32 i = 0; i < renderer->config.sources; ++i) {
            const source_t &source = renderer->sources()[i];
            if (!source.is_silent() && source.is_fading() == fading)
                add_source(kernels, renderer, source, windows[i], scale);
        }
    };
    memset(&after, 0, sizeof after);
    add_those(false);
    if (!fades) return;
    memcpy(&renderer->before.spectra, &after, sizeof after);
    add_those(true);
}

// --- Samples ------------------------------------------------------------------------------------

// Bounds on the moduli of all 256 bins of either spectrum, of which the conjugate half repeats the
// other.
u64 modulus_of(const binaural_kernels &kernels, both_ears &spectra) {
    u64 largest = 0;
    for (s32 *words : spectra.ear) {
        words[1] = 0; // bin 0 is real
        const u64 sum = 512 * u64{kernels.magnitude(words)} + magnitude(words[window_length]);
        if (sum > largest) largest = sum;
    }
    return largest;
}

void transform_back(const binaural_kernels &kernels, binaural_mix &mix, s32 shift) {
    for (u32 c = 0; c < 2; ++c) {
        s32 *words = mix.spectra.ear[c], &nyquist = words[window_length];
        if (shift != 0) {
            kernels.shift_right_rnd(words, shift);
            nyquist = ((nyquist >> (shift - 1)) + 1) >> 1;
        }
        rifft_of_bounded(words, window_length, mix.samples[c]);
    }
}

both_signals frame_of(const instance_t *renderer, const binaural_mix &mix) {
    return {{mix.samples[0] + renderer->config.lead, mix.samples[1] + renderer->config.lead}};
}

// Transforms what add_sources left, on one scale; returns by how much that is coarser than before.
s32 write_ears(const binaural_kernels &kernels, instance_t *renderer, bool fades, s32 *ears) {
    const s32 length = static_cast<s32>(renderer->config.frame_length);
    u64 modulus = modulus_of(kernels, renderer->after.spectra);
    if (fades) {
        const u64 other = modulus_of(kernels, renderer->before.spectra);
        if (other > modulus) modulus = other;
    }
    const s32 shift = shift_to(modulus, most_spectrum, 0);
    transform_back(kernels, renderer->after, shift);
    const both_signals after = frame_of(renderer, renderer->after);
    if (!fades) {
        hrtf_kernels_for(active_isa()).interleave(ears, after.ear[0], after.ear[1], length);
    } else {
        transform_back(kernels, renderer->before, shift);
        kernels.fade(ears, frame_of(renderer, renderer->before), after, renderer->weights, length);
    }
    return shift;
}

// --- A frame ------------------------------------------------------------------------------------

constexpr s32 transform_bits = 8, fixed_offset = 9;

bool has_null(const s32 *const *windows, u32 count) {
    for (u32 i = 0; i < count; ++i)
        if (windows[i] == nullptr) return true;
    return false;
}

// The scale of a fixed headroom is that of hrtf.h: windows are shifted by 9 bits more, with which
// no transform overflows. What is left to wrap is the sums.
s32 scale_for(instance_t *renderer, const frame_bounds &bounds) {
    if (renderer->fixed_bits == follows) return bounds.scale();
    const s32 scale = renderer->fixed_bits + fixed_offset;
    frame_bounds of_sums = bounds;
    of_sums.shift = 0;
    if (of_sums.scale() > scale) ++renderer->unsafe_frames;
    return scale;
}

u32 process(instance_t *renderer, const s32 *const *windows, s32 *ears, s32 *exponent) {
    if (renderer == nullptr || windows == nullptr || ears == nullptr || exponent == nullptr)
        return EARSHOT_BAD_MEMORY;
    const u32 sources = renderer->config.sources;
    if (renderer->without_filters != 0 || has_null(windows, sources)) return EARSHOT_BAD_MEMORY;

    const binaural_kernels &kernels = binaural_kernels_for(active_isa());
    const frame_bounds bounds = measure_all(kernels, renderer, windows);
    if (bounds.has_sound) {
        const s32 scale = scale_for(renderer, bounds);
        add_sources(kernels, renderer, windows, scale, bounds.fades);
        *exponent = scale + write_ears(kernels, renderer, bounds.fades, ears) - transform_bits;
    } else {
        memset(ears, 0, 2 * size_t{renderer->config.frame_length} * sizeof *ears);
        *exponent = -transform_bits;
    }
    for (u32 i = 0; i < sources; ++i) renderer->sources()[i].filters = renderer->sources()[i].next;
    return EARSHOT_OK;
}

} // namespace
} // namespace earshot

extern "C" {

u32 earshot_binaural_process(earshot_binaural *renderer, const s32 *const *windows, s32 *ears,
                             s32 *exponent) {
    return earshot::process(renderer, windows, ears, exponent);
}

} // extern "C"
