#include "preparation/filters.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace preparation {
namespace {

constexpr double quarter = std::numbers::pi / 2;

// At these ends responses of a fourth-order field and of a diffuse one have little left.
constexpr std::size_t fade_in = 4, fade_out = 12; // taps
constexpr std::size_t highest_flat = 112;         // bin: 21 kHz

double square(double value) { return value * value; }

} // namespace

spectrum softened(const signal &response) {
    signal faded(taps);
    std::copy_n(response.begin(), std::min(taps, response.size()), faded.begin());
    const auto ramp = [](std::size_t n, std::size_t length) {
        return square(
            std::sin(quarter * (static_cast<double>(n) + 0.5) / static_cast<double>(length)));
    };
    for (std::size_t n = 0; n < fade_in; ++n) faded[n] *= ramp(n, fade_in);
    for (std::size_t n = 0; n < fade_out; ++n) faded[taps - 1 - n] *= ramp(n, fade_out);
    spectrum bins = forward(faded, fft_size);
    for (std::size_t k = highest_flat + 1; k < fft_bins; ++k) {
        bins[k] *= square(std::cos(quarter * static_cast<double>(k - highest_flat) /
                                   static_cast<double>(fft_bins - 1 - highest_flat)));
    }
    bins.back() = 0;
    return bins;
}

spectrum advanced(const spectrum &bins, double samples) {
    spectrum result = bins;
    delay(result, -samples);
    return result;
}

double largest_gain(const spectrum &bins) {
    double most = 0;
    for (const complex &bin : bins) most = std::max(most, std::abs(bin));
    return most;
}

} // namespace preparation
