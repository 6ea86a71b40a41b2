#include "field/field_rotator.hpp"

#include <algorithm>
#include <limits>

#include "scene_library.hpp"

namespace earshot_tool {

field_rotator::field_rotator(int width) : width_(width), planes_(channel_count * block_frames) {
    const hoa_effect_config config{48000, 1, 0, 0, static_cast<u32>(width), 0};
    hoa_effect_requirement need{};
    require(hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config),
            "hoa_effect_get_req");
    memory_ = memory_of(need.static_size);
    require(hoa_effect_init(&effect_, 1, &config, sizeof config, memory_.data(), need.static_size),
            "hoa_effect_init");
}

// Rotation and focus are two parameters of the effect, and setting one starts a ramp from where
// the ramp of the other would have ended: setting both in a row would jump. So the record is
// filled in and one ramp is started for both.
void field_rotator::ramp_to(const field_setting &setting) {
    effect_->rotation_yaw = setting.yaw;
    effect_->rotation_pitch = setting.pitch;
    effect_->focus_yaw = setting.focus_yaw;
    effect_->focus_pitch = setting.focus_pitch;
    effect_->focus_enable = setting.focus ? 1 : 0;
    effect_->ramp_pos = 0;
    require(hoa_effect_calculate_effect_matrix(effect_), "hoa_effect_calculate_effect_matrix");
}

// The effect always ramps; it has no memory of samples, so the ramp can be played on silence.
void field_rotator::jump_to(const field_setting &setting) {
    ramp_to(setting);
    std::vector<s32> silence(channel_count * HOA_EFFECT_RAMP_FRAMES);
    process(silence.data(), HOA_EFFECT_RAMP_FRAMES);
}

void field_rotator::process(s32 *interleaved, std::size_t frames) {
    while (frames > 0) {
        const std::size_t count = std::min(frames, block_frames);
        if (width_ == 16)
            process_block<s16>(interleaved, count);
        else
            process_block<s32>(interleaved, count);
        interleaved += count * channel_count;
        frames -= count;
    }
}

template <class Sample> void field_rotator::process_block(s32 *interleaved, std::size_t frames) {
    constexpr int unused_bits = 32 - std::numeric_limits<Sample>::digits - 1;
    std::array<Sample *, channel_count> plane;
    std::array<void *, channel_count> data;
    for (std::size_t k = 0; k < channel_count; ++k) {
        plane[k] = reinterpret_cast<Sample *>(planes_.data() + k * block_frames);
        data[k] = plane[k];
        for (std::size_t i = 0; i < frames; ++i)
            plane[k][i] = static_cast<Sample>(interleaved[i * channel_count + k] >> unused_bits);
    }
    const hoa_effect_buffer in{static_cast<u32>(frames), channel_count, data.data()};
    hoa_effect_buffer out = in;
    require(hoa_effect_process(effect_, HOA_EFFECT_OUT_TAG, &out, sizeof out, HOA_EFFECT_IN_TAG,
                               &in, sizeof in),
            "hoa_effect_process");
    count_clipped(interleaved, plane, frames);
    for (std::size_t k = 0; k < channel_count; ++k)
        for (std::size_t i = 0; i < frames; ++i)
            interleaved[i * channel_count + k] = plane[k][i] * (1 << unused_bits);
}

// interleaved: what went in.
template <class Sample>
void field_rotator::count_clipped(const s32 *interleaved,
                                  const std::array<Sample *, channel_count> &plane,
                                  std::size_t frames) {
    constexpr Sample highest = std::numeric_limits<Sample>::max();
    constexpr Sample lowest = std::numeric_limits<Sample>::min();
    u32 at_highest = 0; // wide enough for a block
    u32 at_lowest = 0;
    for (const Sample *samples : plane) {
        for (std::size_t i = 0; i < frames; ++i) at_highest += samples[i] == highest;
        for (std::size_t i = 0; i < frames; ++i) at_lowest += samples[i] == lowest;
    }
    clipped_ += at_highest + at_lowest;
    if (at_lowest == 0) return;
    for (std::size_t i = 0; i < frames; ++i) {
        const s32 *frame = interleaved + i * channel_count;
        if (std::find(frame, frame + channel_count, INT32_MIN) == frame + channel_count) continue;
        for (const Sample *samples : plane) clipped_ -= samples[i] == lowest;
    }
}

} // namespace earshot_tool
