/*
 * What the WebAssembly module exports: the binaural renderer for sounds that arrive in blocks, and
 * the scene engine, without records or callbacks, which a host that is not C would have to lay out
 * and make. The module imports nothing.
 *
 * Pointers are addresses in the module's memory, for whom earshot_web_allocate finds the place. A
 * call that allocates may grow the memory: views of it are made anew afterwards. The calls for
 * blocks and frames allocate nothing. Exported are also earshot_version and
 * earshot_instruction_set.
 *
 * Angles are degrees, azimuth counter-clockwise, elevation upwards. Samples are Q31 at 48000 Hz;
 * floats are full scale at 1, rounded to the nearest and clipped. What fails returns null, or
 * what is told, and earshot_web_error says why.
 */
#ifndef EARSHOT_WEB_H
#define EARSHOT_WEB_H

#include <earshot/scene.h>

EARSHOT_BEGIN_C

/* Why the last call failed: one line of UTF-8. */
const char *earshot_web_error(void);

/* Aligned for anything; null when there is no more. */
void *earshot_web_allocate(u32 bytes);
void earshot_web_free(void *memory);

/* The built-in head, made by the first call and there for good. */
const earshot_head *earshot_web_builtin_head(void);

/* A prepared head. Its bytes (aligned for a word, as allocated memory is) stay as long as the
 * head is used. */
const earshot_head *earshot_web_open_head(const void *bytes, u32 size);

/* The name of a head, as earshot_head_describe gives it. */
const char *earshot_web_head_name(const earshot_head *head);

/* --- Sounds that arrive in blocks --- */

typedef struct earshot_live earshot_live;

/* 1 to 256 sources, all in front and their gains 0. */
earshot_live *earshot_live_create(u32 sources, const earshot_head *head);
void earshot_live_destroy(earshot_live *live);

/* What comes out is so many samples late. */
u32 earshot_live_latency(void);

/* The longest block of a call. */
u32 earshot_live_block(void);

/* The next block of a source, as floats or as words, written before the call for it: room for the
 * longest block. */
float *earshot_live_input(earshot_live *live, u32 source);
s32 *earshot_live_input_words(earshot_live *live, u32 source);

/* azimuth, elevation and gain (a factor, 0 to 16) of every source, one after the other. Read at the
 * beginning of every block; the first ones hold at once. Later sources go to another place in 128
 * samples, the shorter way round, and their gains ramp as long, so that one who places them every
 * 128 samples has them move in straight lines; what jumps by more than 10 degrees in a frame of 96
 * samples takes five frames. What is not finite leaves a source as it is. */
float *earshot_live_places(earshot_live *live);

/* The ears after a call: left, then right, each with room for the longest block. */
float *earshot_live_output(earshot_live *live);
s32 *earshot_live_output_words(earshot_live *live);

/* Renders `count` frames. Sources whose bit of `silent` is not 0 count as silence, without their
 * input being read; there are words of 32 sources each at earshot_live_silent. */
u32 *earshot_live_silent(earshot_live *live);
void earshot_live_process(earshot_live *live, u32 count);
void earshot_live_process_words(earshot_live *live, u32 count);

/* Samples clipped at full scale so far, the inputs' included. */
double earshot_live_clipped(const earshot_live *live);

/* --- Scenes --- */

typedef struct earshot_web_scene earshot_web_scene;

/* From a scene's text, which cannot name tables. */
earshot_web_scene *earshot_web_scene_parse(const char *text, u32 size);
void earshot_web_scene_free(earshot_web_scene *scene);

u32 earshot_web_scene_sources(const earshot_web_scene *scene);
double
earshot_web_scene_duration(const earshot_web_scene *scene); /* seconds, or -1: as its sounds */
const char *earshot_web_scene_file(const earshot_web_scene *scene, u32 source);
/* Counted from 1; 0: the only one. */
u32 earshot_web_scene_channel(const earshot_web_scene *scene, u32 source);
u32 earshot_web_scene_entry(const earshot_web_scene *scene, u32 source);

/* How sources are heard at a time in seconds: for each azimuth, elevation, distance in metres (-1
 * for a direction) and gain (a factor, with the roll-off in it), one after the other, as floats.
 * They stay until the next call. */
const float *earshot_web_scene_heard(earshot_web_scene *scene, double time);

/* A source's samples, Q31, `stride` words apart: they stay as long as the scene. */
void earshot_web_scene_play(earshot_web_scene *scene, u32 source, const s32 *samples, u32 frames,
                            u32 stride);

/* Opens its rendering through a head, closing one that is open. 0 for a failure. */
u32 earshot_web_scene_open(earshot_web_scene *scene, const earshot_head *head);
double earshot_web_scene_frames(const earshot_web_scene *scene); /* of the whole */

/* The next frames at *samples, interleaved: how many, fewer only at the end; -1 for a failure. */
s32 earshot_web_scene_read(earshot_web_scene *scene, s32 *samples, u32 frames);
double earshot_web_scene_clipped(const earshot_web_scene *scene);

/* --- Output of 16, 24 or 32 bits, as the tool writes it --- */

typedef struct earshot_web_output earshot_web_output;

earshot_web_output *earshot_web_output_create(u32 bits, u32 dither);
void earshot_web_output_destroy(earshot_web_output *output);

/* Brings samples to the width, in place, zeros below: what the tool's digest is of. */
void earshot_web_output_narrow(earshot_web_output *output, s32 *samples, u32 count);
double earshot_web_output_clipped(const earshot_web_output *output);

/* Narrowed samples as little-endian bytes of the width: count x bits / 8. */
void earshot_web_output_pack(const earshot_web_output *output, const s32 *samples, u32 count,
                             unsigned char *bytes);

EARSHOT_END_C

#endif
