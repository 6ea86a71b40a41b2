// Runs earshot at every instruction set of this processor beside FFTW, libavutil and float loops,
// prints times and their ratios with quartiles, and writes them to a file.
#if defined(EARSHOT_BENCH_FFTW)
#include <fftw3.h>
#endif
#if defined(EARSHOT_BENCH_AVUTIL)
extern "C" {
#include <libavutil/avutil.h>
}
#endif
#include "cases.hpp"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <fstream>

namespace {

using namespace earshot_bench;

// What the figures hold for.
std::string machine() {
    std::string line, model = "unknown processor", family;
    for (std::ifstream file("/proc/cpuinfo"); std::getline(file, line);) {
        const std::string value = line.substr(std::min(line.size(), line.find(':') + 2));
        if (line.starts_with("model name")) model = value;
        if (line.starts_with("cpu family")) family = " (family " + value + ")";
    }
    std::string text = model + family;
#if defined(__clang__)
    text += ", clang " __clang_version__;
#else
    text += ", gcc " __VERSION__;
#endif
#if defined(EARSHOT_BENCH_FFTW)
    text += std::string(", ") + fftwf_version;
#else
    text += ", without FFTW";
#endif
#if defined(EARSHOT_BENCH_AVUTIL)
    text += std::string(", libavutil ") + av_version_info();
#else
    text += ", without libavutil";
#endif
    return text;
}

bool is_isa(const std::string &name) {
    return std::any_of(std::begin(earshot::all_isas), std::end(earshot::all_isas),
                       [&](earshot::isa i) { return name == earshot::name_of(i); });
}

// A row per contestant, and behind those of earshot one for each ratio: its time over that of the
// scalar form, or of a contestant that is not earshot.
class table {
  public:
    explicit table(const std::string &path) {
        if (path.empty()) return;
        file_.open(path);
        if (!file_) throw std::runtime_error("cannot write " + path);
        file_ << "# " << machine() << "\ncase,size,contestant,unit,over,median,lower,upper\n";
    }
    void add(const bench_case &c, const std::vector<contestant> &contestants,
             const std::vector<times> &measured) {
        std::printf("\n%s %u\n", c.name.c_str(), c.size);
        for (std::size_t i = 0; i < measured.size(); ++i) {
            const std::string &name = contestants[i].name;
            const spread time = spread_of(measured[i]);
            const double f = c.units_per_nanosecond;
            std::printf("    %-13s", name.c_str());
            row(c, name, c.unit, "",
                {time.median * f, time.lower_quartile * f, time.upper_quartile * f});
            for (std::size_t k = 0; is_isa(name) && k < measured.size(); ++k) {
                const std::string &other = contestants[k].name;
                if (k != i && (other == "scalar" || !is_isa(other)))
                    row(c, name, "ratio", other, spread_of_ratio(measured[i], measured[k]));
            }
            std::printf("\n");
        }
        std::fflush(stdout);
    }

  private:
    void row(const bench_case &c, const std::string &name, const std::string &unit,
             const std::string &over, const spread &s) {
        const char *slash = over.empty() ? "" : "/ ";
        std::printf("  %s%s %.4g [%.4g %.4g]", slash, (over.empty() ? unit : over).c_str(),
                    s.median, s.lower_quartile, s.upper_quartile);
        if (!file_.is_open()) return;
        file_ << c.name << ',' << c.size << ',' << name << ',' << unit << ',' << over << ','
              << s.median << ',' << s.lower_quartile << ',' << s.upper_quartile << std::endl;
    }
    std::ofstream file_;
};

void check(const std::string &case_name, const contestant &who) {
    try {
        who.enter();
        who.check();
    } catch (const std::exception &e) {
        throw std::runtime_error(case_name + ", " + who.name + ": " + e.what());
    }
}

void run_cases(const std::vector<bench_case> &cases, const std::string &only,
               const race_length &length, table &results) {
    for (const bench_case &c : cases) {
        const std::string name = c.name + " " + std::to_string(c.size);
        if (name.find(only) == std::string::npos) continue;
        const std::vector<contestant> contestants = c.enlist();
        for (const contestant &who : contestants) check(name, who);
        results.add(c, contestants, race(contestants, length));
    }
}

} // namespace

int main(int argc, char **argv) try {
    std::string csv, only;
    race_length length{400, 100000};
    CLI::App app("Times earshot beside other transforms and float loops, turn and turn about.");
    app.add_option("--csv", csv, "write the figures to this file");
    app.add_option("--only", only, "run the cases whose name and size contain this text");
    app.add_option("--rounds", length.rounds, "slices of each contestant")
        ->check(CLI::Range(1u, 1000000u))
        ->capture_default_str();
    app.add_option("--slice", length.slice_nanoseconds, "nanoseconds of a slice")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    std::printf("%s\n", machine().c_str());
    table results(csv);
    for (const auto &cases : {transform_cases(), renderer_cases(), head_cases(), binaural_cases(),
                              effect_cases(), field_cases(), panner_cases()})
        run_cases(cases, only, length, results);
    return 0;
} catch (const std::exception &e) {
    std::fprintf(stderr, "earshot_bench: %s\n", e.what());
    return 1;
}
