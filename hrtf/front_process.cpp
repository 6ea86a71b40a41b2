// A frame through the front end: every source is transformed, filtered for both ears and added to
// their spectra.
#include "fft/real.hpp"
#include "hrtf/instance.hpp"
#include "hrtf/kernels.hpp"
#include "kernel/saturate.hpp"

namespace earshot {
namespace {

using instance_t = hrtf_filt_front_instance;
using state_t = hrtf_filt_front_state;
using source_t = hrtf_filt_front_source;

// product / 2^q, truncated and saturated; any q. That of the library's own filters is a constant,
// because 32-bit machines take a while for a variable shift of 64 bits.
s32 scaled_down(s64 product, s32 q) {
    if (q == filter_q) return ARM_s32_saturate_s64(product >> filter_q);
    return q < 0 ? shift_left_sat32(product, -s64{q})
                 : ARM_s32_saturate_s64(shift_right(product, q));
}

// Bins 0 and n/2 are real, as are their gains, which share entry 0 of a filter. Their products are
// truncated and saturate; those of all other bins are rounded and wrap, as all sums do.
void add_real_bin(s32 *sum, s32 value, s32 gain, s32 q) {
    *sum = wrap_add(*sum, scaled_down(s64{value} * gain, q));
}

void add_source(const state_t *state, const source_t &source, const s32 *input, s32 *spectrum,
                s32 *const *ears) {
    const s32 n = state->fft_size, q = state->q_format;
    // The shift is the headroom that keeps the transform from saturating.
    rfft_of_shifted(input, state->input_shift, n, spectrum);
    const s32 dc = spectrum[0], nyquist = spectrum[n];
    spectrum[0] = 0; // so that the kernel may take bin 0 for any other
    hrtf_kernels_for(active_isa())
        .add_filtered(ears, spectrum, {{source.filter[0], source.filter[1]}}, n / 2, q);
    for (u32 c = 0; c < 2; ++c) {
        add_real_bin(ears[c], dc, source.filter[c][0], q);
        add_real_bin(ears[c] + n, nyquist, source.filter[c][1], q);
    }
}

bool have_filters(const state_t *state) {
    for (u32 i = 0; i < state->active; ++i)
        for (const s32 *filter : state->sources[i].filter)
            if (filter == nullptr) return false;
    return true;
}

u32 process(instance_t *instance, u32 bin_count, const hrtf_ear_spectra *spectra, u32 sample_count,
            const s32 *const *inputs) {
    if (!has_state(instance)) return EARSHOT_BAD_MEMORY;
    const state_t *state = instance->state;
    const u32 n = static_cast<u32>(state->fft_size);
    if (sample_count != n || bin_count != n / 2 + 1) return EARSHOT_BAD_VALUE;
    if (spectra == nullptr || inputs == nullptr) return EARSHOT_BAD_MEMORY;
    if (state->active == 0) return EARSHOT_OK;
    if (instance->scratch_ptr == nullptr) return EARSHOT_BAD_MEMORY;
    if (!have_filters(state)) return EARSHOT_BAD_MEMORY;
    s32 *scratch = static_cast<s32 *>(instance->scratch_ptr);
    for (u32 i = 0; i < state->active; ++i)
        add_source(state, state->sources[i], inputs[i], scratch, spectra->ear);
    return EARSHOT_OK;
}

} // namespace
} // namespace earshot

extern "C" {

u32 hrtf_filt_front_process(hrtf_filt_front_instance *instance, u32 bin_count,
                            const hrtf_ear_spectra *spectra, u32 sample_count,
                            const s32 *const *inputs) {
    return earshot::process(instance, bin_count, spectra, sample_count, inputs);
}

} // extern "C"
