/*
 * Binaural renderer: sources around a listener's head, filtered for two ears.
 *
 * The front end takes a window of 256 samples of every source, transforms it, multiplies it by the
 * head-related filters of the source's direction, one for each ear, and adds the products to two
 * ear spectra. The back end transforms the sums back and writes L samples for each ear, L = 96 or
 * 128. Samples are 32-bit words, Q31, at 48000 Hz. examples/renderer.c is a whole program.
 *
 * Frames. Filters have 128 taps. The window of the frame that begins at sample s of the sources
 * begins 128 samples earlier, the lead, and ends at sample s + 127:
 *
 *     samples    s - 128           s             s + L     s + 127
 *     window     |----- lead ------|---- frame ---|-- rest --|
 *     output                       |---- frame ---|
 *
 * The block that comes back has the convolution of the window with the filters in its samples 127
 * to 255; the back end writes samples 128 to 127 + L. So output sample n is the sum over t of
 * h(t) x(n - t): an impulse in input sample n begins to sound in output sample n and rings on until
 * n + 127. A filter has its peak 9 to 53 samples after its beginning: what an ear hears earlier, it
 * hears earlier. From frame to frame s, and with it the window, moves on by L: windows overlap, and
 * a sample has to be the same in all that it is part of, so gains belong before the windows. Before
 * a sound begins and after its end the windows hold zeros; frames are wanted until 127 samples
 * after the end. With L = 96 a frame needs 32 samples beyond its own (what the rest is for, see
 * below). A program that has no later samples lets s lag: with the newest 96 at the window's end,
 * output comes 32 samples late.
 *
 * Level. Sums inside wrap without notice: every call returns 0, and the output jumps over the whole
 * range. Nothing wraps and nothing clips where the largest magnitudes of all sources, each times
 * the sum of its filter's |h(t)|, add up to less than 2^31. That sum is 7.62 at most in the diffuse
 * tables and 3.24 in the amb tables. So shift every sample to the right by
 *
 *     guard = 3 + ceil(log2(sources))      diffuse (amb: 2 instead of 3)
 *
 * bits, 7 for 16 sources, 7 for the 25 channels of a field, whatever the samples are. With one bit
 * less nothing wraps either, and the ears clip where they would pass full scale; with still fewer
 * they may jump. Sources that are known to be quieter need fewer bits, as the sums tell.
 *
 * The output is the convolution of the shifted samples: it is lower than the natural level by the
 * guard bits and wants them back, with saturation, or a gain of the program's choice. At the
 * natural level a source is as loud at an ear, averaged over all directions, as it is itself,
 * within 1 dB; a single direction and frequency has a gain of 3.38 (10.6 dB) at most.
 *
 * The front end drops the 9 lowest bits of its input, rounding down, and all 32-bit output is in
 * steps of 2^9, but for the samples of a fade. Adding 256 after the shift (x >> guard, + 256) makes
 * the two shifts round. Measured with white noise at 0.9 of full scale in all sources, signal to
 * error of the output is 112 dB for one source and 93 dB for 16; without the 256 it is 109 and 78.
 *
 * Movement. HRTF_FILT_FRONT_PARAM_SELECT puts a source at a direction from the next frame on, and
 * every active source needs one before the first. Where filters differ afterwards (compare
 * state->sources[k].filter), set HRTF_FILT_BACK_PARAM_CHANGED to 1 before the back end processes
 * that same frame: if its configuration has crossfade 1, the frame's first 32 samples then fade
 * over from what the filters of the frame before would have gone on with. That is what the rest of
 * the window is for: with L = 96 the block holds those 32 samples, with L = 128 it ends with the
 * frame and the fade begins at silence. So take 96 where anything moves, and set the flag; take
 * 128, which needs fewer frames, where nothing does, and never set it. Do not set it before the
 * first frame either, which would fade in from silence. The call that fades clears the flag. A flag
 * too many does no harm with L = 96: where nothing changed, the fade is between equal samples.
 *
 * A program, then, with all checks left out:
 *
 *     hrtf_filt_front_get_req, hrtf_filt_front_init, hrtf_filt_front_scratch_get_init (mode 1)
 *     hrtf_filt_back_get_req, hrtf_filt_back_init, hrtf_filt_back_scratch_get_init (mode 1)
 *     for s = 0, L, 2 L, ... while s < length + 127
 *         for every source that is new or has moved: hrtf_filt_front_set, SELECT
 *         if s > 0 and a filter differs: hrtf_filt_back_set, CHANGED
 *         window k = samples s - 128 to s + 127 of source k, shifted, + 256
 *         clear both ear spectra: the front end only adds, the back end overwrites them
 *         hrtf_filt_front_process, with a pointer to every active source's window
 *         hrtf_filt_back_process: the ears' samples s to s + L - 1
 *         shift them back to the left with saturation
 *
 * There is nothing to tear down: when no call uses an instance any more, its memory may go.
 *
 * Memory. Everything lies in memory of the caller: get_req tells how much, init makes the instance
 * there, its handle is the address of the block. The block needs the alignment of a pointer;
 * scratch memory, spectra, windows and outputs need that of their words. Instances point into
 * themselves: they cannot be copied or moved. Scratch memory holds nothing from one call to the
 * next, so that instances that are used in turn may share one piece of the largest size. One thread
 * at a time may use an instance, its set functions included; different instances, with scratch
 * memory of their own, are independent.
 *
 * A field. With table selector 2 the sources are the channels of an ambisonic field (ACN, SN3D):
 * channel k is selected once, as azimuth k x 65536 and elevation 0. A field of lower order has
 * fewer sources.
 *
 * Azimuth grows counter-clockwise (towards the left), elevation upwards, both in degrees, Q16.
 * Channel and ear 0 is the left ear.
 *
 * Status: 0 done; 1 no configuration or wrong sample rate; 2 invalid or unsupported value; 3
 * missing pointer (every function refuses a null instance) or too little memory. Only the pointers
 * that a function's description names are tested for null.
 *
 * Parameter payloads are records whose word 0 is their size in bytes, as the caller sees it: a get
 * whose payload is too small returns 0 and writes nothing.
 */
