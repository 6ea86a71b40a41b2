// earshot render: a scene, or sources at directions around the listener, for two ears.

#include <cmath>
#include <filesystem>
#include <utility>

#include "audio/sound_header.hpp"
#include "commands/bed_file.hpp"
#include "commands/binaural_plan.hpp"
#include "commands/commands.hpp"
#include "commands/engine_choice.hpp"
#include "commands/orbit.hpp"
#include "commands/scene_file.hpp"
#include "commands/source_argument.hpp"
#include "error.hpp"
#include "field/spherical_harmonics.hpp"
#include "scene/rendering/scene_stream.hpp"

namespace earshot_tool {

namespace {

struct render_options : binaural_options, head_options {
    std::string scene; // or a sound
    std::vector<source_argument> sources;
    double orbit_seconds = 0; // 0: the sources stand still
    int frame = 0;            // 0: the longest that is possible
    bool lfe_is_set = false;
    std::optional<s32> lfe = standard_lfe_gain; // of beds; nothing: off
};

// The nearest angle in degrees, Q16, from 0 to 360.
s32 degrees_of_turn(u32 turn) {
    constexpr u64 whole_turn = u64{360} << 16;
    return static_cast<s32>((turn * whole_turn + (u64{1} << 31)) >> 32);
}

std::size_t frame_length(const render_options &options) {
    const bool moves = options.orbit_seconds != 0;
    if (moves && options.frame == 128)
        throw usage_error("--frame: 128 leaves no room to fade between filters; --orbit needs 96");
    if (options.frame != 0) return static_cast<std::size_t>(options.frame);
    return moves ? 96 : 128;
}

void check_sources(const render_options &options) {
    std::size_t streams = 0;
    for (const source_argument &source : options.sources) streams += source.file == "-" ? 1 : 0;
    if (streams > 1) throw usage_error("-s: only one source can be standard input");
    if (streams > 0 && options.normalize)
        throw usage_error("--normalize reads the input twice, which standard input cannot");
}

// The scene that the command line describes, and the azimuths of its sources as fractions of a
// turn, Q32, which are finer than those of the scene.
struct command_line_scene {
    scene_file file{"", "as FILE:CHANNEL@AZ,EL, or take all as FILE@LAYOUT", {}, {}};
    std::vector<u32> azimuths;
};

void add_source(command_line_scene &scene, const source_argument &argument) {
    scene_source source;
    source.file = argument.file;
    source.channel = argument.channel;
    source.gain = argument.from->gain;
    source.place =
        track<direction>{{0, {degrees_of_turn(argument.from->azimuth), argument.from->elevation}}};
    scene.file.content.sources.push_back(std::move(source));
    scene.file.sounds.push_back(argument.file);
    scene.azimuths.push_back(argument.from->azimuth);
}

void add_bed(command_line_scene &scene, const std::string &path, s32 gain, const bed &layout,
             const render_options &options) {
    scene_source source;
    source.file = path;
    source.gain = gain;
    std::vector<scene_source> &sources = scene.file.content.sources;
    try {
        add_bed(scene.file.content, source, layout, options.lfe);
    } catch (const scene_error &error) {
        throw usage_error(path + ": " + error.what());
    }
    scene.file.sounds.resize(sources.size(), path);
    for (std::size_t k = scene.azimuths.size(); k < sources.size(); ++k) {
        const auto *rows = std::get_if<track<direction>>(&sources[k].place);
        scene.azimuths.push_back(rows ? turn_of_degrees(rows->at(0).value.azimuth) : 0);
    }
}

// What can be either is looked at, unless it can be read only once.
bool is_bed(const source_argument &argument) {
    if (!argument.from || !argument.on) return argument.on.has_value();
    return std::filesystem::is_regular_file(argument.file) &&
           audio_input(argument.file).channels() > 1;
}

command_line_scene scene_of(const render_options &options) {
    command_line_scene scene;
    for (const source_argument &argument : options.sources)
        if (is_bed(argument))
            add_bed(scene, argument.file, argument.on->gain, *layout_called(argument.on->name),
                    options);
        else
            add_source(scene, argument);
    const std::size_t count = scene.file.content.sources.size();
    if (count > most_sources)
        throw usage_error("-s: " + std::to_string(count) + " sources, there can be " +
                          std::to_string(most_sources));
    if (options.lfe_is_set && scene.file.content.beds.empty())
        throw usage_error("--lfe: no source has a layout; -s FILE@5.1 is one that has");
    return scene;
}

// A sound alone, every channel at its loudspeaker.
command_line_scene scene_of_sound(const render_options &options) {
    const console out(options.talk);
    const audio_input file(options.scene);
    const bed layout = bed_of(file);
    out.note(bed_note(file, layout));
    command_line_scene scene;
    add_bed(scene, options.scene, 0, layout, options);
    if (scene.file.content.sources.empty())
        throw usage_error("--lfe: off leaves no channel of " + options.scene);
    return scene;
}

// All sources keep their angles to each other and go round together.
class turning_sources {
  public:
    turning_sources(const command_line_scene &scene, double seconds, std::size_t frame_length)
        : scene_(scene),
          turn_(0, std::llround(seconds * 1e6), binaural_rate / static_cast<int>(frame_length)) {}

