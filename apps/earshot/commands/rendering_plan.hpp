// What a command that renders for two ears, or into a field, is going to do. A plan is made once
// from the command line, and making it checks all that can be checked before a sound is opened;
// carrying it out looks at no option again.
#pragma once

#include <functional>

#include "commands/delivery.hpp"
#include "commands/rendering.hpp"
#include "commands/rendering_options.hpp"

namespace earshot_tool {

struct rendering_plan {
    // Throws usage_error for an output that cannot be written.
    explicit rendering_plan(const rendering_options &options, int channels = 2);

    console out;
    output_options output;
    output_format format;
    sample_range full_scale; // of samples that the output holds unclipped
    std::optional<s32> gain; // on top of the natural level; thousandths of a decibel
    level_goal goal;

    std::string head;         // whose ears they are, in a line; empty for a field
    std::string single_input; // whose title the output keeps; empty where there are several

    // Opens the sounds and what renders them: twice, where the level depends on the sound.
    std::function<std::unique_ptr<rendering>()> open;

    frame_listener written{}; // hears what goes into the output
};

// Renders to the plan's output. Returns how many samples were clipped on the way.
u64 carry_out(const rendering_plan &plan);

} // namespace earshot_tool
