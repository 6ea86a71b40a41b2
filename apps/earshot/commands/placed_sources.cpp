#include "commands/placed_sources.hpp"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <utility>

#include <CLI/App.hpp>

#include "commands/bed_file.hpp"
#include "error.hpp"
#include "field/spherical_harmonics.hpp"
#include "scene/motion/track.hpp"

namespace earshot_tool {

namespace {

// The nearest angle in degrees, Q16, from 0 to 360.
s32 degrees_of_turn(u32 turn) {
    constexpr u64 whole_turn = u64{360} << 16;
    return static_cast<s32>((turn * whole_turn + (u64{1} << 31)) >> 32);
}

void add_source(placed_scene &scene, const source_argument &argument) {
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

void add_bed(placed_scene &scene, const std::string &path, s32 gain, const bed &layout,
             const placed_options &options) {
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

// All sources keep their angles to each other and go round together.
class turning_sources {
  public:
    turning_sources(const placed_scene &scene, double seconds, std::size_t frame_length)
        : scene_(scene),
          turn_(0, std::llround(seconds * 1e6), binaural_rate / static_cast<int>(frame_length)),
          frame_length_(static_cast<s64>(frame_length)) {}

    void operator()(source_placer &placer, s64 time) {
        for (; next_ <= time; next_ += frame_length_) now_ = turn_.next();
        for (std::size_t k = 0; k < scene_.azimuths.size(); ++k) place(placer, k);
        placed_ = true;
    }

  private:
    void place(source_placer &placer, std::size_t k) const {
        const auto *rows = std::get_if<track<direction>>(&scene_.file.content.sources[k].place);
        if (rows != nullptr) {
            placer.place(k, degrees_of_turn(scene_.azimuths[k] + now_),
                         rows->at(0).value.elevation);
        } else if (!placed_) {
            placer.place_everywhere(k);
            placer.stays(k);
        }
    }

    const placed_scene &scene_;
    orbit turn_;
    s64 frame_length_;
    s64 next_ = 0; // time of the next turn
    u32 now_ = 0;
    bool placed_ = false;
};

void set_lfe(placed_options &options, const std::string &text) {
    options.lfe_is_set = true;
    options.lfe.reset();
    if (text == "off") return;
    if (!parse_number(text))
        throw usage_error("--lfe: '" + text + "' is not a number of decibels or off");
    options.lfe = static_cast<s32>(std::llround(number_in("--lfe", text, gain_range) * 1000));
}

} // namespace

void add_placed_sources(CLI::App &command, placed_options &options,
                        const std::string &description) {
    command
        .add_option_function<std::vector<std::string>>(
            "-s,--source",
            [&options](const std::vector<std::string> &texts) {
                for (const std::string &text : texts) options.sources.push_back(parse_source(text));
            },
            description + " or a file and the layout of its loudspeakers (" + layout_names() +
                "), and its gain, once for each; - for standard input")
        ->allow_extra_args(false)
        ->type_name("FILE[:CHANNEL]@AZ,EL[,GAIN] or FILE@LAYOUT[,GAIN]");
    command
        .add_option_function<std::string>(
            "--lfe", [&options](const std::string &text) { set_lfe(options, text); },
            "Gain of the LFE channels of layouts, or off (default 10, as they are recorded)")
        ->type_name("DB|off");
    add_orbit(command, options.orbit_seconds);
}

void check_sources(const placed_options &options, const std::string &reading_twice) {
    std::size_t streams = 0;
    for (const source_argument &source : options.sources) streams += source.file == "-" ? 1 : 0;
    if (streams > 1) throw usage_error("-s: only one source can be standard input");
    if (streams > 0 && !reading_twice.empty())
        throw usage_error(reading_twice + " reads the input twice, which standard input cannot");
}

placed_scene scene_of(const placed_options &options) {
    placed_scene scene;
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

placed_scene scene_of_sound(const std::string &path, const placed_options &options,
                            const console &out) {
    const audio_input file(path);
    const bed layout = bed_of(file);
    out.note(bed_note(file, layout));
    placed_scene scene;
    add_bed(scene, path, 0, layout, options);
    if (scene.file.content.sources.empty())
        throw usage_error("--lfe: off leaves no channel of " + path);
    return scene;
}

std::string only_file(const scene_file &scene) {
    const std::vector<std::string> &sounds = scene.sounds;
    const bool is_one = std::all_of(sounds.begin(), sounds.end(), [&](const std::string &sound) {
        return sound == sounds.front();
    });
    return is_one ? sounds.front() : "";
}

source_mover orbit_of(const placed_scene &scene, double seconds, std::size_t frame_length) {
    if (seconds == 0) return {};
    return turning_sources(scene, seconds, frame_length);
}

} // namespace earshot_tool
