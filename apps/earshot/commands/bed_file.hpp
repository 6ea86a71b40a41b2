// Files whose channels are for the loudspeakers of a layout.
#pragma once

#include <string>
#include <vector>

#include "audio/audio_input.hpp"
#include "scene/description/loudspeakers.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

// What a file is without anybody saying more: what its header says, or else what its number of
// channels means. Throws processing_error where that means nothing, or a field.
bed bed_of(const audio_input &file);

// The same in words: what it is taken as, why, and what else there is.
std::string bed_note(const audio_input &file, const bed &layout);

// The channel of the file, counted from 1, for every loudspeaker of a layout.
struct bed_channels {
    std::vector<int> numbers;
    std::string note; // where the file says something else than the layout
};

// Throws processing_error for another number of channels.
bed_channels channels_of_bed(const audio_input &file, const bed &layout);

} // namespace earshot_tool
