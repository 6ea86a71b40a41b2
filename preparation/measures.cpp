#include "preparation/measures.hpp"

#include <cmath>
#include <numbers>

namespace preparation {
namespace {

constexpr int points_per_band = 16;

} // namespace

double decibels(double power) { return 10 * std::log10(power); }

std::vector<double> mean_power(const std::vector<const signal *> &all,
                               const std::vector<double> &weights, double rate,
                               const std::vector<double> &frequencies) {
    std::vector<double> mean(frequencies.size());
    for (std::size_t d = 0; d < all.size(); ++d) {
        for (std::size_t f = 0; f < mean.size(); ++f) {
            mean[f] += weights[d] * std::norm(response(*all[d], frequencies[f] / rate));
        }
    }
    return mean;
}

double centre_of(std::size_t band) {
    return 1000 * std::exp2((static_cast<int>(band) + lowest_band) / 3.0);
}

std::vector<double> band_frequencies() {
    std::vector<double> all;
    for (std::size_t band = 0; band < bands; ++band) {
        for (int p = 0; p < points_per_band; ++p) {
            all.push_back(centre_of(band) * std::exp2(((p + 0.5) / points_per_band - 0.5) / 3));
        }
    }
    return all;
}

band_powers powers(const signal &samples, double rate, const std::vector<double> &average) {
    static const std::vector<double> frequencies = band_frequencies();
    band_powers result(bands);
    for (std::size_t f = 0; f < frequencies.size(); ++f) {
        const double power = std::norm(response(samples, frequencies[f] / rate));
        result[f / points_per_band] += power / (average.empty() ? 1 : average[f]) / points_per_band;
    }
    return result;
}

time_difference::time_difference(const std::vector<const ear_pair *> &set,
                                 const std::vector<double> &weights, double rate)
    : rate_(rate) {
    constexpr double low = 200, edge = 1200, high = 1500, step = 25; // Hz
    for (int n = 0; low + n * step < high; ++n) frequencies_.push_back(low + n * step);
    std::vector<const signal *> ears;
    std::vector<double> ear_weights;
    for (std::size_t d = 0; d < set.size(); ++d) {
        for (const signal &ear : *set[d]) {
            ears.push_back(&ear);
            ear_weights.push_back(weights[d]);
        }
    }
    gains_ = mean_power(ears, ear_weights, rate, frequencies_);
    for (std::size_t f = 0; f < gains_.size(); ++f) {
        const double beyond = std::max(0.0, (frequencies_[f] - edge) / (high - edge));
        gains_[f] = (0.5 + 0.5 * std::cos(std::numbers::pi * beyond)) / gains_[f];
    }
}

double time_difference::operator()(const ear_pair &ears) const {
    std::vector<complex> cross;
    for (std::size_t f = 0; f < frequencies_.size(); ++f) {
        cross.push_back(gains_[f] * response(ears[left], frequencies_[f] / rate_) *
                        std::conj(response(ears[right], frequencies_[f] / rate_)));
    }
    // The correlation at a delay, and its slope.
    const auto correlate = [&](double seconds) {
        complex sum = 0;
        for (std::size_t f = 0; f < cross.size(); ++f) {
            const double omega = 2 * std::numbers::pi * frequencies_[f];
            const complex turned = cross[f] * std::polar(1.0, -omega * seconds);
            sum += complex(turned.real(), omega * turned.imag());
        }
        return sum;
    };
    constexpr double most = 1e-3, coarse = 5e-6; // seconds
    double best = -most;
    for (int n = 1; n * coarse < 2 * most; ++n) {
        const double at = n * coarse - most;
        if (correlate(at).real() > correlate(best).real()) best = at;
    }
    double low = best - coarse, high = best + coarse;
    for (int halving = 0; halving < 40; ++halving) {
        const double middle = (low + high) / 2;
        (correlate(middle).imag() > 0 ? low : high) = middle;
    }
    return (low + high) / 2;
}

} // namespace preparation
