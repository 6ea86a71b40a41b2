#include "preparation/delays.hpp"

#include <Eigen/SparseCholesky>

#include <algorithm>
#include <cmath>

namespace preparation {
namespace {

constexpr double two_pi = 2 * std::numbers::pi;
constexpr std::size_t highest_bin = 106; // 20 kHz: above, measurements end

// Lags are looked for up to here at least, and for far directions as far as sound travels: 24
// samples per radian is more than any head's, 17 cm from ear to ear and round the back of it.
constexpr double least_reach = 12, reach_per_radian = 24, most_reach = 60; // samples

constexpr std::size_t fine = 1024; // transform of the correlation: four values per sample
constexpr double per_sample = fine / static_cast<double>(fft_size);

struct lag {
    double samples;   // of the first response behind the second
    double coherence; // 1: but for the lag, and magnitudes, they are the same
};

// The correlation at a lag, and its slope.
complex correlation(const spectrum &cross, double samples) {
    const complex turn = std::polar(1.0, two_pi * samples / fft_size);
    complex phase = turn;
    complex sum = 0;
    for (std::size_t k = 1; k < cross.size(); ++k) {
        const complex term = cross[k] * phase;
        sum += complex(term.real(), -static_cast<double>(k) * term.imag());
        phase *= turn;
    }
    return sum;
}

// Partly whitened: the square root keeps the noise of quiet bands from counting as much as sound.
lag lag_between(const spectrum &one, const spectrum &other, double reach) {
    spectrum cross(highest_bin + 1);
    double total = 0;
    for (std::size_t k = 1; k <= highest_bin; ++k) {
        const complex product = one[k] * std::conj(other[k]);
        const double weight = std::sqrt(std::abs(product));
        if (weight > 0) cross[k] = product / weight;
        total += weight;
    }
    if (total <= 0) return {0, 0};
    spectrum padded = cross;
    padded.resize(fine / 2 + 1);
    const signal values = inverse(padded);
    const auto value_at = [&](int n) { return values[static_cast<std::size_t>(n) & (fine - 1)]; };
    const int end = static_cast<int>(reach * per_sample);
    int best = 0;
    for (int n = -end; n <= end; ++n) {
        if (value_at(n) > value_at(best)) best = n;
    }
    double low = (best - 1) / per_sample, high = (best + 1) / per_sample;
    for (int halving = 0; halving < 20; ++halving) {
        const double middle = (low + high) / 2;
        (correlation(cross, middle).imag() > 0 ? low : high) = middle;
    }
    const double samples = (low + high) / 2;
    return {samples, correlation(cross, samples).real() / total};
}

} // namespace

std::vector<double> solve_delays(const std::vector<spectrum> &responses,
                                 const unit_vectors &vertices, const std::vector<triangle> &hull) {
    const auto count = static_cast<Eigen::Index>(vertices.size());
    std::vector<Eigen::Triplet<double>> entries;
    Eigen::VectorXd right_side = Eigen::VectorXd::Zero(count);
    for (const auto &[a, b] : edges_of(hull)) {
        const double angle = angle_between(vertices[a], vertices[b]) * per_degree;
        const double reach = std::clamp(reach_per_radian * angle, least_reach, most_reach);
        const lag found = lag_between(responses[a], responses[b], reach);
        const double weight = std::pow(std::max(found.coherence, 0.02), 4);
        const auto i = static_cast<int>(a), j = static_cast<int>(b);
        entries.insert(entries.end(),
                       {{i, i, weight}, {j, j, weight}, {i, j, -weight}, {j, i, -weight}});
        right_side(i) += weight * found.samples;
        right_side(j) -= weight * found.samples;
    }
    // Lags leave a common delay open: the first is held.
    entries.emplace_back(0, 0, 1);
    Eigen::SparseMatrix<double> normal(count, count);
    normal.setFromTriplets(entries.begin(), entries.end());
    const Eigen::SimplicialLDLT<Eigen::SparseMatrix<double>> solver(normal);
    const Eigen::VectorXd solution = solver.solve(right_side);
    std::vector<double> delays(solution.begin(), solution.end());
    const double least = std::ranges::min(delays);
    for (double &one : delays) one -= least;
    return delays;
}

} // namespace preparation
