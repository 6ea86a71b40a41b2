// Prints how good the tables are, and fails when a figure misses its limit. README.md defines the
// figures.
//     hrtf_report MEASUREMENT DIRECTORY [PLOT_DIRECTORY]
// With a plot directory, also writes there what plots.gp draws.
#include "figures.hpp"
#include "layout.hpp"
#include "preparation/harmonics.hpp"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>

namespace hrtf {
namespace {

bool print(const char *title, const std::vector<figure> &all) {
    bool good = true;
    std::printf("%s\n", title);
    for (const figure &one : all) {
        // A limit below zero is one of a level in decibels.
        const bool holds = (one.limit < 0 ? one.value : std::abs(one.value)) <= one.limit;
        std::printf("  %-40s %9.3f %-12s", one.name, one.value, one.unit);
        if (one.limit != no_limit)
            std::printf("  limit %7.2f%s", one.limit, holds ? "" : ", MISSED");
        std::printf("\n");
        good = good && holds;
    }
    return good;
}

// Left ear on the horizontal plane over the whole circle: bands in decibels, measured, diffuse,
// amb.
void write_magnitudes(const measurement &measured, const table_set &tables,
                      const std::string &path) {
    std::ofstream out(path);
    const auto frequencies = band_frequencies();
    std::vector<double> average(frequencies.size());
    for (const auto &one : measured.directions) {
        for (std::size_t f = 0; f < frequencies.size(); ++f) {
            const double power =
                std::norm(response(one.ears[left], frequencies[f] / measured.rate));
            average[f] += one.weight * power;
        }
    }
    double level = 0; // of the diffuse set, which is flat
    for (const auto &one : tables.diffuse) {
        if (!one.measured) continue;
        const bool own_mirror = std::fmod(one.where.azimuth, 180) == 0;
        const double weight = measured.directions[measured.find(one.where)].weight;
        for (const signal &ear : one.ears) {
            level += weight * (own_mirror ? 0.5 : 1) * powers(ear, table_rate)[bands / 2];
        }
    }
    for (const auto &one : tables.diffuse) {
        if (one.where.elevation != 0) continue;
        const auto raw = measured.directions[measured.find(one.where)].ears;
        const ear_pair decoded = tables.decode(one.where);
        for (std::size_t ear : {left, right}) {
            const double azimuth = ear == left ? one.where.azimuth : -one.where.azimuth;
            out << azimuth;
            const auto was = powers(raw[ear], measured.rate, average);
            const auto is = powers(one.ears[ear], table_rate);
            const auto amb = powers(decoded[ear], table_rate);
            for (std::size_t band = 1; band < bands; band += 3) { // octaves from 250 Hz
                out << ' ' << 10 * std::log10(was[band]) << ' ' << 10 * std::log10(is[band] / level)
                    << ' ' << 10 * std::log10(amb[band] / level);
            }
            out << '\n';
        }
    }
}

// The horizontal plane: azimuth, time difference in microseconds measured, diffuse, amb.
void write_time_differences(const measurement &measured, const table_set &tables,
                            const std::string &path) {
    std::ofstream out(path);
    std::vector<const ear_pair *> raw, stored;
    for (const auto &one : measured.directions) raw.push_back(&one.ears);
    for (const auto &one : tables.diffuse) stored.push_back(&one.ears);
    const time_difference was(raw, std::vector<double>(raw.size(), 1), measured.rate);
    const time_difference is(stored, std::vector<double>(stored.size(), 1), table_rate);
    for (const auto &one : tables.diffuse) {
        if (one.where.elevation != 0) continue;
        const auto &ears = measured.directions[measured.find(one.where)].ears;
        out << one.where.azimuth << ' ' << 1e6 * was(ears) << ' ' << 1e6 * is(one.ears) << ' '
            << 1e6 * is(tables.decode(one.where)) << '\n';
    }
}

} // namespace
} // namespace hrtf

int main(int argc, char **argv) {
    using namespace hrtf;
    if (argc != 3 && argc != 4) {
        std::fputs("usage: hrtf_report MEASUREMENT DIRECTORY [PLOT_DIRECTORY]\n", stderr);
        return 1;
    }
    const measurement measured = read_measurement(argv[1]);
    const std::string directory = argv[2];
    const words diffuse = read_words(directory + "/" + diffuse_file);
    const words amb = read_words(directory + "/" + amb_file);
    const table_set tables = unpack_tables(diffuse, amb);
    const bool diffuse_good =
        print("diffuse set against the measurement", diffuse_figures(measured, tables));
    const bool amb_good = print("amb set against the diffuse set", amb_figures(measured, tables));
    const bool words_good = print("both sets", word_figures(diffuse, amb, tables));
    if (argc == 4) {
        const std::string plots = argv[3];
        write_magnitudes(measured, tables, plots + "/magnitude.dat");
        write_time_differences(measured, tables, plots + "/itd.dat");
    }
    return diffuse_good && amb_good && words_good ? 0 : 1;
}
