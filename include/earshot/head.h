/*
 * Heads: head-related filters for any direction on the sphere.
 *
 * A head is a measurement of someone's ears, prepared: for every measured direction two filters
 * with their delays taken out, the delays, and the triangles into which the directions part the
 * sphere. For a direction between them, filters and delays are interpolated apart over the triangle
 * that it lies in, and put together again: mixed as they were measured, two responses of different
 * delay would comb each other's high frequencies (S. Carty, V. Lazzarini: Binaural HRTF based
 * spatialisation, AES 126, 2009, for the frequency domain; H. Gamper: Selection and interpolation
 * of head-related transfer functions for rendering moving virtual sound sources, DAFx-13, for
 * triangles, their weights and the search by steps from neighbour to neighbour). What comes out is
 * a pair of filters in the format of the renderers, hrtf.h's and binaural.h's. All of it is
 * integer: the same head and direction give the same filters everywhere.
 *
 * A head is its file: bytes that the tool's "earshot head" makes of a SOFA file, in memory of the
 * caller and never written to. Any number of threads may use one at a time. earshot_head_open looks
 * at every byte of it once, and after that no call reads outside of it, whatever it holds. The
 * built-in head, of KEMAR, is made from the library's own tables into memory of the caller.
 *
 * Azimuth grows counter-clockwise (towards the left), elevation upwards, both in degrees, Q16. Ear
 * 0 is the left ear.
 *
 * Filters of a head are made for frames of 96 samples that begin 140 samples after the window of
 * 256 (EARSHOT_HEAD_FRAME, EARSHOT_HEAD_LEAD): responses take 160 samples, from 20 before the
 * sound, where little more than the ringing of a delay by a fraction of a sample lies, to 140 after
 * it. Of the built-in head's filters -110 dB lie outside on average, -95 dB at most, and are heard
 * in the wrong place.
 *
 * Above 16 kHz a head's filters fall, by 0.3 dB at 18 kHz and 2.7 at 20, to nothing at 24: with
 * anything left at the top, a delay by a fraction of a sample would ring through the whole window.
 * At the directions of the measurement the built-in head has the third octaves of hrtf.h's tables
 * within 0.15 dB, 200 Hz to 16 kHz, and their interaural times within 0.02 us.
 *
 * A program, with all checks left out:
 *
 *     size_t size = earshot_head_builtin_size();     or a head file's bytes
 *     earshot_head_builtin(memory, size, &head);     and earshot_head_open
 *     for every frame of 96 samples
 *         earshot_head_filter(head, azimuth, elevation, &pair)   where a source has moved
 *         earshot_head_use(front, source, &pair)                 or earshot_binaural_set
 *         ... its window begins 140 samples before the frame
 */
#ifndef EARSHOT_HEAD_H
#define EARSHOT_HEAD_H

#include <stddef.h>

#include <earshot/types.h>

EARSHOT_BEGIN_C

struct hrtf_filt_front_instance;

/* The bytes of a head file. */
typedef struct earshot_head earshot_head;

#define EARSHOT_HEAD_FRAME 96
#define EARSHOT_HEAD_LEAD 140
#define EARSHOT_HEAD_CHANNELS 25 /* ambisonic channels of a field of fourth order */

/* Filters of the two ears: 128 complex entries each in Q29, entry 0 being the gains of DC and
 * Nyquist, as in the tables of hrtf.h. */
typedef struct earshot_filter_pair {
    s32 ear[2][256];
    u32 gain; /* an upper bound on the modulus of every entry of both, Q16 */
    u32 reserved;
} earshot_filter_pair;

typedef struct earshot_head_info {
    u32 version;    /* of the format: 1 */
    u32 size;       /* bytes */
    u32 checksum;   /* of the bytes, as stored */
    u32 directions; /* measured ones */
    u32 filled;     /* further ones, made up where nothing was measured */
    u32 triangles;
    u32 channels;     /* filters of ambisonic channels: 25, or 0 where there are none */
    const char *name; /* what was measured, UTF-8, inside the head; never null */
} earshot_head_info;

/*
 * Checks a head file of `size` bytes, and names it *head. Bytes null or not aligned for an s32, or
 * head null: 3. Anything else than a whole, unaltered head of a version that this library knows: 2.
 * The checksum finds accidents; indices, counts, weights and gains are looked at one by one, so
 * that a file made to do harm is refused or, at worst, sounds wrong.
 */
EARSHOT_API u32 earshot_head_open(const void *bytes, size_t size, const earshot_head **head);

/* Bytes of the built-in head. */
EARSHOT_API size_t earshot_head_builtin_size(void);

/* Makes the built-in head in memory aligned for an s32, and names it *head; memory or head null,
 * not aligned or too small: 3. A few milliseconds; the bytes are the same everywhere. */
EARSHOT_API u32 earshot_head_builtin(void *memory, size_t size, const earshot_head **head);

/* What a head is. Head or info null: 3. */
EARSHOT_API u32 earshot_head_describe(const earshot_head *head, earshot_head_info *info);

/*
 * The filters of any direction. Head or pair null: 3. Whole turns of the azimuth make no
 * difference; elevations are clamped to -90 to 90 degrees. No allocation, and never more than as
 * many steps from triangle to triangle as the head has triangles, but two or three for a sensible
 * one.
 *
 * Weights within the triangle have 14 bits, for delays 30. Where a head's directions are 23 degrees
 * apart or closer, what a filter differs by from the same formula in real numbers is at least 88 dB
 * below it: a little more of one measured filter and a little less of another, hardly any noise.
 * Delays are within 2^-24 samples. The gain is an upper bound that all roundings are in.
 */
EARSHOT_API u32 earshot_head_filter(const earshot_head *head, s32 azimuth, s32 elevation,
                                    earshot_filter_pair *pair);

/*
 * Cuts filters of a direction to the 128 taps from the sound on, in place, for frames of 128
 * samples with a lead of 128, or of hrtf.h, where nothing moves: what is cut off would be heard in
 * the wrong place there. What is left has errors of less than -50 dB, of the ringing above 20 kHz
 * for the most part. Costs six transforms. Pair null: 3.
 */
EARSHOT_API u32 earshot_head_shorten(earshot_filter_pair *pair);

/* The filters of an ambisonic channel (ACN, SN3D), inside the head: 128 taps, none before the
 * sound, for frames of up to 128 samples. Head or pair null: 3; channel not below the head's: 2. */
EARSHOT_API u32 earshot_head_channel(const earshot_head *head, u32 channel,
                                     const earshot_filter_pair **pair);

/*
 * Hands filters to a source of hrtf.h's front end, in place of a selection; the pair stays the
 * caller's and is read for as long as the source has it. The back end wants to be told that they
 * changed. Front end without a state, or pair null: 3; a source that the instance has not: 2.
 */
EARSHOT_API u32 earshot_head_use(struct hrtf_filt_front_instance *front, u32 source,
                                 const earshot_filter_pair *pair);

EARSHOT_END_C

#endif
