#include "field/spherical_harmonics.hpp"

#include <cmath>

#include "scene/motion/track.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

// The remainder is exact.
u32 turn_of_azimuth(double degrees) {
    return turn_of_degrees(degrees_q16(std::fmod(degrees, 360.0)));
}

source_gains::source_gains(int order, u32 elevation) {
    require(earshot_field_circle_at(static_cast<u32>(order), elevation, &circle_),
            "earshot_field_circle_at");
}

void source_gains::at(u32 azimuth, std::array<s32, most_channels> &gains) const {
    require(earshot_field_circle_gains(&circle_, azimuth, gains.data()),
            "earshot_field_circle_gains");
}

} // namespace earshot_tool
