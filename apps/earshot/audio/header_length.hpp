// What a file's header says about its length, as libsndfile reports it in its log of the header.
//
// libsndfile silently shortens a data chunk that claims more than the file holds; the log is the
// only place of its interface that tells, as "data : 57600 (should be 52600)".
#pragma once

#include <optional>
#include <string_view>

#include <earshot/types.h>

namespace earshot_tool {

struct header_length {
    // Programs that write to a pipe cannot know the length and leave a number that stands for
    // "until the end".
    bool open_ended = false;
    // Bytes of the data chunk where the header claims more than there are.
    std::optional<s64> claimed;
    std::optional<s64> held;
};

header_length read_header_length(std::string_view log);

} // namespace earshot_tool
