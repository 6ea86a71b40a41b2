// earshot rotate: turns and focuses a first-order field, at constant angles or over time.

#include <memory>

#include "audio/resampler.hpp"
#include "commands/commands.hpp"
#include "commands/delivery.hpp"
#include "commands/rotation_options.hpp"
#include "field/rotated_field.hpp"

namespace earshot_tool {

namespace {

constexpr int effect_rate = 48000; // Hz, the only rate of the effect

struct rotate_options {
    std::string input;
    output_options output;
    channel_layout layout = channel_layout::ambix;
    rotation_options rotation;
    verbosity talk;
};

// 16 bits in and out need no more than 16 bits in between, if nothing else is done to them.
int arithmetic_width(const audio_input &in, const output_format &format) {
    const bool narrow = !in.is_float() && in.width() == 16 && format.width == 16;
    return narrow && in.rate() == effect_rate && format.rate == effect_rate ? 16 : 32;
}

void describe(const console &out, const audio_input &in, const output_format &format) {
    out.detail(in.name() + ": " + in.description());
    if (in.rate() != effect_rate) note_conversion(out, in.name(), in.rate(), effect_rate);
    out.detail("rotating in " + std::to_string(format.computed_width) + " bits, writing " +
               std::to_string(format.width));
}

void rotate(const rotate_options &options) {
    const console out(options.talk);
    std::vector<keyframe> rows = keyframes_for(options.rotation, options.input, "IN");
    audio_input in(options.input);
    require_channels(in, first_order_channels, "a first-order field");
    output_format format = format_for(options.output, in, first_order_channels, effect_rate);
    format.computed_width = arithmetic_width(in, format);
    format.tags = read_tags(options.input, in);
    describe(out, in, format);

    std::optional<resampler> converted;
    if (in.rate() != effect_rate) converted.emplace(in, effect_rate);
    frame_source &source = converted ? static_cast<frame_source &>(*converted) : in;
    rotated_field field(source, options.layout, format.computed_width);
    field.rotate(constant_setting(options.rotation), std::move(rows));

    const delivered written = deliver(field, options.output, format, out);
    note_unused_rows(out, options.rotation.keyframes, field.unused_rows(), in.name());
    if (converted)
        out.clipped(in.name(), converted->clipped(), "at full scale by the rate conversion");
    out.clipped(in.name(), field.layout_clipped(), "at full scale by the conversion to AmbiX");
    out.clipped(written.name, field.rotation_clipped(), "at full scale by the rotation");
    report(out, in, written);
}

} // namespace

void add_rotate(CLI::App &app, action &chosen) {
    auto *command = add_command(app, "rotate", "Turn and focus a first-order ambisonic recording");
    auto options = std::make_shared<rotate_options>();
    add_input(*command, options->input, "Four-channel recording; - for standard input");
    add_output_options(*command, options->output);
    add_input_format(*command, options->layout);
    add_rotation_options(*command, options->rotation);
    add_verbosity(*command, options->talk);
    command->callback([options, &chosen] { chosen = [options] { rotate(*options); }; });
}

} // namespace earshot_tool
