// What a batch tells of a line of its manifest: a line of JSON, the same on every machine. Times
// and names of machines are no part of it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <earshot/types.h>

namespace earshot_tool {

struct batch_record {
    s64 line = 0;       // of the manifest, counted from 1
    std::string output; // its name; empty where the line does not tell
    std::string error;  // or what follows:

    std::string job;            // SHA-256 of all that the line says, see batch_line.hpp
    std::string digest;         // SHA-256 of the samples, as 'earshot render --digest' prints it
    std::optional<double> peak; // dBFS; nothing of silence
    std::optional<double> loudness; // LUFS; nothing of fields, and of what is too short or soft
    s64 frames = 0;
    int channels = 0;
    int rate = 0;    // Hz
    u64 clipped = 0; // samples

    bool failed() const { return !error.empty(); }
};

// Without a newline. Keys and decimals are always the same ones.
std::string text_of(const batch_record &record);

// Nothing for what is no such line, as the last of a run that was killed may be.
std::optional<batch_record> parse_record(std::string_view text);

} // namespace earshot_tool
