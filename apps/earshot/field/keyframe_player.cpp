#include "field/keyframe_player.hpp"

#include <algorithm>
#include <utility>

#include "field/channel_layout.hpp"

namespace earshot_tool {

keyframe_player::keyframe_player(field_rotator &rotator, std::vector<keyframe> rows)
    : rotator_(rotator), rows_(std::move(rows)) {}

void keyframe_player::process(s32 *interleaved, std::size_t frames) {
    while (frames > 0) {
        if (next_ < rows_.size() && rows_[next_].frame == position_)
            rotator_.ramp_to(rows_[next_++].setting);
        s64 count = static_cast<s64>(frames);
        if (next_ < rows_.size()) count = std::min(count, rows_[next_].frame - position_);
        const auto length = static_cast<std::size_t>(count);
        rotator_.process(interleaved, length);
        interleaved += length * first_order_channels;
        frames -= length;
        position_ += count;
    }
}

} // namespace earshot_tool
