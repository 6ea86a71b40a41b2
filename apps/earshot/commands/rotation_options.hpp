// How a field is turned and focused, as the command line says it.
#pragma once

#include <optional>
#include <string>

#include "field/keyframes.hpp"
#include "options.hpp"

namespace earshot_tool {

struct rotation_options {
    double yaw = 0;
    double pitch = 0;
    double roll = 0;
    std::optional<focus_direction> focus;
    std::string keyframes;
    std::string track;
};

void add_rotation_options(CLI::App &command, rotation_options &options);

} // namespace earshot_tool
