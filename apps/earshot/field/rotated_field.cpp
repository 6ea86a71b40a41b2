#include "field/rotated_field.hpp"

#include <algorithm>
#include <utility>

#include "field/spherical_harmonics.hpp"

namespace earshot_tool {

rotated_field::rotated_field(frame_source &source, channel_layout layout, int width)
    : source_(source), layout_(layout), width_(width) {}

void rotated_field::rotate(const field_setting &setting, std::vector<keyframe> rows) {
    rotator_.emplace(width_);
    rotator_->jump_to(setting);
    player_.emplace(*rotator_, std::move(rows));
}

void rotated_field::turn(std::shared_ptr<const orientation_track> head) {
    turner_.emplace(order_of_channels(channels()), std::move(head));
}

u64 rotated_field::rotation_clipped() const {
    return (rotator_ ? rotator_->clipped() : 0) + (turner_ ? turner_->clipped() : 0);
}

std::size_t rotated_field::read(s32 *interleaved, std::size_t frames) {
    const std::size_t got = source_.read(interleaved, frames);
    layout_clipped_ += convert_to_ambix(layout_, interleaved, got, channels(), width_);
    if (player_) player_->process(interleaved, got);
    if (turner_) turner_->process(interleaved, got);
    position_ += static_cast<s64>(got);
    return got;
}

// The effect remembers its ramps and no samples: silence takes it as far. A turn belongs to its
// frame.
s64 rotated_field::skip(s64 frames) {
    const s64 got = source_.skip(frames);
    position_ += got;
    if (turner_) turner_->seek(position_);
    if (!player_) return got;
    std::vector<s32> silence(block_frames * static_cast<std::size_t>(channels()));
    for (s64 done = 0; done < got; done += static_cast<s64>(block_frames))
        player_->process(silence.data(), static_cast<std::size_t>(
                                             std::min(got - done, static_cast<s64>(block_frames))));
    return got;
}

} // namespace earshot_tool
