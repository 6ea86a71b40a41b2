// earshot render: a scene, or sources at directions around the listener, for two ears.

#include "commands/binaural_plan.hpp"
#include "commands/commands.hpp"
#include "commands/engine_choice.hpp"
#include "commands/placed_sources.hpp"
#include "error.hpp"
#include "scene/rendering/scene_stream.hpp"

namespace earshot_tool {

namespace {

struct render_options : binaural_options, head_options {
    std::string scene;
    std::vector<source_argument> sources;
    double orbit_seconds = 0; // 0: the sources stand still
    int frame = 0;            // 0: the longest that is possible
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
        binaural_stream::mover move;
        if (options.orbit_seconds != 0)
            move = turning_sources(options.sources, options.orbit_seconds, length);
        return open_scene(scene, engine, guard, length, move);
    };
    carry_out(plan);
}

void render_scene(const render_options &options) {
    if (options.orbit_seconds != 0)
        throw usage_error("--orbit: a scene says itself how its sources move");
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

void render(const render_options &options) {
    if (options.scene.empty() == options.sources.empty())
        throw usage_error("render: name either a scene or sources with -s");
    if (options.scene.empty())
        render_sources(options);
    else
        render_scene(options);
}

} // namespace

void add_render(CLI::App &app, action &chosen) {
    auto *command =
        add_command(app, "render", "Render a scene, or sources around the listener, for two ears");
    auto options = std::make_shared<render_options>();
    command
        ->add_option("SCENE", options->scene, "Scene to render, a JSON file; - for standard input")
        ->type_name("");
    add_sources(*command, options->sources,
                "Instead, a source and its direction, once for each; - for standard input");
    add_orbit(*command, options->orbit_seconds);
    add_choice(*command, "--frame", {96, 128}, options->frame,
               "Samples of a frame: 96, or 128 with sources that stand still");
    add_placement(*command, *options);
    add_binaural_options(*command, *options);
    command->callback([options, &chosen] { chosen = [options] { render(*options); }; });
}

} // namespace earshot_tool
