// Templates: JSON in which names in braces stand for values that are given elsewhere.
#pragma once

#include "scene/description/json_place.hpp"

namespace earshot_tool {

// The template with its values put in. A string that is "${name}" as a whole becomes the value,
// whatever its type; within a longer string it is a text, a number, true or false. "$$" is a
// dollar. Throws scene_error for a name without a value, for a value that is not used, and for a
// dollar that is neither.
earshot_scenes::json filled_template(const earshot_scenes::json &form,
                                     const earshot_scenes::json &values);

} // namespace earshot_tool
