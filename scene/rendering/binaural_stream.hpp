// Two ears' sound of one or more inputs, as a source of frames. It ends with the longest of them,
// endless ones left aside, after what the filters ring on.
#pragma once

#include <functional>
#include <vector>

#include "scene/rendering/binaural_engine.hpp"
#include "scene/rendering/rendered_stream.hpp"
#include "scene/rendering/sliding_window.hpp"

namespace earshot_scene {

class binaural_stream : public rendered_stream {
  public:
    // Called before every frame, to place the sources for a time: samples from the first frame on.
    using mover = std::function<void(source_placer &, s64 time)>;

    // The channels of the inputs, in order, are the engine's sources. All are at 48000 Hz.
    // lowered: bits by which they have been lowered on the way here.
    binaural_stream(binaural_engine &engine, const std::vector<frame_source *> &inputs,
                    mover move = {}, int lowered = 0);

    // Ends after so many frames instead. Before the first read.
    void set_duration(s64 frames) { duration_ = frames; }

    int rate() const override { return binaural_rate; }
    std::optional<s64> frames() const override;

    const binaural_engine &engine() const { return engine_; }
    u64 unsafe_frames() const { return engine_.unsafe_frames(); }

  private:
    rendered_frame render_frame(s32 *pairs, s64 time) override;
    std::size_t frames_to_come(s64 time) const;

    binaural_engine &engine_;
    std::vector<frame_source *> inputs_;
    mover move_;
    std::optional<s64> duration_;
    std::vector<sliding_window> windows_;
    std::vector<const s32 *> sources_; // their windows
};

} // namespace earshot_scene
