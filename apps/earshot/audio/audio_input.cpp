#include "audio/audio_input.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "audio/header_length.hpp"
#include "audio/output_format.hpp"
#include "console.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

constexpr int lowest_rate = 1000;
constexpr int highest_rate = 768000;

std::string header_log(SNDFILE *file) {
    std::string log(16384, '\0');
    const int length = sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()));
    log.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return log;
}

std::string library_cause(SNDFILE *file) {
    std::string cause = sf_strerror(file);
    while (!cause.empty() && (cause.back() == '.' || cause.back() == '\n')) cause.pop_back();
    return cause;
}

bool reads_from_pipe(int format) {
    const int container = format & SF_FORMAT_TYPEMASK;
    return container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX || container == SF_FORMAT_AU;
}

// Formats whose samples libsndfile takes as they stand, so that they can be read without a header.
bool is_plain(int format) {
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW:
        return true;
    default:
        return false;
    }
}

} // namespace

audio_input::audio_input(const std::string &name) : name_(name == "-" ? "standard input" : name) {
    if (name == "-") {
        descriptor_ = STDIN_FILENO;
    } else {
        descriptor_ = open(name.c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor_ < 0) throw processing_error(name_, system_cause(errno));
    }
    try {
        open_descriptor();
        open_stream();
        check_header();
    } catch (...) {
        if (file_ != nullptr) sf_close(file_);
        if (descriptor_ != STDIN_FILENO) close(descriptor_);
        throw;
    }
}

audio_input::~audio_input() {
    sf_close(file_);
    if (descriptor_ != STDIN_FILENO) close(descriptor_);
}

void audio_input::open_descriptor() {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0) throw processing_error(name_, system_cause(errno));
    if (S_ISDIR(status.st_mode)) throw processing_error(name_, system_cause(EISDIR));
    if (isatty(descriptor_) == 1) throw processing_error(name_, "is a terminal, not audio");
    identity_ = {status.st_dev, status.st_ino};
    seekable_ = lseek(descriptor_, 0, SEEK_CUR) >= 0;
}

void audio_input::open_stream() {
    file_ = sf_open_fd(descriptor_, SFM_READ, &info_, SF_FALSE);
    if (file_ == nullptr) {
        const std::string cause = sf_error(nullptr) == SF_ERR_MALFORMED_FILE
                                      ? "damaged or truncated"
                                      : "not readable as audio: " + library_cause(nullptr);
        const std::string hint = seekable_ ? "" : "; from a pipe, WAV and AU can be read";
        throw processing_error(name_, cause + hint);
    }
    // Headers of the other formats are spread over the file, or libsndfile loses its place in them.
    if (!seekable_ && !reads_from_pipe(info_.format))
        throw processing_error(name_, container_name(info_.format) +
                                          " cannot be read from a pipe; WAV and AU can");
}

void audio_input::check_header() {
    const auto length = read_header_length(header_log(file_));
    if (length.claimed)
        throw processing_error(name_, "truncated: the header announces " +
                                          counted(static_cast<u64>(*length.claimed), "byte") +
                                          " of data, the file holds " +
                                          std::to_string(*length.held));
    open_ended_ = length.open_ended;
    if (seekable_ && open_ended_ && info_.frames == 0)
        throw processing_error(name_, "unfinished: the header does not tell the length");
    if (info_.samplerate < lowest_rate || info_.samplerate > highest_rate)
        throw processing_error(name_, "sample rate " + std::to_string(info_.samplerate) +
                                          " Hz is outside " + std::to_string(lowest_rate) + " to " +
                                          std::to_string(highest_rate));
    if (!seekable_ && open_ended_) continue_without_length();
}

