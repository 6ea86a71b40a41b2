#include "preparation/equaliser.hpp"

#include <algorithm>
#include <cmath>

namespace preparation {
namespace {

constexpr double lowest_measured = 150; // Hz
// Above, a measurement at 44.1 kHz falls into the stop band of its converters: no equaliser follows
// it there.
constexpr double highest_equalised = 19500; // Hz

} // namespace

std::size_t bin_of(double hertz, std::size_t bins) {
    return static_cast<std::size_t>(
        std::lround(hertz / (table_rate / 2) * static_cast<double>(bins - 1)));
}

spectrum equaliser(const signal &mean_power) {
    const std::size_t bins = mean_power.size();
    std::vector<double> gain(bins);
    const std::size_t low = bin_of(lowest_usable, bins), high = bin_of(highest_equalised, bins);
    for (std::size_t k = 0; k < bins; ++k)
        gain[k] = 1 / std::sqrt(mean_power[std::clamp(k, low, high)]);
    return minimum_phase(gain);
}

spectrum loudspeaker_slope(double exponent, std::size_t bins) {
    std::vector<double> gain(bins, 1);
    const std::size_t low = bin_of(lowest_usable, bins);
    for (std::size_t k = 0; k < low; ++k) {
        const double bin = std::max(0.5, static_cast<double>(k));
        gain[k] = std::pow(static_cast<double>(low) / bin, exponent);
    }
    return minimum_phase(gain);
}

void extend_downwards(spectrum &response) {
    const std::size_t from = bin_of(lowest_measured, response.size());
    const double level = std::abs(response[from]);
    const double phase = std::arg(response[from]);
    for (std::size_t k = 0; k < from; ++k) {
        response[k] = std::polar(level, phase * static_cast<double>(k) / static_cast<double>(from));
    }
}

void multiply(spectrum &response, const spectrum &filter) {
    for (std::size_t k = 0; k < response.size(); ++k) response[k] *= filter[k];
}

} // namespace preparation
