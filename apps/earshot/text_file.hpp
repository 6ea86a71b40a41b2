// Small files that are text: scenes and tables.
#pragma once

#include <string>

namespace earshot_tool {

// "standard input" for "-", else the path.
std::string text_file_name(const std::string &path);

// The whole file, or standard input for "-". Reading stops where there are more bytes than `most`,
// and the error is that the file `is_too_large`. Throws processing_error.
std::string read_text(const std::string &path, std::size_t most, const std::string &is_too_large);

} // namespace earshot_tool
