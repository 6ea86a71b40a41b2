// A field in AmbiX form, made of a source in any convention; turned and focused by the effect if it
// is of first order, turned after a head of any orientation if it is of order 1 to 4.
#pragma once

#include <optional>
#include <vector>

#include "field/channel_layout.hpp"
#include "field/field_turner.hpp"
#include "field/keyframe_player.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

class rotated_field : public frame_source {
  public:
    // width: of the arithmetic, 16 or 32 bits.
    rotated_field(frame_source &source, channel_layout layout, int width);
    // The player refers to the rotator.
    rotated_field(const rotated_field &) = delete;
    rotated_field &operator=(const rotated_field &) = delete;

    // Before the first read: the effect's setting and its changes. The source has four channels at
    // 48000 Hz.
    void rotate(const field_setting &setting, std::vector<keyframe> rows);

    // Before the first read: the head's way, after which the field is turned when the effect is
    // done with it. The source has the channels of an order from 1 to 4, at 48000 Hz.
    void turn(std::shared_ptr<const orientation_track> head);

    int channels() const override { return source_.channels(); }
    int rate() const override { return source_.rate(); }
    std::optional<s64> frames() const override { return source_.frames(); }
    std::size_t read(s32 *interleaved, std::size_t frames) override;
    s64 skip(s64 frames) override;

    // Frames read or skipped, and samples clipped, so far.
    s64 position() const { return position_; }
    u64 layout_clipped() const { return layout_clipped_; }
    u64 rotation_clipped() const;

  private:
    frame_source &source_;
    channel_layout layout_;
    int width_;
    std::optional<field_rotator> rotator_;
    std::optional<keyframe_player> player_;
    std::optional<field_turner> turner_;
    s64 position_ = 0;
    u64 layout_clipped_ = 0;
};

} // namespace earshot_tool
