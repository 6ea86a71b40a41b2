// A sound of the caller's, behind functions of C, as a source of frames.
#pragma once

#include <earshot/scene.h>

#include "scene/rendering/looping_source.hpp"

namespace earshot_scenes {

class input_source : public rewindable_source {
  public:
    explicit input_source(const earshot_scene_input &input) : input_(input) {}

    int channels() const override { return 1; }
    int rate() const override { return EARSHOT_SCENE_RATE; }
    std::optional<s64> frames() const override;
    bool endless() const override { return input_.frames == EARSHOT_SCENE_ENDLESS; }

    // They throw input_error.
    std::size_t read(s32 *mono, std::size_t frames) override;
    s64 skip(s64 frames) override;
    void rewind() override;

  private:
    earshot_scene_input input_;
};

} // namespace earshot_scenes
