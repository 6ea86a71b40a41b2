// Orders, channels and directions of fields, and the gains that place a source in one (see
// earshot/field.h).
#pragma once

#include <array>

#include <earshot/field.h>

namespace earshot_tool {

inline constexpr int highest_order = EARSHOT_FIELD_ORDER;
inline constexpr int most_channels = EARSHOT_FIELD_CHANNELS;

constexpr int channels_of_order(int order) { return (order + 1) * (order + 1); }

// The order of a field with so many channels, or 0 if there is none.
constexpr int order_of_channels(int channels) {
    for (int order = 1; order <= 7; ++order)
        if (channels_of_order(order) == channels) return order;
    return 0;
}

// Any finite number of degrees as a fraction of a turn, Q32, without loss for large ones.
u32 turn_of_azimuth(double degrees);

// The gains of all directions at one elevation.
class source_gains {
  public:
    // elevation: a fraction of a turn, Q32.
    source_gains(int order, u32 elevation);

    // Gains for channels 0 to (order + 1)^2 - 1 at an azimuth (fraction of a turn, Q32).
    void at(u32 azimuth, std::array<s32, most_channels> &gains) const;

  private:
    earshot_field_circle circle_;
};

} // namespace earshot_tool
