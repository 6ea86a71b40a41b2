// How loud a sound is: loudness and true peak as EBU R 128 defines them, by libebur128.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include <ebur128.h>

#include "scene/description/loudspeakers.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

using meter_state = std::unique_ptr<ebur128_state, void (*)(ebur128_state *)>;

// The highest sample of a sound and of what a converter makes between its samples. Interpolation
// takes most of the time of a measurement, so it is left out where no peak can be: it raises
// samples by no more than the sum of its taps' magnitudes.
class true_peak_meter {
  public:
    true_peak_meter(int channels, int rate);

    void add(const double *interleaved, std::size_t frames);

    // Of what has been added; full scale is 1.
    double peak() const { return peak_; }

  private:
    // What the interpolator looks back at, at most.
    static constexpr std::size_t reach = 32;

    void interpolate(std::size_t begin, std::size_t frames);

    std::size_t channels_;
    double most_; // times that the interpolator can raise the samples
    meter_state state_;
    std::vector<double> block_;    // `reach` frames from before, then the new ones
    std::size_t interpolated_ = 0; // up to this frame of the block
    double peak_ = 0;
};

// The range and the true peak take most of the time of a measurement.
enum class loudness_measures { integrated, all };

class loudness_meter {
  public:
    // Which loudspeakers the channels are for. unit: of a sample; full scale is 1.
    loudness_meter(const loudspeakers &channels, int rate, double unit,
                   loudness_measures measures = loudness_measures::all);

    void add(const s32 *interleaved, std::size_t frames);

    std::optional<double> integrated() const; // LUFS; nothing where no 0.4 s are above -70
    std::optional<double> range() const;      // LU; nothing of less than 3 s, or not measured
    std::optional<double> true_peak() const;  // dBTP; nothing of silence, or not measured

  private:
    std::size_t channels_;
    int rate_;
    double unit_;
    s64 frames_ = 0;
    meter_state state_;
    std::optional<true_peak_meter> peak_;
    std::vector<double> block_;
};

} // namespace earshot_tool
