// Overlapping windows of a source, channel by channel: silence before the source and after it. A
// sample is lowered once, when it comes in, and not again in every window that has it.
#pragma once

#include <optional>
#include <vector>

#include "scene/rendering/fixed_point.hpp"
#include "scene/rendering/frame_source.hpp"

namespace earshot_scenes {

class sliding_window {
  public:
    // Windows of `length` frames, `step` apart; the first begins `lead` frames before the source.
    sliding_window(frame_source &source, std::size_t length, std::size_t lead, std::size_t step,
                   const sample_lowering &lower);

    // To the first window, or to the next one.
    void advance();

    // Past so many windows: what advance() comes to next is as if it had been to all of them.
    void skip(s64 windows);

    std::size_t channels() const { return channels_; }
    const s32 *channel(std::size_t k) const { return planes_.data() + k * capacity_ + start_; }

    // The number of the source's frames, once a window reaches its end.
    std::optional<s64> source_frames() const;

  private:
    void refill();
    std::size_t read(std::size_t at);

    frame_source &source_;
    sample_lowering lower_;
    std::size_t channels_;
    std::size_t length_;
    std::size_t step_;
    std::size_t capacity_;    // frames of a plane
    std::vector<s32> planes_; // a plane for every channel
    std::vector<s32> block_;  // interleaved, of a source with several channels
    std::size_t start_ = 0;   // of the window in the planes
    std::size_t filled_ = 0;  // frames of the planes that are in use
    s64 source_frames_ = 0;   // read so far
    bool source_ended_ = false;
};

} // namespace earshot_scenes
