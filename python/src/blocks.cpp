#include "blocks.h"

#include "scene/motion/geometry.hpp"
#include "scene/motion/track.hpp"
#include "scene/rendering/fixed_point.hpp"

using namespace earshot_scenes;

namespace {

s32 saturated(s64 x, u64 &clipped) { return static_cast<s32>(clamp_counted(x, 32, clipped)); }

// A renderer's word counts 2^exponent, -8 to 24; what is shifted out rounds half up.
void bring_to_level(s32 *ears, u32 words, s32 exponent, u64 &clipped) {
    for (u32 i = 0; i < words; ++i) {
        const s64 word = ears[i];
        ears[i] =
            saturated(exponent < 0 ? rounded_shift(word, -exponent) : word << exponent, clipped);
    }
}

// Points of a real or complex transform in memory, samples or a packed spectrum.
s64 words_of(bool real, bool samples, s64 n) { return !real ? 2 * n : samples ? n : n + 2; }

} // namespace

u32 earshot_blocks_render(earshot_binaural *renderer, const earshot_blocks_sources *sources,
                          const s32 *samples, s64 frames, s32 *ears, u64 *clipped) {
    const u32 words = 2 * sources->frame_length;
    for (s64 f = 0; f < frames; ++f) {
        for (u32 k = 0; k < sources->count; ++k)
            sources->windows[k] = samples + k * sources->stride;
        s32 exponent = 0;
        const u32 status = earshot_binaural_process(renderer, sources->windows, ears, &exponent);
        if (status != EARSHOT_OK) return status;
        bring_to_level(ears, words, exponent, *clipped);
        samples += sources->frame_length;
        ears += words;
    }
    return EARSHOT_OK;
}

u32 earshot_blocks_gains(u32 order, s32 azimuth, s32 elevation, s32 *gains) {
    return earshot_field_gains(order, turn_of_degrees(azimuth), turn_of_degrees(elevation), gains);
}

u64 earshot_blocks_encode(const s32 *mono, s64 frames, const s32 *gains, u32 channels, s32 *field) {
    u64 clipped = 0;
    for (s64 i = 0; i < frames; ++i)
        for (u32 k = 0; k < channels; ++k)
            *field++ = saturated(rounded_shift(s64{mono[i]} * gains[k], 30), clipped);
    return clipped;
}

u32 earshot_blocks_rotation(u32 order, s32 yaw, s32 pitch, s32 roll,
                            earshot_field_rotation *rotation) {
    const quaternion head = rotation_of(head_angles{yaw, pitch, roll});
    const s32 components[4] = {head.w, head.x, head.y, head.z};
    return earshot_field_rotation_of(order, components, rotation);
}

u32 earshot_blocks_heard(const earshot_scene *scene, u32 source, const s64 *times, s64 count,
                         earshot_scene_direction *heard) {
    for (s64 i = 0; i < count; ++i) {
        const u32 status = earshot_scene_heard(scene, source, times[i], &heard[i]);
        if (status != EARSHOT_OK) return status;
    }
    return EARSHOT_OK;
}

void earshot_blocks_transform(u32 kind, s32 *in, s32 n, s64 rows,
                              const earshot_blocks_tables *tables, s32 *out) {
    const s32 *twiddles = tables->twiddles, *recombination = tables->recombination;
    const s32 stride = 1024 / n;
    const bool real = kind >= EARSHOT_BLOCKS_REAL, forward = kind == EARSHOT_BLOCKS_REAL;
    const s64 taken = words_of(real, forward, n), made = words_of(real, !forward, n);
    for (s64 i = 0; i < rows; ++i, in += taken, out += made) {
        switch (kind) {
        case EARSHOT_BLOCKS_COMPLEX:
            cmplxfft32x32(in, n, twiddles, out);
            break;
        case EARSHOT_BLOCKS_COMPLEX_INVERSE:
            cmplxifft32x32(in, n, twiddles, out);
            break;
        case EARSHOT_BLOCKS_COMPLEX_SCALED:
            cmplxifft32x32_scaled(in, n, twiddles, out);
            break;
        case EARSHOT_BLOCKS_REAL:
            Vorkel_rfft_32x32(in, n, twiddles, recombination, stride, out);
            break;
        case EARSHOT_BLOCKS_REAL_INVERSE:
            Vorkel_rifft_32x32(in, n, twiddles, recombination, stride, out);
            break;
        default:
            Vorkel_rifft_32x32_scaled(in, n, twiddles, recombination, stride, out);
        }
    }
}

u32 earshot_blocks_transform16(u32 real, u32 inverse, const s16 *in, s32 n, s64 rows, s16 *out,
                               s32 *exponents) {
    const s64 taken = words_of(real != 0, inverse == 0, n);
    const s64 made = words_of(real != 0, inverse != 0, n);
    for (s64 i = 0; i < rows; ++i, in += taken, out += made) {
        u32 status = EARSHOT_OK;
        if (exponents == nullptr)
            status = real ? r_fft(in, n, inverse, out) : c_fft(in, n, inverse, out);
        else
            status = real ? fft1r(in, n, inverse, out, &exponents[i])
                          : fft1(in, n, inverse, out, &exponents[i]);
        if (status != EARSHOT_OK) return status;
    }
    return EARSHOT_OK;
}
