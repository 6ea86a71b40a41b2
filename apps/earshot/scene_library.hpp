// The scene library's pieces that the whole tool works with; their names are the tool's own, too.
#pragma once

#include "scene/description/parse.hpp"
#include "scene/description/quote.hpp"
#include "scene/rendering/fixed_point.hpp"
#include "scene/rendering/frame_source.hpp"
#include "scene/rendering/library_memory.hpp"
#include "scene/rendering/library_status.hpp"

namespace earshot_tool {

using namespace earshot_scenes;

} // namespace earshot_tool
