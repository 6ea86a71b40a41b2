/*
 * Positioning: a source drives past a listener who looks to the left. Once a block the listener's
 * view gives distance and direction, the distance a gain that a panner ramps to, and the direction
 * the filters of the binaural renderer. Prints what the listener gets.
 */
#include <earshot/hrtf.h>
#include <earshot/spatial.h>

#include <stdio.h>
#include <stdlib.h>

#define METRE 65536
#define BLOCK 4800 /* samples, a tenth of a second */
#define BLOCKS 9

/* The axes of the listener's view are front, up and left; so ordered, a turn to the left about the
 * second one is negative. */
static const s32 listener[3] = {0, 0, 0};
static const s32 looks_left[4] = {1518500250, 0, -1518500250, 0}; /* -90 degrees, Q31 */

/* Distance (Q16) and direction of a source that drives 5 m to the left of the listener's seat. */
static void look(int block, s32 sphere[3]) {
    const s32 source[3] = {(20 - 5 * block) * METRE, 0, 5 * METRE};
    s32 offset[3];
    carta_minus_cartb(offset, source, listener);
    quat_cart_to_spher(looks_left, offset, sphere, 0);
}

/* The gain for a distance, Q15: half of full scale at 1 m, silence from 49.5 m on. */
static int gain_at(s32 distance, s16 *gain) {
    s32 q28;
    if (rolloff_gain(&q28, distance, 1 * METRE, 50 * METRE, ROLLOFF_INVERSE) != 0) return 0;
    *gain = (s16)(q28 >= 1 << 28 ? 32767 : q28 >> 13);
    return 1;
}

static hrtf_filt_front_instance *make_front(void) {
    const hrtf_filt_front_config config = {0, 48000, 1, 0, 0};
    hrtf_filt_front_instance *front;
    hrtf_requirement need;
    if (hrtf_filt_front_get_req(0, &need, 1, &config) != EARSHOT_OK) return NULL;
    if (hrtf_filt_front_init(&front, 1, &config, malloc(need.static_size), need.static_size) !=
        EARSHOT_OK)
        return NULL;
    return front;
}

static int drive_past(hrtf_filt_front_instance *front) {
    static s32 sound[BLOCK];
    a3d_panner panner = {0, 0, 0, 0, 0}; /* at rest at gain 0 */
    int block, i;
    for (block = 0; block < BLOCKS; ++block) {
        hrtf_filt_front_direction direction = {sizeof direction, 0, {0, 0, 0}};
        s32 sphere[3];
        s16 gain;
        look(block, sphere);
        if (!gain_at(sphere[0], &gain)) return 0;
        direction.position.azimuth = sphere[1];
        direction.position.elevation = sphere[2];
        if (hrtf_filt_front_set(front, HRTF_FILT_FRONT_PARAM_SELECT, &direction) != EARSHOT_OK)
            return 0;
        a3d_panner_setup(&panner, gain, BLOCK, 0);
        for (i = 0; i < BLOCK; ++i) sound[i] = 1 << 30;
        a3d_buffer32_fill_panner(sound, sound, &panner, BLOCK, 1);
        printf("%.1f s: %5.2f m away at azimuth %6.1f, gain ramps to %.4f\n", block * 0.1,
               sphere[0] / 65536.0, sphere[1] / 65536.0, sound[BLOCK - 1] / 1073741824.0);
    }
    return 1;
}

int main(void) {
    hrtf_filt_front_instance *front = make_front();
    const int done = front != NULL && drive_past(front);
    free(front); /* the instance is its memory */
    return !done;
}