#ifndef EARSHOT_HRTF_H
#define EARSHOT_HRTF_H

#include <earshot/types.h>

EARSHOT_BEGIN_C

#define EARSHOT_NO_CONFIG 1u /* no configuration, or a sample rate other than 48000 */

/* --- Tables ------------------------------------------------------------------------------------
 *
 * Filter tables: diffuse (0), by direction, and amb (1), by ambisonic channel (ACN, SN3D, 25
 * channels of a fourth-order field). A filter is the spectrum of a 256-point real transform, of 128
 * taps and 128 zeros: 128 complex entries in Q29, where entry 0 holds the gains of DC (real word)
 * and Nyquist (imaginary word). An azimuth record is two filters, for ear 0 and ear 1, of an
 * azimuth of the half circle from 0 to 180 degrees; the other half is served by the mirrored record
 * with the ears exchanged.
 */

/* A row of filter tables: the records of one elevation, azimuth_step apart. */
typedef struct hrtf_table_row {
    s32 elevation;    /* degrees, Q16 */
    s32 offset;       /* of the first azimuth record, in complex entries */
    s32 azimuth_step; /* degrees, Q16 */
} hrtf_table_row;

extern EARSHOT_API const s32 hrtf_kemar_diffuse_rfft256[125952][2];
extern EARSHOT_API const s32 hrtf_kemar_amb_rfft256[6400][2];
extern EARSHOT_API const hrtf_table_row hrtf_kemar_diffuse_table_info[18];
extern EARSHOT_API const hrtf_table_row hrtf_kemar_amb_table_info[1];

/* For {diffuse, amb}: complex entries, rows, transform size, entries of an azimuth record,
 * fraction bits of the filters; and the tables above. */
extern EARSHOT_API const s32 hrtf_len_grp[2];
extern EARSHOT_API const s32 hrtf_num_elevation_grp[2];
extern EARSHOT_API const s32 hrtf_fft_size_grp[2];
extern EARSHOT_API const s32 hrtf_azimuth_offset_grp[2];
extern EARSHOT_API const s32 hrtf_q_format_grp[2];
extern EARSHOT_API const s32 (*const hrtf_fft_filter[2])[2];
extern EARSHOT_API const hrtf_table_row *const hrtf_table_info[2];

/* The parameters of filter tables. */
typedef struct hrtf_filter_info {
    u32 table_selector; /* 0, 1 and from 4 on: diffuse; 2: amb; 3: refused */
    s32 q_format;
    s32 fft_size;
    s32 azimuth_offset;
    s32 length;
    s32 num_elevations;
    const hrtf_table_row *table_info;
    const s32 (*filters)[2];
} hrtf_filter_info;

/* Fills the record *info points to from its table_selector; 2 for selector 3 (nothing is written).
 * No pointer is tested. */
