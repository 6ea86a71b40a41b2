// What somebody may have meant who wrote a name that there is not.
#pragma once

#include <string>
#include <vector>

namespace earshot_tool {

// The name that takes the fewest changes of a letter, at most a third of its letters, or an empty
// text where none is that close.
std::string closest_name(const std::string &written, const std::vector<std::string> &names);

} // namespace earshot_tool
