/*
 * Ambisonic effect: rotation and focus of a first-order sound field.
 *
 * Every output channel is a weighted sum of all input channels, with the weights taken from a 4 x 4
 * effect matrix. The matrix turns the field by a yaw and a pitch angle and can focus it on one
 * direction. When a setting changes, the matrix ramps to the new one over 1024 samples.
 *
 * Channels are in ambisonic channel number (ACN) order: 0 = W, 1 = Y, 2 = Z, 3 = X; x points to
 * the front, y to the left, z up. Azimuth and yaw grow counter-clockwise (towards the left),
 * elevation and pitch upwards. Rotation turns the listener: with yaw a and pitch 0 a source at
 * azimuth a arrives at the front. The effect is linear, so any normalisation of the first-order
 * channels works that scales Y, Z and X alike; the focus weights are made for SN3D.
 *
 * Outputs saturate. A channel can become 1.74 times as loud as the loudest one of the input (4.8
 * dB, where Y, Z and X peak together): a field that is nearer to full scale than that and may not
 * clip wants to be lowered by a bit first.
 *
 * Use (examples/effect.c is a whole program):
 *
 *     hoa_effect_config config = {48000, 1, 0, 0, 32, 0};
 *     hoa_effect_requirement need;
 *     hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config);
 *     void *memory = malloc(need.static_size);
 *     hoa_effect_state *effect;
 *     hoa_effect_init(&effect, 1, &config, sizeof config, memory, need.static_size);
 *
 *     s32 rotation[2] = {30 * 65536, 0};
 *     hoa_effect_set(effect, HOA_EFFECT_PARAM_ROTATION, rotation, sizeof rotation);
 *
 *     hoa_effect_buffer in = {frames, 4, in_channels}, out = {frames, 4, out_channels};
 *     hoa_effect_process(effect, HOA_EFFECT_OUT_TAG, &out, sizeof out,
 *                        HOA_EFFECT_IN_TAG, &in, sizeof in);
 *
 * An instance is the caller's memory block and nothing else: to end, free the block. One thread at
 * a time may use an instance, and no set may overlap a process call on it; distinct instances are
 * independent.
 *
 * All functions return a status: 0 done; 2 invalid or unsupported value; 3 missing pointer (every
 * function refuses a null instance), wrong record size or too little memory; 4 wrong number of
 * channels. Only the pointers that a function's description names are tested for null.
 */
#ifndef EARSHOT_HOA_EFFECT_H
#define EARSHOT_HOA_EFFECT_H

#include <earshot/types.h>

EARSHOT_BEGIN_C

/* Parameter identifiers; the payloads are described at hoa_effect_set and hoa_effect_get. */
#define HOA_EFFECT_PARAM_VERSION 4u
#define HOA_EFFECT_PARAM_SCRATCH 5u
#define HOA_EFFECT_PARAM_ZERO_QUERY 6u
#define HOA_EFFECT_PARAM_ROTATION 7u
#define HOA_EFFECT_PARAM_FOCUS 8u
#define HOA_EFFECT_PARAM_RESET 9u

/* Largest magnitudes of the angles, degrees in Q16 (65536 = 1 degree). */
#define HOA_EFFECT_MAX_YAW 11796480  /* 180 degrees */
#define HOA_EFFECT_MAX_PITCH 5898240 /* 90 degrees */

/* Tags of hoa_effect_process. */
#define HOA_EFFECT_IN_TAG 2u
#define HOA_EFFECT_OUT_TAG 3u

/* Length of a ramp in samples. */
#define HOA_EFFECT_RAMP_FRAMES 1024

/* What an instance is made for. */
typedef struct hoa_effect_config {
    u32 sample_rate; /* exactly 48000 */
    u32 order;       /* ambisonic order, exactly 1 */
    u32 reserved_2;  /* 0 */
    u32 reserved_3;  /* 0 */
    u32 bit_width;   /* of the samples: 16 (Q15 in s16) or 32 (Q31 in s32) */
    u32 reserved_5;  /* any value */
} hoa_effect_config;

/* What an instance needs. */
typedef struct hoa_effect_requirement {
    u32 static_size; /* bytes of the static block; 1552 where addresses are 32 bits wide */
    u32 second;      /* 0 */
    u32 third;       /* 400 */
    u32 unused;      /* never written */
} hoa_effect_requirement;

/* A block of memory; where a requirement is reported, address holds the byte count. */
typedef struct hoa_effect_memory {
    void *address;
    u32 unused;
    u32 size; /* bytes */
} hoa_effect_memory;

