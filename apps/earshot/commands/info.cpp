// earshot info: what a file is and where its sound comes from, or what this build is.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include <CLI/App.hpp>

#include "audio/loudness.hpp"
#include "commands/bed_file.hpp"
#include "commands/commands.hpp"
#include "commands/delivery.hpp"
#include "commands/ear_differences.hpp"
#include "commands/library_info.hpp"
#include "error.hpp"
#include "field/sound_direction.hpp"
#include "field/spherical_harmonics.hpp"
#include "heads/listening_head.hpp"

namespace earshot_tool {

namespace {

struct info_options {
    std::string input;
    channel_layout layout = channel_layout::ambix;
    double direction_step = 0; // seconds between rows; 0 for no table
    double ear_step = 0;
    bool library = false;
    verbosity talk;
};

std::string level_text(double decibels) {
    return std::isfinite(decibels) ? fixed(decibels, 2) : "";
}

// "SECONDS,AZIMUTH,ELEVATION,LEVEL"; what does not exist, as in silence, is left empty.
std::string direction_row(double seconds, const sound_direction &sound) {
    std::string row = fixed(seconds, 3) + ",";
    row += sound.exists() ? fixed(sound.azimuth(), 2) + "," + fixed(sound.elevation(), 2) : ",";
    return row + "," + level_text(sound.level_db()) + "\n";
}

// "SECONDS,LEFT,RIGHT,MICROSECONDS", with empty cells likewise.
std::string ear_row(double seconds, const ear_differences &ears) {
    const auto difference = ears.time_difference();
    return fixed(seconds, 3) + "," + level_text(ears.level_db(0)) + "," +
           level_text(ears.level_db(1)) + "," + (difference ? fixed(*difference, 1) : "") + "\n";
}

// Reads the file in pieces and hands every frame to `visit`.
template <class Visit> void for_each_frame(audio_input &in, const console &out, Visit visit) {
    const auto channels = static_cast<std::size_t>(in.channels());
    std::vector<s32> block(block_frames * channels);
    progress meter(out, in.rate(), in.frames());
    while (const std::size_t frames = in.read(block.data(), block_frames)) {
        for (std::size_t i = 0; i < frames; ++i) visit(block.data() + i * channels);
        meter.advance(frames);
    }
}

// A row for every step, made by `row_text` of what `sums` has collected since the row before.
template <class Sums, class RowText>
void print_rows(audio_input &in, const console &out, double step, Sums &sums, RowText row_text) {
    // Steps begin at the frame nearest to their time, so that they do not drift.
    const double step_frames = step * in.rate();
    s64 row = 0;
    s64 position = 0;
    const auto finish_row = [&] {
        print(row_text(static_cast<double>(row) * step, sums));
        ++row;
        sums.clear();
    };
    for_each_frame(in, out, [&](const s32 *frame) {
        if (position == std::llround(static_cast<double>(row + 1) * step_frames)) finish_row();
        sums.add(frame);
        ++position;
    });
    if (sums.frames() > 0) finish_row();
}

void print_directions(audio_input &in, const info_options &options, const console &out) {
    if (order_of_channels(in.channels()) == 0)
        throw processing_error(in.name(), has_channels(in) + " and is not an ambisonic field");
    print("seconds,azimuth,elevation,level_db\n");
    sound_direction sound(options.layout);
    print_rows(in, out, options.direction_step, sound, direction_row);
}

void print_ears(audio_input &in, const info_options &options, const console &out) {
    require_channels(in, 2, "a recording for two ears");
    print("seconds,level_left_db,level_right_db,time_difference_us\n");
    ear_differences ears(in.rate());
    print_rows(in, out, options.ear_step, ears, ear_row);
}

std::string line(const char *label, const std::string &text) {
    std::string padded = label;
    padded.resize(14, ' ');
    return padded + text + "\n";
}

std::string peak_text(s64 peak) {
    if (peak == 0) return "none, silent";
    return fixed(20 * std::log10(static_cast<double>(peak) * 0x1p-31), 2) + " dBFS";
}

std::string direction_text(const sound_direction &sound) {
    if (sound.is_silent()) return "none, silent";
    if (!sound.exists()) return "from everywhere";
    return "azimuth " + fixed(sound.azimuth(), 1) + ", elevation " + fixed(sound.elevation(), 1) +
           " degrees";
}

std::string hexadecimal(u32 word) {
    char text[16];
    std::snprintf(text, sizeof text, "%08x", static_cast<unsigned>(word));
    return text;
}

// With the loudspeakers that they are for, where that says something new.
std::string channels_text(const audio_input &in) {
    const std::string count = std::to_string(in.channels());
    return in.channels() > 2 && !in.speakers().empty() ? count + ": " + names_of(in.speakers())
                                                       : count;
}

std::string file_text(const audio_input &in, s64 peak) {
    const int order = order_of_channels(in.channels());
    std::string text = line("format", in.format_text());
    text += line("channels", channels_text(in));
    if (order > 0) text += line("order", std::to_string(order));
    text += line("rate", std::to_string(in.rate()) + " Hz");
    // Counted, not announced: the header of a stream may not know.
    text += line("frames", std::to_string(in.position()));
    text += line("duration", fixed(static_cast<double>(in.position()) / in.rate(), 3) + " s");
    return text + line("peak", peak_text(peak));
}

std::string measured(const std::optional<double> &value, const char *unit, const char *without) {
    return value ? fixed(*value, 2) + unit : std::string("none, ") + without;
}

std::string loudness_text(const loudness_meter &meter) {
    return line("loudness", measured(meter.integrated(), " LUFS", "too short or too soft")) +
           line("range", measured(meter.range(), " LU", "too short or too soft")) +
           line("true peak", measured(meter.true_peak(), " dBTP", "silent"));
}

// For whose channels a loudness is defined: where the file says so, or there is no doubt.
std::optional<bed> heard_as(const audio_input &in) {
    if (may_be_field(in)) return std::nullopt;
    return known_bed(in);
}

void print_summary(audio_input &in, const info_options &options, const console &out) {
    const bool is_field = order_of_channels(in.channels()) > 0;
    const auto channels = static_cast<std::size_t>(in.channels());
    s64 peak = 0;
    sound_direction sound(options.layout);
    std::optional<loudness_meter> meter;
    if (const auto known = heard_as(in)) meter.emplace(known->speakers, in.rate(), 0x1p-31);
    drain(in, out, [&](const s32 *block, std::size_t frames) {
        peak = std::max(peak, extremes_of(block, frames * channels).peak());
        if (meter) meter->add(block, frames);
        if (is_field)
            for (std::size_t i = 0; i < frames; ++i) sound.add(block + i * channels);
    });
    std::string text = file_text(in, peak);
    if (meter) text += loudness_text(*meter);
    if (is_field) text += line("direction", direction_text(sound));
    if (is_field && !sound.is_silent()) text += line("directivity", fixed(sound.directivity(), 3));
    print(text);
    out.clipped(in.name(), in.clipped(), "at full scale on reading");
}

void print_head(const std::string &path, const console &out) {
    const listening_head head = load_head(path, out);
    const earshot_head_info info = describe_head(*head.head);
    print(line("head", message_line(info.name)) +
          line("directions", std::to_string(info.directions) + " measured, " +
                                 std::to_string(info.filled) + " made up where none were") +
          line("triangles", std::to_string(info.triangles)) +
          line("fields", info.channels == 0 ? "no filters"
                                            : "filters of " + counted(info.channels, "channel")) +
          line("size", counted(info.size, "byte")) + line("checksum", hexadecimal(info.checksum)));
}

void info(const info_options &options) {
    if (options.library != options.input.empty())
        throw usage_error("info: name either a file or --library");
    const bool has_table = options.direction_step > 0 || options.ear_step > 0;
    if (options.direction_step > 0 && options.ear_step > 0)
        throw usage_error("--directions and --ears exclude each other");
    if (options.library && has_table)
        throw usage_error((options.ear_step > 0 ? "--ears" : "--directions") +
                          std::string(" needs a file, not --library"));
    if (options.library) {
        print(library_info());
        return;
    }
    if (is_head_file(options.input)) {
        if (has_table)
            throw usage_error(options.input + " is a head, and makes no sound by itself");
        print_head(options.input, console(options.talk));
        return;
    }
    // Rows appear while the file is read: a line of progress would run into them.
    const console out(has_table ? verbosity{true, false} : options.talk);
    audio_input in(options.input);
    if (options.direction_step > 0)
        print_directions(in, options, out);
    else if (options.ear_step > 0)
        print_ears(in, options, out);
    else
        print_summary(in, options, out);
}

} // namespace

void add_info(CLI::App &app, action &chosen) {
    auto *command = add_command(app, "info", "Describe a sound file, a head, or this build");
    auto options = std::make_shared<info_options>();
    command->add_option("FILE", options->input, "Sound file or prepared head; - for standard input")
        ->type_name("");
    command->add_flag("--library", options->library,
                      "Version, instruction set and instance sizes of this build");
    add_number(*command, "--directions", options->direction_step, {0.001, 1e6}, "STEP",
               "Print a table of directions, a row every STEP seconds");
    add_number(*command, "--ears", options->ear_step, {0.001, 1e6}, "STEP",
               "Print a table of levels and time difference of two ears, likewise");
    add_input_format(*command, options->layout);
    command->add_flag("-q,--quiet", options->talk.quiet, "Print results and errors only");
    command->callback([options, &chosen] { chosen = [options] { info(*options); }; });
}

} // namespace earshot_tool
