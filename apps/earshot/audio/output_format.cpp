#include "audio/output_format.hpp"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <vector>

#include <sndfile.h>
#include <sys/stat.h>

#include "error.hpp"

namespace earshot_tool {

namespace {

struct extension {
    const char *text;
    container kind;
};

constexpr extension extensions[] = {
    {".wav", container::wav},  {".flac", container::flac},  {".caf", container::caf},
    {".au", container::au},    {".w64", container::w64},    {".aiff", container::aiff},
    {".aif", container::aiff}, {".ogg", container::vorbis}, {".opus", container::opus},
    {".mp3", container::mp3},
};

constexpr const char *known_extensions = ".wav, .flac, .caf, .au, .w64, .aiff, .ogg, .opus or .mp3";

// What an encoder takes. The lossy ones code pairs of loudspeakers: of the channels of a field they
// would drop what ears do not miss between two of them, and players would take more than two for
// surround sound.
struct encoder {
    container kind;
    int most_channels;
    const char *name;
    std::vector<int> rates; // ascending; empty: any
};

const encoder *find_encoder(container kind) {
    static const encoder encoders[] = {
        {container::flac, 8, "FLAC", {}},
        {container::vorbis, 2, "Vorbis", {}},
        {container::opus, 2, "Opus", {8000, 12000, 16000, 24000, 48000}},
        {container::mp3, 2, "MP3", {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000}},
    };
    const auto found = std::find_if(std::begin(encoders), std::end(encoders),
                                    [kind](const encoder &known) { return known.kind == kind; });
    return found == std::end(encoders) ? nullptr : found;
}

// "8000, 12000 or 16000".
std::string listed(const std::vector<int> &numbers) {
    std::string text;
    for (std::size_t k = 0; k < numbers.size(); ++k) {
        if (k > 0) text += k + 1 == numbers.size() ? " or " : ", ";
        text += std::to_string(numbers[k]);
    }
    return text;
}

void check_encoder(const std::string &path, const encoder &encoder, const output_format &format) {
    if (format.channels > encoder.most_channels)
        throw usage_error(path + ": " + encoder.name + " holds at most " +
                          std::to_string(encoder.most_channels) + " channels, this has " +
                          std::to_string(format.channels) + "; .wav, .caf and .w64 hold them");
    const auto &rates = encoder.rates;
    if (rates.empty() || std::binary_search(rates.begin(), rates.end(), format.rate)) return;
    const auto next = std::upper_bound(rates.begin(), rates.end(), format.rate);
    const int nearest = next == rates.end() ? rates.back() : *next;
    throw usage_error(path + ": " + encoder.name + " holds " + listed(rates) + " Hz, this has " +
                      std::to_string(format.rate) + "; use --rate " + std::to_string(nearest));
}

struct format_name {
    int value;
    const char *text;
};

constexpr format_name encodings[] = {
    {SF_FORMAT_PCM_S8, "8-bit"},        {SF_FORMAT_PCM_U8, "8-bit"},
    {SF_FORMAT_PCM_16, "16-bit"},       {SF_FORMAT_PCM_24, "24-bit"},
    {SF_FORMAT_PCM_32, "32-bit"},       {SF_FORMAT_FLOAT, "32-bit float"},
    {SF_FORMAT_DOUBLE, "64-bit float"}, {SF_FORMAT_ULAW, "mu-law"},
    {SF_FORMAT_ALAW, "A-law"},
};

bool is_directory(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool is_device_or_pipe(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

std::string lower_extension(const std::string &path) {
    const auto dot = path.rfind('.');
    const auto slash = path.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string text = path.substr(dot);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// libsndfile's own words, for formats without a shorter name above.
std::string library_name(int command, int format) {
    SF_FORMAT_INFO info{};
    info.format = format;
    if (sf_command(nullptr, command, &info, sizeof info) != 0 || info.name == nullptr)
        return "unknown format";
    return info.name;
}

} // namespace

container choose_container(const std::string &path, bool raw) {
    if (path.empty()) throw usage_error("--output: name a file, or - for standard output");
    if (is_directory(path)) throw usage_error(path + ": is a directory; name a file in it");
    if (raw) return container::raw;
    if (path == "-") return container::au;
    const std::string wanted = lower_extension(path);
    for (const auto &known : extensions)
        if (wanted == known.text) return known.kind;
    if (is_device_or_pipe(path)) return container::au;
    throw usage_error(path + ": unknown extension; use " + known_extensions);
}

void check_format(const std::string &path, const output_format &format) {
    const encoder *encoder = find_encoder(format.kind);
    if (format.quality && encoder == nullptr)
        throw usage_error("--quality: " + path +
                          " is not compressed and has none; .ogg, .opus, "
                          ".mp3 and .flac have");
    if (format.kind == container::flac && format.width > 24)
        throw usage_error(path + ": FLAC holds at most 24 bits here; use --bits 24");
    if (encoder != nullptr) check_encoder(path, *encoder, format);
}

// The lengths in an AIFF file are words of 32 bits. Some room is for the header and texts.
void check_length(const std::string &path, const output_format &format, s64 frames) {
    constexpr s64 most_bytes = s64{UINT32_MAX} - 8192;
    if (format.kind == container::aiff && frames > most_bytes / frame_bytes(format))
        throw usage_error(path + ": an AIFF file ends at 4 GiB, which is too short for this; use "
                                 ".wav, .caf or .w64");
}

s64 frame_bytes(const output_format &format) { return s64{format.channels} * (format.width / 8); }

bool is_lossy(container kind) {
    return kind == container::vorbis || kind == container::opus || kind == container::mp3;
}

std::string container_name(int sndfile_format) {
    const int kind = sndfile_format & SF_FORMAT_TYPEMASK;
    switch (kind) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
        return "WAV";
    case SF_FORMAT_RF64:
        return "RF64";
    case SF_FORMAT_W64:
        return "W64";
    case SF_FORMAT_AU:
        return "AU";
    case SF_FORMAT_AIFF:
        return "AIFF";
    case SF_FORMAT_CAF:
        return "CAF";
    case SF_FORMAT_FLAC:
        return "FLAC";
    case SF_FORMAT_OGG:
        return "Ogg";
    default:
        return library_name(SFC_GET_FORMAT_INFO, kind);
    }
}

std::string encoding_name(int sndfile_format) {
    const int encoding = sndfile_format & SF_FORMAT_SUBMASK;
    for (const auto &known : encodings)
        if (known.value == encoding) return known.text;
    return library_name(SFC_GET_FORMAT_INFO, encoding);
}

} // namespace earshot_tool
