// Small files that are text: scenes and tables.
#pragma once

#include <string>

namespace earshot_tool {

// "standard input" for "-", else the path.
std::string text_file_name(const std::string &path);

// The whole file, or standard input for "-". Throws processing_error.
std::string read_text(const std::string &path);

} // namespace earshot_tool
