// The last stretch of every command that writes: a source, or a part of it, is read, brought to
// the rate of the output, and written, while a line tells how far that is.
#pragma once

#include <string>
#include <vector>

#include "audio/audio_input.hpp"
#include "audio/audio_output.hpp"
#include "console.hpp"

namespace earshot_tool {

// The format of an output: with the rate unless the options say another one, and with the options'
// default width. Throws usage_error for what cannot be written.
output_format format_for(const output_options &options, int channels, int rate);

// Of one made from an input: with its width instead.
output_format format_for(const output_options &options, const audio_input &in, int channels,
                         int rate);

// Reads a source to its end and hands on what it yields.
template <class Sink> void drain(frame_source &source, const console &out, Sink sink) {
    std::vector<s32> block(block_frames * static_cast<std::size_t>(source.channels()));
    progress meter(out, source.rate(), source.frames());
    while (const std::size_t frames = source.read(block.data(), block_frames)) {
        sink(block.data(), frames);
        meter.advance(frames);
    }
}

struct delivered {
    std::string name; // of the output, for messages
    s64 frames;
    u64 clipped;               // samples, on the way to the output's width
    u64 clipped_by_conversion; // of the rate

    u64 all_clipped() const { return clipped + clipped_by_conversion; }
};

// The source has the channels of the format, and its samples the format's computed width. What is
// written is the part that the options say. The output is opened at once: whatever else can be
// checked has been by then.
delivered deliver(frame_source &source, const output_options &options, const output_format &format,
                  const console &out, const frame_listener &written = {});

// What there is to say about it at the end: of what was clipped, and what was written.
void report(const console &out, const delivered &written);
void report(const console &out, const audio_input &in, const delivered &written);

} // namespace earshot_tool
