// Output through libsndfile.

#include <cerrno>
#include <cstring>

#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include "audio/sample_writer.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

// The file under libsndfile. It passes the bytes on and remembers the first failure: libsndfile
// itself reports none for what it writes on closing, such as the header or the last FLAC frame.
struct byte_file {
    int descriptor;
    int error = 0;

    s64 note(s64 result) {
        if (result < 0 && error == 0) error = errno;
        return result;
    }
};

byte_file &self(void *user) { return *static_cast<byte_file *>(user); }

sf_count_t file_length(void *user) {
    struct stat status {};
    return self(user).note(fstat(self(user).descriptor, &status)) < 0 ? -1 : status.st_size;
}

sf_count_t file_seek(sf_count_t offset, int whence, void *user) {
    return self(user).note(lseek(self(user).descriptor, offset, whence));
}

sf_count_t file_tell(void *user) { return file_seek(0, SEEK_CUR, user); }

sf_count_t file_read(void *bytes, sf_count_t count, void *user) {
    return self(user).note(read(self(user).descriptor, bytes, static_cast<std::size_t>(count)));
}

sf_count_t file_write(const void *bytes, sf_count_t count, void *user) {
    byte_file &file = self(user);
    const int error = write_all(file.descriptor, bytes, static_cast<std::size_t>(count));
    if (error != 0 && file.error == 0) file.error = error;
    return error == 0 ? count : 0;
}

// A reader takes the highest lengths of 32 bits for "unknown"; some room is for the header.
constexpr s64 longest_wave = 0xFFFF0000 - 0x10000;

// One or two channels need no extensible header, which names loudspeakers and which some programs
// do not read.
bool is_plain_wave(const output_format &format) {
    return format.kind == container::wav && format.channels <= 2;
}

// RF64 is written as an ordinary WAV file when it turns out to be shorter than 4 GiB.
int sndfile_container(const output_format &format, std::optional<s64> frames) {
    switch (format.kind) {
    case container::flac:
        return SF_FORMAT_FLAC;
    case container::caf:
        return SF_FORMAT_CAF;
    case container::w64:
        return SF_FORMAT_W64;
    case container::aiff:
        return SF_FORMAT_AIFF;
    case container::vorbis:
    case container::opus:
        return SF_FORMAT_OGG;
    case container::mp3:
        return SF_FORMAT_MPEG;
    default:
        return is_plain_wave(format) && frames && *frames <= longest_wave / frame_bytes(format)
                   ? SF_FORMAT_WAV
                   : SF_FORMAT_RF64;
    }
}

int sndfile_encoding(const output_format &format) {
    switch (format.kind) {
    case container::vorbis:
        return SF_FORMAT_VORBIS;
    case container::opus:
        return SF_FORMAT_OPUS;
    case container::mp3:
        return SF_FORMAT_MPEG_LAYER_III;
    default:
        return format.width == 16   ? SF_FORMAT_PCM_16
               : format.width == 24 ? SF_FORMAT_PCM_24
                                    : SF_FORMAT_PCM_32;
    }
}

// Of the encoders that lose something: about 165 kbit/s for two channels of noise and tones.
double default_quality(container kind) {
    switch (kind) {
    case container::vorbis:
        return 6;
    case container::opus:
        return 3;
    default:
        return 8;
    }
}

// libsndfile has no text for what encoders return below 0, and prints that to standard output.
const char *text_of(int error) {
    return error < 0 ? "its encoder has failed" : sf_error_number(error);
}

constexpr std::size_t wave_head_bytes = 256;

u32 little_endian(const unsigned char *bytes) {
    return static_cast<u32>(bytes[0] | bytes[1] << 8 | bytes[2] << 16) | static_cast<u32>(bytes[3])
                                                                             << 24;
}

// Where the "fmt " chunk is in the head of a file in extensible WAV format, or 0.
std::size_t find_extensible_format(const unsigned char *head, std::size_t size) {
    constexpr u32 extensible_bytes = 40;
    for (std::size_t at = 12; at + 8 + extensible_bytes <= size;) {
        const u32 length = little_endian(head + at + 4);
        if (std::memcmp(head + at, "fmt ", 4) == 0) return length == extensible_bytes ? at : 0;
        at += 8 + length + (length & 1);
    }
    return 0;
}

