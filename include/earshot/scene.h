/*
 * Scenes: sounds at places or on their ways, rendered for the two ears of a listener who may walk
 * and turn, or into an ambisonic field.
 *
 * These functions are in a library of their own, libearshot-scene.so, which stands on libearshot.so
 * and the runtime library of C++. It reads no files: the text of a scene and the sounds of its
 * sources come from the caller. Unlike the rest of earshot it allocates, when a scene is read, when
 * a stream is opened, and when tracks are long also while it is read; what it computes is integer
 * all the same, so that the same scene and the same sounds give the same samples everywhere.
 *
 *     earshot_scene_parse(text, size, NULL, &scene, &error);
 *     for every source
 *         earshot_scene_source(scene, k, &source);       which file it plays
 *         inputs[k] = ...                                its sound, or earshot_scene_play
 *     earshot_scene_open(scene, NULL, inputs, count, &stream, &error);
 *     while (earshot_scene_read(stream, samples, 4800, &done) == EARSHOT_OK && done > 0)
 *         ...                                            done frames, interleaved
 *     earshot_scene_close(stream);
 *     earshot_scene_free(scene);
 *
 * A scene is constant: any number of threads may use one at a time. A stream belongs to one thread
 * at a time; streams are independent of each other.
 *
 * Samples are Q31, times are samples at 48000 Hz from the beginning of the scene, gains are in
 * thousandths of a decibel. Azimuth grows counter-clockwise (towards the left), elevation upwards,
 * both in degrees, Q16.
 */
#ifndef EARSHOT_SCENE_H
#define EARSHOT_SCENE_H

#include <stddef.h>

#include <earshot/head.h>
#include <earshot/types.h>

EARSHOT_BEGIN_C

#define EARSHOT_SCENE_RATE 48000

/* Further status words. */
#define EARSHOT_INPUT_FAILED 16u  /* a sound or a table could not be read */
#define EARSHOT_OUT_OF_MEMORY 17u /* the system gives no more */

typedef struct earshot_scene earshot_scene;
typedef struct earshot_scene_stream earshot_scene_stream;

/* What is wrong, in one line of UTF-8; empty after a call that went well. A scene's text is named
 * by place: "line 3, column 7: ...", "sources[2].track row 5: ...". */
typedef struct earshot_scene_error {
    char text[1200];
} earshot_scene_error;

/* Where the tables come from that a scene names instead of having its tracks in its text. */
typedef struct earshot_scene_tables {
    void *user;
    /* The text of a table and its bytes, which stay until the next call or the end of the reading.
     * Null where it cannot be read; *reason may then be a line that says why. */
    const char *(*load)(void *user, const char *name, size_t *size, const char **reason);
} earshot_scene_tables;

/*
 * Reads a scene from `size` bytes of JSON; tables may be null: a scene that names one is then
 * refused. Error may be null. Text or scene null: 3. A text that is no scene, or has more than
 * 16 MiB, 2^21 values or 4096 sources: 2; tables that cannot be read, or have more than 256 MiB
 * together: 16. docs/scenes.md tells what a scene is.
 */
EARSHOT_API u32 earshot_scene_parse(const char *text, size_t size,
                                    const earshot_scene_tables *tables, earshot_scene **scene,
                                    earshot_scene_error *error);

/* Gives the scene back; null is fine, and so are streams of it that are still open. */
EARSHOT_API void earshot_scene_free(earshot_scene *scene);

/* How many sources a scene has, 0 for none at all: null. A sound with a layout counts once for each
 * of its loudspeakers. */
EARSHOT_API u32 earshot_scene_sources(const earshot_scene *scene);

/* The duration that a scene asks for, or -1 where it lasts as long as its sounds, or is null. */
EARSHOT_API s64 earshot_scene_duration(const earshot_scene *scene);

typedef struct earshot_scene_source_info {
    const char *file;   /* the sound, as the scene names it; UTF-8, as long as the scene lives */
    const char *layout; /* of loudspeakers, "5.1", whose channels are sources; null for others */
    u32 entry;          /* of the text's list of sources, counted from 0 */
    u32 channel;        /* of the sound, counted from 1, 0 for its only one; with a layout, of the
                         * layout in the order of WAV files, whatever order the sound has */
    s64 start;
    s32 gain;
    u32 loops;    /* 1: over and over; its input has to have `rewind`, or to be endless itself */
    u32 reserved; /* 0 */
} earshot_scene_source_info;

/* What is said of a source, counted from 0. Scene or info null: 3; no such source: 2. */
EARSHOT_API u32 earshot_scene_source(const earshot_scene *scene, u32 source,
                                     earshot_scene_source_info *info);

typedef struct earshot_scene_direction {
    s32 azimuth;    /* -180 to 180 degrees, Q16 */
    s32 elevation;  /* -90 to 90 degrees, Q16 */
    s32 distance;   /* metres, Q16; -1 where the source has a direction and no place */
    u32 everywhere; /* 1: from no direction, as an LFE channel is; the others are 0 then */
} earshot_scene_direction;

