// What the benchmarks share: every case runs at every instruction set of this processor.
#ifndef EARSHOT_BENCH_BENCH_HPP
#define EARSHOT_BENCH_BENCH_HPP

#include "kernel/level.hpp"

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

namespace earshot_bench {

using earshot::level;

// The name of a case is "LEVEL WHAT": ratios are formed between levels of the same WHAT.
template <class Run> void register_at_every_level(const std::string &what, Run run) {
    for (const level l : earshot::all_levels) {
        if (!earshot::is_available(l)) continue;
        const std::string name = std::string(earshot::name_of(l)) + " " + what;
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
            earshot::force_level(l);
            run(state);
        });
    }
}

// Noise with headroom, the same in every run.
inline std::vector<s32> noise(std::size_t words, int headroom_bits) {
    std::mt19937 random(1);
    std::vector<s32> samples(words);
    for (s32 &s : samples) s = static_cast<s32>(random()) >> headroom_bits;
    return samples;
}

void register_hoa_effect();
void register_renderer();
void register_transforms();

} // namespace earshot_bench

#endif
