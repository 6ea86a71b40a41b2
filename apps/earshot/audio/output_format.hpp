// The formats that the tool writes, and names of formats for people.
#pragma once

#include <string>

namespace earshot_tool {

enum class container { wav, flac, caf, w64, au, raw };

struct output_format {
    container kind;
    int width; // bits of a sample: 16, 24 or 32
    int channels;
    int rate;                // Hz
    int computed_width = 32; // bits that the samples have before they are brought to the width
};

// The container for an output path, by its extension. Standard output, and devices and pipes whose
// names have no known extension, get AU, which needs no seeking. Throws usage_error, also for a
// path that no file can have.
container choose_container(const std::string &path, bool raw);

// Throws usage_error where the container cannot hold what the rest of the format says.
void check_format(const std::string &path, const output_format &format);

// Names for a libsndfile format word: "WAV", "24-bit".
std::string container_name(int sndfile_format);
std::string encoding_name(int sndfile_format);

} // namespace earshot_tool
