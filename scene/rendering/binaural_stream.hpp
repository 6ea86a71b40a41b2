// Two ears' sound of one or more inputs, as a source of frames. It ends with the longest of them,
// endless ones left aside, after what the filters ring on.
#pragma once

#include <functional>
#include <vector>

#include "scene/rendering/binaural_engine.hpp"
#include "scene/rendering/output_level.hpp"
#include "scene/rendering/sliding_window.hpp"

namespace earshot_scene {

class binaural_stream : public frame_source {
  public:
    // Called before every frame, to place the sources for a time: samples from the first frame on.
    using mover = std::function<void(source_placer &, s64 time)>;

    // The channels of the inputs, in order, are the engine's sources. All are at 48000 Hz.
    // lowered: bits by which they have been lowered on the way here.
    binaural_stream(binaural_engine &engine, const std::vector<frame_source *> &inputs,
                    mover move = {}, int lowered = 0);

    // Ends after so many frames instead. Before the first read.
    void set_duration(s64 frames) { duration_ = frames; }

    // On top of the natural level, and where samples are clipped. Before the first read.
    void set_level(const output_level &level, const sample_range &range);

    int channels() const override { return 2; }
    int rate() const override { return binaural_rate; }
    std::optional<s64> frames() const override;
    std::size_t read(s32 *interleaved, std::size_t frames) override;

    // The sources go their ways through all frames; filtered are those that are read and the one
    // before.
    s64 skip(s64 frames) override;

    // Of what has been read, at the natural level and before any clipping; full scale is
    // 2^(31 + peak_fraction).
    static constexpr int peak_fraction = 8;
    s64 peak() const { return peak_; }
    u64 clipped() const { return clipped_; }
    const binaural_engine &engine() const { return engine_; }
    u64 unsafe_frames() const { return engine_.unsafe_frames() - unsafe_skipped_; }

  private:
    bool render_frame();
    s64 use(s64 frames);
    s64 skip_whole(s64 count);
    void move_until(s64 time);
    void move_through(s64 from, s64 until);
    void note_peak(s64 peak);
    std::optional<s64> end() const;
    std::size_t frames_to_come() const;

    binaural_engine &engine_;
    std::vector<frame_source *> inputs_;
    mover move_;
    int lowered_;
    std::optional<s64> duration_;
    output_level level_;
    output_level frame_level_; // of what the engine made
    int frame_exponent_ = 0;
    sample_range range_;
    std::vector<sliding_window> windows_;
    std::vector<const s32 *> sources_; // their windows
    std::vector<s32> frame_;           // pairs
    std::size_t used_ = 0;
    std::size_t made_ = 0;
    s64 position_ = 0; // frames made before this one
    s64 peak_ = 0;
    u64 clipped_ = 0;
    u64 unsafe_skipped_ = 0;
};

} // namespace earshot_scene
