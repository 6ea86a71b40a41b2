/*
 * The profiler's figures and texts. Pipes stand in for the counters: what is written into them is
 * what an iteration is said to have taken, on any machine.
 */
#include <earshot/profiler.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

namespace earshot::test {
namespace {

static_assert(sizeof(np_event_attributes) == 136);

/* What action prints. */
std::string printed(const std::function<void()> &action) {
    std::FILE *const file = std::tmpfile();
    std::fflush(stdout);
    const int before = dup(STDOUT_FILENO);
    dup2(fileno(file), STDOUT_FILENO);
    action();
    std::fflush(stdout);
    dup2(before, STDOUT_FILENO);
    close(before);
    std::string text(static_cast<std::size_t>(std::ftell(file)), '?');
    std::rewind(file);
    EXPECT_EQ(std::fread(text.data(), 1, text.size(), file), text.size());
    std::fclose(file);
    return text;
}

double now() {
    timespec t = {};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) * 1e6 + static_cast<double>(t.tv_nsec) / 1000.0;
}

/* Initialises a record full of bytes fill. Starved of file descriptors there are neither pipes nor
 * counters, on any machine. */
native_profiler initialized(int fill, bool starved) {
    native_profiler p;
    std::memset(static_cast<void *>(&p), fill, sizeof p);
    rlimit before = {}, limit = {};
    getrlimit(RLIMIT_NOFILE, &before);
    limit = before;
    if (starved) limit.rlim_cur = 0;
    u32 result = 2;
    const std::string text = printed([&] {
        setrlimit(RLIMIT_NOFILE, &limit);
        result = NpInitialize(&p, "mixer", 93.75f);
        setrlimit(RLIMIT_NOFILE, &before);
    });

    std::ifstream file("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_cur_freq");
    std::string line, expected = "\nNative Profiler initializing: mixer\n";
    const bool readable = !starved && std::getline(file, line);
    const bool counts[] = {p.cycles_descriptor >= 0, p.instructions_descriptor >= 0};
    expected += starved                  ? "getCpuFreq failed\n"
                : !readable              ? "Stream read failed.\nCould not close pipe.\n"
                : !std::isdigit(line[0]) ? "No digits were found\n"
                                         : "";
    expected += !counts[0] ? "Error opening perf 0\n" : !counts[1] ? "Error opening 1\n" : "";
    EXPECT_EQ(text, expected);
    EXPECT_EQ(result, counts[0] && counts[1] ? 1u : 0u);
    EXPECT_EQ(p.cpu_frequency != 0, std::atol(line.c_str()) != 0);
    EXPECT_EQ(p.initialized, 1);
    EXPECT_TRUE(!starved || p.cycles_descriptor + p.instructions_descriptor == -2);

    np_event_attributes attributes = {};
    attributes.size = 136;
    attributes.flags = 0x61; /* disabled, without kernel and hypervisor */
    EXPECT_EQ(std::memcmp(&p.cycles_attributes, &attributes, 136), 0);
    attributes.config = 1;
    EXPECT_TRUE(!counts[0] || !std::memcmp(&p.instructions_attributes, &attributes, 136));
    return p;
}

TEST(profiler, counts_where_there_are_counters) {
    native_profiler *const p = NpCreate();
    ASSERT_NE(p, nullptr);
    *p = initialized(0x5B, false);
    NpStart(p);
    volatile u32 work = 0;
    while (work < 100000) work = work + 1;
    NpStop(p, 0);
    EXPECT_EQ(p->last_cycles > 0, p->cycles_descriptor >= 0);
    EXPECT_EQ(p->last_instructions > 100000, p->instructions_descriptor >= 0);
    close(p->cycles_descriptor);
    close(p->instructions_descriptor);
    NpDestroy(p);
    NpDestroy(nullptr);
}

TEST(profiler, keeps_figures_of_every_iteration) {
    const struct {
        s64 seconds, cycles, instructions; /* seconds: how long ago the iteration began */
    } iterations[] = {{40, 5000000000, 0x80000000},
                      {20, 123456789012, 300},
                      {60, 1000, 300},
                      {30, 1000, 0x80000000},
                      {50, 123456789012, 900}};
    for (const int fill : {0x5B, 0xA5}) {
        native_profiler p = initialized(fill, true);
        int cycles[2], instructions[2]; /* what the two pipes read from and write to */
        ASSERT_EQ(pipe(cycles) + pipe(instructions), 0);
        p.cycles_descriptor = cycles[0];
        p.instructions_descriptor = instructions[0];
        double sum = 0, printed_sum = 0;
        s32 k = 0;
        for (const auto &i : iterations) {
            ASSERT_EQ(write(cycles[1], &i.cycles, 8), 8);
            ASSERT_EQ(write(instructions[1], &i.instructions, 8), 8);
            const double begun = now();
            NpStart(&p);
            EXPECT_TRUE(begun <= p.start_time && p.start_time <= now());
            p.start_time -= 1e6 * static_cast<double>(i.seconds);
            const std::string text = printed([&] { NpStop(&p, k % 2 ? 4 : 0); });
            EXPECT_TRUE(begun <= p.stop_time && p.stop_time <= now());
            EXPECT_EQ(p.elapsed_time, p.stop_time - p.start_time);
            EXPECT_TRUE(p.last_cycles == i.cycles && p.last_instructions == i.instructions);
            const double ms = p.elapsed_time / 1000;
            const float product = 93.75f * static_cast<float>(i.cycles);
            char line[200] = "";
            if (k % 2)
                std::snprintf(line, sizeof line,
                              "\nProfile mixer: Frame: %d, Single elapsed time: %.3f ms, percent "
                              "ref: %.1f, MCPS: %.3f, hw cpu cycles: %lld, hw inst: %lld\n",
                              k, ms, ms / 93750 * 100, double{product} / 1e6, 0ll + i.cycles,
                              0ll + i.instructions);
            EXPECT_EQ(text, line);
            printed_sum += k % 2 ? ms : 0;
            EXPECT_DOUBLE_EQ(p.total_printed_time, printed_sum);
            sum += p.elapsed_time;
            EXPECT_EQ(p.iteration_count, ++k);
            EXPECT_NEAR(p.average_elapsed_time, sum / k, 1e-6 * sum);
            if (k > 1) continue;
            EXPECT_TRUE(p.min_cycles == INT32_MAX && p.min_cycles_iteration == 0);
            EXPECT_TRUE(p.min_instructions == INT32_MAX && p.min_instructions_iteration == 0);
        }
        EXPECT_TRUE(p.total_cycles == 251913580024 && p.total_instructions == 0x1000005DC);
        EXPECT_TRUE(p.min_cycles == 1000 && p.max_cycles == 123456789012);
        EXPECT_TRUE(p.min_instructions == 300 && p.max_instructions == 0x80000000);
        EXPECT_NEAR(p.min_elapsed_time, 20e6, 5e6);
        EXPECT_NEAR(p.max_elapsed_time, 60e6, 5e6);
        EXPECT_TRUE(p.min_time_iteration == 1 && p.max_time_iteration == 2);
        // Of equal counts the first has the number.
        EXPECT_TRUE(p.min_cycles_iteration == 2 && p.max_cycles_iteration == 1);
        EXPECT_TRUE(p.min_instructions_iteration == 1 && p.max_instructions_iteration == 0);
        for (const int end : {0, 1}) close(cycles[end]), close(instructions[end]);
    }
}

/* MCPS in single precision: 154320986.265, 93750000.001 and 140625000.001. */
const std::string summary = R"(
****************************************************************************************************
Native Profiler Summary for: by hand (3 iterations)

