#include "commands/rendering_options.hpp"

#include <cmath>

#include <CLI/App.hpp>

#include "error.hpp"
#include "scene/rendering/table_engine.hpp"

namespace earshot_tool {

namespace {

constexpr int most_guard_bits = safe_guard(filter_tables::directions, most_sources);

int parse_guard(const std::string &text) {
    const auto bits = parse_number(text);
    const number_range range{0, most_guard_bits};
    if (!bits || *bits != std::floor(*bits))
        throw usage_error("--guard: '" + text + "' is not a number of bits");
    if (!range.contains(*bits)) throw usage_error("--guard: " + range.violation(*bits));
    return static_cast<int>(*bits);
}

} // namespace

void add_rendering_options(CLI::App &command, rendering_options &options) {
    add_output_options(command, options.output);
    command
        .add_option_function<std::string>(
            "--guard", [&options](const std::string &text) { options.guard = parse_guard(text); },
            "Keep fewer bits of headroom inside, and say where sums could have wrapped")
        ->type_name("BITS");
    add_level_options(command, options);
    add_verbosity(command, options.talk);
}

void add_level_options(CLI::App &command, rendering_options &options) {
    command
        .add_option_function<std::string>(
            "--gain",
            [&options](const std::string &text) {
                options.gain =
                    static_cast<s32>(std::llround(number_in("--gain", text, gain_range) * 1000));
            },
            "Change the output level by -120 to 60 decibels")
        ->type_name("DB");
    add_level_goal(command, options.goal);
}

guard_choice guard_for(const rendering_options &options, int safe, std::size_t sources) {
    if (options.guard && *options.guard > safe)
        throw usage_error("--guard: " + std::to_string(*options.guard) + " is more than the safe " +
                          std::to_string(safe) + " for " + counted(sources, "source"));
    return {options.guard, safe};
}

} // namespace earshot_tool
