/*
 * Loops over frames, rows and times for the Python package: one call for a whole array, during
 * which the interpreter's lock is free. Pointers and sizes have been checked by the caller.
 */
#ifndef EARSHOT_PYTHON_BLOCKS_H
#define EARSHOT_PYTHON_BLOCKS_H

#include <earshot/earshot.h>
#include <earshot/scene.h>

EARSHOT_BEGIN_C

/* Sources and how far apart their samples lie, for a renderer with frames of `frame_length`. */
typedef struct earshot_blocks_sources {
    u32 count;
    u32 frame_length;
    s64 stride;          /* words from a source to the next */
    const s32 **windows; /* as many as there are sources: scratch */
} earshot_blocks_sources;

/* Frames one after the other: the window of the first begins at `samples`. ears: pairs, Q31.
 * Samples that were clipped are added to *clipped. Returns a status of the renderer. */
u32 earshot_blocks_render(earshot_binaural *renderer, const earshot_blocks_sources *sources,
                          const s32 *samples, s64 frames, s32 *ears, u64 *clipped);

/* The gains of a direction, and the rotation for a head that has turned, in degrees, Q16. */
u32 earshot_blocks_gains(u32 order, s32 azimuth, s32 elevation, s32 *gains);
u32 earshot_blocks_rotation(u32 order, s32 yaw, s32 pitch, s32 roll,
                            earshot_field_rotation *rotation);

/* A mono sound times the gains of a direction (Q30), interleaved; returns how many were clipped. */
u64 earshot_blocks_encode(const s32 *mono, s64 frames, const s32 *gains, u32 channels, s32 *field);

/* Where a source is heard at each of the times. */
u32 earshot_blocks_heard(const earshot_scene *scene, u32 source, const s64 *times, s64 count,
                         earshot_scene_direction *heard);

#define EARSHOT_BLOCKS_COMPLEX 0u         /* cmplxfft32x32 */
#define EARSHOT_BLOCKS_COMPLEX_INVERSE 1u /* cmplxifft32x32 */
#define EARSHOT_BLOCKS_COMPLEX_SCALED 2u  /* cmplxifft32x32_scaled */
#define EARSHOT_BLOCKS_REAL 3u            /* Vorkel_rfft_32x32 */
#define EARSHOT_BLOCKS_REAL_INVERSE 4u    /* Vorkel_rifft_32x32 */
#define EARSHOT_BLOCKS_REAL_SCALED 5u     /* Vorkel_rifft_32x32_scaled */

typedef struct earshot_blocks_tables {
    const s32 *twiddles; /* as fft.h tells */
    const s32 *recombination;
} earshot_blocks_tables;

/* Transforms of so many rows of n points, one after the other in memory. The inverses of real
 * transforms write over `in`. */
void earshot_blocks_transform(u32 kind, s32 *in, s32 n, s64 rows,
                              const earshot_blocks_tables *tables, s32 *out);

/* The same of 16 bits. exponents: one for each row, of a transform with block scaling; or null. */
u32 earshot_blocks_transform16(u32 real, u32 inverse, const s16 *in, s32 n, s64 rows, s16 *out,
                               s32 *exponents);

EARSHOT_END_C

#endif
