/*
 * Binaural renderer whose headroom follows the signal.
 *
 * The same convolution as hrtf.h's front and back end do: windows of 256 samples of every source,
 * filtered for two ears in the frequency domain. Three things differ. Nothing has to be known of
 * levels: in every frame the renderer bounds what sums can reach, and shifts by as many bits as that
 * takes and no more, so that no input wraps or saturates and quiet frames keep their low bits. What
 * comes out has an exponent with it. And filters that change are faded over the whole frame, linearly,
 * which a source that moves all the time needs: its filters then change by straight lines, without a
 * step or a stop.
 *
 * [maker of this module: extend as a manual: frames and lead, movement, levels with the bounds and the
 * measured noise, a program in ten lines]
 */
#ifndef EARSHOT_BINAURAL_H
#define EARSHOT_BINAURAL_H

#include <earshot/head.h>

EARSHOT_BEGIN_C

/* A renderer, in memory of the caller. */
typedef struct earshot_binaural earshot_binaural;

typedef struct earshot_binaural_config {
    u32 sources;      /* 1 to 65536 */
    u32 frame_length; /* L, 1 to 128 */
    u32 lead;         /* samples of a window before the frame: 0 to 256 - L. 140 with the filters of
                         a head's directions and L = 96, 128 with those of its channels */
} earshot_binaural_config;

/* Bytes that a renderer needs. Null pointers: 3; a value out of its range: 2. */
EARSHOT_API u32 earshot_binaural_get_size(const earshot_binaural_config *config, size_t *size);

/* Makes a renderer in memory aligned for a pointer. Null pointers, misaligned or too little memory:
 * 3; a value out of its range: 2. */
EARSHOT_API u32 earshot_binaural_init(earshot_binaural **renderer,
                                      const earshot_binaural_config *config, void *memory,
                                      size_t size);

/*
 * Gives a source its filters from the next frame on. The pair stays the caller's; it is read until
 * the end of the frame after which another one has been given. The frame fades from the filters
 * that the source had at its beginning to these; a source's first ones are there from the
 * beginning. Renderer or pair null: 3; no such source: 2.
 */
EARSHOT_API u32 earshot_binaural_set(earshot_binaural *renderer, u32 source,
                                     const earshot_filter_pair *pair);

/* A fixed headroom of so many bits (0 to 22) instead of one that follows, as with hrtf.h: sums can
 * then wrap. -1: follows again. Renderer null: 3; out of range: 2. */
EARSHOT_API u32 earshot_binaural_fix_headroom(earshot_binaural *renderer, s32 bits);

/*
 * A frame. windows: one of 256 samples, Q31, for every source; any values, alignment of an s32.
 * ears: L pairs, left and right. A sample is the word x 2^*exponent, Q31; the exponent is -8 to 24.
 * A null pointer: 3; a source without filters: 3, and nothing is written.
 */
EARSHOT_API u32 earshot_binaural_process(earshot_binaural *renderer, const s32 *const *windows,
                                         s32 *ears, s32 *exponent);

/* Frames so far in which a fixed headroom was less than what the bound asks for. Renderer null: 0. */
EARSHOT_API u64 earshot_binaural_unsafe_frames(const earshot_binaural *renderer);

EARSHOT_END_C

#endif
