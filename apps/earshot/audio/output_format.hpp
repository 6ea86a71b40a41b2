// The formats that the tool writes, and names of formats for people.
#pragma once

#include <optional>
#include <string>

#include <earshot/types.h>

#include "audio/sound_tags.hpp"

namespace earshot_tool {

enum class container { wav, flac, caf, w64, aiff, au, raw, vorbis, opus, mp3 };

struct output_format {
    container kind;
    int width; // bits of a sample: 16, 24 or 32
    int channels;
    int rate;                // Hz
    int computed_width = 32; // bits that the samples have before they are brought to the width
    std::optional<double> quality{}; // of an encoder: 0 to 10; nothing: its default
    sound_tags tags{};               // as far as the container has room for them
};

// The container for an output path, by its extension. Standard output, and devices and pipes whose
// names have no known extension, get AU, which needs no seeking. Throws usage_error, also for a
// path that no file can have.
container choose_container(const std::string &path, bool raw);

// Whether the decoder's samples are others than those written. Such formats take 32 bits.
bool is_lossy(container kind);

// Throw usage_error where the container cannot hold what the rest of the format says, or not so
// many frames of it.
void check_format(const std::string &path, const output_format &format);
void check_length(const std::string &path, const output_format &format, s64 frames);

// Bytes of a frame of plain samples.
s64 frame_bytes(const output_format &format);

// Names for a libsndfile format word: "WAV", "24-bit".
std::string container_name(int sndfile_format);
std::string encoding_name(int sndfile_format);

} // namespace earshot_tool
