// The head through whose ears sound is heard: the library's own, or one from a file.
#pragma once

#include <string>

#include "preparation/prepare.hpp"
#include "scene/rendering/following_engine.hpp"

namespace earshot_tool {

class console;

struct listening_head {
    earshot_scenes::shared_head head;
    std::string text; // what it is, in a line
};

// The head of a file: a prepared one, or a SOFA file, which is prepared on the fly and says how
// long that took. Empty: the built-in one. Throws processing_error; there is no other head instead.
listening_head load_head(const std::string &path, const console &out);

// Bytes of a head or of a SOFA file, and what is said of larger ones.
inline constexpr std::size_t most_head_bytes = std::size_t{2} << 30;
inline constexpr const char *is_too_large = "is larger than any head, 2 GiB; is it the right file?";

// The bytes of a SOFA file to a head; the path is for messages. Throws processing_error.
preparation::prepared_head prepare_sofa(const std::string &path, const std::string &sofa,
                                        const preparation::head_options &options);

// Whether a file begins like a prepared head.
bool is_head_file(const std::string &path);

// "NAME, 710 directions".
std::string head_text(const earshot_head_info &info);

earshot_head_info describe_head(const earshot_head &head);

} // namespace earshot_tool
