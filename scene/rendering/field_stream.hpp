// A scene as an ambisonic field, AmbiX: every source through its chain and from the direction in
// which the listener has it. It ends with the longest source, endless ones left aside.
#pragma once

#include <functional>

#include "scene/rendering/field_mixer.hpp"
#include "scene/rendering/scene_stream.hpp"

namespace earshot_scenes {

class field_stream : private scene_parts, public rendered_stream {
  public:
    // Order 1 to 4. inputs and move: as for a scene_stream.
    field_stream(const scene &scene, const std::vector<frame_source *> &inputs, int order,
                 source_mover move = {});

    int rate() const override { return scene_rate; }
    std::optional<s64> frames() const override;

  private:
    rendered_frame render_frame(s32 *interleaved, s64 time) override;
    s64 skip_frames(s64 time, s64 count) override;
    s64 skip_sources(s64 frames);
    std::size_t read_sources();

    std::optional<s64> duration_;
    field_mixer mixer_;
    std::vector<s32> samples_; // of a frame, source after source
};

} // namespace earshot_scenes
