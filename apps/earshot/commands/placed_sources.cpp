#include "commands/placed_sources.hpp"

#include <cmath>
#include <utility>

#include "error.hpp"

namespace earshot_tool {

namespace {

// The nearest angle in degrees, Q16, from 0 to 360.
s32 degrees_of_turn(u32 turn) {
    constexpr u64 whole_turn = u64{360} << 16;
    return static_cast<s32>((turn * whole_turn + (u64{1} << 31)) >> 32);
}

// All sources keep their angles to each other and go round together.
class turning_sources {
  public:
    turning_sources(const std::vector<source_argument> &sources, double orbit_seconds,
                    std::size_t frame_length)
        : sources_(sources), turn_(0, std::llround(orbit_seconds * 1e6),
                                   binaural_rate / static_cast<int>(frame_length)),
          frame_length_(static_cast<s64>(frame_length)) {}

    void operator()(source_placer &placer, s64 time) {
        for (; next_ <= time; next_ += frame_length_) now_ = turn_.next();
        for (std::size_t k = 0; k < sources_.size(); ++k)
            placer.place(k, degrees_of_turn(sources_[k].azimuth + now_), sources_[k].elevation);
    }

  private:
    std::vector<source_argument> sources_;
    orbit turn_;
    s64 frame_length_;
    s64 next_ = 0; // time of the next turn
    u32 now_ = 0;
};

} // namespace

void add_sources(CLI::App &command, std::vector<source_argument> &sources,
                 const std::string &description) {
    command
        .add_option_function<std::vector<std::string>>(
            "-s,--source",
            [&sources](const std::vector<std::string> &texts) {
                for (const std::string &text : texts) sources.push_back(parse_source(text));
            },
            description)
        ->allow_extra_args(false)
        ->type_name("FILE[:CHANNEL]@AZ,EL");
}

void check_sources(const std::vector<source_argument> &sources, bool normalize) {
    if (sources.size() > most_sources)
        throw usage_error("-s: " + std::to_string(sources.size()) + " sources, there can be " +
                          std::to_string(most_sources));
    std::size_t streams = 0;
    for (const source_argument &source : sources) streams += source.file == "-" ? 1 : 0;
    if (streams > 1) throw usage_error("-s: only one source can be standard input");
    if (streams > 0 && normalize)
        throw usage_error("--normalize reads the input twice, which standard input cannot");
}

scene_file scene_of(const std::vector<source_argument> &sources) {
    scene_file scene{"", "as FILE:CHANNEL@AZ,EL", {}, {}};
    for (const source_argument &argument : sources) {
        scene_source source;
        source.file = argument.file;
        source.channel = argument.channel;
        source.place =
            track<direction>{{0, {degrees_of_turn(argument.azimuth), argument.elevation}}};
        scene.content.sources.push_back(std::move(source));
        scene.sounds.push_back(argument.file);
    }
    return scene;
}

source_mover orbit_of(const std::vector<source_argument> &sources, double orbit_seconds,
                      std::size_t frame_length) {
    if (orbit_seconds == 0) return {};
    return turning_sources(sources, orbit_seconds, frame_length);
}

} // namespace earshot_tool
