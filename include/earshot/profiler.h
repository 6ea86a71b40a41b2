/*
 * Native profiler: time, processor cycles and instructions per iteration, on Linux.
 *
 * NpCreate, NpInitialize, any number of pairs NpStart and NpStop with an iteration (one audio
 * frame, say) between them, NpReportSummary, NpDestroy. The reports go to standard output. Hardware
 * counters are optional: where the kernel or an emulator refuses them, NpInitialize says so and
 * returns 0, times are measured all the same and the counts stay 0. examples/profiler.c shows it.
 *
 * A record belongs to one thread; its counters follow the process on any processor, in user mode.
 * These are the library's only functions that allocate, print and call the system.
 */
#ifndef EARSHOT_PROFILER_H
#define EARSHOT_PROFILER_H

#include <earshot/types.h>

EARSHOT_BEGIN_C

/* What the kernel is asked to count: a perf_event_attr of 136 bytes, defined here so that the
 * system's own record may be shorter. */
typedef struct np_event_attributes {
    u32 type;
    u32 size;
    u64 config;
    u64 sampling[3];
    u64 flags;
    u64 others[11];
} np_event_attributes;

typedef struct native_profiler {
    np_event_attributes cycles_attributes;
    np_event_attributes instructions_attributes;
    s32 cycles_descriptor; /* -1 where there is no counter */
    s32 instructions_descriptor;
    s32 initialized;
    s64 last_cycles; /* of the last iteration */
    s64 min_cycles;
    s64 max_cycles;
    s64 total_cycles;
    s64 last_instructions;
    s64 min_instructions;
    s64 max_instructions;
    s64 total_instructions;
    double start_time; /* microseconds of the monotonic clock */
    double stop_time;
    double elapsed_time; /* of the last iteration, microseconds */
    double min_elapsed_time;
    double max_elapsed_time;
    double total_printed_time; /* milliseconds, of the iterations that were printed */
    double average_elapsed_time;
    s32 min_time_iteration; /* iterations count from 0 */
    s32 max_time_iteration;
    s32 min_cycles_iteration;
    s32 min_instructions_iteration;
    s32 max_cycles_iteration;
    s32 max_instructions_iteration;
    float iterations_per_second;
    s32 cpu_frequency; /* kHz, of the first processor; 0: not known */
    s32 iteration_count;
    const char *name;
} native_profiler;

/* A record, not initialised; null where there is no memory. */
EARSHOT_API native_profiler *NpCreate(void);

/* Closes nothing, frees the record; null is ignored. */
EARSHOT_API void NpDestroy(native_profiler *profiler);

/*
 * Resets all figures, reads the processor's frequency and opens the counters, for the label name
 * (not copied) and the rate of iterations in real time, which MCPS (million cycles per second)
 * derives from. Prints what is missing. Returns 1, or 0 where a counter could not be opened. Called
 * again it starts anew with new counters; those from before are not closed.
 */
EARSHOT_API u32 NpInitialize(native_profiler *profiler, const char *name,
                             float iterations_per_second);

/* Begins and ends an iteration; with print other than 0 NpStop prints a line about it. */
EARSHOT_API void NpStart(native_profiler *profiler);
EARSHOT_API void NpStop(native_profiler *profiler, u32 print);

/* Prints average, least and greatest time, cycles, instructions and MCPS with the iterations that
 * had them. Returns what the last putchar returned. */
EARSHOT_API s32 NpReportSummary(const native_profiler *profiler);

EARSHOT_END_C

#endif
