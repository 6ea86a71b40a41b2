// AU and headerless output.
//
// AU: a header of six big-endian words (magic, offset of the data, its length in bytes or all ones,
// encoding, rate, channels), then big-endian samples. Headerless samples are little-endian.

#include <cerrno>
#include <vector>

#include <unistd.h>

#include "audio/sample_writer.hpp"
#include "error.hpp"

namespace earshot_tool {

int write_all(int descriptor, const void *bytes, std::size_t count) {
    const char *next = static_cast<const char *>(bytes);
    while (count > 0) {
        const ssize_t written = ::write(descriptor, next, count);
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        next += written;
        count -= static_cast<std::size_t>(written);
    }
    return 0;
}

namespace {

constexpr u32 au_magic = 0x2E736E64; // ".snd"
constexpr u32 au_header_bytes = 24;
constexpr u32 au_unknown_length = 0xFFFFFFFF;
constexpr off_t au_length_offset = 8;

// Encodings 3, 4 and 5 are linear PCM of 16, 24 and 32 bits.
u32 au_encoding(int width) { return static_cast<u32>(width / 8 + 1); }

void put_big_endian(std::vector<unsigned char> &bytes, u32 word) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<unsigned char>(word >> shift));
}

class stream_writer : public sample_writer {
  public:
    stream_writer(output_file &file, const output_format &format, std::optional<s64> frames)
        : file_(file), format_(format), header_length_(data_length(frames)) {
        if (format_.kind == container::au) write_header();
    }

    void write(const s32 *interleaved, std::size_t frames) override {
        const std::size_t count = frames * static_cast<std::size_t>(format_.channels);
        bytes_.resize(count * static_cast<std::size_t>(format_.width / 8));
        if (format_.width == 16)
            put_samples<2>(interleaved, count);
        else if (format_.width == 24)
            put_samples<3>(interleaved, count);
        else
            put_samples<4>(interleaved, count);
        flush();
        frames_ += static_cast<s64>(frames);
    }

    // A pipe keeps "unknown"; in a file the length is put right.
    void finish() override {
        const u32 length = data_length(frames_);
        if (format_.kind != container::au || length == header_length_ || !file_.can_seek() ||
            file_.descriptor() == STDOUT_FILENO)
            return;
        bytes_.clear();
        put_big_endian(bytes_, length);
        const ssize_t written =
            pwrite(file_.descriptor(), bytes_.data(), bytes_.size(), au_length_offset);
        if (written != static_cast<ssize_t>(bytes_.size()))
            throw processing_error(file_.name(), system_cause(written < 0 ? errno : EIO));
    }

  private:
    // Many readers take the length for a signed number.
    u32 data_length(std::optional<s64> frames) const {
        const s64 each = frame_bytes(format_);
        if (!frames || *frames > INT32_MAX / each) return au_unknown_length;
        return static_cast<u32>(*frames * each);
    }

    void write_header() {
        for (const u32 word :
             {au_magic, au_header_bytes, header_length_, au_encoding(format_.width),
              static_cast<u32>(format_.rate), static_cast<u32>(format_.channels)})
            put_big_endian(bytes_, word);
        flush();
    }

    // The upper bytes of the words, in either order.
    template <int size> void put_samples(const s32 *words, std::size_t count) {
        const bool big_endian = format_.kind == container::au;
        const int first = big_endian ? 24 : 32 - 8 * size;
        const int step = big_endian ? -8 : 8;
        unsigned char *next = bytes_.data();
        for (std::size_t i = 0; i < count; ++i)
            for (int k = 0; k < size; ++k)
                *next++ =
                    static_cast<unsigned char>(static_cast<u32>(words[i]) >> (first + k * step));
    }

    void flush() {
        if (const int error = write_all(file_.descriptor(), bytes_.data(), bytes_.size()))
            throw processing_error(file_.name(), system_cause(error));
    }

    output_file &file_;
    output_format format_;
    u32 header_length_;
    s64 frames_ = 0;
    std::vector<unsigned char> bytes_;
};

} // namespace

std::unique_ptr<sample_writer> make_stream_writer(output_file &file, const output_format &format,
                                                  std::optional<s64> frames) {
    return std::make_unique<stream_writer>(file, format, frames);
}

void complete(output_file &file, const void *bytes, std::size_t count) {
    if (const int error = write_all(file.descriptor(), bytes, count))
        throw processing_error(file.name(), system_cause(error));
    file.commit();
}

} // namespace earshot_tool
