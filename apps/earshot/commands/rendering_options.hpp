// What the command line can say to every command that renders sources, for two ears or into a
// field.
#pragma once

#include <optional>

#include "commands/level_goal.hpp"
#include "options.hpp"

namespace earshot_tool {

struct rendering_options {
    rendering_options() { output.default_bits = 24; }

    output_options output;
    std::optional<int> guard; // bits; nothing: as many as are safe
    std::optional<s32> gain;  // thousandths of a decibel
    level_goal goal;
    verbosity talk;
};

// All of them, and only those for the level of the output.
void add_rendering_options(CLI::App &command, rendering_options &options);
void add_level_options(CLI::App &command, rendering_options &options);

// Bits of headroom inside.
struct guard_choice {
    std::optional<int> fixed; // nothing: as many as a frame needs
    int safe;                 // with which no sum can wrap
};

// The guard for so many sources. Throws usage_error where the options ask for more than is safe.
guard_choice guard_for(const rendering_options &options, int safe, std::size_t sources);

} // namespace earshot_tool
