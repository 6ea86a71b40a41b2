// Conventions for the channels of a field, and the conversion to the one that the tool works with:
// AmbiX, that is ACN order (W Y Z X ...) and SN3D normalisation.
#pragma once

#include <cstddef>
#include <string>

#include <earshot/types.h>

namespace earshot_tool {

enum class channel_layout {
    ambix,
    fuma, // W X Y Z, W lower by 3 dB; first order only
    n3d,  // ACN order, channels of order n louder by sqrt(2 n + 1)
};

inline constexpr int first_order_channels = 4;

// Converts frames of an order up to 4 in place. Samples are rounded to `width` bits, the width that
// the following steps work with; the number of clipped samples is returned.
u64 convert_to_ambix(channel_layout from, s32 *interleaved, std::size_t frames, int channels,
                     int width);

} // namespace earshot_tool
