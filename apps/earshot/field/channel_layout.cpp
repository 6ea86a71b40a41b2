#include "field/channel_layout.hpp"

#include <algorithm>

#include "scene_library.hpp"

namespace earshot_tool {

namespace {

// Factors in Q30.
constexpr s64 sqrt_2 = 1518500250;
// 1 / sqrt(2 n + 1) of the orders n from 0 on.
constexpr s64 n3d_to_sn3d[] = {1 << 30, 619925131, 480191942, 405836263, 357913941};

// One channel of a field, to the factor and the width.
u64 scale(s32 *channel, std::size_t frames, std::size_t channels, s64 factor_q30, int width) {
    const int dropped = 32 - width;
    u64 clipped = 0;
    for (std::size_t i = 0; i < frames; ++i) {
        s32 &sample = channel[i * channels];
        const s64 value = rounded_shift(sample * factor_q30, 30 + dropped);
        sample = static_cast<s32>(clamp_counted(value, width, clipped) * (s64{1} << dropped));
    }
    return clipped;
}

} // namespace

u64 convert_to_ambix(channel_layout from, s32 *interleaved, std::size_t frames, int channels,
                     int width) {
    const auto count = static_cast<std::size_t>(channels);
    u64 clipped = 0;
    if (from == channel_layout::fuma) {
        for (std::size_t i = 0; i < frames; ++i) {
            s32 *xyz = interleaved + i * count + 1;
            std::rotate(xyz, xyz + 1, xyz + 3);
        }
        clipped = scale(interleaved, frames, count, sqrt_2, width);
    } else if (from == channel_layout::n3d) {
        for (std::size_t order = 1, k = 1; k < count; ++k) {
            if (k == (order + 1) * (order + 1)) ++order;
            clipped += scale(interleaved + k, frames, count, n3d_to_sn3d[order], width);
        }
    }
    return clipped;
}

} // namespace earshot_tool
