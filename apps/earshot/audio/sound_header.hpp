// What the beginning of a sound file says, and whether the file holds it.
//
// Headers are looked at here before libsndfile or libmpg123 see them: those take a length that
// makes no sense at its word, some for minutes, and shorten a file that was cut without a word.
// Plain samples in WAV, RF64, W64 and AU need no more than what is found here.
#pragma once

#include <optional>

#include "audio/byte_source.hpp"

namespace earshot_tool {

// What says which loudspeaker a channel is for.
enum class channel_order {
    unknown,
    mask, // of loudspeakers
    flac, // the format, for every number of channels
    vorbis,
};

struct sound_header {
    int container = 0; // one of libsndfile's SF_FORMAT words
    // Encoding and byte order as libsndfile's words, where the samples lie as they are; 0 where
    // they are coded in a way that has to be left to libsndfile, which then finds the rest, too.
    int encoding = 0;
    int channels = 0;
    s64 rate = 0;       // Hz; 0: left to libsndfile
    s64 data_begin = 0; // bytes
    // Bytes of the data; nothing where the header leaves it open, as programs that write to a pipe
    // have to.
    std::optional<s64> data_bytes;
    channel_order order = channel_order::unknown;
    u32 mask = 0; // as in WAVE_FORMAT_EXTENSIBLE
};

// Throws processing_error for what is none of the known formats, for damage, and for a file that
// ends before its header says.
sound_header read_sound_header(byte_source &in);

// Whether a regular file begins like one of these formats.
bool is_sound_file(const std::string &path);

// Bytes of a frame of plain samples.
s64 frame_bytes(const sound_header &header);

} // namespace earshot_tool
