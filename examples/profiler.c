/*
 * The profiler: how long a block of 4800 samples takes with a gain ramp over it. Where the system
 * allows no hardware counters, it says so and measures time alone.
 */
#include <earshot/profiler.h>
#include <earshot/spatial.h>

#include <stdio.h>

#define BLOCK 4800
#define BLOCKS 500

int main(void) {
    static s32 sound[BLOCK];
    a3d_panner panner = {0, 0, 0, 0, 0};
    native_profiler *profiler = NpCreate();
    int block, i;
    if (profiler == NULL) return 1;
    for (i = 0; i < BLOCK; ++i) sound[i] = i * 400000;
    /* Ten blocks a second are real time at 48 kHz. */
    if (NpInitialize(profiler, "gain ramp", 10) == 0) puts("no counters: the counts stay 0");
    for (block = 0; block < BLOCKS; ++block) {
        NpStart(profiler);
        a3d_panner_setup(&panner, (s16)(block % 2 == 0 ? 32767 : 16384), BLOCK, 0);
        a3d_buffer32_fill_panner(sound, sound, &panner, BLOCK, 1);
        NpStop(profiler, 0);
    }
    NpReportSummary(profiler);
    i = profiler->iteration_count;
    NpDestroy(profiler);
    printf("%d blocks measured\n", i);
    return i != BLOCKS;
}
