// The native profiler over Linux performance events and the monotonic clock.
#include <earshot/profiler.h>

#include <linux/perf_event.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace earshot {
namespace {

constexpr s64 no_minimum = 0x7FFFFFFF;
constexpr double no_minimum_time = 1e100;

static_assert(sizeof(np_event_attributes) == 136);

// --- The processor's frequency ------------------------------------------------------------------

// The number in a line, or 0.
s32 number_in(FILE *pipe) {
    constexpr size_t line_size = 101;
    char *line = static_cast<char *>(calloc(line_size, 1));
    size_t capacity = line_size - 1;
    s32 value = 0;
    if (line == nullptr || getline(&line, &capacity, pipe) < 0) {
        puts("Stream read failed.");
    } else {
        char *end = nullptr;
        value = static_cast<s32>(strtol(line, &end, 10));
        if (end == line) puts("No digits were found");
    }
    free(line);
    return value;
}

// In kHz; 0 where the system does not tell.
s32 cpu_frequency() {
    FILE *pipe = popen("cat /sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_cur_freq", "r");
    if (pipe == nullptr) {
        puts("getCpuFreq failed");
        return 0;
    }
    const s32 frequency = number_in(pipe);
    if (pclose(pipe) != 0) puts("Could not close pipe.");
    return frequency;
}

// --- Counters -----------------------------------------------------------------------------------

void describe_event(np_event_attributes &attributes, u64 event) {
    constexpr u64 disabled = 1u << 0, exclude_kernel = 1u << 5, exclude_hypervisor = 1u << 6;
    attributes = {};
    attributes.type = PERF_TYPE_HARDWARE;
    attributes.size = sizeof attributes;
    attributes.config = event;
    attributes.flags = disabled | exclude_kernel | exclude_hypervisor;
}

// Counts this process on any processor. -1 where that is refused.
s32 open_counter(np_event_attributes &attributes, u64 event) {
    describe_event(attributes, event);
    return static_cast<s32>(syscall(SYS_perf_event_open, &attributes, 0, -1, -1, 0ul));
}

void begin_counting(s32 counter) {
    ioctl(counter, PERF_EVENT_IOC_RESET, 0);
    ioctl(counter, PERF_EVENT_IOC_ENABLE, 0);
}

s64 count_of(s32 counter) {
    s64 count = 0;
    if (read(counter, &count, sizeof count) != sizeof count) return 0;
    return count;
}

// --- Statistics ---------------------------------------------------------------------------------

double microseconds() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_nsec) / 1000.0 + static_cast<double>(now.tv_sec) * 1e6;
}

// What is not set here begins at 0.
void reset(native_profiler &p) {
    p = {};
    p.cycles_descriptor = p.instructions_descriptor = -1;
    p.min_cycles = p.min_instructions = no_minimum;
    p.min_elapsed_time = no_minimum_time;
}

template <class Value> struct extremes {
    Value &least, &greatest;
    s32 &least_iteration, &greatest_iteration;
    void include(Value value, s32 iteration) {
        if (value > greatest) {
            greatest = value;
            greatest_iteration = iteration;
        }
        if (value < least) {
            least = value;
            least_iteration = iteration;
        }
    }
};

void add_iteration(native_profiler &p) {
    const s32 k = p.iteration_count;
    p.total_cycles += p.last_cycles;
    p.total_instructions += p.last_instructions;
    p.average_elapsed_time = (p.elapsed_time + p.average_elapsed_time * k) / (k + 1.0);
    extremes<double>{p.min_elapsed_time, p.max_elapsed_time, p.min_time_iteration,
                     p.max_time_iteration}
        .include(p.elapsed_time, k);
    extremes<s64>{p.min_cycles, p.max_cycles, p.min_cycles_iteration, p.max_cycles_iteration}
        .include(p.last_cycles, k);
    extremes<s64>{p.min_instructions, p.max_instructions, p.min_instructions_iteration,
                  p.max_instructions_iteration}
        .include(p.last_instructions, k);
    p.iteration_count = k + 1;
}

// --- Reports ------------------------------------------------------------------------------------

void print_iteration(native_profiler &p, s32 iteration) {
    const float rate = p.iterations_per_second;
    const double milliseconds = p.elapsed_time / 1000;
    const s64 cycles_per_second = static_cast<s64>(rate * static_cast<float>(p.last_cycles));
    p.total_printed_time += milliseconds;
    printf("\nProfile %s: Frame: %ld, Single elapsed time: %0.3f ms, percent ref: %0.1f, "
           "MCPS: %0.3f, hw cpu cycles: %lld, hw inst: %lld\n",
           p.name, long{iteration}, milliseconds, milliseconds / (double{rate} * 1000) * 100,
           static_cast<double>(cycles_per_second) / 1e6, static_cast<long long>(p.last_cycles),
           static_cast<long long>(p.last_instructions));
}

