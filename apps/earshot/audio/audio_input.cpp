#include "audio/audio_input.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>

#include <sys/stat.h>
#include <unistd.h>

#include "audio/output_format.hpp"
#include "console.hpp"
#include "error.hpp"
#include "input_files.hpp"

namespace earshot_tool {

namespace {

constexpr int lowest_rate = 1000;
constexpr int highest_rate = 768000;

std::string library_cause(SNDFILE *file) {
    std::string cause = sf_strerror(file);
    while (!cause.empty() && (cause.back() == '.' || cause.back() == '\n')) cause.pop_back();
    return cause;
}

int mpeg_layer_word(int layer) {
    return layer == 1   ? SF_FORMAT_MPEG_LAYER_I
           : layer == 2 ? SF_FORMAT_MPEG_LAYER_II
                        : SF_FORMAT_MPEG_LAYER_III;
}

// FLAC counts as what it holds.
bool is_pcm(int format) {
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
        return true;
    default:
        return false;
    }
}

} // namespace

audio_input::audio_input(const std::string &name)
    : name_(name == "-" ? "standard input" : name), reader_(name),
      descriptor_(reader_.descriptor()) {
    try {
        check_descriptor();
        open_stream();
        check_rate(info_.samplerate);
    } catch (...) {
        if (file_ != nullptr) sf_close(file_);
        throw;
    }
}

audio_input::~audio_input() {
    if (file_ != nullptr) sf_close(file_);
}

void audio_input::check_descriptor() {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0) throw processing_error(name_, system_cause(errno));
    if (S_ISDIR(status.st_mode)) throw processing_error(name_, system_cause(EISDIR));
    if (isatty(descriptor_) == 1)
        throw processing_error(name_, "is a terminal; name a file or send one through a pipe");
    note_input(descriptor_);
}

void audio_input::open_stream() {
    byte_source bytes(name_, descriptor_);
    seekable_ = bytes.is_seekable();
    const sound_header header = read_sound_header(bytes);
    if (header.encoding != 0)
        open_plain(bytes, header);
    else if (header.container == SF_FORMAT_MPEG)
        open_mpeg(bytes, header);
    else
        open_coded();
    speakers_ = channel_speakers(header, info_.channels);
}

// The samples lie in the file as they are: libsndfile reads them without the header.
void audio_input::open_plain(const byte_source &bytes, const sound_header &header) {
    check_rate(header.rate);
    info_.samplerate = static_cast<int>(header.rate);
    info_.channels = header.channels;
    info_.format = SF_FORMAT_RAW | header.encoding;
    if (seekable_) lseek(descriptor_, 0, SEEK_SET);
    file_ = reader_.open_stream(info_);
    if (file_ == nullptr) throw processing_error(name_, library_cause(nullptr));
    info_.format = header.container | header.encoding;
    if (header.data_bytes)
        length_ = *header.data_bytes / frame_bytes(header);
    else if (seekable_)
        length_ = (bytes.size() - header.data_begin) / frame_bytes(header);
    sf_count_t begin = bytes.begin() + header.data_begin;
    if (!seekable_) return;
    // The offset holds from the next seek on.
    if (sf_command(file_, SFC_SET_RAW_START_OFFSET, &begin, sizeof begin) != 0 ||
        sf_seek(file_, 0, SEEK_SET) != 0)
        throw processing_error(name_, library_cause(file_));
}

void audio_input::open_mpeg(byte_source &bytes, const sound_header &header) {
    mpeg_.emplace(reader_, bytes, header.data_begin);
    info_.samplerate = mpeg_->rate();
    info_.channels = mpeg_->channels();
    info_.format = SF_FORMAT_MPEG | mpeg_layer_word(mpeg_->layer());
    length_ = mpeg_->frames();
}

void audio_input::open_coded() {
    file_ = reader_.open_stream(info_);
    if (reader_.error() != 0) throw processing_error(name_, system_cause(reader_.error()));
    if (file_ == nullptr) {
        const int error = sf_error(nullptr);
        if (error == SF_ERR_SYSTEM || error == SF_ERR_UNSUPPORTED_ENCODING)
            throw processing_error(name_, "not readable as audio: " + library_cause(nullptr));
        throw damaged_file(name_, "damaged or truncated: rate, channels or lengths in its "
                                  "header make no sense");
    }
    // A FLAC stream need not know its length; libsndfile then gives the largest number.
    constexpr s64 beyond_any_file = s64{1} << 60;
    if (info_.frames >= 0 && info_.frames < beyond_any_file / info_.channels)
        length_ = info_.frames;
}

