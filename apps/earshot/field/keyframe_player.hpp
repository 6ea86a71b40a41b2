// Changes the setting of a rotator while frames pass through it.
#pragma once

#include "field/keyframes.hpp"

namespace earshot_tool {

class keyframe_player {
  public:
    keyframe_player(field_rotator &rotator, std::vector<keyframe> rows);

    // The next frames, interleaved Q31, in place. A block is split where a keyframe falls into it,
    // so that the result does not depend on how the frames are cut into blocks.
    void process(s32 *interleaved, std::size_t frames);

  private:
    field_rotator &rotator_;
    std::vector<keyframe> rows_;
    std::size_t next_ = 0;
    s64 position_ = 0;
};

} // namespace earshot_tool