// Instead of the extensible one: the first 16 bytes are the same but for the tag, and the rest
// becomes a chunk that readers skip.
void make_plain_format(unsigned char *chunk) {
    static constexpr unsigned char plain_head[] = {'f', 'm', 't', ' ', 16, 0, 0, 0, 1, 0};
    static constexpr unsigned char filler[24] = {'J', 'U', 'N', 'K', 16};
    std::memcpy(chunk, plain_head, sizeof plain_head);
    std::memcpy(chunk + 8 + 16, filler, sizeof filler);
}

class sndfile_writer : public sample_writer {
  public:
    sndfile_writer(output_file &file, const output_format &format, std::optional<s64> frames)
        : file_(file), format_(format), bytes_{file.descriptor()} {
        SF_INFO info{};
        info.samplerate = format.rate;
        info.channels = format.channels;
        info.format = sndfile_container(format, frames) | sndfile_encoding(format);
        SF_VIRTUAL_IO calls{file_length, file_seek, file_read, file_write, file_tell};
        sound_ = sf_open_virtual(&calls, SFM_WRITE, &info, &bytes_);
        if (sound_ == nullptr) fail(sf_strerror(nullptr));
        if (format.kind == container::wav)
            sf_command(sound_, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
        set_quality();
        set_tags();
    }

    ~sndfile_writer() override {
        if (sound_ != nullptr) sf_close(sound_);
    }
    sndfile_writer(const sndfile_writer &) = delete;
    sndfile_writer &operator=(const sndfile_writer &) = delete;

    void write(const s32 *interleaved, std::size_t frames) override {
        const auto count = static_cast<sf_count_t>(frames);
        if (sf_writef_int(sound_, interleaved, count) != count || bytes_.error != 0)
            fail(text_of(sf_error(sound_)));
        frames_ += count;
        check_length(file_.name(), format_, frames_);
    }

    void finish() override {
        SNDFILE *sound = sound_;
        sound_ = nullptr;
        const int status = sf_close(sound);
        if (status != 0 || bytes_.error != 0) fail(text_of(status));
        if (format_.kind == container::wav) mend_wave_format();
    }

  private:
    [[noreturn]] void fail(const char *library_text) const {
        throw processing_error(file_.name(),
                               bytes_.error != 0 ? system_cause(bytes_.error) : library_text);
    }

    // Containers without a place for them refuse, which is no error.
    void set_tags() const {
        const sound_tags &tags = format_.tags;
        if (!tags.title.empty()) sf_set_string(sound_, SF_STR_TITLE, tags.title.c_str());
        if (!tags.artist.empty()) sf_set_string(sound_, SF_STR_ARTIST, tags.artist.c_str());
        if (!tags.comment.empty()) sf_set_string(sound_, SF_STR_COMMENT, tags.comment.c_str());
    }

    void set_quality() const {
        double quality = format_.quality.value_or(default_quality(format_.kind)) / 10;
        if (is_lossy(format_.kind))
            sf_command(sound_, SFC_SET_VBR_ENCODING_QUALITY, &quality, sizeof quality);
        else if (format_.quality)
            sf_command(sound_, SFC_SET_COMPRESSION_LEVEL, &quality, sizeof quality);
    }

    // libsndfile names loudspeakers for the usual channel counts, four channels would be front and
    // rear pairs. The channels of a field feed no loudspeakers, and players must not mix them down.
    void mend_wave_format() const {
        constexpr std::size_t mask_in_chunk = 8 + 20;
        unsigned char head[wave_head_bytes];
        const ssize_t size = pread(bytes_.descriptor, head, sizeof head, 0);
        const auto at = size < 0 ? 0 : find_extensible_format(head, static_cast<std::size_t>(size));
        if (at == 0) return;
        if (is_plain_wave(format_))
            make_plain_format(head + at);
        else
            std::memset(head + at + mask_in_chunk, 0, 4);
        if (pwrite(bytes_.descriptor, head, static_cast<std::size_t>(size), 0) != size)
            throw processing_error(file_.name(), system_cause(errno));
    }

    output_file &file_;
    output_format format_;
    byte_file bytes_;
    SNDFILE *sound_ = nullptr;
    s64 frames_ = 0;
};

} // namespace

std::unique_ptr<sample_writer> make_sndfile_writer(output_file &file, const output_format &format,
                                                   std::optional<s64> frames) {
    if (!file.can_seek())
        throw usage_error(file.name() + ": only AU (.au) and --raw can be written to a pipe");
    return std::make_unique<sndfile_writer>(file, format, frames);
}

} // namespace earshot_tool
