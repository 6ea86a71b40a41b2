#include "audio/mpeg_stream.hpp"

#include <algorithm>
#include <cstring>
#include <optional>

#include <unistd.h>

#include "console.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

// Encoders put the number of frames into the first one, which is silent: after the header and the
// side information, whose length depends on version and channels.
std::optional<s64> announced_frames(byte_source &in, s64 begin) {
    unsigned char head[4];
    unsigned char info[12];
    if (!in.read(begin, head, sizeof head)) return std::nullopt;
    const bool is_version_1 = (head[1] & 0x18) == 0x18;
    const bool is_mono = (head[3] & 0xC0) == 0xC0;
    const s64 side_bytes = is_version_1 ? (is_mono ? 17 : 32) : (is_mono ? 9 : 17);
    const s64 at = begin + static_cast<s64>(sizeof head) + side_bytes;
    if (!in.read(at, info, sizeof info)) return std::nullopt;
    const bool is_info = std::memcmp(info, "Xing", 4) == 0 || std::memcmp(info, "Info", 4) == 0;
    constexpr unsigned has_count = 1;
    if (!is_info || (info[7] & has_count) == 0) return std::nullopt;
    return s64{info[8]} << 24 | s64{info[9]} << 16 | s64{info[10]} << 8 | s64{info[11]};
}

// libmpg123 leaves out a frame that is not whole. What is left of it begins like the first one: the
// same version, layer and sample rate. Tags do not.
bool is_cut(byte_source &in, s64 begin, s64 end) {
    unsigned char first[3] = {};
    unsigned char left[3] = {};
    const s64 count = std::min(in.size() - end, static_cast<s64>(sizeof left));
    if (count <= 0 || !in.read(begin, first, sizeof first)) return false;
    if (!in.read(end, left, static_cast<std::size_t>(count))) return false;
    constexpr unsigned same_bits[] = {0xFF, 0xFE, 0x0C};
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        if (((first[i] ^ left[i]) & same_bits[i]) != 0) return false;
    return true;
}

// A file_reader as libmpg123 takes one.
ssize_t read_bytes(void *reader, void *bytes, std::size_t count) {
    auto &file = *static_cast<file_reader *>(reader);
    const s64 got = file.read(bytes, static_cast<s64>(count));
    return got == 0 && file.error() != 0 ? -1 : got;
}

off_t seek_bytes(void *reader, off_t offset, int whence) {
    return static_cast<file_reader *>(reader)->seek(offset, whence);
}

} // namespace

mpeg_stream::mpeg_stream(file_reader &reader, byte_source &in, s64 begin) : name_(in.name()) {
    static const int library_status = mpg123_init();
    require(library_status);
    int status = MPG123_OK;
    handle_.reset(mpg123_new(nullptr, &status));
    require(status);
    constexpr long flags = MPG123_QUIET | MPG123_FORCE_FLOAT | MPG123_NO_FRANKENSTEIN;
    require(mpg123_param(handle_.get(), MPG123_ADD_FLAGS, flags, 0));
    require(
        mpg123_param(handle_.get(), MPG123_REMOVE_FLAGS, MPG123_AUTO_RESAMPLE | MPG123_GAPLESS, 0));
    require(mpg123_replace_reader_handle(handle_.get(), read_bytes, seek_bytes, nullptr));
    open(reader, in.begin());
    check_frames(in, begin);
    // The samples as they are decoded, without the padding that an encoder put around them. Frames
    // of nothing else are not seen then, and would not have been counted.
    require(mpg123_param(handle_.get(), MPG123_ADD_FLAGS, MPG123_GAPLESS, 0));
    open(reader, in.begin());
    require(mpg123_scan(handle_.get()));
    rewind();
    frames_ = mpg123_length(handle_.get());
    if (frames_ < 0)
        throw damaged_file(name_, "damaged header: it announces more padding than samples");
}

void mpeg_stream::open(file_reader &reader, s64 begin) {
    reader.seek(begin, SEEK_SET);
    require(mpg123_open_handle(handle_.get(), &reader));
}

// Goes through all frames once: the last has to be whole, and there have to be as many as
// announced.
void mpeg_stream::check_frames(byte_source &in, s64 begin) {
    mpg123_handle *handle = handle_.get();
    s64 held = 0;
    s64 end = begin;
    int status = MPG123_OK;
    while ((status = mpg123_framebyframe_next(handle)) == MPG123_OK ||
           status == MPG123_NEW_FORMAT) {
        mpg123_frameinfo frame{};
        require(mpg123_info(handle, &frame));
        if (held == 0) {
            layer_ = frame.layer;
            rate_ = static_cast<int>(frame.rate);
            channels_ = frame.mode == MPG123_M_MONO ? 1 : 2;
        }
        ++held;
        end = mpg123_framepos(handle) + frame.framesize;
    }
    const auto announced = announced_frames(in, begin);
    if (held == 0 && !announced)
        throw damaged_file(name_, "damaged or truncated: no MPEG frame is whole");
    if (announced && held < *announced)
        throw damaged_file(name_, "truncated: the header announces " +
                                      counted(static_cast<u64>(*announced), "MPEG frame") +
                                      ", the file holds " + std::to_string(held));
    if (is_cut(in, begin, end))
        throw damaged_file(name_, "truncated: the frame after " +
                                      counted(static_cast<u64>(held), "MPEG frame") + " is cut");
}

std::size_t mpeg_stream::read(float *interleaved, std::size_t frames) {
    const auto frame_bytes = sizeof(float) * static_cast<std::size_t>(channels_);
    std::size_t done = 0;
    while (done < frames * frame_bytes) {
        std::size_t got = 0;
        auto *bytes = reinterpret_cast<unsigned char *>(interleaved) + done;
        const int status = mpg123_read(handle_.get(), bytes, frames * frame_bytes - done, &got);
        done += got;
        if (status == MPG123_DONE || (status == MPG123_OK && got == 0)) break;
        if (status != MPG123_NEW_FORMAT) require(status);
    }
    return done / frame_bytes;
}

void mpeg_stream::rewind() {
    if (mpg123_seek(handle_.get(), 0, SEEK_SET) != 0) require(mpg123_errcode(handle_.get()));
}

void mpeg_stream::require(int status) const {
    if (status == MPG123_OK) return;
    const char *cause = status == MPG123_ERR && handle_ ? mpg123_strerror(handle_.get())
                                                        : mpg123_plain_strerror(status);
    throw processing_error(name_, std::string("not readable as MPEG audio: ") + cause);
}

} // namespace earshot_tool
