// Files whose channels are for the loudspeakers of a layout.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "audio/audio_input.hpp"
#include "scene/description/loudspeakers.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

// What a file is without anybody saying more: what its header says, or else what its number of
// channels means. Nothing where that means no loudspeakers.
std::optional<bed> known_bed(const audio_input &file);

// Whether its number of channels is that of a field, and its header does not say otherwise.
bool may_be_field(const audio_input &file);

// The same bed; throws processing_error where there is none.
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
