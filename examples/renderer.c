/*
 * The binaural renderer: four sources of loud noise, the first of which circles the head once, in
 * frames of 96 samples. The sources go in so much lower that no sum inside can wrap. Prints how
 * loud each ear hears the mixture in every quarter of the way.
 */
#include <earshot/hrtf.h>
#include <earshot/kernel.h>

#include <stdio.h>
#include <stdlib.h>

#define SOURCES 4
#define GUARD (3 + 2) /* bits that the sources are lowered by: 3, and one for every doubling */
#define RAISE 2       /* bits that the ears are raised by again: an eighth of the natural level */
#define LENGTH 48000  /* samples of a source */
#define RING 127      /* samples that the filters ring on after them */

#define WINDOW 256 /* samples that a frame is computed from */
#define LEAD 128   /* of these before the frame */
#define FRAME 96   /* what the window moves on by */
#define BINS (WINDOW / 2 + 1)
#define ROUNDING 256 /* half of the step in which the front end takes its samples */

typedef struct renderer {
    hrtf_filt_front_instance *front;
    hrtf_filt_back_instance *back;
} renderer;

static int make_front(renderer *r) {
    const hrtf_filt_front_config config = {0, 48000, SOURCES, 0, 0};
    hrtf_requirement need;
    return hrtf_filt_front_get_req(0, &need, 1, &config) == EARSHOT_OK &&
           hrtf_filt_front_init(&r->front, 1, &config, malloc(need.static_size),
                                need.static_size) == EARSHOT_OK &&
           hrtf_filt_front_scratch_get_init(r->front, &config, malloc(need.scratch_size), 1) ==
               EARSHOT_OK;
}

static int make_back(renderer *r) {
    const hrtf_filt_back_config config = {1, FRAME, WINDOW, 0, 4, 0}; /* fades; a buffer an ear */
    hrtf_requirement need;
    return hrtf_filt_back_get_req(0, &need, 1, &config) == EARSHOT_OK &&
           hrtf_filt_back_init(&r->back, 1, &config, malloc(need.static_size), need.static_size) ==
               EARSHOT_OK &&
           hrtf_filt_back_scratch_get_init(r->back, &config, malloc(need.scratch_size), 1) ==
               EARSHOT_OK;
}

/* Puts a source at a direction, which the next frame fades over to. There is nothing to fade from
 * before the first frame. */
static int place(renderer *r, u32 source, s32 azimuth, int is_first_frame) {
    const hrtf_word_payload changed = {sizeof changed, 1};
    const hrtf_filt_front_source *record = &r->front->state->sources[source];
    const s32 *const old[2] = {record->filter[0], record->filter[1]};
    hrtf_filt_front_direction direction = {sizeof direction, 0, {0, 0, 0}};
    direction.source = source;
    direction.position.azimuth = azimuth;
    if (hrtf_filt_front_set(r->front, HRTF_FILT_FRONT_PARAM_SELECT, &direction) != EARSHOT_OK)
        return 0;
    if (is_first_frame || (record->filter[0] == old[0] && record->filter[1] == old[1])) return 1;
    return hrtf_filt_back_set(r->back, HRTF_FILT_BACK_PARAM_CHANGED, &changed) == EARSHOT_OK;
}

/* The first source goes round, the others stand in front, on the left and on the right. */
static int place_all(renderer *r, int time) {
    static const s32 others[SOURCES - 1] = {0, 135, -135};
    u32 k;
    for (k = 1; k < SOURCES && time == 0; ++k)
        if (!place(r, k, others[k - 1] * 65536, 1)) return 0;
    return place(r, 0, (s32)((s64)360 * 65536 * time / (LENGTH + RING)), time == 0);
}

/* Noise at 0.9 of full scale, with silence before it and after it. */
static s32 sound(u32 source, int time) {
    u32 noise = (source * LENGTH + (u32)time + 1) * 2654435761u;
    if (time < 0 || time >= LENGTH) return 0;
    noise = (noise ^ noise >> 15) * 2246822519u;
    return ((s32)((noise ^ noise >> 13) >> 1) - (1 << 30)) / 10 * 18;
}

static int render_frame(renderer *r, int time, s32 ears[2][FRAME]) {
    static s32 windows[SOURCES][WINDOW], bins[2][2 * BINS];
    const s32 *inputs[SOURCES];
    const hrtf_ear_spectra spectra = {{bins[0], bins[1]}};
    const hrtf_ear_outputs outputs = {{ears[0], ears[1]}};
    u32 k;
    int i;
    for (k = 0; k < SOURCES; ++k) {
        inputs[k] = windows[k];
        for (i = 0; i < WINDOW; ++i)
            windows[k][i] = (sound(k, time - LEAD + i) >> GUARD) + ROUNDING;
    }
    for (i = 0; i < 2 * BINS; ++i) bins[0][i] = bins[1][i] = 0;
    return hrtf_filt_front_process(r->front, BINS, &spectra, WINDOW, inputs) == EARSHOT_OK &&
           hrtf_filt_back_process(r->back, FRAME, &outputs, BINS, &spectra) == EARSHOT_OK;
}

int main(void) {
    static renderer r;
    static double power[4][2];
    s32 ears[2][FRAME];
    int time, i, clipped = 0;
    if (!make_front(&r) || !make_back(&r)) return 1;
    for (time = 0; time < LENGTH + RING; time += FRAME) {
        if (!place_all(&r, time) || !render_frame(&r, time, ears)) return 1;
        for (i = 0; i < 2 * FRAME; ++i) {
            const s32 sample = ARM_s32_shl_s32_sat(ears[i % 2][i / 2], RAISE);
            clipped += sample == INT32_MAX || sample == INT32_MIN;
            power[time < LENGTH ? time / (LENGTH / 4) : 3][i % 2] += (double)sample * sample;
        }
    }
    for (i = 0; i < 4; ++i)
        printf("azimuth %3d to %3d: the left ear has %.3f times the power of the right one\n",
               90 * i, 90 * (i + 1), power[i][0] / power[i][1]);
    printf("%d samples clipped\n", clipped);
    return 0;
}
