/*
 * Binaural renderer whose headroom follows the signal.
 *
 * The same convolution as hrtf.h's front and back end do: windows of 256 samples of every source,
 * Q31 at 48000 Hz, filtered for two ears in the frequency domain. Three things differ. Nothing has
 * to be known of levels: in every frame the renderer bounds what sums can reach, and shifts by as
 * many bits as that takes and no more, so that no input wraps or saturates and quiet frames keep
 * their low bits. What comes out has an exponent with it. And filters that change are faded over
 * the whole frame, linearly, which a source that moves all the time needs: its filters then change
 * by straight lines, without a step or a stop.
 *
 * Frames. The window of the frame that begins at sample s of the sources begins `lead` samples
 * earlier; from frame to frame s moves on by L, the frame length:
 *
 *     samples    s - lead          s             s + L     s - lead + 255
 *     window     |----- lead ------|---- frame ---|-- rest --|
 *     output                       |---- frame ---|
 *
 * Output sample n is the sum over t of h(t) x(n - t). The convolution is circular, so responses
 * have to lie from t = lead + L - 256 to t = lead:
 *
 *     filters                                        L          lead
 *     a direction of a head (earshot_head_filter)    96         140    t = -20 to 139
 *     an ambisonic channel (earshot_head_channel)    128        128    t = 0 to 127
 *     hrtf.h's tables, diffuse and amb               128 or 96  128    t = 0 to 127
 *
 * Before a sound begins and after its end the windows hold zeros; frames are wanted until the
 * responses have rung out, 139 or 127 samples after the end. A frame of 96 with lead 140 needs 20
 * samples beyond its own, one of 128 with lead 128 none. Windows overlap, and a sample has to be
 * the same in all that it is part of: gains belong before the windows.
 *
 * Filters. A source has those that it was given last. A pair is the caller's memory, and is read in
 * every frame for as long as a source has it: give a source new filters in another pair, not by
 * changing the one that it has, which would step rather than fade. Two pairs for each source, which
 * take turns, are enough; sources that stand in the same place may share one. Pairs by
 * earshot_head_filter and earshot_head_channel tell their gain. One of hrtf.h's tables is made of
 * the two filters of a selection and a gain of 3.38 (diffuse) or 1.15 (amb), times 65536 and
 * rounded up. Words in Q29 make no gain above 5.66, and a larger one counts as that. A gain that is
 * too small makes the bounds wrong, and sums may wrap.
 *
 * Movement. Sample i of a frame is the sum of (L - 1 - i) / L of what the filters at its beginning
 * give and (i + 1) / L of what those at its end give. Give a source its filters for the end of each
 * frame, and it moves by straight lines, 500 times a second with L = 96. A source whose filters
 * change costs 1.3 times one whose filters stay, without the making of the filters.
 *
 * Levels. Inputs may have any values, -2^31 included. The output has the level of hrtf.h's filters
 * at their natural level: at an ear a source is as loud, averaged over all directions, as it is
 * itself, and sources add up, so that full scale is easily passed: shift the words by the exponent
 * with saturation, or by a volume of the program's choice. The exponent differs from frame to
 * frame, and the samples do not for all that: a word counts 2^exponent.
 *
 * In a frame, source k has windows whose magnitudes add up to a(k), and filters of gain G(k), the
 * larger one of both in a fade. No bin of its spectrum passes a(k), and none of both ears' sums
 * passes the sum of a(k) G(k). Windows are shifted so that each a(k) keeps to 30 bits, and sums so
 * that they keep to 31; the spectra of sources are up to 3 bits finer than their sums. Windows,
 * products and spectra are rounded.
 *
 * Measured against convolution in double precision, error at the ears:
 *
 *     1 kHz at -12 dBFS, the only source                            -154 dBFS
 *       one of 16, 64, 256, the others silent                       -153 dBFS
 *       one of 16, 64, 256, the others noise of -142 dBFS           -150, -150, -143 dBFS
 *       one of 16, all moving in every frame                        -154 dBFS
 *     50 sources of noise, each -48 dBFS rms                        120 dB below the signal
 *     64 sources of full-scale white noise, moving                  122 dB below the signal
 *     one source of noise between -300 and 300 units of 32 bits     -201 dBFS
 *
 * A program with a head, then, with all checks left out:
 *
 *     earshot_head_builtin, or earshot_head_open of a file
 *     config = {sources, EARSHOT_HEAD_FRAME, EARSHOT_HEAD_LEAD}
 *     earshot_binaural_get_size, earshot_binaural_init
 *     for s = 0, 96, 192, ... while s < length + 139
 *         for every source that is new or has moved:
 *             earshot_head_filter(head, azimuth, elevation, the pair that it does not have)
 *             earshot_binaural_set
 *         window k = samples s - 140 to s + 115 of source k
 *         earshot_binaural_process: the ears' samples s to s + 95
 *         shift them by the exponent with saturation
 *
 * A field has a source for each channel, with the filters of earshot_head_channel given once, and
 * frames of 128 with lead 128.
 *
 * Memory. An instance is one block of the caller's memory and has all that it needs inside; it
 * cannot be moved or copied, and there is nothing to tear down. Silent windows cost next to
 * nothing. One thread at a time may use an instance, different ones are independent.
 *
 * Status: 0 done; 2 a value out of its range; 3 missing pointer or too little memory. What is
 * refused writes nothing.
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

/* Makes a renderer, without any filters, in memory aligned for a pointer. Null pointers, misaligned
 * or too little memory: 3; a value out of its range: 2. */
EARSHOT_API u32 earshot_binaural_init(earshot_binaural **renderer,
                                      const earshot_binaural_config *config, void *memory,
                                      size_t size);

/*
 * Gives a source its filters from the next frame on. The pair stays the caller's; it is read until
 * the end of the frame after which another one has been given. The frame fades from the filters
 * that the source had at its beginning to these; a source's first ones are there from the
 * beginning. Of several that are given before a frame, the last ones count. Renderer or pair null:
 * 3; no such source: 2.
 */
EARSHOT_API u32 earshot_binaural_set(earshot_binaural *renderer, u32 source,
                                     const earshot_filter_pair *pair);

/* A fixed headroom of so many bits (0 to 22) instead of one that follows, as hrtf.h's guard bits
 * are: all windows are shifted by 9 bits more than that, and sums can wrap. -1: follows again.
 * Renderer null: 3; out of range: 2. */
EARSHOT_API u32 earshot_binaural_fix_headroom(earshot_binaural *renderer, s32 bits);

/*
 * A frame. windows: one of 256 samples, Q31, for every source; any values, alignment of an s32.
 * ears: L pairs, left and right. A sample is the word x 2^*exponent, Q31; the exponent is -8 to 24.
 * A null pointer: 3; a source without filters: 3, and nothing is written.
 */
EARSHOT_API u32 earshot_binaural_process(earshot_binaural *renderer, const s32 *const *windows,
                                         s32 *ears, s32 *exponent);

/* Frames so far in which a fixed headroom was less than the bound asks for. Renderer null: 0. */
EARSHOT_API u64 earshot_binaural_unsafe_frames(const earshot_binaural *renderer);

EARSHOT_END_C

#endif
