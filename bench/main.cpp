// Runs every kernel at every instruction set of this processor in one process. Behind the usual
// table come the ratios to the scalar form and, where samples are counted, to real time at 48 kHz.
#include "bench.hpp"

#include <cstdio>
#include <map>

namespace {

// Keeps time per call and samples per second by name for the ratios.
class ratio_reporter : public benchmark::ConsoleReporter {
  public:
    ratio_reporter() : ConsoleReporter(OO_Tabular) {}
    void ReportRuns(const std::vector<Run> &runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            const bool counts = run.run_type == Run::RT_Iteration || run.aggregate_name == "median";
            const auto rate = run.counters.find("items_per_second");
            if (!counts) continue;
            seconds_[run.run_name.function_name] =
                run.real_accumulated_time / static_cast<double>(run.iterations);
            if (rate != run.counters.end()) rates_[run.run_name.function_name] = rate->second.value;
        }
    }
    void print_ratios() const {
        std::printf("\n%-44s %10s %10s %12s\n", "", "ns", "x scalar", "x real time");
        for (const auto &[name, seconds] : seconds_) {
            const auto scalar = seconds_.find("scalar" + name.substr(name.find(' ')));
            if (scalar == seconds_.end()) continue;
            std::printf("%-44s %10.0f %10.2f", name.c_str(), seconds * 1e9,
                        scalar->second / seconds);
            const auto rate = rates_.find(name);
            if (rate != rates_.end()) std::printf(" %12.0f", rate->second / 48000);
            std::printf("\n");
        }
    }

  private:
    std::map<std::string, double> seconds_, rates_;
};

} // namespace

int main(int argc, char **argv) {
    earshot_bench::register_hoa_effect();
    earshot_bench::register_transforms();
    earshot_bench::register_renderer();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    ratio_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.print_ratios();
    benchmark::Shutdown();
    return 0;
}
