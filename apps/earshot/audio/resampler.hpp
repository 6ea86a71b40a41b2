// Conversion to another sample rate with libsoxr.
#pragma once

#include <string>
#include <vector>

#include <soxr.h>

#include "scene_library.hpp"

namespace earshot_tool {

class console;

// The frame that begins at the same time at another rate, to the nearest frame (halves up).
s64 frames_at_rate(s64 frames, int from_rate, int to_rate);

// Yields frames_at_rate(length) frames, aligned with the source.
class resampler : public frame_source {
  public:
    resampler(frame_source &source, int rate);
    ~resampler() override;
    resampler(const resampler &) = delete;
    resampler &operator=(const resampler &) = delete;

    int channels() const override { return source_.channels(); }
    int rate() const override { return rate_; }
    std::optional<s64> frames() const override;
    bool endless() const override { return source_.endless(); }
    std::size_t read(s32 *interleaved, std::size_t frames) override;
    s64 skip(s64 frames) override;

    u64 clipped() const;

  private:
    bool is_used_up() const { return source_ended_ && block_used_ == block_filled_; }
    std::size_t convert(s32 *interleaved, std::size_t frames);
    std::size_t complete(s32 *interleaved, std::size_t got, std::size_t frames);

    frame_source &source_;
    int rate_;
    soxr_t engine_ = nullptr;
    std::vector<s32> block_;
    std::size_t block_used_ = 0;
    std::size_t block_filled_ = 0;
    s64 source_frames_ = 0;
    s64 produced_ = 0;
    bool source_ended_ = false;
};

// "NAME: the rate is converted".
void note_conversion(const console &out, const std::string &name, int from_rate, int to_rate);

} // namespace earshot_tool
