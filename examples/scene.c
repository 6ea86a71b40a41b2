/*
 * A scene from its text: a sound walks from the front to the left, and where it is and what the two
 * ears have of it is printed every quarter of a second.
 */
#include <earshot/scene.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define RATE EARSHOT_SCENE_RATE
#define STEP (RATE / 4)

static const char text[] = "{\"version\": 1, \"duration\": 1.25, \"sources\": [{"
                           "  \"file\": \"tone\", \"gain\": -6,"
                           "  \"track\": [[0, 3, 0, 0], [1, 0, 3, 0]]"
                           "}]}";

static void check(u32 status, const char *what, const earshot_scene_error *error) {
    if (status == EARSHOT_OK) return;
    fprintf(stderr, "%s: %s (%lu)\n", what, error->text, (unsigned long)status);
    exit(1);
}

static double level(const s32 *pairs, int ear) {
    double sum = 0;
    for (int i = STEP / 2; i < STEP; ++i) sum += (double)pairs[2 * i + ear] * pairs[2 * i + ear];
    return sqrt(sum);
}

int main(void) {
    static s32 tone[2 * RATE], pairs[2 * STEP];
    for (int i = 0; i < 2 * RATE; ++i)
        tone[i] = (s32)lrint(0x20000000 * sin(6.283185307179586 * 500 * i / RATE));

    earshot_scene_error error;
    earshot_scene *scene;
    check(earshot_scene_parse(text, strlen(text), NULL, &scene, &error), "scene", &error);

    earshot_scene_samples sound = {tone, 2 * RATE, 1, 0};
    earshot_scene_input input;
    earshot_scene_play(&sound, &input);
    earshot_scene_stream *stream;
    check(earshot_scene_open(scene, NULL, &input, 1, &stream, &error), "stream", &error);

    s64 time = 0, done = 0;
    while (earshot_scene_read(stream, pairs, STEP, &done) == EARSHOT_OK && done == STEP) {
        earshot_scene_direction heard;
        time += done;
        earshot_scene_heard(scene, 0, time, &heard);
        printf("%.2f s: azimuth %5.1f, %.1f m, the left ear has %.3f times the right one's level\n",
               (double)time / RATE, heard.azimuth / 65536.0, heard.distance / 65536.0,
               level(pairs, 0) / level(pairs, 1));
    }
    earshot_scene_close(stream);
    earshot_scene_free(scene);
    return 0;
}
