// earshot render: a scene, a sound for loudspeakers, or sources at directions around the listener,
// for two ears or into a field.

#include <CLI/App.hpp>

#include "audio/sound_header.hpp"
#include "commands/commands.hpp"
#include "commands/placed_sources.hpp"
#include "commands/scene_rendering.hpp"
#include "error.hpp"
#include "scene/rendering/field_mixer.hpp"

namespace earshot_tool {

namespace {

struct render_options : scene_options, placed_options {
    std::string scene; // or a sound
    int frame = 0;     // 0: the longest that is possible
};

std::size_t frame_length(const render_options &options) {
    const bool moves = options.orbit_seconds != 0;
    if (moves && options.frame == 128)
        throw usage_error("--frame: 128 leaves no room to fade between filters; --orbit needs 96");
    if (options.frame != 0) return static_cast<std::size_t>(options.frame);
    return moves ? 96 : 128;
}

// Whether what stands in the place of a scene is a sound.
bool is_sound(const render_options &options) {
    return !options.scene.empty() && options.scene != "-" && is_sound_file(options.scene);
}

placed_scene placed(const render_options &options) {
    if (is_sound(options)) return scene_of_sound(options.scene, options, console(options.talk));
    check_sources(options, options.goal.reads_twice() ? options.goal.option() : "");
    return scene_of(options);
}

void render_placed(const render_options &options) {
    rendering_plan plan = plan_for(options);
    placed_scene scene = placed(options);
    const bool is_field = options.field_order != 0;
    const std::size_t length = is_field ? field_mixer::frame_length : frame_length(options);
    if (!is_field) plan.single_input = only_file(scene.file);
    render_scene(plan, scene.file, options,
                 {length, orbit_of(scene, options.orbit_seconds, length)});
}

void check_scene(const render_options &options) {
    if (options.orbit_seconds != 0)
        throw usage_error("--orbit: a scene says itself how its sources move");
    if (options.lfe_is_set)
        throw usage_error("--lfe: a scene says itself how loud its LFE channels are, with \"lfe\"");
    if (options.frame != 0) throw usage_error("--frame: the frames of a scene have 96 samples");
}

void render(const render_options &options) {
    if (options.scene.empty() == options.sources.empty())
        throw usage_error("render: name either a scene or sources with -s");
    check_destination(options);
    if (options.field_order != 0 && options.frame != 0)
        throw usage_error("--frame: the frames of a field have 96 samples; leave it out");
    if (!options.scene.empty() && !is_sound(options)) {
        check_scene(options);
        rendering_plan plan = plan_for(options);
        scene_file scene = read_scene(options.scene);
        render_scene(plan, scene, options);
    } else {
        render_placed(options);
    }
}

} // namespace

void add_render(CLI::App &app, action &chosen) {
    auto *command =
        add_command(app, "render",
                    "Render a scene, a sound, or sources around the listener, for two ears or into "
                    "a field");
    auto options = std::make_shared<render_options>();
    command
        ->add_option("SCENE", options->scene,
                     "Scene to render, a JSON file; - for standard input. Or a sound, whose "
                     "channels are for loudspeakers")
        ->type_name("");
    add_placed_sources(*command, *options, "Instead, a source and its direction,");
    add_choice(*command, "--frame", {96, 128}, options->frame,
               "Samples of a frame: 96, or 128 with sources that stand still");
    add_field_options(*command, *options);
    add_placement(*command, *options);
    add_rendering_options(*command, *options);
    command->callback([options, &chosen] { chosen = [options] { render(*options); }; });
}

} // namespace earshot_tool
