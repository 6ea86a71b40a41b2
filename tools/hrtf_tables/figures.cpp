#include "figures.hpp"

#include "preparation/harmonics.hpp"
#include "preparation/measures.hpp"

#include <algorithm>
#include <cmath>

namespace hrtf {
namespace {

constexpr double microseconds = 1e6;

double rms(const std::vector<double> &all) {
    double sum = 0;
    for (double one : all) sum += one * one;
    return std::sqrt(sum / static_cast<double>(all.size()));
}

double median(std::vector<double> all) {
    std::ranges::sort(all);
    return (all[(all.size() - 1) / 2] + all[all.size() / 2]) / 2;
}

// A measured record beside the measurement it was made from.
struct counterpart {
    direction where;
    const ear_pair *raw;
    const ear_pair *stored;
    double weight; // of the direction and its mirror image
};

std::vector<counterpart> counterparts(const measurement &measured, const table_set &tables) {
    std::vector<counterpart> all;
    for (const auto &entry : tables.diffuse) {
        if (!entry.measured) continue;
        const auto &raw = measured.directions[measured.find(entry.where)];
        const bool own_mirror = std::fmod(entry.where.azimuth, 180) == 0;
        all.push_back({entry.where, &raw.ears, &entry.ears, raw.weight * (own_mirror ? 1 : 2)});
    }
    return all;
}

// The diffuse-field average of either side, both ears.
std::vector<double> average(const std::vector<counterpart> &all, const ear_pair *counterpart::*side,
                            double rate) {
    std::vector<const signal *> ears;
    std::vector<double> weights;
    for (const auto &one : all) {
        for (const signal &ear : *(one.*side)) {
            ears.push_back(&ear);
            weights.push_back(one.weight / 2);
        }
    }
    return mean_power(ears, weights, rate, band_frequencies());
}

double logarithmic_mean(const std::vector<double> &powers) {
    double sum = 0;
    for (double power : powers) sum += decibels(power);
    return sum / static_cast<double>(powers.size());
}

time_difference time_difference_of(const std::vector<counterpart> &all,
                                   const ear_pair *counterpart::*side, double rate) {
    std::vector<const ear_pair *> ears;
    std::vector<double> weights;
    for (const auto &one : all) {
        ears.push_back(one.*side);
        weights.push_back(one.weight);
    }
    return {ears, weights, rate};
}

} // namespace

ear_pair table_set::decode(direction where) const {
    const auto gains = encode(where);
    ear_pair ears{signal(fft_size), signal(fft_size)};
    for (std::size_t k = 0; k < amb.size(); ++k) {
        for (std::size_t ear : {left, right}) {
            for (std::size_t n = 0; n < fft_size; ++n) ears[ear][n] += gains[k] * amb[k][ear][n];
        }
    }
    return ears;
}

table_set unpack_tables(const words &diffuse, const words &amb) {
    table_set result{diffuse_directions(), std::vector<ear_pair>(amb_channels)};
    constexpr std::size_t record = 2 * words_per_filter;
    if (diffuse.size() != result.diffuse.size() * record || amb.size() != amb_channels * record)
        fail("the tables do not have their length");
    const auto ears_of = [](const std::int32_t *at) -> ear_pair {
        return {unpack(at), unpack(at + words_per_filter)};
    };
    for (std::size_t k = 0; k < result.diffuse.size(); ++k) {
        result.diffuse[k].ears = ears_of(diffuse.data() + k * record);
    }
    for (std::size_t k = 0; k < amb_channels; ++k) {
        result.amb[k] = ears_of(amb.data() + k * record);
    }
    return result;
}

std::vector<figure> diffuse_figures(const measurement &measured, const table_set &tables) {
    const auto all = counterparts(measured, tables);
    const auto raw_average = average(all, &counterpart::raw, measured.rate);
    const auto stored_average = average(all, &counterpart::stored, table_rate);
    const double gain = logarithmic_mean(stored_average);
    double unevenness = 0;
    for (double power : stored_average) {
        unevenness = std::max(unevenness, std::abs(decibels(power) - gain));
    }

    const auto raw_time = time_difference_of(all, &counterpart::raw, measured.rate);
    const auto stored_time = time_difference_of(all, &counterpart::stored, table_rate);
    std::vector<double> times, levels, differences;
    double exchanged = 0;
    for (const auto &one : all) {
        const double raw_delay = raw_time(*one.raw), stored_delay = stored_time(*one.stored);
        times.push_back(std::abs(stored_delay - raw_delay) * microseconds);
        std::array<band_powers, 2> raw, stored;
        double side = 0;
        for (std::size_t ear : {left, right}) {
            raw[ear] = powers((*one.raw)[ear], measured.rate, raw_average);
            stored[ear] = powers((*one.stored)[ear], table_rate);
        }
        for (std::size_t band = 0; band < bands; ++band) {
            std::array<double, 2> error{};
            for (std::size_t ear : {left, right}) {
                error[ear] = decibels(stored[ear][band] / raw[ear][band]) - gain;
                levels.push_back(error[ear]);
            }
            differences.push_back(error[left] - error[right]);
            side += decibels(stored[left][band] / stored[right][band]);
        }
        // A source of the left half circle comes to the left ear first, and louder there.
        if (stored_delay < -1e-9 || side < -1e-6) ++exchanged;
    }
    return {{"time difference error, median", median(times), 1.5, "us"},
            {"time difference error, largest", std::ranges::max(times), 5, "us"},
            {"third-octave magnitude error", rms(levels), 0.45, "dB rms"},
            {"third-octave level difference error", rms(differences), 0.65, "dB rms"},
            {"diffuse-field average, 200 Hz to 16 kHz", unevenness, 0.2, "dB from flat"},
            {"records with exchanged sides", exchanged, 0, ""}};
}

std::vector<figure> amb_figures(const measurement &measured, const table_set &tables) {
    std::vector<const ear_pair *> set;
    for (const auto &entry : tables.diffuse) set.push_back(&entry.ears);
    const std::vector<double> weights(set.size(), 1);
    const time_difference measure(set, weights, table_rate);
    std::vector<double> times, low, high;
    double level = 0, reference = 0;
    for (const auto &entry : tables.diffuse) {
        const ear_pair decoded = tables.decode(entry.where);
        times.push_back(std::abs(measure(decoded) - measure(entry.ears)) * microseconds);
        for (std::size_t ear : {left, right}) {
            const band_powers is = powers(decoded[ear], table_rate);
            const band_powers wanted = powers(entry.ears[ear], table_rate);
            for (std::size_t band = 0; band < bands; ++band) {
                (centre_of(band) < 2100 ? low : high).push_back(decibels(is[band] / wanted[band]));
            }
        }
    }
    for (const auto &one : counterparts(measured, tables)) {
        const ear_pair decoded = tables.decode(one.where);
        for (std::size_t ear : {left, right}) {
            level += one.weight * powers(decoded[ear], table_rate).back();
            reference += one.weight * powers((*one.stored)[ear], table_rate).back();
        }
    }
    return {{"time difference error, median", median(times), 10, "us"},
            {"time difference error, largest", std::ranges::max(times), no_limit, "us"},
            {"magnitude error, 200 Hz to 2 kHz", rms(low), 0.8, "dB rms"},
            {"magnitude error, 2.5 to 16 kHz", rms(high), 2.4, "dB rms"},
            {"diffuse-field level at 16 kHz", decibels(level / reference), 0.5, "dB"}};
}

std::vector<figure> word_figures(const words &diffuse, const words &amb, const table_set &tables) {
    const auto largest = [](const words &set) {
        double most = 0;
        for (std::int32_t word : set) most = std::max(most, std::abs(word / 536870912.0));
        return most;
    };
    double tail = 0, total = 0, sum = 0, gain = 0;
    const auto look_at = [&](const ear_pair &ears) {
        for (const signal &ear : ears) {
            double magnitudes = 0;
            for (const complex &bin : forward(ear, fft_size)) gain = std::max(gain, std::abs(bin));
            for (std::size_t n = 0; n < ear.size(); ++n) {
                (n < taps ? total : tail) += ear[n] * ear[n];
                if (n < taps) magnitudes += std::abs(ear[n]);
            }
            sum = std::max(sum, magnitudes);
        }
    };
    for (const auto &entry : tables.diffuse) look_at(entry.ears);
    for (const auto &ears : tables.amb) look_at(ears);
    return {{"energy past tap 128", decibels(tail / total), -160, "dB"},
            {"largest diffuse coefficient", largest(diffuse), 3.34, ""},
            {"largest amb coefficient", largest(amb), 3.34, ""},
            {"largest gain at any frequency", gain, no_limit, ""},
            {"largest sum of tap magnitudes", sum, no_limit, ""}};
}

} // namespace hrtf
