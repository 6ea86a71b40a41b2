// What filters sources for two ears, a frame at a time: a window of 256 samples of every source
// goes in, the convolution of the windows with the sources' filters comes out, as many samples of
// it as a frame is long. Windows begin so many samples before the frame that output sample n
// belongs to input sample n.
#pragma once

#include <cstddef>
#include <optional>

#include <earshot/types.h>

#include "scene/rendering/fixed_point.hpp"
#include "scene/rendering/source_placer.hpp"

namespace earshot_scenes {

inline constexpr std::size_t window_length = 256;
inline constexpr std::size_t filter_taps = 128;
inline constexpr std::size_t longest_frame = 128; // where no filter ever changes
inline constexpr std::size_t most_sources = 4096;
inline constexpr int binaural_rate = 48000; // Hz

class binaural_engine : public source_placer {
  public:
    // The library's instances point into memory of these objects.
    binaural_engine(const binaural_engine &) = delete;
    binaural_engine &operator=(const binaural_engine &) = delete;

    std::size_t sources() const { return shape_.sources; }
    std::size_t frame_length() const { return shape_.frame_length; }
    std::size_t lead() const { return shape_.lead; } // samples of a window before the frame
    // Whether every direction has filters of its own.
    bool is_continuous() const override { return shape_.continuous; }
    std::size_t placed_at() const override { return is_continuous() ? frame_length() : 0; }

    // What has to be done to a source's samples, Q31, before they get here.
    virtual sample_lowering lowering() const { return {}; }

    // windows: one of 256 samples for every source. ears: frame_length pairs, left and right, which
    // times 2^(what is returned) are Q31 at the natural level.
    virtual int process(const s32 *const *windows, s32 *ears) = 0;

    // Bits of headroom, where they are fixed.
    virtual std::optional<int> guard() const = 0;

    // Frames in which sums could have left the range of their words, with a fixed guard.
    virtual u64 unsafe_frames() const = 0;

  protected:
    struct shape {
        std::size_t sources;
        std::size_t frame_length;
        std::size_t lead;
        bool continuous;
    };
    explicit binaural_engine(const shape &shape) : shape_(shape) {}

  private:
    shape shape_;
};

} // namespace earshot_scenes
