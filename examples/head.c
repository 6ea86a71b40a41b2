/*
 * A head and the renderer whose headroom follows the signal: a source of loud noise circles the
 * head once, in frames of 96 samples, and has filters for exactly where it is. Prints how loud each
 * ear hears it in every quarter of the way. With the name of a head file, as "earshot head" makes
 * one, for that head instead of the built-in one.
 */
#include <earshot/binaural.h>

#include <stdio.h>
#include <stdlib.h>

#define LENGTH 48000 /* samples of the source */
#define RING 139     /* samples that the filters ring on after them */

#define WINDOW 256
#define LEAD EARSHOT_HEAD_LEAD
#define FRAME EARSHOT_HEAD_FRAME

/* Where they lie. What malloc gives has the alignment that heads and renderers need. */
static void *head_memory, *renderer_memory;

static const earshot_head *builtin_head(void) {
    const size_t size = earshot_head_builtin_size();
    const earshot_head *head = NULL;
    head_memory = malloc(size);
    if (head_memory != NULL) earshot_head_builtin(head_memory, size, &head);
    return head;
}

static const earshot_head *head_of(const char *path) {
    FILE *const file = fopen(path, "rb");
    const earshot_head *head = NULL;
    long size = 0;
    if (file == NULL) return NULL;
    if (fseek(file, 0, SEEK_END) == 0 && (size = ftell(file)) > 0)
        head_memory = malloc((size_t)size);
    rewind(file);
    if (head_memory != NULL && fread(head_memory, 1, (size_t)size, file) == (size_t)size)
        earshot_head_open(head_memory, (size_t)size, &head);
    fclose(file);
    return head;
}

static earshot_binaural *make_renderer(void) {
    const earshot_binaural_config config = {1, FRAME, LEAD};
    earshot_binaural *renderer = NULL;
    size_t size;
    if (earshot_binaural_get_size(&config, &size) != EARSHOT_OK) return NULL;
    renderer_memory = malloc(size);
    if (renderer_memory != NULL) earshot_binaural_init(&renderer, &config, renderer_memory, size);
    return renderer;
}

/* The renderer fades from the pair that it has to the other one. */
static int place(earshot_binaural *renderer, const earshot_head *head, int time) {
    static earshot_filter_pair pairs[2];
    earshot_filter_pair *const next = &pairs[time / FRAME % 2];
    const s32 azimuth = (s32)((s64)360 * 65536 * time / LENGTH);
    return earshot_head_filter(head, azimuth, 0, next) == EARSHOT_OK &&
           earshot_binaural_set(renderer, 0, next) == EARSHOT_OK;
}

/* Noise at full scale, with silence before it and after it. */
static s32 sound(int time) {
    u32 noise = ((u32)time + 1) * 2654435761u;
    if (time < 0 || time >= LENGTH) return 0;
    noise = (noise ^ noise >> 15) * 2246822519u;
    return (s32)((s64)(noise ^ noise >> 13) + INT32_MIN);
}

int main(int argc, char **argv) {
    static double power[4][2];
    const earshot_head *const head = argc > 1 ? head_of(argv[1]) : builtin_head();
    earshot_binaural *const renderer = make_renderer();
    earshot_head_info info;
    int time, i;
    if (earshot_head_describe(head, &info) != EARSHOT_OK || renderer == NULL) return 1;
    printf("%s, %u directions\n", info.name, (unsigned)info.directions);
    for (time = 0; time < LENGTH + RING; time += FRAME) {
        s32 window[WINDOW], ears[2 * FRAME], exponent;
        const s32 *const windows[] = {window};
        for (i = 0; i < WINDOW; ++i) window[i] = sound(time - LEAD + i);
        if (!place(renderer, head, time) ||
            earshot_binaural_process(renderer, windows, ears, &exponent) != EARSHOT_OK)
            return 1;
        for (i = 0; i < 2 * FRAME; ++i) { /* a word counts 2^exponent */
            const double sample = ears[i] * (exponent < 0 ? 1.0 / (1 << -exponent) : 1 << exponent);
            power[time < LENGTH ? time / (LENGTH / 4) : 3][i % 2] += sample * sample;
        }
    }
    for (i = 0; i < 4; ++i)
        printf("azimuth %3d to %3d: the left ear has %.3f times the power of the right one\n",
               90 * i, 90 * (i + 1), power[i][0] / power[i][1]);
    free(renderer_memory);
    free(head_memory);
    return 0;
}
