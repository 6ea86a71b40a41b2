#include "commands/commands.hpp"

#include "error.hpp"

namespace earshot_tool {

std::string has_channels(const audio_input &in) {
    return "has " + counted(static_cast<u64>(in.channels()), "channel");
}

void require_channels(const audio_input &in, int channels, const std::string &reason) {
    if (in.channels() != channels)
        throw processing_error(in.name(), has_channels(in) + ", " + reason + " has " +
                                              std::to_string(channels));
}

int chosen_channel(const audio_input &in, int channel, const std::string &how) {
    if (channel > in.channels())
        throw processing_error(in.name(),
                               has_channels(in) + ", no number " + std::to_string(channel));
    if (channel == 0 && in.channels() != 1)
        throw processing_error(in.name(), has_channels(in) + ": name one of them " + how);
    return channel == 0 ? 1 : channel;
}

} // namespace earshot_tool
