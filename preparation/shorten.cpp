#include "preparation/shorten.hpp"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>

namespace preparation {
namespace {

// Taps at both ends are held down, so that a response starts and ends softly. In shares of the
// weight of all frequencies.
constexpr std::size_t fade_in = 6, fade_out = 24;
constexpr double everywhere = 1e-5, at_the_ends = 3e-2;

double restraint(std::size_t tap) {
    const auto into = [](std::size_t n, std::size_t length) {
        const double rest =
            n < length ? 1 - (static_cast<double>(n) + 0.5) / static_cast<double>(length) : 0;
        return rest * rest * rest * rest;
    };
    return everywhere + at_the_ends * (into(tap, fade_in) + into(taps - 1 - tap, fade_out));
}

// Below, frequencies weigh as this one.
constexpr double lowest_weighted = 800;    // Hz
constexpr double highest_weighted = 19000; // Hz; above, the measurement ends
constexpr double weight_above = 0.1;

// Of the loudest band: a band without any sound does not count without limit.
constexpr double silence = 1e-9;

// How often the level that is missing is put back, and from where: below, it would shift phases.
constexpr int level_passes = 3;
constexpr double lowest_levelled = 1500; // Hz

} // namespace

signal third_octave_mean(const signal &values) {
    signal sums(values.size() + 1);
    for (std::size_t k = 0; k < values.size(); ++k) sums[k + 1] = sums[k] + values[k];
    const double reach = std::exp2(1.0 / 6);
    signal result(values.size());
    for (std::size_t k = 0; k < values.size(); ++k) {
        const auto centre = static_cast<double>(k);
        const auto low = static_cast<std::size_t>(std::lround(centre / reach));
        const auto high =
            std::min(values.size() - 1, static_cast<std::size_t>(std::lround(centre * reach)));
        result[k] = (sums[high + 1] - sums[low]) / static_cast<double>(high + 1 - low);
    }
    return result;
}

signal shorten(const spectrum &target) {
    const double step = table_rate / 2 / static_cast<double>(target.size() - 1);
    signal power(target.size());
    for (std::size_t k = 0; k < target.size(); ++k) power[k] = std::norm(target[k]);
    power = third_octave_mean(power);
    const double quiet = silence * std::ranges::max(power);
    for (double &one : power) one = std::max(one, quiet);
    const std::size_t end = static_cast<std::size_t>(highest_weighted / step);
    const auto lowest = static_cast<std::size_t>(lowest_levelled / step);

    spectrum weight(target.size());
    for (std::size_t k = 0; k < target.size(); ++k) {
        const double frequency = std::max(lowest_weighted, static_cast<double>(k) * step);
        weight[k] = (k > end ? weight_above : 1) / (frequency * power[std::min(k, end)]);
    }
    // Normal equations of the taps: a Toeplitz matrix, for the weights are real and even.
    const signal correlation = inverse(weight);
    Eigen::MatrixXd normal(taps, taps);
    for (std::size_t i = 0; i < taps; ++i) {
        for (std::size_t j = 0; j < taps; ++j) {
            normal(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(j)) =
                correlation[i > j ? i - j : j - i];
        }
        normal(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(i)) +=
            correlation[0] * restraint(i);
    }
    const Eigen::LLT<Eigen::MatrixXd> solver(normal);

    // What does not fit into the taps is missing from the level; the target is raised by it.
    spectrum wanted = target;
    signal samples(taps);
    for (int pass = 0;; ++pass) {
        spectrum weighted(target.size());
        for (std::size_t k = 0; k < target.size(); ++k) weighted[k] = weight[k] * wanted[k];
        const signal right_side = inverse(weighted);
        const Eigen::VectorXd solution =
            solver.solve(Eigen::Map<const Eigen::VectorXd>(right_side.data(), taps));
        std::ranges::copy(solution, samples.begin());
        if (pass == level_passes) return samples;
        const spectrum reached = forward(samples, 2 * (target.size() - 1));
        signal is(target.size());
        for (std::size_t k = 0; k < is.size(); ++k) is[k] = std::norm(reached[k]);
        is = third_octave_mean(is);
        for (std::size_t k = lowest; k <= end; ++k)
            wanted[k] *= std::sqrt(power[k] / std::max(is[k], quiet));
    }
}

} // namespace preparation
