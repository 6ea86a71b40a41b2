#include "commands/rotation_options.hpp"

#include <CLI/App.hpp>

#include "error.hpp"

namespace earshot_tool {

namespace {

focus_direction parse_focus(const std::string &text) {
    const auto parts = split_at_commas(text);
    const auto yaw = parse_number(parts[0]);
    const auto pitch = parts.size() == 2 ? parse_number(parts[1]) : std::nullopt;
    if (!yaw || !pitch) throw usage_error("--focus: '" + text + "' is not YAW,PITCH");
    if (!yaw_range.contains(*yaw)) throw usage_error("--focus: yaw " + yaw_range.violation(*yaw));
    if (!pitch_range.contains(*pitch))
        throw usage_error("--focus: pitch " + pitch_range.violation(*pitch));
    return {static_cast<s32>(degrees_q16(*yaw)), static_cast<s32>(degrees_q16(*pitch))};
}

} // namespace

void add_rotation_options(CLI::App &command, rotation_options &options) {
    add_number(command, "--yaw", options.yaw, yaw_range, "DEG",
               "Turn the listener left by -180 to 180 degrees");
    add_number(command, "--pitch", options.pitch, pitch_range, "DEG",
               "Turn the listener up by -90 to 90 degrees");
    add_number(command, "--roll", options.roll, yaw_range, "DEG",
               "Then tilt the head, right ear down, by -180 to 180 degrees");
    command
        .add_option_function<std::string>(
            "--focus", [&options](const std::string &text) { options.focus = parse_focus(text); },
            "Favour one direction of a recording of order 1, in degrees")
        ->type_name("YAW,PITCH");
    command
        .add_option("--keyframes", options.keyframes,
                    "Table of settings over time: seconds,yaw,pitch[,roll] or "
                    "seconds,yaw,pitch,focus yaw,focus pitch")
        ->type_name("FILE");
    command
        .add_option("--track", options.track,
                    "What a head tracker wrote: time,yaw,pitch,roll or time,w,x,y,z")
        ->type_name("FILE");
}

} // namespace earshot_tool
