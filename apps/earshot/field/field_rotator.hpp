// Turns and focuses a first-order field with the library's ambisonic effect.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include <earshot/hoa_effect.h>

#include "field/channel_layout.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

// Everything that the effect is told at one time. Angles are degrees in Q16.
struct field_setting {
    s32 yaw = 0;
    s32 pitch = 0;
    bool focus = false;
    s32 focus_yaw = 0;
    s32 focus_pitch = 0;

    bool operator==(const field_setting &) const = default;
};

class field_rotator {
  public:
    // width: of the arithmetic, 16 or 32 bits.
    explicit field_rotator(int width);

    // Ramps to the setting, beginning with the next frame.
    void ramp_to(const field_setting &setting);

    // Has the setting in force from the next frame on.
    void jump_to(const field_setting &setting);

    // Processes interleaved Q31 frames in place; in 16 bits the lower half of each word is zero.
    void process(s32 *interleaved, std::size_t frames);

    // Samples at the bounds of the width, which is where the effect saturates. Full scale passes
    // it one unit lower if positive, unchanged if negative: the lower bound does not count in
    // frames that came with it.
    u64 clipped() const { return clipped_; }

  private:
    static constexpr std::size_t channel_count = first_order_channels;

    template <class Sample> void process_block(s32 *interleaved, std::size_t frames);
    template <class Sample>
    void count_clipped(const s32 *interleaved, const std::array<Sample *, channel_count> &plane,
                       std::size_t frames);

    int width_;
    library_memory memory_;
    hoa_effect_state *effect_ = nullptr;
    std::vector<s32> planes_; // four channels of a block, as s32 or s16
    u64 clipped_ = 0;
};

} // namespace earshot_tool
