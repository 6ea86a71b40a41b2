// A scene and the files of its sounds: read from a file, or made of the command line.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "commands/engine_choice.hpp"
#include "commands/rendering.hpp"
#include "scene/description/scene.hpp"

namespace earshot_tool {

struct scene_file {
    std::string name;         // for messages; empty: the command line is the scene
    std::string channel_hint; // how a channel is named in it
    scene content;
    std::vector<std::string> sounds; // paths, one for every source; "-" is standard input
};

// Reads the scene and its tables, from standard input for "-", when names in it start from the
// current folder. Throws processing_error, which tells the place.
scene_file read_scene(const std::string &path);

// The path of a file that a scene in the folder names.
std::string path_in(const std::string &folder, const std::string &name);

// Opens the scene's sounds as inputs of the work: mono, at 48000 Hz. The scene has to outlive it.
std::vector<frame_source *> open_sounds(const scene_file &scene, rendering &work);

// All that renders a scene for two ears. frame_length: 128 where nothing moves, or 96. move: where
// the sources are, if not where the scene says.
std::unique_ptr<rendering> open_scene(const scene_file &scene, const engine_choice &engine,
                                      const guard_choice &guard, std::size_t frame_length,
                                      const source_mover &move = {});

// All that renders one into a field.
std::unique_ptr<rendering> open_field(const scene_file &scene, int order,
                                      const source_mover &move = {});

} // namespace earshot_tool
