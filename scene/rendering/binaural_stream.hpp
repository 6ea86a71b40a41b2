// Two ears' sound of one or more inputs, as a source of frames. It ends with the longest of them,
// endless ones left aside, after what the filters ring on.
#pragma once

#include <functional>
#include <vector>

#include "scene/rendering/binaural_engine.hpp"
#include "scene/rendering/rendered_stream.hpp"
#include "scene/rendering/sliding_window.hpp"

namespace earshot_scenes {

class binaural_stream : public rendered_stream {
  public:
    // The channels of the inputs, in order, are the engine's sources. All are at 48000 Hz.
    // move: called before every frame. lowered: bits by which they have been lowered on the way
    // here.
    binaural_stream(binaural_engine &engine, const std::vector<frame_source *> &inputs,
                    source_mover move = {}, int lowered = 0);

    // Ends after so many frames instead. Before the first read.
    void set_duration(s64 frames) { duration_ = frames; }

    int rate() const override { return binaural_rate; }
    std::optional<s64> frames() const override;
    s64 skip(s64 frames) override;

    const binaural_engine &engine() const { return engine_; }
    u64 unsafe_frames() const override { return engine_.unsafe_frames() - unsafe_skipped_; }

  private:
    rendered_frame render_frame(s32 *pairs, s64 time) override;
    s64 skip_frames(s64 time, s64 count) override;
    void skip_windows(s64 count);
    std::optional<s64> end() const;

    binaural_engine &engine_;
    std::vector<frame_source *> inputs_;
    source_mover move_;
    std::optional<s64> duration_;
    std::vector<sliding_window> windows_;
    std::vector<const s32 *> sources_; // their windows
    u64 unsafe_skipped_ = 0;
};

} // namespace earshot_scenes
