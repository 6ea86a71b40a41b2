// A scene in a file, with the tables and sounds that it names.
#pragma once

#include <memory>
#include <string>

#include "commands/engine_choice.hpp"
#include "commands/rendering.hpp"
#include "scene/description/scene.hpp"

namespace earshot_tool {

struct scene_file {
    std::string name;   // for messages
    std::string folder; // where the names in it start from
    scene content;
};

// Reads the scene and its tables, from standard input for "-", when names in it start from the
// current folder. Throws processing_error, which tells the place.
scene_file read_scene(const std::string &path);

// Opens the scene's sounds. It has to outlive the rendering.
std::unique_ptr<rendering> open_scene(const scene_file &scene, const engine_choice &engine,
                                      const guard_choice &guard);

} // namespace earshot_tool
