// How a first-order field is turned and focused, as the command line says it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "field/keyframes.hpp"
#include "options.hpp"

namespace earshot_tool {

struct rotation_options {
    double yaw = 0;
    double pitch = 0;
    std::optional<focus_direction> focus;
    std::string keyframes;
};

void add_rotation_options(CLI::App &command, rotation_options &options);

// Whether the field is changed at all.
bool rotates(const rotation_options &options);

// The setting before the first keyframe.
field_setting constant_setting(const rotation_options &options);

// The rows of the keyframe file, if there is one. `input` is the field's name and `label` what the
// command line calls it.
std::vector<keyframe> keyframes_for(const rotation_options &options, const std::string &input,
                                    const std::string &label);

// Says, if there are any, how many rows of the keyframe file the field was too short for.
void note_unused_rows(const console &out, const std::string &keyframes, std::size_t rows,
                      const std::string &field);

} // namespace earshot_tool
