// What a recording is called, as its file says: goes from an input to the output made of it.
#pragma once

#include <string>

namespace earshot_tool {

class audio_input;

// UTF-8 without control characters; empty where there is none.
struct sound_tags {
    std::string title;
    std::string artist;
    std::string comment;
};

// Of an opened input, by its path. Empty for standard input, for what is no regular file, and for
// formats without tags.
sound_tags read_tags(const std::string &path, const audio_input &in);

} // namespace earshot_tool
