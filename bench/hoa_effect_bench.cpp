// hoa_effect_process at every instruction set of this processor, in one run: 16- and 32-bit
// samples, ramp and steady section, short to long blocks. Behind the usual table come the ratios to
// the scalar form and to real time.
#include "kernel/level.hpp"

#include <earshot/earshot.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using earshot::level;

// An instance and random samples. A gliding case sets a rotation before every 1024 samples, outside
// of what is timed; whatever the block length, only ramp samples are processed.
class effect_run {
  public:
    effect_run(u32 bits, u32 frames) : frames_(frames) {
        const hoa_effect_config config = {48000, 1, 0, 0, bits, 0};
        hoa_effect_requirement need{};
        hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config);
        memory_.resize((need.static_size + 7) / 8);
        hoa_effect_init(&effect_, 1, &config, sizeof config, memory_.data(), need.static_size);
        std::mt19937 random(1);
        samples_.resize(8 * static_cast<std::size_t>(frames));
        for (s32 &s : samples_) s = static_cast<s32>(random());
        for (u32 c = 0; c < 4; ++c) {
            in_[c] = &samples_[std::size_t{c} * frames];
            out_[c] = &samples_[std::size_t{c + 4} * frames];
        }
    }
    bool glide_is_over() const { return effect_->ramp_pos == HOA_EFFECT_RAMP_FRAMES; }
    void turn() {
        const s32 rotation[] = {(angle_ += 65536) % HOA_EFFECT_MAX_YAW, 20 * 65536};
        hoa_effect_set(effect_, HOA_EFFECT_PARAM_ROTATION, rotation, sizeof rotation);
    }
    void process() {
        const hoa_effect_buffer in = {frames_, 4, in_};
        hoa_effect_buffer out = {0, 4, out_};
        hoa_effect_process(effect_, HOA_EFFECT_OUT_TAG, &out, sizeof out, HOA_EFFECT_IN_TAG, &in,
                           sizeof in);
        benchmark::ClobberMemory();
    }

  private:
    u32 frames_;
    s32 angle_ = 0;
    std::vector<s64> memory_;
    std::vector<s32> samples_;
    void *in_[4], *out_[4];
    hoa_effect_state *effect_ = nullptr;
};

void process(benchmark::State &state, level l, u32 bits, u32 frames, bool glide) {
    earshot::force_level(l);
    effect_run run(bits, frames);
    run.turn();
    while (!glide && !run.glide_is_over()) run.process();
    for (auto _ : state) {
        if (glide && run.glide_is_over()) {
            // Setting a parameter takes far less time than 1024 samples; pausing the clock would
            // take more.
            run.turn();
        }
        run.process();
    }
    state.SetItemsProcessed(state.iterations() * frames);
}

// Keeps samples per second by name for the ratios.
class ratio_reporter : public benchmark::ConsoleReporter {
  public:
    ratio_reporter() : ConsoleReporter(OO_Tabular) {}
    void ReportRuns(const std::vector<Run> &runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            const bool counts = run.run_type == Run::RT_Iteration || run.aggregate_name == "median";
            const auto rate = run.counters.find("items_per_second");
            if (counts && rate != run.counters.end())
                rates_[run.run_name.function_name] = rate->second.value;
        }
    }
    void print_ratios() const {
        std::printf("\n%-40s %12s %12s\n", "", "x scalar", "x real time");
        for (const auto &[name, rate] : rates_) {
            const std::string scalar = "scalar" + name.substr(name.find(' '));
            const auto reference = rates_.find(scalar);
            if (reference == rates_.end()) continue;
            std::printf("%-40s %12.2f %12.0f\n", name.c_str(), rate / reference->second,
                        rate / 48000);
        }
    }

  private:
    std::map<std::string, double> rates_;
};

} // namespace

int main(int argc, char **argv) {
    for (const bool glide : {false, true})
        for (const u32 bits : {16u, 32u})
            for (const u32 frames : {64u, 256u, 1024u})
                for (const level l : earshot::all_levels) {
                    if (!earshot::is_available(l)) continue;
                    const std::string name =
                        std::string(earshot::name_of(l)) + " " + std::to_string(bits) + " bits, " +
                        (glide ? "ramp, " : "steady, ") + std::to_string(frames);
                    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
                        process(state, l, bits, frames, glide);
                    });
                }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    ratio_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.print_ratios();
    benchmark::Shutdown();
    return 0;
}
