// A renderer in floating point of the same shape as the library's two ends: a transform of every
// source, a product with the filter of each ear, sums per ear, one inverse transform per ear. Its
// loops are the compiler's best for this machine, its transforms FFTW's.
#ifndef EARSHOT_BENCH_YARDSTICK_HPP
#define EARSHOT_BENCH_YARDSTICK_HPP

#include "fftw.hpp"
#include "scene.hpp"

#include <array>

namespace earshot_bench {

class yardstick {
  public:
    explicit yardstick(const scene &s);
    void render_frame();
    // Q31 samples of an ear.
    const buffer<s32> &output(unsigned ear) const { return output_[ear]; }

  private:
    using filter = buffer<float>;
    struct filter_pair {
        const float *ear[2];
    };
    filter_pair horizontal(unsigned azimuth) const;
    void load_filters();
    void select_filters();
    void write_ear(unsigned ear);

    scene scene_;
    fftw_transform forward_{{fft_size, true, false}}, inverse_{{fft_size, true, true}};
    unsigned frame_ = 0;
    std::vector<std::array<filter, 2>> filters_; // of the half circle, or of the channels
    std::vector<filter_pair> selected_;
    buffer<float> input_, spectrum_, block_;
    std::array<buffer<float>, 2> ears_;
    std::array<std::array<float, fade_length>, 2> tails_{};
    std::array<buffer<s32>, 2> output_;
};

} // namespace earshot_bench

#endif