    void operator()(source_placer &placer, s64) {
        // To where they are a frame later, if that is what the placer takes.
        if (!placed_ && placer.placed_at() != 0) turn_.next();
        const u32 turn = turn_.next();
        for (std::size_t k = 0; k < scene_.azimuths.size(); ++k) place(placer, k, turn);
        placed_ = true;
    }

  private:
    void place(source_placer &placer, std::size_t k, u32 turn) const {
        const auto *rows = std::get_if<track<direction>>(&scene_.file.content.sources[k].place);
        if (rows != nullptr)
            placer.place(k, degrees_of_turn(scene_.azimuths[k] + turn),
                         rows->at(0).value.elevation);
        else if (!placed_)
            placer.place_everywhere(k);
    }

    const command_line_scene &scene_;
    orbit turn_;
    bool placed_ = false;
};

void render_placed(const render_options &options, binaural_plan &plan,
                   const command_line_scene &scene) {
    const std::size_t length = frame_length(options);
    const scene_file &file = scene.file;
    const guard_choice guard =
        guard_for(options, headroom_for(file.content).guard, file.content.sources.size());
    const engine_choice engine(options, plan.out);
    plan.head = engine.text();
    plan.open = [&] {
        binaural_stream::mover move;
        if (options.orbit_seconds != 0)
            move = turning_sources(scene, options.orbit_seconds, length);
        return open_scene(file, engine, guard, length, move);
    };
    carry_out(plan);
}

void render_sources(const render_options &options) {
    check_sources(options);
    binaural_plan plan(options);
    render_placed(options, plan, scene_of(options));
}

void render_sound(const render_options &options) {
    binaural_plan plan(options);
    render_placed(options, plan, scene_of_sound(options));
}

void render_scene(const render_options &options) {
    if (options.orbit_seconds != 0)
        throw usage_error("--orbit: a scene says itself how its sources move");
    if (options.frame != 0) throw usage_error("--frame: the frames of a scene have 96 samples");
    if (options.lfe_is_set)
        throw usage_error("--lfe: a scene says itself how loud its LFE channels are, with \"lfe\"");
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
    else if (options.scene != "-" && is_sound_file(options.scene))
        render_sound(options);
    else
        render_scene(options);
}

void add_lfe(CLI::App &command, render_options &options) {
    command
        .add_option_function<std::string>(
            "--lfe",
            [&options](const std::string &text) {
                options.lfe_is_set = true;
                options.lfe.reset();
                if (text == "off") return;
                if (!parse_number(text))
                    throw usage_error("--lfe: '" + text + "' is not a number of decibels or off");
                options.lfe =
                    static_cast<s32>(std::llround(number_in("--lfe", text, gain_range) * 1000));
            },
            "Gain of the LFE channels of layouts, or off (default 10, as they are recorded)")
        ->type_name("DB|off");
}

} // namespace

void add_render(CLI::App &app, action &chosen) {
    auto *command = add_command(
        app, "render", "Render a scene, a sound, or sources around the listener, for two ears");
    auto options = std::make_shared<render_options>();
    command
        ->add_option("SCENE", options->scene,
                     "Scene to render, a JSON file; - for standard input. Or a sound, whose "
                     "channels are for loudspeakers")
        ->type_name("");
    command
        ->add_option_function<std::vector<std::string>>(
            "-s,--source",
            [options](const std::vector<std::string> &texts) {
                for (const std::string &text : texts)
                    options->sources.push_back(parse_source(text));
            },
            "Instead, a source and its direction, or a file and the layout of its loudspeakers "
            "(" +
                layout_names() + "), and its gain, once for each; - for standard input")
        ->allow_extra_args(false)
        ->type_name("FILE[:CHANNEL]@AZ,EL[,GAIN] or FILE@LAYOUT[,GAIN]");
    add_lfe(*command, *options);
    add_orbit(*command, options->orbit_seconds);
    add_choice(*command, "--frame", {96, 128}, options->frame,
               "Samples of a frame: 96, or 128 with sources that stand still");
    add_placement(*command, *options);
    add_binaural_options(*command, *options);
    command->callback([options, &chosen] { chosen = [options] { render(*options); }; });
}

} // namespace earshot_tool
