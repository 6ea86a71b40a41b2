// The two ways in which a command ends early; main() turns them into a line and an exit code.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

namespace earshot_tool {

// The command line asks for something that cannot be: exit code 1.
struct usage_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Something went wrong with a file or on the way: exit code 2.
struct processing_error : std::runtime_error {
    using std::runtime_error::runtime_error;

    processing_error(const std::string &file, const std::string &cause)
        : std::runtime_error(file + ": " + cause) {}
};

// What is not whole, or makes no sense inside.
inline processing_error damaged_file(const std::string &file, const std::string &fault) {
    return {file, fault + "; copy or export it again"};
}

inline std::string system_cause(int error_number) { return std::strerror(error_number); }

} // namespace earshot_tool
