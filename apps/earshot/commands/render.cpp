// earshot render: a scene, a sound for loudspeakers, or sources at directions around the listener,
// for two ears or into a field.

#include "audio/sound_header.hpp"
#include "commands/commands.hpp"
#include "commands/engine_choice.hpp"
#include "commands/placed_sources.hpp"
#include "commands/rendering_plan.hpp"
#include "error.hpp"
#include "field/spherical_harmonics.hpp"
#include "scene/rendering/field_stream.hpp"
#include "scene/rendering/scene_stream.hpp"

namespace earshot_tool {

namespace {

struct render_options : rendering_options, head_options, placed_options {
    std::string scene;    // or a sound
    int frame = 0;        // 0: the longest that is possible
    int field_order = 0;  // 0: for two ears
    bool no_head = false; // the listener's turns are left out
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
    rendering_plan plan(options);
    const placed_scene scene = placed(options);
    const std::size_t length = frame_length(options);
    const earshot_scenes::scene &content = scene.file.content;
    const guard_choice guard =
        guard_for(options, headroom_for(content).guard, content.sources.size());
    const engine_choice engine(options, plan.out);
    plan.head = engine.text();
    plan.single_input = only_file(scene.file);
    plan.open = [&] {
        return open_scene(scene.file, engine, guard, length,
                          orbit_of(scene, options.orbit_seconds, length));
    };
    carry_out(plan);
}

void check_scene(const render_options &options) {
    if (options.orbit_seconds != 0)
        throw usage_error("--orbit: a scene says itself how its sources move");
    if (options.lfe_is_set)
        throw usage_error("--lfe: a scene says itself how loud its LFE channels are, with \"lfe\"");
}

void render_scene(const render_options &options) {
    check_scene(options);
    if (options.frame != 0) throw usage_error("--frame: the frames of a scene have 96 samples");
    rendering_plan plan(options);
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
    if (options.goal.measures_loudness())
        throw usage_error(options.goal.option() +
                          ": how loud a field is depends on who plays it; --normalize brings its "
                          "peak to full scale");
    if (options.guard) throw usage_error("--guard: no sum of a field can wrap; leave it out");
    if (options.frame != 0)
        throw usage_error("--frame: the frames of a field have 96 samples; leave it out");
}

void render_field(const render_options &options) {
    check_field(options);
    const bool is_scene = !options.scene.empty() && !is_sound(options);
    if (is_scene) check_scene(options);
    rendering_plan plan(options, channels_of_order(options.field_order));
    placed_scene scene;
    if (is_scene)
        scene.file = read_scene(options.scene);
    else
        scene = placed(options);
    if (options.no_head) scene.file.content.listener.orientation = scene_listener{}.orientation;
    plan.open = [&] {
        return open_field(scene.file, options.field_order,
                          orbit_of(scene, options.orbit_seconds, field_mixer::frame_length));
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
    else if (options.scene.empty() || is_sound(options))
        render_placed(options);
    else
        render_scene(options);
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
    add_choice(*command, "--field", {1, 2, 3, 4}, options->field_order,
               "Instead of two ears, make an ambisonic field of order 1 to 4 (AmbiX)");
    command->add_flag("--no-head", options->no_head,
                      "With --field: leave the listener's turns to who plays the field");
    add_placement(*command, *options);
    add_rendering_options(*command, *options);
    command->callback([options, &chosen] { chosen = [options] { render(*options); }; });
}

} // namespace earshot_tool