EARSHOT_API u32 get_filter_info(hrtf_filter_info **info);

/* --- Selection: from a direction to a filter pair ----------------------------------------------*/

#define HRTF_PARAM_SCRATCH 4u
#define HRTF_PARAM_VERSION 5u
#define HRTF_PARAM_Q_FORMAT 6u
#define HRTF_PARAM_FFT_SIZE 7u

/* What any instance of this header needs. */
typedef struct hrtf_requirement {
    u32 static_size;  /* bytes */
    u32 second;       /* 200 (hrtf), 1024 (front and back end) */
    u32 scratch_size; /* bytes */
} hrtf_requirement;

typedef struct hrtf_config {
    u32 table_selector;
} hrtf_config;

/* The instance, 48 bytes where addresses are 32 bits wide. */
typedef struct hrtf_instance {
    hrtf_filter_info *info; /* the record below; null: not initialised */
    u32 static_size;
    void *scratch_ptr; /* as attached; not used */
    u32 scratch_size;  /* 0 */
    hrtf_filter_info filter_info;
} hrtf_instance;

typedef struct hrtf_position {
    s32 unused;
    s32 azimuth;   /* any value; amb: channel k as k x 65536 */
    s32 elevation; /* clamped in place to -40 to 90 degrees by the selection */
} hrtf_position;

/* The filters of ear 0 and ear 1: 128 complex entries each. */
typedef struct hrtf_filter_pair {
    const s32 *ear[2];
} hrtf_filter_pair;

/* Payloads of set and get. */
typedef struct hrtf_scratch_payload { /* parameter 4 of all instances */
    u32 size;
    u32 unused;
    void *address;
} hrtf_scratch_payload;
typedef struct hrtf_word_payload { /* one value */
    u32 size;
    u32 value;
} hrtf_word_payload;
typedef struct hrtf_version_payload { /* parameter 5 of all instances */
    u32 size;
    u32 unused;
    u32 version[2];
} hrtf_version_payload;

/* handle 0 and count 1, else 2; config null: 1. Writes {sizeof(hrtf_instance), 200, 0}; the
 * selector is not looked at. */
EARSHOT_API u32 hrtf_get_req(u32 handle, hrtf_requirement *requirement, u32 count,
                             const hrtf_config *config);
/* config null, count not 1 or memory null: 2; memory_size too small: 3, with info and the scratch
 * pointer cleared where they lie inside; selector 3: 2. On success *handle_out is the instance,
 * without scratch memory. */
EARSHOT_API u32 hrtf_init(hrtf_instance **handle_out, u32 count, const hrtf_config *config,
                          void *memory, u32 memory_size);
/* mode 1: hrtf_init without its argument checks; other modes write sizeof(hrtf_instance) into
 * word 1 of the requirement. */
EARSHOT_API u32 hrtf_static_get_init(hrtf_instance **handle_out, hrtf_requirement *requirement,
                                     const hrtf_config *config, void *memory, u32 memory_size,
                                     u32 mode);
/* mode 1 stores the scratch pointer, mode 0 the scratch size 0; other modes: 2. */
EARSHOT_API u32 hrtf_scratch_get_init(hrtf_instance *instance, void *value, u32 mode);
/* Refreshes the table parameters from the stored selector; 3 when not initialised. */
EARSHOT_API u32 hrtf_initialize(hrtf_instance *instance);

/* Parameter 4 only (payload hrtf_scratch_payload, its size is not looked at). Checked in this
 * order: instance and its info 3, identifier 2, payload 3. */
EARSHOT_API u32 hrtf_set(hrtf_instance *instance, u32 param_id, const void *payload);
/* 4: hrtf_scratch_payload; 5: hrtf_version_payload {0x01000000, 0x01000200}; 6 and 7:
 * hrtf_word_payload. Checked as in hrtf_set, identifiers outside 4 to 7: 2. */
EARSHOT_API u32 hrtf_get(hrtf_instance *instance, u32 param_id, void *payload);

/* Selects a filter pair: instance, info, pair or position null: 3; input_count not 3 or
 * output_count not 2: 2; then hrtf_selection. */
EARSHOT_API u32 hrtf_process(hrtf_instance *instance, u32 input_count, hrtf_filter_pair *pair,
                             u32 output_count, hrtf_position *position);
