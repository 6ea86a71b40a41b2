// Settings over time, from a table of comma-separated values:
//
//     seconds,yaw,pitch[,roll]
//     seconds,yaw,pitch,focus yaw,focus pitch
//
// Numbers have a decimal point and angles are degrees. Blank lines and lines that begin with # are
// skipped; the first row may be a heading.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "field/field_rotator.hpp"
#include "scene/description/scene.hpp"

namespace earshot_tool {

struct keyframe {
    s64 frame; // at 48000 Hz, where the ramp to the setting begins
    field_setting setting;
    s32 roll = 0;           // degrees, Q16
    bool own_focus = false; // in the row itself
};

// "--focus YAW,PITCH" or the focus columns of a row.
struct focus_direction {
    s32 yaw;
    s32 pitch;
};

// Rows without a focus or a roll of their own have these. Throws processing_error "NAME:LINE:
// reason" for a malformed row, for one that is not after the row above and, where rows have a focus
// of their own, for one that begins before the effect's ramp to the row above is over.
std::vector<keyframe> parse_keyframes(std::string_view table, const std::string &name,
                                      const std::optional<focus_direction> &focus, s32 roll = 0);

// The same from a file, or from standard input for "-".
std::vector<keyframe> read_keyframes(const std::string &path,
                                     const std::optional<focus_direction> &focus, s32 roll);

// Whether the effect's ramp to every row is over before the next.
bool leave_room_for_ramps(const std::vector<keyframe> &rows);

// The rows as a head's way: from each row's time on it goes from where it is to the row's angles,
// and is there as long after as the effect's ramp takes, or when the next row begins.
track<head_angles> way_through(const head_angles &before, const std::vector<keyframe> &rows);

// What is left for the effect where something else turns the field: the focus.
std::vector<keyframe> without_turns(std::vector<keyframe> rows);

} // namespace earshot_tool
