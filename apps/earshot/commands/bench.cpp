// earshot bench: how fast a scene renders.

#include <cerrno>
#include <cstdio>

#include <CLI/App.hpp>
#include <earshot/profiler.h>

#include "commands/commands.hpp"
#include "commands/scene_file.hpp"
#include "error.hpp"
#include "scene/rendering/scene_stream.hpp"

namespace earshot_tool {

namespace {

struct bench_options : head_options {
    std::string scene;
    verbosity talk;
};

constexpr double frames_per_second = double{binaural_rate} / scene_stream::frame_length;

using profiler_handle = std::unique_ptr<native_profiler, decltype(&NpDestroy)>;

// Renders the whole scene, one iteration of the profiler for every frame; returns its samples.
s64 measure(native_profiler &profiler, rendered_stream &stream, const console &out) {
    std::vector<s32> pairs(2 * scene_stream::frame_length);
    progress meter(out, binaural_rate, stream.frames());
    s64 samples = 0;
    for (;;) {
        NpStart(&profiler);
        const std::size_t got = stream.read(pairs.data(), scene_stream::frame_length);
        if (got == 0) return samples; // this iteration does not count
        NpStop(&profiler, 0);
        samples += static_cast<s64>(got);
        meter.advance(got);
    }
}

std::string line(const std::string &label, const std::string &value) {
    return label + std::string(14 - label.size(), ' ') + value + "\n";
}

std::string time_text(const native_profiler &profiler) {
    return fixed(profiler.average_elapsed_time, 2) + " us a frame on average, " +
           fixed(profiler.min_elapsed_time, 2) + " to " + fixed(profiler.max_elapsed_time, 2);
}

std::string cycles_text(const native_profiler &profiler) {
    if (profiler.cycles_descriptor < 0) return "not counted on this machine";
    return std::to_string(profiler.total_cycles / profiler.iteration_count) +
           " a frame on average, " + std::to_string(profiler.min_cycles) + " to " +
           std::to_string(profiler.max_cycles);
}

// How many such sources one processor would render as fast as they sound.
std::string real_time_text(const native_profiler &profiler, std::size_t sources) {
    const double speed = 1e6 / (frames_per_second * profiler.average_elapsed_time);
    return fixed(speed * static_cast<double>(sources), 0) + " sources (" + fixed(speed, 1) +
           " x real time with " + std::to_string(sources) + ")";
}

std::string report_text(const native_profiler &profiler, std::size_t sources, s64 samples) {
    std::string text = line("frames", std::to_string(profiler.iteration_count) + " of " +
                                          std::to_string(scene_stream::frame_length) + " samples");
    text += line("sources", std::to_string(sources));
    text += line("sound", fixed(static_cast<double>(samples) / binaural_rate, 3) + " s");
    text += line("time", time_text(profiler));
    text += line("cycles", cycles_text(profiler));
    return text + line("real time", real_time_text(profiler, sources));
}

void bench(const bench_options &options) {
    const console out(options.talk);
    const scene_file scene = read_scene(options.scene);
    const engine_choice engine(options, out);
    const auto work = open_scene(scene, engine, {std::nullopt, headroom_for(scene.content).guard},
                                 scene_stream::frame_length);
    describe_inputs(*work, out);
    out.detail("heard through " + engine.text());
    const profiler_handle profiler(NpCreate(), &NpDestroy);
    if (profiler == nullptr) throw processing_error(scene.name, system_cause(ENOMEM));
    const std::string name = message_line(scene.name); // the profiler keeps the address
    NpInitialize(profiler.get(), name.c_str(), static_cast<float>(frames_per_second));
    const s64 samples = measure(*profiler, *work->stream, out);
    if (samples == 0) throw processing_error(scene.name, "is too short to measure");
    NpReportSummary(profiler.get());
    print(report_text(*profiler, work->engine->sources(), samples));
}

} // namespace

void add_bench(CLI::App &app, action &chosen) {
    auto *command = add_command(app, "bench", "Measure how fast a scene renders");
    auto options = std::make_shared<bench_options>();
    command
        ->add_option("SCENE", options->scene, "Scene to render, a JSON file; - for standard input")
        ->required()
        ->type_name("");
    add_placement(*command, *options);
    add_verbosity(*command, options->talk);
    command->callback([options, &chosen] { chosen = [options] { bench(*options); }; });
}

} // namespace earshot_tool