/*
 * Nearest row (ties: the lower), nearest azimuth record of it (halves up). Azimuths count within 0
 * to 360 degrees; above 180 the record of 360 less the azimuth serves with the ears exchanged, at
 * 360 itself too. Where rounding leads one record past a row it is the next record in memory; a
 * record that does not lie wholly inside the diffuse filters, the amb filters and the diffuse rows,
 * which are adjacent in this order, gives 2 and keeps *pair. Not initialised: 3.
 */
EARSHOT_API u32 hrtf_selection(hrtf_instance *instance, hrtf_position *position,
                               hrtf_filter_pair *pair);
/* Index of the row nearest to an elevation (any value; differences wrap), its low 16 bits; 0 for
 * count below 1. */
EARSHOT_API u16 find_nearest_elevation(s32 elevation, s32 count, const hrtf_table_row *rows);
/* The selection within a given row, whatever the elevation; a row past the last gives 2 and writes
 * nothing. */
EARSHOT_API u32 find_nearest_filt(hrtf_instance *instance, hrtf_position *position, u32 row,
                                  hrtf_filter_pair *pair);

/* --- Front end: sources to ear spectra ---------------------------------------------------------*/

#define HRTF_FILT_FRONT_PARAM_SCRATCH 4u
#define HRTF_FILT_FRONT_PARAM_VERSION 5u
#define HRTF_FILT_FRONT_PARAM_RESET 6u
#define HRTF_FILT_FRONT_PARAM_DIRECTION 7u
#define HRTF_FILT_FRONT_PARAM_SELECT 8u
#define HRTF_FILT_FRONT_PARAM_ZERO_QUERY 9u
#define HRTF_FILT_FRONT_PARAM_ACTIVE 10u

typedef struct hrtf_filt_front_config {
    u32 table_selector; /* 0 to 2 */
    u32 sample_rate;    /* 48000 */
    u32 max_sources;
    u32 reserved_3; /* any value, as is the next */
    u32 reserved_4;
} hrtf_filt_front_config;

/* One source. The records of an instance are adjacent; for each, the size of a record rounded up to
 * a multiple of 8 is reserved. */
typedef struct hrtf_filt_front_source {
    const s32 *filter[2]; /* null until selected */
    s32 third;            /* 65536 at first; not used */
    s32 azimuth;
    s32 elevation; /* as given, not as clamped */
} hrtf_filt_front_source;

typedef struct hrtf_filt_front_state {
    hrtf_filt_front_config config;
    u32 active; /* sources that are processed, the first ones */
    s32 fft_size;
    s32 input_shift; /* log2(fft_size) + 1 */
    s32 stride;      /* 1024 / fft_size */
    s32 q_format;
    hrtf_instance *hrtf;
    hrtf_filt_front_source *sources;
} hrtf_filt_front_state;

/* Header of the instance; the state, the hrtf instance and the sources follow it: with addresses of
 * 32 bits, 64 bytes, 48 bytes and 24 bytes for each source. */
typedef struct hrtf_filt_front_instance {
    u32 static_size;
    hrtf_filt_front_state *state;
    void *scratch_ptr;
    u32 scratch_size; /* 3088 */
} hrtf_filt_front_instance;

/* Payload of parameters 7 and 8. */
typedef struct hrtf_filt_front_direction {
    u32 size;
    u32 source;
    hrtf_position position;
} hrtf_filt_front_direction;

/* Two spectra of fft_size / 2 + 1 complex bins; alignment of an s32. */
typedef struct hrtf_ear_spectra {
    s32 *ear[2];
} hrtf_ear_spectra;

/* handle 0 and count 1, else 2; config null or not for 48000 Hz: 1; selector above 2, or so many
 * sources that the size passes 32 bits: 2. Writes {static size, 1024, 3088}. */
EARSHOT_API u32 hrtf_filt_front_get_req(u32 handle, hrtf_requirement *requirement, u32 count,
                                        const hrtf_filt_front_config *config);
/* config null, count not 1 or memory null: 2; not for 48000 Hz: 1; memory_size too small: 3;
 * selector above 2 or too many sources: 2. The last two clear the state and the scratch pointer
 * where they lie inside. On success *handle_out is the instance: all sources
 * active, none with filters, no scratch memory. */
EARSHOT_API u32 hrtf_filt_front_init(hrtf_filt_front_instance **handle_out, u32 count,
                                     const hrtf_filt_front_config *config, void *memory,
                                     u32 memory_size);
