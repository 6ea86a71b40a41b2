#include "scene/rendering/dc_blocker.hpp"

#include "scene/description/scene.hpp"

namespace earshot_scene {

namespace {

// A sample is two numbers that add up to it, upper * 2^15 + lower. Both are narrow enough for the
// library's blocker, in which differences of samples have 18 bits, and the filter is linear: the
// sum of what becomes of them is what would have become of the sample, but for rounding.
constexpr int lower_bits = 15;
constexpr int lower_gain = 2; // bits, which make the lower part as wide as the upper

} // namespace

dc_blocker::dc_blocker() {
    dc_block_handle storage{};
    for (stage *each : {&upper_, &lower_})
        dc_block_init(&pole_, &storage, scene_rate, each->input, each->output);
}

// The stored output has 14 more fraction bits than the one that is handed out, so that it is the
// one to take, and every call is for a single sample.
s32 dc_blocker::stage::next(s32 sample, u16 pole) {
    s32 coarse = 0;
    dc_block(&sample, &coarse, static_cast<s16>(pole), input, output, 1, 1);
    return output[0];
}

// The outputs are in units of 2^(15 - 14) and of 2^(-2 - 14).
s32 dc_blocker::next(s32 sample) {
    const s32 upper = static_cast<s32>((s64{sample} + (1 << (lower_bits - 1))) >> lower_bits);
    const s32 lower = static_cast<s32>(sample - s64{upper} * (1 << lower_bits));
    const s64 sum = s64{upper_.next(upper, pole_)} +
                    ((s64{lower_.next(lower * (1 << lower_gain), pole_)} + (1 << 16)) >> 17);
    if (sum > INT32_MAX) return INT32_MAX;
    if (sum < INT32_MIN) return INT32_MIN;
    return static_cast<s32>(sum);
}

void dc_blocker::process(s32 *samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) samples[i] = next(samples[i]);
}

} // namespace earshot_scene
