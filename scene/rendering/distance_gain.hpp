// What the distance between a source and the listener does to the source's level.
#pragma once

#include <cstddef>

#include "scene/description/scene.hpp"

namespace earshot_scenes {

// The gain at a distance (metres, Q16), Q31: full, 2^31, up to the minimum, or to one metre where
// that is farther, and falling from there to nothing at the maximum: with m / distance less what is
// left of it at the maximum, as a share of what that is at m; in a straight line; or not before the
// last percent of the maximum. There is no jump anywhere: what moves through the borders does not
// click.
u32 rolled_off(s32 distance, const scene_rolloff &rolloff);

// The gain follows both ways: in blocks of 96 samples it ramps to what it is at the end of the
// block.
class distance_gain {
  public:
    static constexpr std::size_t block_length = 96;

    distance_gain(const scene_listener &listener, const track<position> &source,
                  const scene_rolloff &rolloff);

    // The next samples, in place, the first of them those of the beginning of the scene: whole
    // blocks, but for the last call.
    void process(s32 *samples, std::size_t count);

    // Goes past the next samples: whole blocks, but for the last call.
    void skip(s64 count);

  private:
    u32 at_time(s64 time) const;
    void ramp(s32 *samples, std::size_t count, u32 target);

    const scene_listener &listener_;
    const track<position> &source_;
    scene_rolloff rolloff_;
    bool follows_; // one of the two moves
    u32 gain_;     // of the last sample, Q31
    s64 time_ = 0; // of the next sample
};

} // namespace earshot_scenes
