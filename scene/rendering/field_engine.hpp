// Filters the channels of an ambisonic field (ACN, SN3D) with those filters of a head that are made
// for them. They never change: frames have 128 samples.
#pragma once

#include "scene/rendering/following_engine.hpp"

namespace earshot_scenes {

class field_engine : public following_engine {
  public:
    // A channel for each source, at most as many as the head has.
    field_engine(shared_head head, std::size_t channels, std::optional<int> guard);

    // Channels have their places.
    void place(std::size_t, s32, s32) override {}
    void place_everywhere(std::size_t) override {}

  private:
    shared_head head_;
};

} // namespace earshot_scenes
