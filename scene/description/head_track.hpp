// What a head tracker has written down.
#pragma once

#include <string>
#include <string_view>

#include "scene/description/scene.hpp"

namespace earshot_scenes {

// From a table of comma-separated values as a listener's orientation_track has it,
// time,yaw,pitch,roll or time,w,x,y,z; the heading may be missing. Throws scene_error "NAME:LINE:
// reason".
orientation_track parse_head_track(std::string_view text, const std::string &name);

} // namespace earshot_scenes
