// Turns a field of order 1 to 4 with a listener's head.
#pragma once

#include <memory>
#include <vector>

#include <earshot/field.h>

#include "scene/description/scene.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

// The rotation is made anew for the last frame of every block, and goes there over the block.
// Blocks begin at multiples of their length, so that a frame's rotation depends on its number
// alone.
class field_turner {
  public:
    // The way of the head may be long, and is shared by those that read it.
    field_turner(int order, std::shared_ptr<const orientation_track> head);

    // The next frames, interleaved Q31, in place.
    void process(s32 *interleaved, std::size_t frames);

    // Goes on with another frame than the next.
    void seek(s64 frame) { position_ = frame; }

    u64 clipped() const { return clipped_; }

  private:
    static constexpr s64 block_length = 96;

    static constexpr s64 nowhere = -2; // before the first frame of any block

    struct pose {
        s64 frame = nowhere;
        quaternion head;
        earshot_field_rotation rotation;
    };

    void enter_block(s64 begin);
    void set(pose &now, s64 frame, const pose &other) const;
    void rotate(s32 *interleaved, u32 begin, u32 frames);

    u32 order_;
    std::size_t channels_;
    std::shared_ptr<const orientation_track> head_;
    pose from_, to_;
    s64 position_ = 0;
    std::vector<s32> planes_; // a block of every channel
    std::vector<s32 *> plane_;
    u64 clipped_ = 0;
};

} // namespace earshot_tool