/* mode 1: the init above after its checks; other modes write the static size to *requirement. */
EARSHOT_API u32 hrtf_filt_front_static_get_init(hrtf_filt_front_instance **handle_out,
                                                u32 *requirement,
                                                const hrtf_filt_front_config *config, void *memory,
                                                u32 memory_size, u32 mode);
/* mode 1: attaches the scratch memory (3088 bytes, alignment of an s32); mode 0: stores the scratch
 * size, or 2 for a config with a selector above 2; other modes: 2. */
EARSHOT_API u32 hrtf_filt_front_scratch_get_init(hrtf_filt_front_instance *instance,
                                                 const hrtf_filt_front_config *config, void *value,
                                                 u32 mode);
/* Reads transform size and format from the hrtf instance, makes all sources active and resets them;
 * 3 without a state, 2 for a transform size other than 256, 512 and 1024. */
EARSHOT_API u32 hrtf_filt_front_initialize(hrtf_filt_front_instance *instance);
/* Forgets the filters and directions of all sources; 3 without a state. */
EARSHOT_API u32 hrtf_filt_front_reset(hrtf_filt_front_instance *instance);
/*
 * 4: scratch pointer (hrtf_scratch_payload); 6: reset (no payload); 7: stores a direction
 * (hrtf_filt_front_direction) without selecting; 8: stores it and selects the source's filter pair,
 * which clamps the elevation in the payload, or gives 2 as hrtf_selection and keeps the pair; 10:
 * number of active sources (hrtf_word_payload), 2 above the maximum. Others: 2. Sizes of payloads
 * are not looked at. A source whose record would lie outside the instance gives 2; what is reserved
 * beyond the records can hold one more, which may be set. Checked in this order: instance and state
 * 3, identifier 2, payload 3.
 */
EARSHOT_API u32 hrtf_filt_front_set(hrtf_filt_front_instance *instance, u32 param_id,
                                    void *payload);
/* 4; 5 {0, 0x1000200}; 7 (the source in word 1; 2 above the maximum; at the maximum, one past the
 * last, what does not lie inside the instance reads as 0); 9 {0}; 10. 6 and 8 give 0 and write
 * nothing. Checked as in set, identifiers outside 4 to 10: 2. */
EARSHOT_API u32 hrtf_filt_front_get(hrtf_filt_front_instance *instance, u32 param_id,
                                    void *payload);
/*
 * Adds the active sources to the ear spectra, which the caller has cleared (or another front end
 * has begun): every input (fft_size samples, Q31, at the level that the head of this file tells) is
 * shifted right by log2(fft_size) + 1, transformed and multiplied by its two filters; sums wrap.
 * bin_count must be fft_size / 2 + 1 and sample_count fft_size, else 2; spectra and inputs
 * non-null, else 3; an active source without filters or a missing scratch pointer gives 3. With no
 * active source, 0 before either of these is looked at. On failure nothing is written. The products
 * of bin 0 and the last bin are truncated and saturate, their imaginary words stay; the others are
 * rounded and wrap.
 */
EARSHOT_API u32 hrtf_filt_front_process(hrtf_filt_front_instance *instance, u32 bin_count,
                                        const hrtf_ear_spectra *spectra, u32 sample_count,
                                        const s32 *const *inputs);

/* --- Back end: ear spectra to ear signals ------------------------------------------------------*/

#define HRTF_FILT_BACK_PARAM_SCRATCH 4u
#define HRTF_FILT_BACK_PARAM_VERSION 5u
#define HRTF_FILT_BACK_PARAM_RESET 6u
#define HRTF_FILT_BACK_PARAM_ZERO_QUERY 7u
#define HRTF_FILT_BACK_PARAM_CHANGED 8u

#define HRTF_CROSSFADE_FRAMES 32

typedef struct hrtf_filt_back_config {
    u32 crossfade;    /* 1: fade when a filter changes; else never */
    u32 frame_length; /* L: 96 or 128 */
    u32 fft_size;     /* N: 256 */
    u32 reserved_3;   /* any value */
    u32 format;       /* 2: 16-bit output (see process), else 32-bit */
    u32 interleaved;  /* 0: one buffer per ear, else one buffer of pairs */
} hrtf_filt_back_config;

typedef struct hrtf_filt_back_state {
    hrtf_filt_back_config config;
    u32 level_shift; /* log2(fft_size) + 1 */
    s32 stride;      /* 1024 / fft_size */
    u32 changed;     /* 1: a filter changed since the last frame */
    s32 tail[2][HRTF_CROSSFADE_FRAMES];
    u32 reserved;
} hrtf_filt_back_state;

