// A frame through the back end: both ear spectra are transformed back, brought to their level,
// faded over where a filter changed, and written in the format of the output.
#include "fft/real.hpp"
#include "hrtf/instance.hpp"
#include "hrtf/kernels.hpp"
#include "kernel/memory.hpp"

namespace earshot {
namespace {

using instance_t = hrtf_filt_back_instance;
using state_t = hrtf_filt_back_state;
using config_t = hrtf_filt_back_config;

constexpr u32 fade = HRTF_CROSSFADE_FRAMES;
constexpr u32 format_s16 = 2;

constexpr u32 at_most(u32 count, u32 limit) { return count < limit ? count : limit; }

// The second half of the block is the frame and then, for the tail, what it would go on with. Both
// end with the block, however long the frame is; samples beyond count as zeros.
struct extent {
    u32 frame, tail;
};

constexpr extent extent_of(const config_t &config) {
    const u32 half = config.fft_size / 2, frame = at_most(config.frame_length, half);
    return {frame, at_most(fade, half - frame)};
}

// Both blocks to the scratch memory; ears are the parts of them that count, at their level.
void transform_back(const hrtf_kernels &kernels, const instance_t *instance,
                    const hrtf_ear_spectra *spectra, const extent &present, s32 **ears) {
    const state_t *state = instance->state;
    const u32 n = state->config.fft_size;
    for (u32 c = 0; c < 2; ++c) {
        s32 *block = static_cast<s32 *>(instance->scratch_ptr) + c * n;
        rifft_32x32_scaled(spectra->ear[c], static_cast<s32>(n), block);
        ears[c] = block + n / 2;
        kernels.restore_level(ears[c], static_cast<s32>(present.frame + present.tail),
                              static_cast<s32>(at_most(state->level_shift, 31)));
    }
}

void fade_and_save_tails(const hrtf_kernels &kernels, state_t *state, s32 *const *ears,
                         const extent &present) {
    constexpr u32 tail_size = sizeof state->tail[0];
    for (u32 c = 0; c < 2; ++c) {
        s32 *tail = state->tail[c];
        if (state->changed == 1) kernels.crossfade(ears[c], tail, ears[c]);
        memset(tail, 0, tail_size);
        memscpy(tail, tail_size, ears[c] + present.frame, present.tail * u32{sizeof *tail});
    }
    if (state->changed == 1) state->changed = 0;
}

void write_one(const hrtf_kernels &, s32 *out, const s32 *ear, u32 count) {
    memcpy(out, ear, count * sizeof *out);
}
void write_one(const hrtf_kernels &kernels, s16 *out, const s32 *ear, u32 count) {
    kernels.narrow(out, ear, static_cast<s32>(count));
}
void write_both(const hrtf_kernels &kernels, s32 *out, s32 *const *ears, u32 count) {
    kernels.interleave(out, ears[0], ears[1], static_cast<s32>(count));
}
void write_both(const hrtf_kernels &kernels, s16 *out, s32 *const *ears, u32 count) {
    kernels.interleave_narrow(out, ears[0], ears[1], static_cast<s32>(count));
}

// Frames longer than what is present end with zeros.
template <class Sample>
void write_ears(const hrtf_kernels &kernels, const hrtf_ear_outputs *outputs, s32 *const *ears,
                const config_t &config) {
    const u32 present = extent_of(config).frame, missing = config.frame_length - present;
    if (config.interleaved != 0) {
        Sample *out = static_cast<Sample *>(outputs->ear[0]);
        write_both(kernels, out, ears, present);
        memset(out + 2 * size_t{present}, 0, 2 * size_t{missing} * sizeof *out);
        return;
    }
    for (u32 c = 0; c < 2; ++c) {
        Sample *out = static_cast<Sample *>(outputs->ear[c]);
        write_one(kernels, out, ears[c], present);
        memset(out + present, 0, size_t{missing} * sizeof *out);
    }
}

u32 process(instance_t *instance, u32 sample_count, const hrtf_ear_outputs *outputs, u32 bin_count,
            const hrtf_ear_spectra *spectra) {
    if (!has_state(instance) || outputs == nullptr || spectra == nullptr) return EARSHOT_BAD_MEMORY;
    state_t *state = instance->state;
    const config_t &config = state->config;
    if (sample_count != config.frame_length || bin_count != config.fft_size / 2 + 1)
        return EARSHOT_BAD_VALUE;
    if (instance->scratch_ptr == nullptr) return EARSHOT_BAD_MEMORY;

    const extent present = extent_of(config);
    const hrtf_kernels &kernels = hrtf_kernels_for(active_isa());
    s32 *ears[2];
    transform_back(kernels, instance, spectra, present, ears);
    if (config.crossfade == 1) fade_and_save_tails(kernels, state, ears, present);
    if (config.format == format_s16)
        write_ears<s16>(kernels, outputs, ears, config);
    else
        write_ears<s32>(kernels, outputs, ears, config);
    return EARSHOT_OK;
}

} // namespace
} // namespace earshot

extern "C" {

u32 hrtf_filt_back_process(hrtf_filt_back_instance *instance, u32 sample_count,
                           const hrtf_ear_outputs *outputs, u32 bin_count,
                           const hrtf_ear_spectra *spectra) {
    return earshot::process(instance, sample_count, outputs, bin_count, spectra);
}

} // extern "C"