void audio_input::check_rate(s64 rate) const {
    if (rate < lowest_rate || rate > highest_rate)
        throw damaged_file(name_, "sample rate " + std::to_string(rate) + " Hz is outside " +
                                      std::to_string(lowest_rate) + " to " +
                                      std::to_string(highest_rate));
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

bool audio_input::is_linear() const {
    switch (info_.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_ALAC_16:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
    case SF_FORMAT_ALAC_32:
        return true;
    default:
        return is_pcm(info_.format);
    }
}

std::size_t audio_input::read(s32 *interleaved, std::size_t frames) {
    // Behind the samples there may be something else.
    if (length_) frames = std::min(frames, static_cast<std::size_t>(*length_ - position_));
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

s64 audio_input::skip(s64 frames) {
    if (can_jump()) return jump(std::min(frames, *length_ - position_));
    const u64 clipped_before = clipped_;
    const s64 count = frame_source::skip(frames);
    clipped_ = clipped_before;
    return count;
}

s64 audio_input::jump(s64 frames) {
    const s64 target = position_ + frames;
    if (sf_seek(file_, target, SEEK_SET) != target)
        throw processing_error(name_, "damaged: frame " + std::to_string(target) +
                                          " cannot be found: " + library_cause(file_));
    position_ = target;
    return frames;
}

// Of what is coded, FLAC alone is known to go on with the same samples.
bool audio_input::can_jump() const {
    if (!seekable_ || !length_ || (info_.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG)
        return false;
    switch (info_.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW:
        return true;
    default:
        return is_pcm(info_.format);
    }
}

void audio_input::rewind() {
    // After a seek, short Opus files decode to other samples than at first.
    const bool opens_again = (info_.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG;
    if (mpeg_)
        mpeg_->rewind();
    else if (opens_again)
        reopen();
    else if (sf_seek(file_, 0, SEEK_SET) != 0)
        throw processing_error(name_, "cannot be read again: " + library_cause(file_));
    position_ = 0;
}

void audio_input::reopen() {
    sf_close(file_);
    info_ = {};
    reader_.seek(0, SEEK_SET);
    open_coded();
}

// Brings as many frames as there are into the block.
std::size_t audio_input::decode_floating(std::size_t frames) {
    const auto channels = static_cast<std::size_t>(info_.channels);
    floating_.resize(frames * channels);
    if (!mpeg_) {
        const auto count =
            sf_readf_double(file_, floating_.data(), static_cast<sf_count_t>(frames));
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    single_.resize(frames * channels);
    const std::size_t got = mpeg_->read(single_.data(), frames);
    std::copy_n(single_.begin(), got * channels, floating_.begin());
    return got;
}

// Full scale is 2^31. A sample of exactly +1.0 becomes the largest integer, one unit less, and does
// not count as clipped: files normalised to 1.0 are full of them.
std::size_t audio_input::read_floating(s32 *interleaved, std::size_t frames) {
    const auto channels = static_cast<std::size_t>(info_.channels);
    const std::size_t got = decode_floating(frames);
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
    throw damaged_file(name_, "frame " + std::to_string(position_ + at / info_.channels) +
                                  ", channel " + std::to_string(at % info_.channels + 1) +
                                  " is not a finite number");
}

// A short read must be the end that was announced.
void audio_input::check_end(std::size_t wanted, std::size_t got) const {
    if (got == wanted) return;
    if (reader_.error() != 0) throw processing_error(name_, system_cause(reader_.error()));
    if (file_ != nullptr && sf_error(file_) != SF_ERR_NO_ERROR)
        throw damaged_file(name_, "damaged or truncated after frame " + std::to_string(position_) +
                                      ": " + library_cause(file_));
    if (length_)
        throw damaged_file(name_, "truncated: ends after " + std::to_string(position_) + " of " +
                                      counted(static_cast<u64>(*length_), "frame"));
}

std::string audio_input::library_text(int kind) const {
    const char *text = file_ != nullptr ? sf_get_string(file_, kind) : nullptr;
    return text != nullptr ? text : "";
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
