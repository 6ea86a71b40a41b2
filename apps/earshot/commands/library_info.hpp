// What this build of the library is.
#pragma once

#include <string>

namespace earshot_tool {

// Lines of a label and a value.
std::string library_info();

} // namespace earshot_tool
