// earshot render: a scene, or sources at directions around the listener, for two ears or into a
// field.

#include "commands/binaural_plan.hpp"
#include "commands/commands.hpp"
#include "commands/engine_choice.hpp"
#include "commands/placed_sources.hpp"
#include "error.hpp"
#include "field/spherical_harmonics.hpp"
#include "scene/rendering/field_stream.hpp"
#include "scene/rendering/scene_stream.hpp"

namespace earshot_tool {

namespace {

struct render_options : binaural_options, head_options {
    std::string scene;
    std::vector<source_argument> sources;
    double orbit_seconds = 0; // 0: the sources stand still
    int frame = 0;            // 0: the longest that is possible
    int field_order = 0;      // 0: for two ears
    bool no_head = false;     // the listener's turns are left out
};

std::size_t frame_length(const render_options &options) {
    const bool moves = options.orbit_seconds != 0;
    if (moves && options.frame == 128)
        throw usage_error("--frame: 128 leaves no room to fade between filters; --orbit needs 96");
    if (options.frame != 0) return static_cast<std::size_t>(options.frame);
    return moves ? 96 : 128;
}

void render_sources(const render_options &options) {
    check_sources(options.sources, options.normalize);
    binaural_plan plan(options);
    const scene_file scene = scene_of(options.sources);
    const std::size_t length = frame_length(options);
    const guard_choice guard =
        guard_for(options, headroom_for(scene.content).guard, scene.content.sources.size());
    const engine_choice engine(options, plan.out);
    plan.head = engine.text();
    plan.open = [&] {
        return open_scene(scene, engine, guard, length,
                          orbit_of(options.sources, options.orbit_seconds, length));
    };
    carry_out(plan);
}

void check_scene(const render_options &options) {
    if (options.orbit_seconds != 0)
        throw usage_error("--orbit: a scene says itself how its sources move");
}

void render_scene(const render_options &options) {
    check_scene(options);
    if (options.frame != 0) throw usage_error("--frame: the frames of a scene have 96 samples");
    binaural_plan plan(options);
    const scene_file scene = read_scene(options.scene);
    const guard_choice guard =
        guard_for(options, headroom_for(scene.content).guard, scene.content.sources.size());
    const engine_choice engine(options, plan.out);
    plan.head = engine.text();
    plan.open = [&scene, &engine, guard] {
        return open_scene(scene, engine, guard, scene_stream::frame_length);
    };
    carry_out(plan);
}

// What belongs to two ears.
void check_field(const render_options &options) {
    if (!options.head.empty())
        throw usage_error("--head: a field is not heard through a head; give it to 'earshot "
                          "binauralize', which makes two ears of the field");
    if (options.measured)
        throw usage_error("--placement: a field has every source exactly where it is; leave it "
                          "out");
    if (options.guard) throw usage_error("--guard: no sum of a field can wrap; leave it out");
    if (options.frame != 0)
        throw usage_error("--frame: the frames of a field have 96 samples; leave it out");
}

void render_field(const render_options &options) {
    check_field(options);
    if (options.scene.empty())
        check_sources(options.sources, options.normalize);
    else
        check_scene(options);
    binaural_plan plan(options, channels_of_order(options.field_order));
    scene_file scene =
        options.scene.empty() ? scene_of(options.sources) : read_scene(options.scene);
    if (options.no_head) scene.content.listener.orientation = scene_listener{}.orientation;
    plan.open = [&] {
        return open_field(
            scene, options.field_order,
            orbit_of(options.sources, options.orbit_seconds, field_mixer::frame_length));
    };
    carry_out(plan);
}

void render(const render_options &options) {
    if (options.scene.empty() == options.sources.empty())
        throw usage_error("render: name either a scene or sources with -s");
    if (options.no_head && options.field_order == 0)
        throw usage_error("--no-head: two ears turn with their head; it is for --field, which a "
                          "player can turn");
    if (options.field_order != 0)
        render_field(options);
    else if (options.scene.empty())
        render_sources(options);
    else
        render_scene(options);
}

} // namespace

void add_render(CLI::App &app, action &chosen) {
    auto *command =
        add_command(app, "render",
                    "Render a scene, or sources around the listener, for two ears or into a field");
    auto options = std::make_shared<render_options>();
    command
        ->add_option("SCENE", options->scene, "Scene to render, a JSON file; - for standard input")
        ->type_name("");
    add_sources(*command, options->sources,
                "Instead, a source and its direction, once for each; - for standard input");
    add_orbit(*command, options->orbit_seconds);
    add_choice(*command, "--frame", {96, 128}, options->frame,
               "Samples of a frame: 96, or 128 with sources that stand still");
    add_choice(*command, "--field", {1, 2, 3, 4}, options->field_order,
               "Instead of two ears, make an ambisonic field of order 1 to 4 (AmbiX)");
    command->add_flag("--no-head", options->no_head,
                      "With --field: leave the listener's turns to who plays the field");
    add_placement(*command, *options);
    add_binaural_options(*command, *options);
    command->callback([options, &chosen] { chosen = [options] { render(*options); }; });
}

} // namespace earshot_tool
