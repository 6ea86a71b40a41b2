// Sources that the command line places around the listener: "-s", once for each of them, and
// "--orbit", which turns them all.
#pragma once

#include <string>
#include <vector>

#include "commands/orbit.hpp"
#include "commands/scene_file.hpp"
#include "commands/source_argument.hpp"

namespace earshot_tool {

// "--source".
void add_sources(CLI::App &command, std::vector<source_argument> &sources,
                 const std::string &description);

// Throws usage_error where there are too many of them, or where standard input would have to be
// read twice.
void check_sources(const std::vector<source_argument> &sources, bool normalize);

// The scene that the command line describes.
scene_file scene_of(const std::vector<source_argument> &sources);

// What turns all of them round the listener once in so many seconds, frame by frame; nothing for 0.
source_mover orbit_of(const std::vector<source_argument> &sources, double orbit_seconds,
                      std::size_t frame_length);

} // namespace earshot_tool
