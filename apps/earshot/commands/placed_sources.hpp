// Sounds that the command line places around the listener: "-s", once for each of them, what is
// said of all of them, and a sound alone whose channels are for loudspeakers.
#pragma once

#include <string>
#include <vector>

#include "commands/orbit.hpp"
#include "commands/scene_file.hpp"
#include "commands/source_argument.hpp"
#include "scene/description/loudspeakers.hpp"

namespace earshot_tool {

struct placed_options {
    std::vector<source_argument> sources;
    double orbit_seconds = 0; // 0: the sources stand still
    bool lfe_is_set = false;
    std::optional<s32> lfe = standard_lfe_gain; // of layouts; nothing: off
};

// "--source", "--lfe" and "--orbit".
void add_placed_sources(CLI::App &command, placed_options &options, const std::string &description);

// Throws usage_error where standard input would have to be read twice: by itself, or by an option,
// which is named.
void check_sources(const placed_options &options, const std::string &reading_twice);

// The scene that the command line describes, and the azimuths of its sources as fractions of a
// turn, Q32, which are finer than those of the scene.
struct placed_scene {
    scene_file file{"", "as FILE:CHANNEL@AZ,EL, or take all as FILE@LAYOUT", {}, {}};
    std::vector<u32> azimuths;
};

// Throws usage_error.
placed_scene scene_of(const placed_options &options);

// A sound alone, every channel at its loudspeaker; a note says which layout that is.
placed_scene scene_of_sound(const std::string &path, const placed_options &options,
                            const console &out);

// The file that all sources of a scene are of, or nothing.
std::string only_file(const scene_file &scene);

// What turns all of them round the listener once in so many seconds, frame by frame; nothing for 0.
// The scene outlives it.
source_mover orbit_of(const placed_scene &scene, double seconds, std::size_t frame_length);

} // namespace earshot_tool