// libsndfile would stop at the length that stands for "unknown" in the header of a WAV stream,
// which is 2 or 4 GiB or nothing at all. It has read up to the first sample: from here on the
// samples are read without a header, until the end.
void audio_input::continue_without_length() {
    if ((info_.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_AU || !is_plain(info_.format)) return;
    SF_INFO bare{};
    bare.samplerate = info_.samplerate;
    bare.channels = info_.channels;
    const bool big_endian = (info_.format & SF_FORMAT_ENDMASK) == SF_ENDIAN_BIG;
    bare.format = SF_FORMAT_RAW | (info_.format & SF_FORMAT_SUBMASK) |
                  (big_endian ? SF_ENDIAN_BIG : SF_ENDIAN_LITTLE);
    SNDFILE *samples = sf_open_fd(descriptor_, SFM_READ, &bare, SF_FALSE);
    if (samples == nullptr) throw processing_error(name_, library_cause(nullptr));
    sf_close(file_);
    file_ = samples;
}

std::optional<s64> audio_input::frames() const {
    if (open_ended_ && !seekable_) return std::nullopt;
    // A FLAC stream need not know its length; libsndfile then gives the largest number.
    constexpr s64 beyond_any_file = s64{1} << 60;
    if (info_.frames < 0 || info_.frames >= beyond_any_file / info_.channels) return std::nullopt;
    return info_.frames;
}

int audio_input::width() const {
    switch (info_.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32:
        return 32;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
    case SF_FORMAT_DWVW_24:
    case SF_FORMAT_DWVW_N:
        return 24;
    default:
        return is_float() ? 24 : 16;
    }
}

bool audio_input::is_float() const {
    switch (info_.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
    case SF_FORMAT_VORBIS:
    case SF_FORMAT_OPUS:
    case SF_FORMAT_MPEG_LAYER_I:
    case SF_FORMAT_MPEG_LAYER_II:
    case SF_FORMAT_MPEG_LAYER_III:
        return true;
    default:
        return false;
    }
}

std::size_t audio_input::read(s32 *interleaved, std::size_t frames) {
    std::size_t got = 0;
    if (is_float()) {
        got = read_floating(interleaved, frames);
    } else {
        const auto count = sf_readf_int(file_, interleaved, static_cast<sf_count_t>(frames));
        got = count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    position_ += static_cast<s64>(got);
    check_end(frames, got);
    return got;
}

void audio_input::rewind() {
    if (sf_seek(file_, 0, SEEK_SET) != 0)
        throw processing_error(name_, "cannot be read again: " + library_cause(file_));
    position_ = 0;
}

// Full scale is 2^31. A sample of exactly +1.0 becomes the largest integer, one unit less, and does
// not count as clipped: files normalised to 1.0 are full of them.
std::size_t audio_input::read_floating(s32 *interleaved, std::size_t frames) {
    const auto channels = static_cast<std::size_t>(info_.channels);
    floating_.resize(frames * channels);
    const auto count = sf_readf_double(file_, floating_.data(), static_cast<sf_count_t>(frames));
    const auto got = count > 0 ? static_cast<std::size_t>(count) : 0;
    require_finite(got);
    u64 clipped = 0;
    for (std::size_t i = 0; i < got * channels; ++i) {
        const double scaled = floating_[i] * 0x1p31;
        const double inside = std::clamp(scaled, -0x1p31, 0x1p31 - 1);
        clipped += scaled > 0x1p31 || scaled < -0x1p31;
        interleaved[i] = static_cast<s32>(std::llrint(inside));
    }
    clipped_ += clipped;
    return got;
}

void audio_input::require_finite(std::size_t frames) const {
    const auto channels = static_cast<std::size_t>(info_.channels);
    const auto last = floating_.begin() + static_cast<std::ptrdiff_t>(frames * channels);
    const auto wrong =
        std::find_if(floating_.begin(), last, [](double sample) { return !std::isfinite(sample); });
    if (wrong == last) return;
    const s64 at = wrong - floating_.begin();
    throw processing_error(name_, "frame " + std::to_string(position_ + at / info_.channels) +
                                      ", channel " + std::to_string(at % info_.channels + 1) +
                                      " is not a finite number");
}

// A short read must be the end that the header announced. MPEG streams only estimate it.
void audio_input::check_end(std::size_t wanted, std::size_t got) {
    if (got == wanted) return;
    if (sf_error(file_) != SF_ERR_NO_ERROR)
        throw processing_error(name_, "damaged or truncated after frame " +
                                          std::to_string(position_) + ": " + library_cause(file_));
    const auto announced = frames();
    const bool exact = (info_.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_MPEG;
    if (announced && exact && position_ < *announced)
        throw processing_error(name_, "truncated: ends after " + std::to_string(position_) +
                                          " of " + counted(static_cast<u64>(*announced), "frame"));
}

std::string audio_input::format_text() const {
    return container_name(info_.format) + ", " + encoding_name(info_.format);
}

std::string audio_input::description() const {
    std::string text = format_text() + ", " + counted(static_cast<u64>(channels()), "channel") +
                       ", " + std::to_string(rate()) + " Hz";
    if (const auto length = frames()) text += ", " + counted(static_cast<u64>(*length), "frame");
    return text;
}

} // namespace earshot_tool
