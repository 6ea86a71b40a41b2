// Which loudspeakers the channels of a file are for, as far as the file or its format says.
#pragma once

#include "audio/sound_header.hpp"
#include "scene/description/loudspeakers.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

// One for every channel, or none at all. A mask that names more or fewer than there are channels
// says nothing, nor does a format of four channels, which fields have as well.
loudspeakers channel_speakers(const sound_header &header, int channels);

} // namespace earshot_tool
