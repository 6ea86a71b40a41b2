#include "preparation/filters.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace preparation {
namespace {

constexpr double quarter = std::numbers::pi / 2;

constexpr std::size_t begin_fade = 6, end_fade = 5, end = 127; // taps
constexpr std::size_t highest_flat = 82;                       // bin: 15.4 kHz

// Of the sum of the two taps n + 1/2 steps before and behind an end, a part goes behind it.
void fold(double &inside, double &outside, std::size_t n, std::size_t length) {
    const double place = (static_cast<double>(n) + 0.5) / static_cast<double>(length);
    const double sum = inside + outside;
    outside = sum * (1 - std::sin(quarter * place)) / 2;
    inside = sum - outside;
}

// Half of Nuttall's window of four terms with a continuous first derivative, x from 0 at its middle
// to 1: its spectrum has fallen by 93 dB after 11 taps.
double window(double x) {
    const double angle = std::numbers::pi * x;
    return 0.355768 + 0.487396 * std::cos(angle) + 0.144232 * std::cos(2 * angle) +
           0.012604 * std::cos(3 * angle);
}

} // namespace

spectrum softened(const signal &response) {
    signal held(fft_size);
    std::copy_n(response.begin(), std::min(fft_size, response.size()), held.begin());
    for (std::size_t n = 0; n < begin_fade; ++n)
        fold(held[n], held[fft_size - 1 - n], n, begin_fade);
    for (std::size_t n = 0; n < end_fade; ++n) fold(held[end - 1 - n], held[end + n], n, end_fade);
    for (std::size_t n = end + end_fade; n < fft_size - begin_fade; ++n) held[n] = 0;
    spectrum bins = forward(held, fft_size);
    for (std::size_t k = highest_flat + 1; k < fft_bins; ++k) {
        bins[k] *= 1 - window(static_cast<double>(fft_bins - 1 - k) /
                              static_cast<double>(fft_bins - 1 - highest_flat));
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
