// Who is told where sources are, frame by frame: what filters them for two ears, or what makes a
// field of them.
#pragma once

#include <cstddef>

#include <earshot/types.h>

namespace earshot_scene {

class source_placer {
  public:
    virtual ~source_placer() = default;

    // Whether no two directions are the same.
    virtual bool is_continuous() const = 0;

    // Samples after a frame's beginning at which a source is where it has been placed for it: what
    // is continuous is on its way there all along the frame.
    virtual std::size_t placed_at() const = 0;

    // Direction of a source for the next frame, degrees in Q16, the azimuth from 0 to 360; every
    // source needs a place before the first frame.
    virtual void place(std::size_t source, s32 azimuth, s32 elevation) = 0;

    // For good: from no direction, see everywhere.
    virtual void place_everywhere(std::size_t source) = 0;
};

} // namespace earshot_scene
