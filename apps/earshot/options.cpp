#include "options.hpp"

#include <cmath>
#include <map>

#include <CLI/CLI.hpp> // the whole parser, compiled here alone

#include "error.hpp"

namespace earshot_tool {

CLI::App *add_command(CLI::App &app, const std::string &name, const std::string &description) {
    CLI::App *command = app.add_subcommand(name, description);
    command->set_help_flag("-h,--help", "Print this help and exit");
    command->footer("");
    return command;
}

void add_input(CLI::App &command, std::string &path, const std::string &description) {
    command.add_option("IN", path, description)->required()->type_name("");
}

namespace {

void add_rate(CLI::App &command, int &rate) {
    const auto store = [&rate](const std::string &text) {
        const double value = number_in("--rate", text, {8000, 192000});
        if (value != std::floor(value))
            throw usage_error("--rate: '" + text + "' is not a whole number of hertz");
        rate = static_cast<int>(value);
    };
    command
        .add_option_function<std::string>("--rate", store,
                                          "Sample rate of the output, 8000 to 192000")
        ->type_name("HZ");
}

void add_quality(CLI::App &command, std::optional<double> &quality) {
    const auto store = [&quality](const std::string &text) {
        quality = number_in("--quality", text, {0, 10});
    };
    command
        .add_option_function<std::string>(
            "--quality", store,
            "Of .ogg, .opus and .mp3, from 0 (small) to 10 (good); of .flac, how hard it tries")
        ->type_name("Q");
}

} // namespace

void add_output_file(CLI::App &command, output_options &options) {
    command
        .add_option("-o,--output", options.path,
                    "File to write (.wav .flac .caf .au .w64 .aiff .ogg .opus .mp3); - for "
                    "standard output, "
                    "as AU")
        ->required()
        ->type_name("OUT");
    command.add_flag("--raw", options.raw, "Write little-endian samples without a header");
    command.add_flag("--digest", options.digest, "Print the SHA-256 of the output samples");
}

void add_sample_options(CLI::App &command, output_options &options) {
    const std::string bits =
        options.default_bits == 0 ? ": as IN" : " " + std::to_string(options.default_bits);
    add_choice(command, "--bits", {16, 24, 32}, options.bits,
               "Bits of an output sample: 16, 24 or 32 (default" + bits + ")");
    add_rate(command, options.rate);
    add_quality(command, options.quality);
    command.add_flag("--no-dither", options.no_dither, "Round to the output width without dither");
    add_time_span(command, options.span);
}

void add_output_options(CLI::App &command, output_options &options) {
    add_output_file(command, options);
    add_sample_options(command, options);
}

void add_time_span(CLI::App &command, time_span &span) {
    const number_range seconds{0, 1e9};
    add_number(command, "--from", span.from, seconds, "SECONDS",
               "Leave out what comes before: the rest is as it is in the whole");
    command
        .add_option_function<std::string>(
            "--to",
            [&span, seconds](const std::string &text) {
                span.to = number_in("--to", text, seconds);
            },
            "Stop there, or at the end if that comes first")
        ->type_name("SECONDS");
}

void add_choice(CLI::App &command, const std::string &name, const std::vector<int> &choices,
                int &target, const std::string &description) {
    auto store = [&target, name, choices](const std::string &text) {
        std::string list;
        for (const int choice : choices) {
            if (text == std::to_string(choice)) {
                target = choice;
                return;
            }
            list += list.empty() ? "" : ", ";
            list += std::to_string(choice);
        }
        throw usage_error(name + ": '" + text + "' is none of " + list);
    };
    command.add_option_function<std::string>(name, store, description)->type_name("N");
}

void add_input_format(CLI::App &command, channel_layout &layout) {
    static const std::map<std::string, channel_layout> names = {
        {"ambix", channel_layout::ambix},
        {"fuma", channel_layout::fuma},
        {"n3d", channel_layout::n3d},
    };
    command
        .add_option_function<std::string>(
            "--input-format",
            [&layout](const std::string &text) {
                const auto found = names.find(text);
                if (found == names.end())
                    throw usage_error("--input-format: '" + text + "' is not ambix, fuma or n3d");
                layout = found->second;
            },
            "Channels of IN: ambix (ACN, SN3D; the default), fuma or n3d")
        ->type_name("NAME");
}

void add_verbosity(CLI::App &command, verbosity &talk) {
    command.add_flag("-q,--quiet", talk.quiet, "Print errors only");
    command.add_flag("-v,--verbose", talk.verbose, "Say what is done");
}

double number_in(const std::string &option, const std::string &text, const number_range &range) {
    const auto value = parse_number(text);
    if (!value) throw usage_error(option + ": '" + text + "' is not a number, such as -12.5");
    if (!range.contains(*value)) throw usage_error(option + ": " + range.violation(*value));
    return *value;
}

void add_number(CLI::App &command, const std::string &name, double &target,
                const number_range &range, const std::string &value_name,
                const std::string &description) {
    auto store = [&target, name, range](const std::string &text) {
        target = number_in(name, text, range);
    };
    command.add_option_function<std::string>(name, store, description)->type_name(value_name);
}

} // namespace earshot_tool
