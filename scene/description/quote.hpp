// Words of files and of the command line in messages: somebody else chose them, and how long they
// are.
#pragma once

#include <string>
#include <string_view>

namespace earshot_scenes {

// At most 60 bytes of a text, whole characters of UTF-8, and "..." where there were more.
std::string shortened(std::string_view text);

// The same between quotation marks.
std::string in_quotes(std::string_view text);

// A message as one line for a terminal: a question mark stands for every control character and for
// what is not UTF-8, and of more than 1000 bytes the middle is left out.
std::string message_line(std::string_view text);

} // namespace earshot_scenes
