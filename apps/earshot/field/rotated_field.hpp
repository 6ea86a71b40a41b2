// A field in AmbiX form, made of a source in any convention, and turned and focused if it is of
// first order.
#pragma once

#include <optional>
#include <vector>

#include "field/channel_layout.hpp"
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

    // Before the first read: the setting and its changes. The source has four channels at 48000 Hz.
    void rotate(const field_setting &setting, std::vector<keyframe> rows);

    int channels() const override { return source_.channels(); }
    int rate() const override { return source_.rate(); }
    std::optional<s64> frames() const override { return source_.frames(); }
    std::size_t read(s32 *interleaved, std::size_t frames) override;
    s64 skip(s64 frames) override;

    // Keyframes whose time has not come, and samples clipped so far.
    std::size_t unused_rows() const { return player_ ? player_->unused() : 0; }
    u64 layout_clipped() const { return layout_clipped_; }
    u64 rotation_clipped() const { return rotator_ ? rotator_->clipped() : 0; }

  private:
    frame_source &source_;
    channel_layout layout_;
    int width_;
    std::optional<field_rotator> rotator_;
    std::optional<keyframe_player> player_;
    u64 layout_clipped_ = 0;
};

} // namespace earshot_tool
