#include "preparation/report.hpp"

#include "preparation/measures.hpp"
#include "preparation/opened_head.hpp"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <set>

namespace preparation {
namespace {

class text {
  public:
    __attribute__((format(printf, 2, 3))) text &add(const char *format, ...) {
        char line[300];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(line, sizeof line, format, arguments);
        va_end(arguments);
        all_ += line;
        return *this;
    }
    std::string all() const { return all_; }

  private:
    std::string all_;
};

constexpr int azimuth_step = 5; // degrees

std::vector<double> time_differences(const opened_head &head) {
    std::vector<ear_pair> all;
    for (int azimuth = -180; azimuth <= 180; azimuth += azimuth_step)
        all.push_back(head.responses({static_cast<double>(azimuth), 0}));
    std::vector<const ear_pair *> set;
    set.reserve(all.size());
    for (const ear_pair &one : all) set.push_back(&one);
    const time_difference measure(set, std::vector<double>(set.size(), 1), table_rate);
    std::vector<double> result;
    result.reserve(all.size());
    for (const ear_pair &one : all) result.push_back(1e6 * measure(one));
    return result;
}

std::string time_table(const opened_head &head, const opened_head &builtin) {
    text out;
    out.add("# horizontal plane: azimuth in degrees; left ear earlier by, in microseconds: this "
            "head, built-in head\n");
    const auto here = time_differences(head), there = time_differences(builtin);
    for (std::size_t n = 0; n < here.size(); ++n)
        out.add("%d %.1f %.1f\n", static_cast<int>(n) * azimuth_step - 180, here[n], there[n]);
    return out.all();
}

constexpr std::array<int, 4> shown_azimuths{0, 90, 180, -90};

std::string magnitude_table(const opened_head &head, const opened_head &builtin) {
    text out;
    out.add("# horizontal plane: frequency in Hz; then for azimuth 0, 90, 180, -90 each dB of this "
            "head's left and right ear, and of the built-in head's\n");
    std::vector<std::array<spectrum, 2>> all;
    for (int azimuth : shown_azimuths) {
        all.push_back(head.filters({static_cast<double>(azimuth), 0}));
        all.push_back(builtin.filters({static_cast<double>(azimuth), 0}));
    }
    for (std::size_t k = 1; k + 1 < fft_bins; ++k) {
        out.add("%g", static_cast<double>(k) * table_rate / fft_size);
        for (const auto &ears : all) {
            for (const spectrum &bins : ears)
                out.add(" %.2f", decibels(std::max(1e-12, std::norm(bins[k]))));
        }
        out.add("\n");
    }
    return out.all();
}

std::string direction_table(const head_report &report) {
    text out;
    out.add("azimuth,elevation,measured,share of the sphere in %%,left delay in us,right delay in "
            "us\n");
    for (std::size_t n = 0; n < report.directions.size(); ++n) {
        const auto &one = report.directions[n];
        const auto microseconds = [&](std::size_t ear) {
            return one.delay[ear] / table_rate * 1e6;
        };
        out.add("%.2f,%.2f,%d,%.4f,%.1f,%.1f\n", one.azimuth, one.elevation,
                n < report.measured ? 1 : 0, 100 * one.weight, microseconds(left),
                microseconds(right));
    }
    return out.all();
}

std::string summary(const prepared_head &head) {
    const head_report &report = head.report;
    text out;
    std::set<double> weights;
    for (std::size_t n = 0; n < report.measured; ++n) weights.insert(report.directions[n].weight);
    out.add("head              %.80s\n", report.name.c_str());
    out.add("measured          %zu of %zu directions in the file, %.2f m away\n", report.measured,
            report.in_file, report.distance);
    out.add("                  each stands for %.4f to %.4f %% of the sphere\n",
            100 * *weights.begin(), 100 * *weights.rbegin());
    out.add("filled            %zu directions\n", report.directions.size() - report.measured);
    out.add("responses         %zu samples at %g Hz\n", report.length, report.rate);
    out.add("common delay      %.3f ms, taken off\n", report.common_delay);
    out.add("cut to 2.7 ms     loses %.1f dB of the energy, %.1f dB of the worst response\n",
            report.energy_lost, report.most_energy_lost);
    out.add("level             %+.1f dB, which makes it as loud as the built-in head\n",
            report.gain);
    for (const std::string &note : head.notes) out.add("note              %.200s\n", note.c_str());
    if (report.equaliser.empty()) {
        out.add("equaliser         none\n");
        return out.all();
    }
    out.add("equaliser         takes the average over all directions out:\n");
    for (std::size_t band = 0; band < bands; ++band) {
        const double bin = centre_of(band) / (table_rate / fft_size);
        out.add("    %6.0f Hz %+6.1f dB\n", centre_of(band),
                report.equaliser[static_cast<std::size_t>(std::lround(bin))]);
    }
    return out.all();
}

constexpr const char *drawing =
    R"gp(# gnuplot draws magnitude.svg and time.svg of the tables beside it.
set terminal svg size 900,520 font "Sans,12" background "#ffffff"
set grid lc rgb "#dddddd"
set border 3
set tics nomirror out

set output "magnitude.svg"
set title "Horizontal plane: gain of the ears (built-in head dashed), each azimuth 30 dB lower"
set xlabel "frequency (Hz)"
set ylabel "gain (dB)"
set logscale x
set xrange [180:20000]
set xtics (200, 500, 1000, 2000, 5000, 10000, 20000)
set key outside right top
azimuths = "0 90 180 -90"
plot for [i=1:4] "magnitude.dat" using 1:(column(4*i-2) - 30*(i-1)) with lines lw 1.5 lc 1 \
         title sprintf("left ear, %s", word(azimuths, i)), \
     for [i=1:4] "magnitude.dat" using 1:(column(4*i-1) - 30*(i-1)) with lines lw 1.5 lc 2 \
         title sprintf("right ear, %s", word(azimuths, i)), \
     for [i=1:4] "magnitude.dat" using 1:(column(4*i) - 30*(i-1)) with lines dt 2 lc 1 notitle, \
     for [i=1:4] "magnitude.dat" using 1:(column(4*i+1) - 30*(i-1)) with lines dt 2 lc 2 notitle

set output "time.svg"
set title "Horizontal plane: time between the ears"
set xlabel "azimuth (degrees, counter-clockwise; left ear at 90)"
set ylabel "left ear earlier by (microseconds)"
unset logscale x
set xrange [-180:180]
set xtics 45
set key inside right top
plot "time.dat" using 1:2 with lines lw 1.5 lc 1 title "this head", \
     "time.dat" using 1:3 with lines dt 2 lw 1.5 lc rgb "#666666" title "built-in head"
)gp";

} // namespace

const char *const drawing_script = "draw.gp";

std::vector<report_file> write_report(const prepared_head &head) {
    const std::vector<u32> builtin_words = opened_head::builtin();
    const opened_head here(head.words), builtin(builtin_words);
    return {{"report.txt", summary(head)},
            {"directions.csv", direction_table(head.report)},
            {"magnitude.dat", magnitude_table(here, builtin)},
            {"time.dat", time_table(here, builtin)},
            {drawing_script, drawing}};
}

} // namespace preparation
