// earshot rotate: turns and focuses a first-order field, at constant angles or over time.

#include <memory>

#include "channel_layout.hpp"
#include "commands.hpp"
#include "error.hpp"
#include "keyframe_player.hpp"
#include "resampler.hpp"

namespace earshot_tool {

namespace {

constexpr int effect_rate = 48000; // Hz, the only rate of the effect

struct rotate_options {
    std::string input;
    output_options output;
    channel_layout layout = channel_layout::ambix;
    double yaw = 0;
    double pitch = 0;
    std::optional<focus_direction> focus;
    std::string keyframes;
    verbosity level;
};

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

field_setting constant_setting(const rotate_options &options) {
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

// 16 bits in and out need no more than 16 bits in between, if nothing else is done to them.
int arithmetic_width(const audio_input &in, const output_format &format) {
    const bool narrow = !in.is_float() && in.width() == 16 && format.width == 16;
    return narrow && in.rate() == effect_rate ? 16 : 32;
}

void describe(const console &out, const audio_input &in, const output_format &format) {
    out.detail(in.name() + ": " + in.description());
    if (in.rate() != effect_rate)
        out.note(in.name() + ": converting the sample rate from " + std::to_string(in.rate()) +
                 " to " + std::to_string(effect_rate) + " Hz");
    out.detail("rotating in " + std::to_string(format.computed_width) + " bits, writing " +
               std::to_string(format.width));
}

std::vector<keyframe> keyframes_for(const rotate_options &options) {
    if (options.keyframes.empty()) return {};
    if (options.keyframes == "-" && options.input == "-")
        throw usage_error("--keyframes and IN cannot both be standard input");
    return read_keyframes(options.keyframes, options.focus);
}

// The way of the samples, once everything is open. Returns how many the change of convention has
// clipped.
u64 rotate_frames(frame_source &source, channel_layout layout, int width, keyframe_player &player,
                  audio_output &output, progress &meter) {
    std::vector<s32> block(block_frames * first_order_channels);
    u64 clipped = 0;
    while (const std::size_t frames = source.read(block.data(), block_frames)) {
        clipped += convert_to_ambix(layout, block.data(), frames, first_order_channels, width);
        player.process(block.data(), frames);
        output.write(block.data(), frames);
        meter.advance(frames);
    }
    return clipped;
}

void rotate(const rotate_options &options) {
    const console out(options.level);
    std::vector<keyframe> rows = keyframes_for(options);
    audio_input in(options.input);
    require_channels(in, first_order_channels, "a first-order field");
    output_format format = format_for(options.output, in, first_order_channels, effect_rate);
    format.computed_width = arithmetic_width(in, format);
    describe(out, in, format);

    std::optional<resampler> converted;
    if (in.rate() != effect_rate) converted.emplace(in, effect_rate);
    frame_source &source = converted ? static_cast<frame_source &>(*converted) : in;
    field_rotator rotator(format.computed_width);
    rotator.jump_to(constant_setting(options));
    keyframe_player player(rotator, std::move(rows));

    // Nothing is written before all that can be checked has been.
    audio_output output(options.output, format, {in.identity()}, source.frames());
    progress meter(out, effect_rate, source.frames());
    const u64 layout_clipped =
        rotate_frames(source, options.layout, format.computed_width, player, output, meter);
    output.finish();
    meter.clear();

    if (player.unused() > 0)
        out.note(options.keyframes + ": " + counted(player.unused(), "row") +
                 " at or after the end of " + in.name());
    if (converted)
        out.clipped(in.name(), converted->clipped(), "at full scale by the rate conversion");
    out.clipped(in.name(), layout_clipped, "at full scale by the conversion to AmbiX");
    out.clipped(output.name(), rotator.clipped(), "at full scale by the rotation");
    report(out, in, output);
}

} // namespace

void add_rotate(CLI::App &app, action &chosen) {
    auto *command = add_command(app, "rotate", "Turn and focus a first-order ambisonic recording");
    auto options = std::make_shared<rotate_options>();
    add_input(*command, options->input, "Four-channel recording; - for standard input");
    add_output_options(*command, options->output);
    add_input_format(*command, options->layout);
    add_number(*command, "--yaw", options->yaw, yaw_range, "DEG",
               "Turn the listener left by -180 to 180 degrees");
    add_number(*command, "--pitch", options->pitch, pitch_range, "DEG",
               "Turn the listener up by -90 to 90 degrees");
    command
        ->add_option_function<std::string>(
            "--focus", [options](const std::string &text) { options->focus = parse_focus(text); },
            "Favour one direction of the recording, in degrees")
        ->type_name("YAW,PITCH");
    command
        ->add_option("--keyframes", options->keyframes,
                     "Table of settings over time: seconds,yaw,pitch[,focus yaw,focus pitch]")
        ->type_name("FILE");
    add_verbosity(*command, options->level);
    command->callback([options, &chosen] { chosen = [options] { rotate(*options); }; });
}

} // namespace earshot_tool
