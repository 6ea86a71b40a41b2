#include "commands/scene_rendering.hpp"

#include <CLI/App.hpp>

#include "error.hpp"
#include "field/spherical_harmonics.hpp"
#include "scene/rendering/scene_stream.hpp"

namespace earshot_tool {

namespace {

// What belongs to two ears.
void check_field(const scene_options &options) {
    if (!options.head.empty())
        throw usage_error("--head: a field is not heard through a head; give it to 'earshot "
                          "binauralize', which makes two ears of the field");
    if (options.measured)
        throw usage_error("--placement: a field has every source exactly where it is; leave it "
                          "out");
    if (options.goal.measures_loudness())
        throw usage_error(options.goal.option() +
                          ": how loud a field is depends on who plays it; --normalize brings its "
                          "peak to full scale");
    if (options.guard) throw usage_error("--guard: no sum of a field can wrap; leave it out");
}

} // namespace

void add_field_options(CLI::App &command, scene_options &options) {
    add_choice(command, "--field", {1, 2, 3, 4}, options.field_order,
               "Instead of two ears, make an ambisonic field of order 1 to 4 (AmbiX)");
    command.add_flag("--no-head", options.no_head,
                     "With --field: leave the listener's turns to who plays the field");
}

void check_destination(const scene_options &options) {
    if (options.field_order != 0)
        check_field(options);
    else if (options.no_head)
        throw usage_error("--no-head: two ears turn with their head; it is for --field, which a "
                          "player can turn");
}

rendering_plan plan_for(const scene_options &options) {
    return rendering_plan(options,
                          options.field_order == 0 ? 2 : channels_of_order(options.field_order));
}

u64 render_scene(rendering_plan &plan, scene_file &scene, const scene_options &options,
                 const scene_movement &movement, const head_loader &load) {
    if (options.field_order != 0) {
        if (options.no_head) scene.content.listener.orientation = scene_listener{}.orientation;
        plan.open = [&] { return open_field(scene, options.field_order, movement.mover); };
        return carry_out(plan);
    }
    const guard_choice guard =
        guard_for(options, headroom_for(scene.content).guard, scene.content.sources.size());
    const engine_choice engine(options, plan.out, load);
    plan.head = engine.text();
    plan.open = [&] {
        return open_scene(scene, engine, guard, movement.frame_length, movement.mover);
    };
    return carry_out(plan);
}

} // namespace earshot_tool
