#include "commands/rotation_options.hpp"

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
    command
        .add_option_function<std::string>(
            "--focus", [&options](const std::string &text) { options.focus = parse_focus(text); },
            "Favour one direction of the recording, in degrees")
        ->type_name("YAW,PITCH");
    command
        .add_option("--keyframes", options.keyframes,
                    "Table of settings over time: seconds,yaw,pitch[,focus yaw,focus pitch]")
        ->type_name("FILE");
}

bool rotates(const rotation_options &options) {
    return !options.keyframes.empty() || constant_setting(options) != field_setting{};
}

field_setting constant_setting(const rotation_options &options) {
    field_setting setting;
    setting.yaw = static_cast<s32>(degrees_q16(options.yaw));
    setting.pitch = static_cast<s32>(degrees_q16(options.pitch));
    if (options.focus) {
        setting.focus = true;
        setting.focus_yaw = options.focus->yaw;
        setting.focus_pitch = options.focus->pitch;
    }
    return setting;
}

std::vector<keyframe> keyframes_for(const rotation_options &options, const std::string &input,
                                    const std::string &label) {
    if (options.keyframes.empty()) return {};
    if (options.keyframes == "-" && input == "-")
        throw usage_error("--keyframes and " + label + " cannot both be standard input");
    return read_keyframes(options.keyframes, options.focus);
}

void note_unused_rows(const console &out, const std::string &keyframes, std::size_t rows,
                      const std::string &field) {
    if (rows > 0)
        out.note(keyframes + ": " + counted(rows, "row") + " at or after the end of " + field);
}

} // namespace earshot_tool
