// A sound that is computed frame by frame, as a source of frames: cut into reads of any length, at
// a level of the caller's choice.
#pragma once

#include <vector>

#include "scene/rendering/frame_source.hpp"
#include "scene/rendering/output_level.hpp"

namespace earshot_scenes {

// Frames of the longest of several sources, endless ones left aside, where that is known.
std::optional<s64> longest_of(const std::vector<frame_source *> &sources);

class rendered_stream : public frame_source {
  public:
    // On top of the natural level, and where samples are clipped. Before the first read.
    void set_level(const output_level &level, const sample_range &range);

    int channels() const override { return channels_; }
    std::size_t read(s32 *interleaved, std::size_t frames) override;

    // Computed are the frames that are read and the one before.
    s64 skip(s64 frames) override;

    // Of what has been read, at the natural level and before any clipping; full scale is
    // 2^(31 + peak_fraction).
    static constexpr int peak_fraction = 8;
    s64 peak() const { return peak_; }
    u64 clipped() const { return clipped_; }

    // Frames that have been read in which sums could have left the range of their words.
    virtual u64 unsafe_frames() const { return 0; }

  protected:
    // Frames of so many samples of every channel. lowered: bits by which the samples of every frame
    // are below the natural level.
    rendered_stream(int channels, std::size_t frame_length, int lowered);

    // Of the next frame, and where in time it begins: how many samples of it there are, 0 at the
    // end, and their interleaved words, which times 2^exponent are Q31. exponent >= -peak_fraction.
    struct rendered_frame {
        std::size_t length;
        int exponent;
    };
    virtual rendered_frame render_frame(s32 *interleaved, s64 time) = 0;

    // Goes past so many frames, the first of which begins at the time, or to the end. The frame
    // that is rendered next may come out wrong. Returns the samples.
    virtual s64 skip_frames(s64 time, s64 count) = 0;

    // Samples that an input goes past before the others follow: where several share a reading, what
    // one of them has left behind is kept for the rest.
    static constexpr s64 longest_lead = 48000;

  private:
    bool next_frame();
    s64 use(s64 samples);
    void note_peak(s64 peak);

    int channels_;
    s64 frame_length_;
    int lowered_;
    output_level level_;
    sample_range range_;
    std::vector<s32> words_; // of a frame
    rendered_frame frame_{0, 0};
    output_level frame_level_; // of its words
    std::size_t used_ = 0;     // of its samples
    s64 position_ = 0;         // samples of the frames before it
    s64 peak_ = 0;
    u64 clipped_ = 0;
};

} // namespace earshot_scenes
