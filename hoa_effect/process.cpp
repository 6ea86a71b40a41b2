// Processing of blocks: checks, the course of the ramp, and the call of the mixing kernels.
#include "hoa_effect/mix.hpp"
#include "kernel/saturate.hpp"

#include <earshot/hoa_effect.h>

namespace earshot {
namespace {

// The kernels take the matrix by value: a sample buffer can never be mistaken for a coefficient.
void read_matrix(mix_matrix &m, s32 *const *rows) {
    for (int i = 0; i < mix_channels; ++i)
        for (int k = 0; k < mix_channels; ++k) m[i][k] = rows[i][k];
}

void write_matrix(s32 **rows, const mix_matrix &m) {
    for (int i = 0; i < mix_channels; ++i)
        for (int k = 0; k < mix_channels; ++k) rows[i][k] = m[i][k];
}

template <class Sample>
void mix(const mix_loops<Sample> &loops, hoa_effect_state *state, void *const *out_data,
         const void *const *in_data, s32 ramp_frames, s32 frames) {
    Sample *out[mix_channels];
    const Sample *in[mix_channels];
    for (int i = 0; i < mix_channels; ++i) {
        out[i] = static_cast<Sample *>(out_data[i]);
        in[i] = static_cast<const Sample *>(in_data[i]);
    }
    mix_matrix m;
    if (ramp_frames > 0) {
        mix_matrix step;
        read_matrix(m, state->current);
        read_matrix(step, state->step);
        loops.ramp(m, step, out, in, 0, ramp_frames);
        write_matrix(state->current, m);
    }
    if (frames > ramp_frames) {
        read_matrix(m, state->target);
        loops.steady(m, out, in, ramp_frames, frames);
    }
}

// Moves the ramp on by a block and returns how many samples of the block belong to it. Counts of
// 2^31 and above are negative, as are the rests that they leave behind; sums wrap.
s32 advance_ramp(hoa_effect_state *state, s32 frames) {
    const s32 remaining = wrap_sub(state->ramp_len, state->ramp_pos);
    if (remaining >= frames) {
        state->ramp_pos = wrap_add(state->ramp_pos, frames);
        return frames;
    }
    state->ramp_pos = state->ramp_len;
    return remaining;
}

u32 apply_effect_matrix(hoa_effect_state *state, hoa_effect_buffer *out,
                        const hoa_effect_buffer *in) {
    if (state == nullptr) return EARSHOT_BAD_MEMORY;
    out->frames = in->frames;
    const s32 frames = static_cast<s32>(in->frames);
    const s32 ramp_frames = advance_ramp(state, frames);
    const bool is_narrow = state->config.bit_width == 16;
    if (!is_narrow && state->config.bit_width != 32) return EARSHOT_BAD_VALUE;
    if (state->num_channels != mix_channels) return EARSHOT_BAD_VALUE;

    const mix_kernels &kernels = mix_kernels_for(active_isa());
    const s32 ramp_end = ramp_frames < 0 ? 0 : ramp_frames;
    if (is_narrow)
        mix(kernels.narrow, state, out->data, in->data, ramp_end, frames);
    else
        mix(kernels.wide, state, out->data, in->data, ramp_end, frames);
    return EARSHOT_OK;
}

u32 process(hoa_effect_state *state, u32 out_tag, hoa_effect_buffer *out, u32 out_size, u32 in_tag,
            const hoa_effect_buffer *in, u32 in_size) {
    if (in_size != sizeof *in || out_size != sizeof *out || state == nullptr || out == nullptr ||
        in == nullptr)
        return EARSHOT_BAD_MEMORY;
    if (out_tag != HOA_EFFECT_OUT_TAG && in_tag != HOA_EFFECT_IN_TAG) return EARSHOT_BAD_VALUE;
    if (in->channels != state->num_channels || out->channels != state->num_channels)
        return EARSHOT_BAD_CHANNEL_COUNT;
    return apply_effect_matrix(state, out, in);
}

} // namespace
} // namespace earshot

extern "C" {

u32 hoa_effect_process(hoa_effect_state *state, u32 out_tag, hoa_effect_buffer *out, u32 out_size,
                       u32 in_tag, const hoa_effect_buffer *in, u32 in_size) {
    return earshot::process(state, out_tag, out, out_size, in_tag, in, in_size);
}
u32 hoa_effect_apply_effect_matrix(hoa_effect_state *state, hoa_effect_buffer *out,
                                   const hoa_effect_buffer *in) {
    return earshot::apply_effect_matrix(state, out, in);
}

} // extern "C"