/* Planar audio: one pointer per channel to frames samples of s16 or s32. */
typedef struct hoa_effect_buffer {
    u32 frames;
    u32 channels;
    void **data;
} hoa_effect_buffer;

/*
 * The head of an instance's static block. A matrix is an array of row pointers, m[row][column] in
 * Q31, where row is the output and column the input channel.
 *
 * Programs use the functions below and leave the record alone, with one exception: rotation and
 * focus are two parameters, and setting the second starts its ramp from where the ramp of the
 * first would end. To change both in one ramp, store the five words rotation_yaw to focus_enable
 * (in range: nothing checks them), set ramp_pos to 0 and call hoa_effect_calculate_effect_matrix.
 */
typedef struct hoa_effect_state {
    hoa_effect_config config;
    void *scratch_ptr; /* as attached; not used */
    u32 scratch_size;
    u32 num_channels; /* N = (order + 1)^2 */
    s32 rotation_yaw; /* degrees in Q16, as are all four angles */
    s32 rotation_pitch;
    s32 focus_yaw;
    s32 focus_pitch;
    u32 focus_enable;  /* 0 or 1 */
    s32 ramp_pos;      /* samples of the current ramp already played, 0 to 1024 */
    s32 ramp_step_q31; /* 1/1024 in Q31; not used */
    s32 ramp_len;      /* 1024 */
    s32 **target;      /* in force once the ramp is over */
    s32 **current;     /* in force during the ramp */
    s32 **step;        /* what current gains with every sample */
    s32 **rot_main;    /* rotation by the rotation angles */
    s32 **rot_focus;   /* rotation by the focus angles */
    s32 **rot_focus_t; /* its transpose */
    s32 **focus_x_rot; /* focus x rot_focus */
    s32 **rot_x_rot_t; /* rot_main x rot_focus_t */
    s32 **focus;       /* FOCUS_MATRIX_1_0_0 */
    u32 reserved_26;
    u32 reserved_27;
} hoa_effect_state;

/*
 * The focus matrix towards the x axis, Q31, four rows of four: output W and X become
 * 0.6352 W + 0.3648 X, Y and Z fall silent.
 */
extern EARSHOT_API const s32 FOCUS_MATRIX_1_0_0[16];

/*
 * Reports the memory that an instance for *config needs, into *requirement (word 3 is left alone).
 * reserved must be 0, requirement_size sizeof(hoa_effect_requirement), count 1 and config_size
 * sizeof(hoa_effect_config), else 2; a configuration that hoa_effect_check_config_ranges refuses
 * gives 2. Neither pointer is tested.
 */
EARSHOT_API u32 hoa_effect_get_req(u32 reserved, hoa_effect_requirement *requirement,
                                   u32 requirement_size, u32 count, const hoa_effect_config *config,
                                   u32 config_size);

/*
 * Makes an instance in static_mem (aligned for pointers) and stores its handle, the address of the
 * block, through handle_out (not tested). It starts as the identity, without a ramp. count must be
 * 1, config_size sizeof(hoa_effect_config), config and static_mem non-null and the configuration
 * acceptable, else 2; a static_size below the requirement gives 3: then no handle is stored and
 * nothing past static_size is written.
 *
 * The identity has 0x7FFFFFFF for 1.0, so that positive samples come out one unit lower.
 */
EARSHOT_API u32 hoa_effect_init(hoa_effect_state **handle_out, u32 count,
                                const hoa_effect_config *config, u32 config_size, void *static_mem,
                                u32 static_size);

/* Sets a parameter.
 *
 * | id                       | payload words                  | size at most              |
 * |--------------------------|--------------------------------|---------------------------|
 * | HOA_EFFECT_PARAM_SCRATCH | a hoa_effect_memory            | sizeof(hoa_effect_memory) |
 * | HOA_EFFECT_PARAM_ROTATION| yaw, pitch                     | 8                         |
 * | HOA_EFFECT_PARAM_FOCUS   | yaw, pitch, enable (0 or 1)    | 16                        |
 * | HOA_EFFECT_PARAM_RESET   | none                           | any                       |
 *
 * Angles are s32, degrees in Q16: yaw within 180 degrees, pitch within 90, both bounds included.
 * A null instance gives 3, another identifier 2, a payload_size above the bound 3, a value out of
 * range 2 (nothing is stored). Smaller sizes pass: the payload must hold the whole record whatever
 * payload_size says. The payload pointer is not tested.
 *
 * An accepted rotation, focus or reset starts a ramp from the previous target, even in the middle
 * of a ramp.
 */
EARSHOT_API u32 hoa_effect_set(hoa_effect_state *state, u32 param_id, const void *payload,
                               u32 payload_size);

