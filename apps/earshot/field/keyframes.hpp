// Settings over time, from a table of comma-separated values:
//
//     seconds,yaw,pitch[,focus yaw,focus pitch]
//
// Numbers have a decimal point and angles are degrees. Blank lines and lines that begin with # are
// skipped; the first row may be a heading.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "field/field_rotator.hpp"

namespace earshot_tool {

struct keyframe {
    s64 frame; // at 48000 Hz, where the ramp to the setting begins
    field_setting setting;
};

// "--focus YAW,PITCH" or the focus columns of a row.
struct focus_direction {
    s32 yaw;
    s32 pitch;
};

// Rows without a focus of their own have `focus`. Throws processing_error "NAME:LINE: reason" for a
// malformed row, and for one that begins before the ramp to the row above is over.
std::vector<keyframe> parse_keyframes(std::string_view table, const std::string &name,
                                      const std::optional<focus_direction> &focus);

// The same from a file, or from standard input for "-".
std::vector<keyframe> read_keyframes(const std::string &path,
                                     const std::optional<focus_direction> &focus);

} // namespace earshot_tool
