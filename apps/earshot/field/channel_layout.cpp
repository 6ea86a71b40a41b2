#include "field/channel_layout.hpp"

#include "scene_library.hpp"

namespace earshot_tool {

namespace {

// Factors in Q30.
constexpr s64 sqrt_2 = 1518500250;
// 1 / sqrt(2 n + 1) of the orders n from 0 on.
constexpr s64 n3d_to_sn3d[] = {1 << 30, 619925131, 480191942, 405836263, 357913941};

s32 scaled(s32 sample, s64 factor_q30, int width, u64 &clipped) {
    const int dropped = 32 - width;
    const s64 value = rounded_shift(sample * factor_q30, 30 + dropped);
    return static_cast<s32>(clamp_counted(value, width, clipped) * (s64{1} << dropped));
}

} // namespace

u64 convert_to_ambix(channel_layout from, s32 *interleaved, std::size_t frames, int channels,
                     int width) {
    u64 clipped = 0;
    if (from == channel_layout::ambix) return clipped;
    for (std::size_t i = 0; i < frames; ++i) {
        s32 *frame = interleaved + i * static_cast<std::size_t>(channels);
        if (from == channel_layout::fuma) {
            const s32 x = frame[1];
            frame[0] = scaled(frame[0], sqrt_2, width, clipped);
            frame[1] = frame[2];
            frame[2] = frame[3];
            frame[3] = x;
        } else {
            for (int order = 1, k = 1; k < channels; ++k) {
                if (k == (order + 1) * (order + 1)) ++order;
                frame[k] = scaled(frame[k], n3d_to_sn3d[order], width, clipped);
            }
        }
    }
    return clipped;
}

} // namespace earshot_tool