/* Header of the instance, followed by its state; 312 bytes where addresses are 32 bits wide. */
typedef struct hrtf_filt_back_instance {
    u32 static_size;
    hrtf_filt_back_state *state;
    void *scratch_ptr;
    u32 scratch_size; /* 2048 */
} hrtf_filt_back_instance;

/* Buffers of ear 0 and ear 1, s16 or s32; interleaved output goes to the first. */
typedef struct hrtf_ear_outputs {
    void *ear[2];
} hrtf_ear_outputs;

/* handle 0 and count 1, else 2; config null: 1; fft_size not 256 or frame_length not 96 or 128: 2.
 * Writes {static size, 1024, 2048}. */
EARSHOT_API u32 hrtf_filt_back_get_req(u32 handle, hrtf_requirement *requirement, u32 count,
                                       const hrtf_filt_back_config *config);
/* config null, count not 1, memory null or the sizes not as above: 2; memory_size too small: 3,
 * with state and scratch pointer cleared where they lie inside. On success *handle_out is the
 * instance, without scratch memory. */
EARSHOT_API u32 hrtf_filt_back_init(hrtf_filt_back_instance **handle_out, u32 count,
                                    const hrtf_filt_back_config *config, void *memory,
                                    u32 memory_size);
/* mode 1: the init above without its argument checks, for any frame_length (samples past the block
 * come out as 0) and transforms of 256, 512 and 1024, else 2; other modes write the static size to
 * *requirement. */
EARSHOT_API u32 hrtf_filt_back_static_get_init(hrtf_filt_back_instance **handle_out,
                                               u32 *requirement,
                                               const hrtf_filt_back_config *config, void *memory,
                                               u32 memory_size, u32 mode);
/* mode 1: attaches the scratch memory (8 bytes per point of the transform, alignment of an s32);
 * mode 0: stores the scratch size; other modes: 2. config is not looked at. */
EARSHOT_API u32 hrtf_filt_back_scratch_get_init(hrtf_filt_back_instance *instance,
                                                const hrtf_filt_back_config *config, void *value,
                                                u32 mode);
/* Derives shift and stride from the stored fft_size (256, 512 or 1024, else 2), clears the changed
 * flag and resets; 3 without a state. */
EARSHOT_API u32 hrtf_filt_back_initialize(hrtf_filt_back_instance *instance);
/* Clears the tails of the crossfade, not the flag; 3 without a state. */
EARSHOT_API u32 hrtf_filt_back_reset(hrtf_filt_back_instance *instance);
/* 4: scratch pointer; 6: reset (no payload); 8: changed flag (hrtf_word_payload; a smaller one
 * changes nothing). Others: 2. Checked in this order: instance and state 3, identifier 2, payload
 * 3. */
EARSHOT_API u32 hrtf_filt_back_set(hrtf_filt_back_instance *instance, u32 param_id,
                                   const void *payload);
/* 4; 5 {0, 0x01000200}; 7 {0}. Others: 2. The payload is checked (3) before the identifier. */
EARSHOT_API u32 hrtf_filt_back_get(hrtf_filt_back_instance *instance, u32 param_id, void *payload);
/*
 * Transforms the ear spectra back (which overwrites them), undoes the front end's shift with
 * saturation and writes samples N/2 to N/2 + L - 1 of the block. With crossfade 1 and a changed
 * flag of 1, the first 32 fade over from what the previous filters would have gone on with, and the
 * flag is cleared. outputs and spectra non-null, else 3; sample_count must be L and bin_count
 * N/2 + 1, else 2; no scratch pointer: 3. On failure nothing is written.
 *
 * 16-bit output is the same words clamped to 16 bits, not scaled: it is for inputs of 16-bit
 * samples in 32-bit words, of which the steps of 2^9 leave 7 bits. For more take 32-bit output, and
 * round and narrow it outside.
 */
EARSHOT_API u32 hrtf_filt_back_process(hrtf_filt_back_instance *instance, u32 sample_count,
                                       const hrtf_ear_outputs *outputs, u32 bin_count,
                                       const hrtf_ear_spectra *spectra);

/*
 * Fades 32 samples linearly from old to new (sample i: (32 - i) / 32 old + i / 32 new, each term
 * truncated); out may be either of them. Returns the last output sample.
 */
EARSHOT_API s32 a3d_crossfade(s32 *out, const s32 *old_samples, const s32 *new_samples);

EARSHOT_END_C

#endif