/* Reads a parameter.
 *
 * | id                          | written to the payload          | size at least             |
 * |-----------------------------|---------------------------------|---------------------------|
 * | HOA_EFFECT_PARAM_VERSION    | 0, 0x01000100                   | 8                         |
 * | HOA_EFFECT_PARAM_SCRATCH    | the size of a hoa_effect_memory | sizeof(hoa_effect_memory) |
 * | HOA_EFFECT_PARAM_ZERO_QUERY | 0                               | 8                         |
 * | HOA_EFFECT_PARAM_ROTATION   | yaw, pitch                      | 8                         |
 * | HOA_EFFECT_PARAM_FOCUS      | yaw, pitch, enable              | 16                        |
 *
 * A null instance or payload gives 3, another identifier 2, a payload_size below the bound 3.
 */
EARSHOT_API u32 hoa_effect_get(const hoa_effect_state *state, u32 param_id, void *payload,
                               u32 payload_size);

/* Clears all angles and the focus and ramps back to the identity. */
EARSHOT_API u32 hoa_effect_reset(hoa_effect_state *state);

/*
 * Processes in->frames samples of four channels and stores in->frames into out->frames. Input and
 * output may be the same buffers, in any order of channels; other overlaps are the caller's fault.
 * Samples need the alignment of their type only.
 *
 * Checked in this order: both sizes sizeof(hoa_effect_buffer) and state, out and in non-null, else
 * 3; out_tag 3 or in_tag 2 (either suffices), else 2; both channel counts right, else 4; then as
 * hoa_effect_apply_effect_matrix.
 */
EARSHOT_API u32 hoa_effect_process(hoa_effect_state *state, u32 out_tag, hoa_effect_buffer *out,
                                   u32 out_size, u32 in_tag, const hoa_effect_buffer *in,
                                   u32 in_size);

/* --- The steps of the functions above, for callers that drive them one by one. --- */

/*
 * Checks a configuration: 3 if config_size is below sizeof(hoa_effect_config), 2 if a field is not
 * acceptable, else 0.
 */
EARSHOT_API u32 hoa_effect_check_config_ranges(const hoa_effect_config *config, u32 config_size);

/*
 * mode 0 stores the requirement of config->order into words 0 and 2 of *requirement; mode 1 lays
 * out and initialises an instance in mem, as hoa_effect_init does after its checks; any other mode
 * does nothing and returns 0. An order other than 1 gives an instance that cannot process, and 2.
 */
EARSHOT_API u32 hoa_effect_static_req_or_init(hoa_effect_state **handle_out,
                                              const hoa_effect_config *config,
                                              hoa_effect_requirement *requirement, void *mem,
                                              u32 mem_size, u32 mode);

/*
 * mode 1 attaches the scratch memory *desc to the instance (it is reported and not used); mode 0
 * stores the scratch requirement, 0, as the address of *desc and needs no instance; any other mode
 * changes nothing.
 */
EARSHOT_API u32 hoa_effect_scratch_req_or_init(hoa_effect_state *state, u32 unused,
                                               hoa_effect_memory *desc, u32 mode);

/* Puts a laid-out instance into the state after init, with the given configuration. */
EARSHOT_API u32 hoa_effect_default_init_static(hoa_effect_state *state,
                                               const hoa_effect_config *config);

/*
 * Mixes: for every sample, output i is the sum over k of (matrix[i][k] x input k) >> 31, each term
 * shifted on its own, the sum saturated to the sample width. While the ramp lasts the matrix is
 * current, stepped before each sample; after it, target. in and out are as in hoa_effect_process
 * and not tested. Returns 2 when the configured width is neither 16 nor 32 or the instance does not
 * have four channels; out->frames and the position of the ramp are then already updated.
 * Frame counts of 2^31 and above count as negative: no sample is touched.
 */
EARSHOT_API u32 hoa_effect_apply_effect_matrix(hoa_effect_state *state, hoa_effect_buffer *out,
                                               const hoa_effect_buffer *in);

/*
 * Writes the rotation by yaw and pitch (degrees in Q16) into the 4 x 4 matrix. An order other than
 * 1 gives 2 and writes nothing.
 */
EARSHOT_API u32 hoa_effect_calculate_rotation_matrix(s32 yaw, s32 pitch, s32 **matrix, u32 order);

/*
 * Copies target to current, computes target from the angles of the state (with focus:
 * rot_main x transpose(rot_focus) x focus x rot_focus) and the step between the two. Returns the
 * status of the last rotation computed.
 */
EARSHOT_API u32 hoa_effect_calculate_effect_matrix(hoa_effect_state *state);

EARSHOT_END_C

#endif
