// The commands. Each add_ function describes its command to the parser; when the command line names
// it, `chosen` becomes the work to do.
#pragma once

#include "audio/audio_input.hpp"
#include "options.hpp"

namespace earshot_tool {

void add_rotate(CLI::App &app, action &chosen);
void add_encode(CLI::App &app, action &chosen);
void add_render(CLI::App &app, action &chosen);
void add_binauralize(CLI::App &app, action &chosen);
void add_head(CLI::App &app, action &chosen);
void add_bench(CLI::App &app, action &chosen);
void add_batch(CLI::App &app, action &chosen);
void add_info(CLI::App &app, action &chosen);
void add_join(CLI::App &app, action &chosen);

// "has 2 channels", the beginning of complaints about them.
std::string has_channels(const audio_input &in);

// Throws processing_error unless the input has so many channels; `reason` tells what they are.
void require_channels(const audio_input &in, int channels, const std::string &reason);

// The channel, counted from 1, that stands for an input: `channel`, or for 0 the only one. Throws
// processing_error where there is no such channel, or where an input with several says nothing of
// which is meant; `how` tells how it is named.
int chosen_channel(const audio_input &in, int channel, const std::string &how);

} // namespace earshot_tool
