// earshot encode: places a mono recording, or several, in an ambisonic field.

#include <cmath>
#include <memory>

#include <CLI/App.hpp>

#include "audio/channel_picker.hpp"
#include "commands/commands.hpp"
#include "commands/placed_sources.hpp"
#include "commands/rendering_plan.hpp"
#include "error.hpp"
#include "field/spherical_harmonics.hpp"
#include "scene/motion/track.hpp"
#include "scene/rendering/field_mixer.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

namespace {

struct encode_options : placed_options {
    std::string input; // or, instead of it and its direction, sources
    output_options output;
    int channel = 0; // 0: the only one
    double azimuth = 0;
    double elevation = 0;
    int order = 1;
    verbosity talk;
};

int parse_channel(const std::string &text) {
    const auto channel = parse_number(text);
    if (!channel || *channel < 1 || *channel > 1024 || *channel != std::floor(*channel))
        throw usage_error("--channel: '" + text + "' is not a channel number");
    return static_cast<int>(*channel);
}

// The field of one mono source that moves along a path.
class field_encoder : public frame_source {
  public:
    field_encoder(frame_source &mono, int order, u32 elevation, const orbit &path)
        : source_(mono), channels_(static_cast<std::size_t>(channels_of_order(order))),
          gains_(order, elevation), path_(path) {
        gains_.at(path_.next(), now_);
    }

    int channels() const override { return static_cast<int>(channels_); }
    int rate() const override { return source_.rate(); }
    std::optional<s64> frames() const override { return source_.frames(); }

    std::size_t read(s32 *field, std::size_t frames) override {
        mono_.resize(frames);
        const std::size_t got = source_.read(mono_.data(), frames);
        for (std::size_t i = 0; i < got; ++i) {
            for (std::size_t k = 0; k < channels_; ++k)
                *field++ = static_cast<s32>(
                    clamp_counted(rounded_shift(s64{mono_[i]} * now_[k], 30), 32, clipped_));
            if (path_.moves()) gains_.at(path_.next(), now_);
        }
        return got;
    }

    s64 skip(s64 frames) override {
        const s64 got = source_.skip(frames);
        if (!path_.moves() || got == 0) return got;
        for (s64 i = 1; i < got; ++i) path_.next();
        gains_.at(path_.next(), now_);
        return got;
    }

    u64 clipped() const { return clipped_; }

  private:
    frame_source &source_;
    std::vector<s32> mono_;
    std::size_t channels_;
    source_gains gains_;
    orbit path_;
    std::array<s32, most_channels> now_{};
    u64 clipped_ = 0;
};

field_encoder make_encoder(const encode_options &options, frame_source &mono) {
    const u32 azimuth = turn_of_azimuth(options.azimuth);
    const u32 elevation = turn_of_degrees(degrees_q16(options.elevation));
    const orbit path(azimuth, std::llround(options.orbit_seconds * 1e6), mono.rate());
    return field_encoder(mono, options.order, elevation, path);
}

void encode_recording(const encode_options &options) {
    const console out(options.talk);
    audio_input in(options.input);
    channel_picker source(in, chosen_channel(in, options.channel, "with --channel"));
    const int channels = channels_of_order(options.order);
    output_format format = format_for(options.output, in, channels, in.rate());
    format.tags = read_tags(options.input, in);
    out.detail(in.name() + ": " + in.description());
    out.detail("encoding to order " + std::to_string(options.order) + ", " +
               counted(static_cast<u64>(channels), "channel") + ", writing " +
               std::to_string(format.width) + " bits");

    field_encoder encoder = make_encoder(options, source);
    const delivered written = deliver(encoder, options.output, format, out);
    out.clipped(written.name, encoder.clipped(), "at full scale by the encoding");
    report(out, in, written);
}

// Converted to one rate where theirs differ; there is no width that all of them have.
void encode_sources(const encode_options &options) {
    check_sources(options, "");
    rendering_options output;
    const int default_bits = output.output.default_bits;
    output.output = options.output;
    output.output.default_bits = default_bits;
    output.talk = options.talk;
    rendering_plan plan(output, channels_of_order(options.order));
    const placed_scene scene = scene_of(options);
    plan.single_input = only_file(scene.file);
    plan.open = [&] {
        return open_field(scene.file, options.order,
                          orbit_of(scene, options.orbit_seconds, field_mixer::frame_length));
    };
    carry_out(plan);
}

void encode(const encode_options &options) {
    if (options.input.empty() == options.sources.empty())
        throw usage_error("encode: name either a recording or sources with -s");
    if (options.sources.empty() && options.lfe_is_set)
        throw usage_error("--lfe: a mono recording has no LFE channel; -s FILE@5.1 has one");
    if (options.sources.empty())
        encode_recording(options);
    else
        encode_sources(options);
}

// What is said of a source in its own argument.
void check_placement(const CLI::App &command, const encode_options &options) {
    if (options.sources.empty()) return;
    for (const char *name : {"--channel", "--azimuth", "--elevation"})
        if (command.count(name) != 0)
            throw usage_error(std::string(name) +
                              ": a source has its own, as in -s FILE:CHANNEL@AZ,EL");
}

} // namespace

void add_encode(CLI::App &app, action &chosen) {
    auto *command = add_command(app, "encode", "Place mono recordings in an ambisonic field");
    auto options = std::make_shared<encode_options>();
    command->add_option("IN", options->input, "Mono recording; - for standard input")
        ->type_name("");
    add_placed_sources(*command, *options,
                       "Instead, for a field at 48000 Hz, a source and its direction,");
    add_output_options(*command, options->output);
    command
        ->add_option_function<std::string>(
            "--channel",
            [options](const std::string &text) { options->channel = parse_channel(text); },
            "Channel to take of a recording with several, counted from 1")
        ->type_name("N");
    add_number(*command, "--azimuth", options->azimuth, {-1e9, 1e9}, "DEG",
               "Direction around the listener, counter-clockwise: 0 front, 90 left (default 0)");
    add_number(*command, "--elevation", options->elevation, elevation_range, "DEG",
               "Direction above the listener, -90 to 90 (default 0)");
    add_choice(*command, "--order", {1, 2, 3, 4}, options->order,
               "Ambisonic order, 1 to 4 (default 1)");
    add_verbosity(*command, options->talk);
    command->callback([command, options, &chosen] {
        check_placement(*command, *options);
        chosen = [options] { encode(*options); };
    });
}

} // namespace earshot_tool