                          Average         Min     (it. #)         Max     (it. #)
Time(ms)                 1234.568       0.001          10    9876.543          11
hw cpu cycles          1646090520164  1000000000007          12  1500000000011          13
hw instructions        1000000000000         999          14  2000000000000          15
MCPS                   154320992.000  93750000.000          12  140625008.000          13

CPU0 freq = 1800000 kHz
Iterations per second = 93.75
CPI ratio = 1.65
****************************************************************************************************

)";

TEST(profiler, lays_the_summary_out) {
    native_profiler p = {};
    p.name = "by hand";
    p.iterations_per_second = 93.75f, p.cpu_frequency = 1800000, p.iteration_count = 3;
    p.total_cycles = 4938271560492, p.min_cycles = 1000000000007, p.max_cycles = 1500000000011;
    p.total_instructions = 3000000000000, p.min_instructions = 999;
    p.max_instructions = 2000000000000;
    p.average_elapsed_time = 1234567.8, p.min_elapsed_time = 1.26, p.max_elapsed_time = 9876543.2;
    p.min_time_iteration = 10, p.max_time_iteration = 11, p.min_cycles_iteration = 12;
    p.max_cycles_iteration = 13, p.min_instructions_iteration = 14;
    p.max_instructions_iteration = 15;
    s32 last = 0;
    EXPECT_EQ(printed([&] { last = NpReportSummary(&p); }), summary);
    EXPECT_EQ(last, '\n');

    // What would be divided by nothing.
    p.iteration_count = 0, p.total_instructions = 0;
    const std::string empty = printed([&] { NpReportSummary(&p); });
    for (const char *const part : {"hw cpu cycles                   0  1", "(0 iterations)",
                                   "hw instructions                 0   ",
                                   "MCPS                        0.000  9", "CPI ratio = 0.00\n"})
        EXPECT_NE(empty.find(part), std::string::npos) << part << '\n' << empty;
}

} // namespace
} // namespace earshot::test
