#include "preparation/spectrum.hpp"

#include <unsupported/Eigen/FFT>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace preparation {
namespace {

constexpr double two_pi = 2 * std::numbers::pi;

// Keeps the twiddle factors of every length that was asked for.
Eigen::FFT<double> &transform() {
    thread_local Eigen::FFT<double> all(Eigen::default_fft_impl<double>(),
                                        Eigen::FFT<double>::HalfSpectrum);
    return all;
}

} // namespace

spectrum forward(const signal &samples, std::size_t length) {
    signal padded(length);
    std::copy_n(samples.begin(), std::min(length, samples.size()), padded.begin());
    spectrum result;
    transform().fwd(result, padded);
    return result;
}

signal inverse(const spectrum &bins) {
    signal result;
    transform().inv(result, bins);
    return result;
}

complex response(const signal &samples, double frequency) {
    // Horner's rule in z = e^(-j w)
    const complex z = std::polar(1.0, -two_pi * frequency);
    complex sum = 0;
    for (std::size_t n = samples.size(); n-- > 0;) sum = sum * z + samples[n];
    return sum;
}

void delay(spectrum &bins, double samples) {
    const double length = 2.0 * static_cast<double>(bins.size() - 1);
    for (std::size_t k = 0; k < bins.size(); ++k) {
        bins[k] *= std::polar(1.0, -two_pi * static_cast<double>(k) * samples / length);
    }
}

spectrum minimum_phase(const std::vector<double> &magnitudes) {
    spectrum logarithm(magnitudes.size());
    for (std::size_t k = 0; k < magnitudes.size(); ++k) logarithm[k] = std::log(magnitudes[k]);
    signal cepstrum = inverse(logarithm);
    const std::size_t half = cepstrum.size() / 2;
    for (std::size_t n = 1; n < half; ++n) {
        cepstrum[n] *= 2;
        cepstrum[half + n] = 0;
    }
    spectrum result = forward(cepstrum, cepstrum.size());
    for (complex &bin : result) bin = std::exp(bin);
    return result;
}

} // namespace preparation
