#include "spectrum.hpp"

#include <fftw3.h>

#include <cmath>
#include <map>
#include <numbers>

namespace hrtf {
namespace {

constexpr double two_pi = 2 * std::numbers::pi;

// Plans and aligned memory for one length. Plans are estimated, not timed: a timed plan may differ
// from run to run, and with it the last bit of the results.
class transform {
  public:
    explicit transform(std::size_t length)
        : length_(length), time_(fftw_alloc_real(length)),
          bins_(fftw_alloc_complex(length / 2 + 1)),
          forward_(fftw_plan_dft_r2c_1d(static_cast<int>(length), time_, bins_, FFTW_ESTIMATE)),
          inverse_(fftw_plan_dft_c2r_1d(static_cast<int>(length), bins_, time_, FFTW_ESTIMATE)) {}
    ~transform() {
        fftw_destroy_plan(forward_);
        fftw_destroy_plan(inverse_);
        fftw_free(time_);
        fftw_free(bins_);
    }
    transform(const transform &) = delete;
    transform &operator=(const transform &) = delete;

    static transform &of(std::size_t length) {
        static std::map<std::size_t, transform> all;
        return all.try_emplace(length, length).first->second;
    }

    spectrum to_bins(const signal &samples) {
        for (std::size_t n = 0; n < length_; ++n) time_[n] = n < samples.size() ? samples[n] : 0;
        fftw_execute(forward_);
        spectrum result(length_ / 2 + 1);
        for (std::size_t k = 0; k < result.size(); ++k) result[k] = {bins_[k][0], bins_[k][1]};
        return result;
    }

    signal to_time(const spectrum &bins) {
        for (std::size_t k = 0; k < bins.size(); ++k) {
            bins_[k][0] = bins[k].real();
            bins_[k][1] = bins[k].imag();
        }
        fftw_execute(inverse_);
        signal result(length_);
        for (std::size_t n = 0; n < length_; ++n) {
            result[n] = time_[n] / static_cast<double>(length_);
        }
        return result;
    }

  private:
    std::size_t length_;
    double *time_;
    fftw_complex *bins_;
    fftw_plan forward_;
    fftw_plan inverse_;
};

} // namespace

spectrum forward(const signal &samples, std::size_t length) {
    return transform::of(length).to_bins(samples);
}

signal inverse(const spectrum &bins) { return transform::of(2 * (bins.size() - 1)).to_time(bins); }

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

} // namespace hrtf
