// A scene, rendered for two ears or into a field: what can be said of that, on the command line or
// in a line of a batch, and how it is done.
#pragma once

#include "commands/engine_choice.hpp"
#include "commands/rendering_plan.hpp"
#include "commands/scene_file.hpp"

namespace earshot_tool {

struct scene_options : rendering_options, head_options {
    int field_order = 0;  // 0: for two ears
    bool no_head = false; // the listener's turns are left out
};

// "--field" and "--no-head".
void add_field_options(CLI::App &command, scene_options &options);

// Throws usage_error for what does not go together, or not with a field.
void check_destination(const scene_options &options);

// What is going to be done; it is checked as far as it can be before the scene is known.
rendering_plan plan_for(const scene_options &options);

// How the sources of a scene move, if not as the scene says.
struct scene_movement {
    std::size_t frame_length = 96; // of two ears; 128 where nothing moves
    source_mover mover{};
};

// Renders to the plan's output. Returns how many samples were clipped on the way.
u64 render_scene(rendering_plan &plan, scene_file &scene, const scene_options &options,
                 const scene_movement &movement = {}, const head_loader &load = load_head);

} // namespace earshot_tool
