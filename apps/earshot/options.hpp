// Pieces of the command line that several commands share.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "audio/audio_output.hpp"
#include "console.hpp"
#include "field/channel_layout.hpp"
#include "scene_library.hpp"

// Its header takes a compiler longer than most of the files that would have it by way of this one.
namespace CLI {
class App;
} // namespace CLI

namespace earshot_tool {

// The work of the command that the command line names; empty until one is chosen.
using action = std::function<void()>;

CLI::App *add_command(CLI::App &app, const std::string &name, const std::string &description);

void add_input(CLI::App &command, std::string &path, const std::string &description);
// "--output", "--raw" and "--digest"; what says how samples are written, and which; both.
void add_output_file(CLI::App &command, output_options &options);
void add_sample_options(CLI::App &command, output_options &options);
void add_output_options(CLI::App &command, output_options &options);
void add_time_span(CLI::App &command, time_span &span);
void add_input_format(CLI::App &command, channel_layout &layout);
void add_verbosity(CLI::App &command, verbosity &talk);

// The number that an option's text is. Throws usage_error, which names the option.
double number_in(const std::string &option, const std::string &text, const number_range &range);

// An option with a number in a range; anything else is a usage error that names the option.
void add_number(CLI::App &command, const std::string &name, double &target,
                const number_range &range, const std::string &value_name,
                const std::string &description);

// An option with one of a few whole numbers.
void add_choice(CLI::App &command, const std::string &name, const std::vector<int> &choices,
                int &target, const std::string &description);

} // namespace earshot_tool
