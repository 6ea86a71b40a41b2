#include "audio/output_format.hpp"

#include <algorithm>
#include <cctype>

#include <sndfile.h>
#include <sys/stat.h>

#include "error.hpp"

namespace earshot_tool {

namespace {

struct extension {
    const char *text;
    container kind;
};

// AIFF is not among them: its lengths end at 4 GiB, 93 minutes of first order in 32 bits.
constexpr extension extensions[] = {
    {".wav", container::wav}, {".flac", container::flac}, {".caf", container::caf},
    {".au", container::au},   {".w64", container::w64},
};

constexpr const char *known_extensions = ".wav, .flac, .caf, .au or .w64";

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
    constexpr int flac_channels = 8;
    if (format.kind != container::flac) return;
    if (format.width > 24)
        throw usage_error(path + ": FLAC holds at most 24 bits here; use --bits 24");
    if (format.channels > flac_channels)
        throw usage_error(path + ": FLAC holds at most 8 channels, this has " +
                          std::to_string(format.channels));
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
