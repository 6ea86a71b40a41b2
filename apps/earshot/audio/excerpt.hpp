// A part of a sound, with the samples that it has in the whole.
#pragma once

#include <optional>

#include "scene_library.hpp"

namespace earshot_tool {

// Seconds from the beginning.
struct time_span {
    double from = 0;
    std::optional<double> to; // nothing: the end
};

// Throws usage_error for a span without a frame.
void check_span(const time_span &span, int rate);

class excerpt : public frame_source {
  public:
    // The span has been checked; frames are those nearest to its times. Goes to the first of them.
    // Throws processing_error where the whole, which the name is for, ends before it, if that is
    // known by then.
    excerpt(frame_source &whole, const time_span &span, const std::string &name);

    int channels() const override { return whole_.channels(); }
    int rate() const override { return whole_.rate(); }
    std::optional<s64> frames() const override;
    std::size_t read(s32 *interleaved, std::size_t frames) override;

    s64 first() const { return first_; } // frame, counted in the whole

    // After the last read: throws as well where there was no frame.
    void require_frames() const;

  private:
    [[noreturn]] void fail_at_end(s64 frames) const;

    frame_source &whole_;
    time_span span_;
    std::string name_;
    s64 first_;
    s64 end_;      // the largest number: that of the whole
    s64 position_; // in the whole
};

} // namespace earshot_tool