/* Where a source is for the listener, turns of the head included, at a time. True within 0.00006
 * degrees. Scene or direction null: 3; no such source: 2. */
EARSHOT_API u32 earshot_scene_heard(const earshot_scene *scene, u32 source, s64 time,
                                    earshot_scene_direction *direction);

#define EARSHOT_SCENE_UNKNOWN (-1)
#define EARSHOT_SCENE_ENDLESS (-2)

/* The sound of a source: one channel at 48000 Hz, from its beginning on and without its gain. */
typedef struct earshot_scene_input {
    void *user;
    /* The next `count` samples; returns how many, fewer only at the end, negative for a failure,
     * after which the stream is of no more use. */
    s64 (*read)(void *user, s32 *samples, s64 count);
    /* Goes past `count` samples; what is read next is what it would have been had they been read.
     * Returns as read does. May be null: they are read. */
    s64 (*skip)(void *user, s64 count);
    /* Back to the beginning. 0, or anything else for a failure. May be null where nothing loops. */
    s32 (*rewind)(void *user);
    s64 frames; /* the length, or EARSHOT_SCENE_UNKNOWN; EARSHOT_SCENE_ENDLESS for a sound that goes
                 * on for as long as it is read, and has no say in when the scene ends */
} earshot_scene_input;

/* Samples in memory as the sound of a source. */
typedef struct earshot_scene_samples {
    const s32 *samples;
    s64 frames;
    s64 stride;   /* words from one sample to the next: the channels of an interleaved sound */
    s64 position; /* the next one */
} earshot_scene_samples;

/* Makes an input of them, which uses the record and the samples for as long as its stream is open.
 * Pointers null: 3; a negative length, a stride below 1: 2. */
EARSHOT_API u32 earshot_scene_play(earshot_scene_samples *sound, earshot_scene_input *input);

#define EARSHOT_SCENE_CONTINUOUS 0u /* sources are heard exactly where they are */
#define EARSHOT_SCENE_MEASURED 1u   /* at the nearest direction of the built-in measurement */

typedef struct earshot_scene_options {
    u32 size;                 /* sizeof(earshot_scene_options) */
    u32 placement;            /* EARSHOT_SCENE_CONTINUOUS or _MEASURED */
    u32 field_order;          /* 1 to 4: an AmbiX field instead of two ears; 0 */
    u32 no_turns;             /* 1: of a field, without the listener's turns */
    s32 guard;                /* bits of headroom inside, or -1: as many as are needed */
    s32 gain;                 /* of the whole, -120000 to 60000 */
    const earshot_head *head; /* whose ears, as long as the stream is open; null: built in */
} earshot_scene_options;

/* The defaults: continuous, two ears, guard -1, gain 0, built-in head. Null is fine. */
EARSHOT_API void earshot_scene_defaults(earshot_scene_options *options);

/*
 * Opens the rendering of a scene. Options may be null, for the defaults; inputs are as many as the
 * scene has sources, in their order, and are copied. Error may be null. Scene, inputs, stream or an
 * input's `read` null, options of another size: 3. A wrong count, an option out of its range, a
 * loop without rewind: 2. What takes the range of samples is clipped at full scale.
 */
EARSHOT_API u32 earshot_scene_open(const earshot_scene *scene, const earshot_scene_options *options,
                                   const earshot_scene_input *inputs, u32 count,
                                   earshot_scene_stream **stream, earshot_scene_error *error);

/* Gives the stream back; null is fine. */
EARSHOT_API void earshot_scene_close(earshot_scene_stream *stream);

/*
 * The next frames: `frames` of all channels, interleaved, and in *done how many there were, fewer
 * only at the end. However a stream is cut into reads, the samples are the same. Stream, samples or
 * done null: 3; frames negative: 2; a sound that cannot be read: 16, and so every later call.
 */
EARSHOT_API u32 earshot_scene_read(earshot_scene_stream *stream, s32 *samples, s64 frames,
                                   s64 *done);

/* Goes past frames as if they had been read, in much less time. As earshot_scene_read; what has
 * been gone past does not count for peak and clipped. */
EARSHOT_API u32 earshot_scene_skip(earshot_scene_stream *stream, s64 frames, s64 *done);

typedef struct earshot_scene_stream_info {
    u32 channels;
    u32 sources;
    s64 frames;        /* of the whole, or EARSHOT_SCENE_UNKNOWN */
    s64 peak;          /* of what has been read, before any clipping and without the gain: 2^39 is
                        * full scale */
    u64 clipped;       /* samples of what has been read */
    u64 unsafe_frames; /* with a fixed guard: those in which sums could have wrapped */
    s32 guard;         /* bits, or -1 */
    s32 safe_guard;    /* with which no sum can wrap */
} earshot_scene_stream_info;

/* How far a stream is. Stream or info null: 3. */
EARSHOT_API u32 earshot_scene_stream_describe(const earshot_scene_stream *stream,
                                              earshot_scene_stream_info *info);

EARSHOT_END_C

#endif
