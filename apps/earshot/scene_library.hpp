// The scene library's pieces that the whole tool works with; their names are the tool's own, too.
#pragma once

#include "scene/fixed_point.hpp"
#include "scene/frame_source.hpp"
#include "scene/library_status.hpp"
#include "scene/parse.hpp"

namespace earshot_tool {

using namespace earshot_scene;

} // namespace earshot_tool
