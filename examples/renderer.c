/*
 * The binaural renderer: noise at a few directions, filtered for two ears in frames of 96 samples.
 * Prints how loud each ear hears it.
 */
#include <earshot/hrtf.h>

#include <stdio.h>
#include <stdlib.h>

#define WINDOW 256 /* samples that a frame is computed from: 128 before it, the rest from it */
#define FRAME 96   /* samples of a frame: what the window moves on by */
#define BINS (WINDOW / 2 + 1)
#define FRAMES 200 /* of every direction */

typedef struct renderer {
    hrtf_filt_front_instance *front;
    hrtf_filt_back_instance *back;
} renderer;

static int make_front(renderer *r) {
    const hrtf_filt_front_config config = {0, 48000, 1, 0, 0}; /* one source */
    hrtf_requirement need;
    if (hrtf_filt_front_get_req(0, &need, 1, &config) != EARSHOT_OK) return 0;
    /* The memory is the caller's; this program keeps it to its end. */
    return hrtf_filt_front_init(&r->front, 1, &config, malloc(need.static_size),
                                need.static_size) == EARSHOT_OK &&
           hrtf_filt_front_scratch_get_init(r->front, &config, malloc(need.scratch_size), 1) ==
               EARSHOT_OK;
}

static int make_back(renderer *r) {
    const hrtf_filt_back_config config = {1, FRAME, WINDOW, 0, 4, 0}; /* a buffer for each ear */
    hrtf_requirement need;
    if (hrtf_filt_back_get_req(0, &need, 1, &config) != EARSHOT_OK) return 0;
    return hrtf_filt_back_init(&r->back, 1, &config, malloc(need.static_size), need.static_size) ==
               EARSHOT_OK &&
           hrtf_filt_back_scratch_get_init(r->back, &config, malloc(need.scratch_size), 1) ==
               EARSHOT_OK;
}

/* From the next frame on the source is at this azimuth, which the frame fades over to. */
static int move_source(renderer *r, s32 degrees) {
    hrtf_filt_front_direction direction = {sizeof direction, 0, {0, degrees * 65536, 0}};
    const hrtf_word_payload changed = {sizeof changed, 1};
    return hrtf_filt_front_set(r->front, HRTF_FILT_FRONT_PARAM_SELECT, &direction) == EARSHOT_OK &&
           hrtf_filt_back_set(r->back, HRTF_FILT_BACK_PARAM_CHANGED, &changed) == EARSHOT_OK;
}

static int render_frame(renderer *r, const s32 *window, s32 ears[2][FRAME]) {
    static s32 bins[2][2 * BINS];
    const hrtf_ear_spectra spectra = {{bins[0], bins[1]}};
    const hrtf_ear_outputs outputs = {{ears[0], ears[1]}};
    int i;
    for (i = 0; i < 2 * BINS; ++i) bins[0][i] = bins[1][i] = 0;
    return hrtf_filt_front_process(r->front, BINS, &spectra, WINDOW, &window) == EARSHOT_OK &&
           hrtf_filt_back_process(r->back, FRAME, &outputs, BINS, &spectra) == EARSHOT_OK;
}

/* The window moves on by a frame of noise, well below full scale: sums inside must not wrap. */
static void next_window(s32 window[WINDOW]) {
    static u32 random = 1;
    int i;
    for (i = 0; i < WINDOW - FRAME; ++i) window[i] = window[i + FRAME];
    for (; i < WINDOW; ++i) {
        random = random * 1664525u + 1013904223u;
        window[i] = (s32)(random >> 4) - (1 << 27);
    }
}

static int render_direction(renderer *r, s32 degrees) {
    static s32 window[WINDOW];
    s32 ears[2][FRAME];
    double loudness[2] = {0, 0};
    int frame, i;
    if (!move_source(r, degrees)) return 0;
    for (frame = 0; frame < FRAMES; ++frame) {
        next_window(window);
        if (!render_frame(r, window, ears)) return 0;
        for (i = 0; i < FRAME; ++i) {
            loudness[0] += (double)ears[0][i] * ears[0][i];
            loudness[1] += (double)ears[1][i] * ears[1][i];
        }
    }
    printf("azimuth %4d: the left ear has %.3f times the power of the right one\n", (int)degrees,
           loudness[0] / loudness[1]);
    return 1;
}

int main(void) {
    renderer r;
    if (!make_front(&r) || !make_back(&r)) return 1;
    return !(render_direction(&r, 0) && render_direction(&r, 90) && render_direction(&r, -90));
}
