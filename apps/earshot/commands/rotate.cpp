// earshot rotate: turns a field, and focuses one of first order, at constant angles or over time.

#include <memory>

#include <CLI/App.hpp>

#include "audio/resampler.hpp"
#include "commands/commands.hpp"
#include "commands/delivery.hpp"
#include "commands/rotation_plan.hpp"
#include "field/spherical_harmonics.hpp"

namespace earshot_tool {

namespace {

constexpr int field_rate = 48000; // Hz, the only rate of the effect, and that of times

struct rotate_options {
    std::string input;
    output_options output;
    channel_layout layout = channel_layout::ambix;
    rotation_options rotation;
    verbosity talk;
};

// 16 bits in and out need no more than 16 bits in the effect, if nothing else is done to them.
int arithmetic_width(const audio_input &in, const output_format &format) {
    const bool narrow = !in.is_float() && in.width() == 16 && format.width == 16;
    return narrow && in.rate() == field_rate && format.rate == field_rate ? 16 : 32;
}

void describe(const console &out, const audio_input &in, const output_format &format) {
    out.detail(in.name() + ": " + in.description());
    if (in.rate() != field_rate) note_conversion(out, in.name(), in.rate(), field_rate);
    out.detail("rotating in " + std::to_string(format.computed_width) + " bits, writing " +
               std::to_string(format.width));
}

void rotate(const rotate_options &options) {
    const console out(options.talk);
    const rotation_plan plan(options.rotation, options.input, "IN");
    audio_input in(options.input);
    const int order = order_of_field(in, options.layout);
    plan.check(in, order);
    const int channels = channels_of_order(order);
    output_format format = format_for(options.output, in, channels, field_rate);
    format.computed_width = plan.is_for_effect(order) ? arithmetic_width(in, format) : 32;
    format.tags = read_tags(options.input, in);
    describe(out, in, format);

    std::optional<resampler> converted;
    if (in.rate() != field_rate) converted.emplace(in, field_rate);
    frame_source &source = converted ? static_cast<frame_source &>(*converted) : in;
    rotated_field field(source, options.layout, format.computed_width);
    plan.apply(field, order);

    const delivered written = deliver(field, options.output, format, out);
    if (!options.output.span.to) plan.note_unused_rows(out, field.position(), in.name());
    if (converted)
        out.clipped(in.name(), converted->clipped(), "at full scale by the rate conversion");
    out.clipped(in.name(), field.layout_clipped(), "at full scale by the conversion to AmbiX");
    out.clipped(written.name, field.rotation_clipped(), "at full scale by the rotation");
    report(out, in, written);
}

} // namespace

void add_rotate(CLI::App &app, action &chosen) {
    auto *command =
        add_command(app, "rotate", "Turn an ambisonic recording, and focus one of order 1");
    auto options = std::make_shared<rotate_options>();
    add_input(*command, options->input, "Field of order 1 to 4; - for standard input");
    add_output_options(*command, options->output);
    add_input_format(*command, options->layout);
    add_rotation_options(*command, options->rotation);
    add_verbosity(*command, options->talk);
    command->callback([options, &chosen] { chosen = [options] { rotate(*options); }; });
}

} // namespace earshot_tool
