#include "commands/commands.hpp"

#include "error.hpp"

namespace earshot_tool {

output_format format_for(const output_options &options, const audio_input &in, int channels,
                         int rate) {
    const int width = options.bits != 0 ? options.bits : in.width();
    const output_format format{choose_container(options.path, options.raw), width, channels, rate};
    check_format(options.path, format);
    return format;
}

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

void report(const console &out, const audio_input &in, const audio_output &written) {
    out.clipped(in.name(), in.clipped(), "at full scale on reading");
    report(out, written);
}

void report(const console &out, const audio_output &written) {
    out.clipped(written.name(), written.clipped(), "at full scale on writing");
    out.detail(written.name() + ": " + counted(static_cast<u64>(written.frames()), "frame") +
               " written");
}

} // namespace earshot_tool
