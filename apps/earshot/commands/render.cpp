// earshot render: a scene, or sources at directions around the listener, for two ears.

#include <algorithm>
#include <cmath>

#include "commands/binaural_plan.hpp"
#include "commands/commands.hpp"
#include "commands/engine_choice.hpp"
#include "commands/orbit.hpp"
#include "commands/scene_file.hpp"
#include "commands/source_argument.hpp"
#include "error.hpp"
#include "scene/rendering/scene_stream.hpp"
#include "scene/rendering/table_engine.hpp"

namespace earshot_tool {

namespace {

struct render_options : binaural_options, head_options {
    std::string scene;
    std::vector<source_argument> sources;
    double orbit_seconds = 0; // 0: the sources stand still
    int frame = 0;            // 0: the longest that is possible
};

// The nearest angle in degrees, Q16, from 0 to 360.
s32 degrees_of_turn(u32 turn) {
    constexpr u64 whole_turn = u64{360} << 16;
    return static_cast<s32>((turn * whole_turn + (u64{1} << 31)) >> 32);
}

// Sources around the listener as the command line names them, checked.
struct source_plan {
    std::vector<source_argument> sources;
    s64 orbit_microseconds; // of a turn; 0: the sources stand still
    std::size_t frame_length;
    guard_choice guard;
};

std::size_t frame_length(const render_options &options) {
    const bool moves = options.orbit_seconds != 0;
    if (moves && options.frame == 128)
        throw usage_error("--frame: 128 leaves no room to fade between filters; --orbit needs 96");
    if (options.frame != 0) return static_cast<std::size_t>(options.frame);
    return moves ? 96 : 128;
}

void check_sources(const render_options &options) {
    if (options.sources.size() > most_sources)
        throw usage_error("-s: " + std::to_string(options.sources.size()) +
                          " sources, there can be " + std::to_string(most_sources));
    std::size_t streams = 0;
    for (const source_argument &source : options.sources) streams += source.file == "-" ? 1 : 0;
    if (streams > 1) throw usage_error("-s: only one source can be standard input");
    if (streams > 0 && options.goal.reads_twice())
        throw usage_error(options.goal.option() +
                          " reads the input twice, which standard input cannot");
}

source_plan plan_sources(const render_options &options) {
    check_sources(options);
    const std::size_t count = options.sources.size();
    return {options.sources, std::llround(options.orbit_seconds * 1e6), frame_length(options),
            guard_for(options, safe_guard(filter_tables::directions, count), count)};
}

// All sources keep their angles to each other and go round together.
class turning_sources {
  public:
    explicit turning_sources(const source_plan &plan)
        : sources_(plan.sources),
          turn_(0, plan.orbit_microseconds, binaural_rate / static_cast<int>(plan.frame_length)) {}

    void operator()(binaural_engine &engine, s64) {
        if (placed_ && !turn_.moves()) return;
        // To where they are a frame later, if that is what the engine takes.
        if (!placed_ && engine.placed_at() != 0) turn_.next();
        placed_ = true;
        const u32 turn = turn_.next();
        for (std::size_t k = 0; k < sources_.size(); ++k)
            engine.place(k, degrees_of_turn(sources_[k].azimuth + turn), sources_[k].elevation);
    }

  private:
    std::vector<source_argument> sources_;
    orbit turn_;
    bool placed_ = false;
};

std::unique_ptr<rendering> open_sources(const source_plan &plan, const engine_choice &engine) {
    auto work = std::make_unique<rendering>();
    std::vector<frame_source *> sources;
    for (const source_argument &source : plan.sources) {
        auto input = std::make_unique<binaural_input>(source.file);
        input->pick(chosen_channel(input->file(), source.channel, "as FILE:CHANNEL@AZ,EL"));
        sources.push_back(&input->source());
        work->inputs.push_back(std::move(input));
    }
    work->safe_guard = plan.guard.safe;
    work->engine = engine.for_directions(sources.size(), plan.frame_length, plan.guard);
    work->stream = std::make_unique<binaural_stream>(*work->engine, sources, turning_sources(plan));
    return work;
}

// The file that all sources are of, or nothing.
std::string only_file(const std::vector<source_argument> &sources) {
    const bool is_one =
        std::all_of(sources.begin(), sources.end(), [&](const source_argument &source) {
            return source.file == sources.front().file;
        });
    return is_one ? sources.front().file : "";
}

void render_sources(const render_options &options) {
    binaural_plan plan(options);
    const source_plan sources = plan_sources(options);
    const engine_choice engine(options, plan.out);
    plan.head = engine.text();
    plan.single_input = only_file(options.sources);
    plan.open = [&sources, &engine] { return open_sources(sources, engine); };
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
    plan.open = [&scene, &engine, guard] { return open_scene(scene, engine, guard); };
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
    command
        ->add_option_function<std::vector<std::string>>(
            "-s,--source",
            [options](const std::vector<std::string> &texts) {
                for (const std::string &text : texts)
                    options->sources.push_back(parse_source(text));
            },
            "Instead, a source and its direction, once for each; - for standard input")
        ->allow_extra_args(false)
        ->type_name("FILE[:CHANNEL]@AZ,EL");
    add_orbit(*command, options->orbit_seconds);
    add_choice(*command, "--frame", {96, 128}, options->frame,
               "Samples of a frame: 96, or 128 with sources that stand still");
    add_placement(*command, *options);
    add_binaural_options(*command, *options);
    command->callback([options, &chosen] { chosen = [options] { render(*options); }; });
}

} // namespace earshot_tool
