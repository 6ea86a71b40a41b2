// The head through whose ears sound is heard: the library's own, or one from a file.
#pragma once

#include <string>

#include "scene/rendering/following_engine.hpp"

namespace earshot_tool {

class console;

struct listening_head {
    earshot_scene::shared_head head;
    std::string text; // what it is, in a line
};

// The head of a file: a prepared one, or a SOFA file, which is prepared on the fly and says how
// long that took. Empty: the built-in one. Throws processing_error; there is no other head instead.
listening_head load_head(const std::string &path, const console &out);

// Whether a file begins like a prepared head.
bool is_head_file(const std::string &path);

// "NAME, 710 directions".
std::string head_text(const earshot_head_info &info);

earshot_head_info describe_head(const earshot_head &head);

} // namespace earshot_tool