void print_times(const native_profiler &p) {
    printf("Time(ms)               %10.3f  %10.3f  %10ld  %10.3f  %10ld\n",
           p.average_elapsed_time / 1000, p.min_elapsed_time / 1000, long{p.min_time_iteration},
           p.max_elapsed_time / 1000, long{p.max_time_iteration});
}

// total / count, 0 for a count of 0.
long long average(s64 total, s32 count) { return count == 0 ? 0 : total / count; }

void print_cycles(const native_profiler &p) {
    printf("hw cpu cycles          %10lld  %10lld  %10ld  %10lld  %10ld\n",
           average(p.total_cycles, p.iteration_count), static_cast<long long>(p.min_cycles),
           long{p.min_cycles_iteration}, static_cast<long long>(p.max_cycles),
           long{p.max_cycles_iteration});
}

void print_instructions(const native_profiler &p) {
    printf("hw instructions        %10lld  %10lld  %10ld  %10lld  %10ld\n",
           average(p.total_instructions, p.iteration_count),
           static_cast<long long>(p.min_instructions), long{p.min_instructions_iteration},
           static_cast<long long>(p.max_instructions), long{p.max_instructions_iteration});
}

void print_mcps(const native_profiler &p) {
    const auto mcps = [&](s64 cycles, s32 count) {
        const float all = p.iterations_per_second * static_cast<float>(cycles);
        return double{count == 0 ? 0.0F : all / static_cast<float>(count) / 1e6F};
    };
    printf("MCPS                   %10.3f  %10.3f  %10ld  %10.3f  %10ld\n",
           mcps(p.total_cycles, p.iteration_count), mcps(p.min_cycles, 1),
           long{p.min_cycles_iteration}, mcps(p.max_cycles, 1), long{p.max_cycles_iteration});
}

double cycles_per_instruction(const native_profiler &p) {
    if (p.total_instructions == 0) return 0;
    return static_cast<double>(p.total_cycles) / static_cast<double>(p.total_instructions);
}

void print_rule() {
    char stars[101];
    for (int i = 0; i < 100; ++i) stars[i] = '*';
    stars[100] = '\0';
    puts(stars);
}

} // namespace
} // namespace earshot

using namespace earshot;

extern "C" {

native_profiler *NpCreate(void) {
    return static_cast<native_profiler *>(malloc(sizeof(native_profiler)));
}

void NpDestroy(native_profiler *profiler) { free(profiler); }

u32 NpInitialize(native_profiler *profiler, const char *name, float iterations_per_second) {
    native_profiler &p = *profiler;
    printf("\nNative Profiler initializing: %s\n", name);
    reset(p);
    p.cpu_frequency = cpu_frequency();
    p.name = name;
    p.iterations_per_second = iterations_per_second;
    p.initialized = 1;
    p.cycles_descriptor = open_counter(p.cycles_attributes, PERF_COUNT_HW_CPU_CYCLES);
    if (p.cycles_descriptor < 0) {
        printf("Error opening perf %llx\n",
               static_cast<unsigned long long>(p.cycles_attributes.config));
        return 0;
    }
    p.instructions_descriptor = open_counter(p.instructions_attributes, PERF_COUNT_HW_INSTRUCTIONS);
    if (p.instructions_descriptor < 0) {
        printf("Error opening %llx\n",
               static_cast<unsigned long long>(p.instructions_attributes.config));
        return 0;
    }
    return 1;
}

void NpStart(native_profiler *profiler) {
    profiler->start_time = microseconds();
    begin_counting(profiler->instructions_descriptor);
    begin_counting(profiler->cycles_descriptor);
}

void NpStop(native_profiler *profiler, u32 print) {
    native_profiler &p = *profiler;
    p.stop_time = microseconds();
    p.elapsed_time = p.stop_time - p.start_time;
    ioctl(p.cycles_descriptor, PERF_EVENT_IOC_DISABLE, 0);
    ioctl(p.instructions_descriptor, PERF_EVENT_IOC_DISABLE, 0);
    p.last_cycles = count_of(p.cycles_descriptor);
    p.last_instructions = count_of(p.instructions_descriptor);
    const s32 iteration = p.iteration_count;
    add_iteration(p);
    if (print != 0) print_iteration(p, iteration);
}

s32 NpReportSummary(const native_profiler *profiler) {
    const native_profiler &p = *profiler;
    putchar('\n');
    print_rule();
    printf("Native Profiler Summary for: %s (%ld iterations)\n\n", p.name, long{p.iteration_count});
    puts("                          Average         Min     (it. #)         Max     (it. #)");
    print_times(p);
    print_cycles(p);
    print_instructions(p);
    print_mcps(p);
    putchar('\n');
    printf("CPU0 freq = %ld kHz\n", long{p.cpu_frequency});
    printf("Iterations per second = %0.2f\n", double{p.iterations_per_second});
    printf("CPI ratio = %0.2f\n", cycles_per_instruction(p));
    print_rule();
    return putchar('\n');
}

} // extern "C"
