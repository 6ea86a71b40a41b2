// Who is told where sources are, frame by frame: what filters them for two ears, or what makes a
// field of them.
#pragma once

#include <cstddef>
#include <functional>

#include <earshot/types.h>

namespace earshot_scenes {

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

    // A source that has just been placed for the first time stays there for good.
    virtual void stays(std::size_t) {}

    // For good: from no direction, see everywhere.
    virtual void place_everywhere(std::size_t source) = 0;

    // A frame of which nothing is wanted: all that it changes are the places of the sources. Before
    // the next one that is wanted, one has to be processed: that one begins where the frame before
    // ended.
    virtual void skip_frame() = 0;

    // Before any frame that is processed: forgets all places. And whether those that sources have
    // had since tell everything, so that it makes no difference where they were before.
    virtual void forget_places() {}
    virtual bool knows_enough() const { return true; }
};

// Places the sources for every frame, at a time in samples. A copy begins anew.
using source_mover = std::function<void(source_placer &, s64 time)>;

// Has the sources go through the frames from one time to another, as if each frame had been
// processed. From the beginning on, `move` has not been called before.
void skip_places(source_placer &placer, source_mover &move, s64 from, s64 until,
                 std::size_t frame_length);

} // namespace earshot_scenes
