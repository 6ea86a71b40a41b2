/*
 * The ambisonic effect: a source at azimuth 30 in a first-order field, and a listener who turns
 * towards it. Prints where the source is heard while the field ramps to its new place.
 */
#include <earshot/hoa_effect.h>
#include <earshot/math.h>

#include <stdio.h>
#include <stdlib.h>

#define FRAMES 256 /* of a block; a ramp takes four of them */

typedef s32 field[4][FRAMES]; /* W, Y, Z, X */

/* A saw-tooth at half of full scale that comes from azimuth 30, elevation 0. */
static void make_field(field channels) {
    int i;
    for (i = 0; i < FRAMES; ++i) {
        const s32 sample = (i % 64 - 32) * (1 << 25);
        channels[0][i] = sample;
        channels[1][i] = sample / 2; /* sin 30 */
        channels[2][i] = 0;
        channels[3][i] = sample / 1000 * 866; /* cos 30 */
    }
}

/* The azimuth of the block's last sample, where the saw-tooth is at its top. */
static double azimuth(field channels) {
    const s64 angle = high_precision_atan2(channels[1][FRAMES - 1], channels[3][FRAMES - 1]);
    return (double)angle * 180 / (double)EARSHOT_PI_Q31;
}

static u32 make_effect(hoa_effect_state **effect) {
    const hoa_effect_config config = {48000, 1, 0, 0, 32, 0};
    hoa_effect_requirement need;
    void *memory;
    u32 status = hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config);
    if (status != EARSHOT_OK) return status;
    memory = malloc(need.static_size); /* the effect is this memory: free it to end */
    if (memory == NULL) return EARSHOT_BAD_MEMORY;
    printf("an instance takes %u bytes\n", (unsigned)need.static_size);
    status = hoa_effect_init(effect, 1, &config, sizeof config, memory, need.static_size);
    if (status != EARSHOT_OK) free(memory);
    return status;
}

static u32 turn_and_listen(hoa_effect_state *effect) {
    static field before, after;
    void *in_channels[4] = {before[0], before[1], before[2], before[3]};
    void *out_channels[4] = {after[0], after[1], after[2], after[3]};
    const hoa_effect_buffer in = {FRAMES, 4, in_channels};
    hoa_effect_buffer out = {FRAMES, 4, out_channels};
    const s32 rotation[2] = {30 * 65536, 0}; /* yaw, pitch: degrees in Q16 */
    int block;
    u32 status = hoa_effect_set(effect, HOA_EFFECT_PARAM_ROTATION, rotation, sizeof rotation);
    make_field(before);
    printf("in the field: azimuth %.1f\n", azimuth(before));
    for (block = 1; block <= 5 && status == EARSHOT_OK; ++block) {
        status = hoa_effect_process(effect, HOA_EFFECT_OUT_TAG, &out, sizeof out, HOA_EFFECT_IN_TAG,
                                    &in, sizeof in);
        printf("after %4d samples: azimuth %.1f\n", block * FRAMES, azimuth(after));
    }
    return status;
}

int main(void) {
    hoa_effect_state *effect;
    u32 status = make_effect(&effect);
    if (status == EARSHOT_OK) {
        status = turn_and_listen(effect);
        free(effect);
    }
    if (status != EARSHOT_OK) fprintf(stderr, "effect: status %u\n", (unsigned)status);
    return status != EARSHOT_OK;
}
