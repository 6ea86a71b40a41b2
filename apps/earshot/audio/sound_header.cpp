#include "audio/sound_header.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <string_view>

#include <sndfile.h>
#include <sys/stat.h>

#include "audio/ogg_pages.hpp"
#include "audio/output_format.hpp"
#include "console.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

constexpr s64 most_channels = 1024; // as many as libsndfile takes

u64 little_endian(const unsigned char *bytes, std::size_t count) {
    u64 value = 0;
    for (std::size_t i = count; i > 0; --i) value = value << 8 | bytes[i - 1];
    return value;
}

u64 big_endian(const unsigned char *bytes, std::size_t count) {
    u64 value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes[i];
    return value;
}

// How a family of formats lays out its chunks: where the first is, and what stands before each.
struct chunk_layout {
    s64 first;
    std::size_t id_bytes;
    std::size_t size_bytes;
    bool is_big_endian;
    s64 counted_header; // bytes of the chunk's own header that its size includes
    s64 alignment;

    u64 number(const unsigned char *bytes, std::size_t count) const {
        return is_big_endian ? big_endian(bytes, count) : little_endian(bytes, count);
    }
};

constexpr chunk_layout riff_chunks{12, 4, 4, false, 0, 2};
constexpr chunk_layout rifx_chunks{12, 4, 4, true, 0, 2};
constexpr chunk_layout w64_chunks{40, 16, 8, false, 24, 8};
constexpr chunk_layout caf_chunks{8, 4, 8, true, 0, 1};

struct chunk {
    std::array<char, 4> name; // W64 has 16 bytes of which the first four are a name, too
    s64 begin;
    s64 size; // as announced

    bool is(std::string_view other) const {
        return std::string_view(name.data(), name.size()) == other;
    }
};

// Visits the chunks in turn until one has been found for which the visitor returns true.
template <class Visit>
bool find_chunk(byte_source &in, const chunk_layout &layout, const Visit &visit) {
    constexpr int most_chunks = 10000;
    s64 at = layout.first;
    for (int count = 0; count < most_chunks; ++count) {
        unsigned char head[24];
        const std::size_t head_bytes = layout.id_bytes + layout.size_bytes;
        if (!in.read(at, head, head_bytes)) return false;
        chunk found{};
        std::memcpy(found.name.data(), head, found.name.size());
        found.begin = at + static_cast<s64>(head_bytes);
        found.size = static_cast<s64>(layout.number(head + layout.id_bytes, layout.size_bytes)) -
                     layout.counted_header;
        if (visit(found)) return true;
        if (found.size < 0 || found.size > in.size() - found.begin - layout.alignment) return false;
        at =
            found.begin + (found.size + layout.alignment - 1) / layout.alignment * layout.alignment;
    }
    return false;
}

[[noreturn]] void fail_without_data(const byte_source &in) {
    throw damaged_file(in.name(), "damaged or truncated: it ends before the samples begin");
}

// A file has to hold the data that its header announces. A pipe is found out when it ends.
void check_length(const byte_source &in, s64 begin, s64 bytes) {
    const s64 held = in.size() - begin;
    if (in.is_seekable() && bytes > held)
        throw damaged_file(in.name(), "truncated: the header announces " +
                                          counted(static_cast<u64>(bytes), "byte") +
                                          " of data, the file holds " +
                                          std::to_string(std::max(held, s64{0})));
}

// Stream writers leave the largest number that fits, rounded down to whole frames and less the
// length of the header: just below 2^31 or 2^32.
bool stands_for_unknown(s64 bytes) {
    return (bytes >= 0x7FFF0000 && bytes <= 0x7FFFFFFF) ||
           (bytes >= 0xFFFF0000 && bytes <= 0xFFFFFFFF);
}

int linear_encoding(int bytes) {
    switch (bytes) {
    case 2:
        return SF_FORMAT_PCM_16;
    case 3:
        return SF_FORMAT_PCM_24;
    case 4:
        return SF_FORMAT_PCM_32;
    default:
        return 0;
    }
}

// The encoding of a "fmt " chunk, or 0 where the samples are not plain.
int wave_encoding(u64 tag, int bits, int bytes) {
    switch (tag) {
    case 1: // linear, 8 bits without a sign
        return bytes == 1 ? SF_FORMAT_PCM_U8 : linear_encoding(bytes);
    case 3:
        return bits == 32 ? SF_FORMAT_FLOAT : bits == 64 ? SF_FORMAT_DOUBLE : 0;
    case 6:
        return bits == 8 ? SF_FORMAT_ALAW : 0;
    case 7:
        return bits == 8 ? SF_FORMAT_ULAW : 0;
    default:
        return 0;
    }
}

// The tag of an extensible format is the beginning of a GUID, which ends like this for the
// encodings of the plain format, or like that for those of an ambisonic field.
u64 extensible_tag(const unsigned char *guid, const chunk_layout &layout) {
    static constexpr unsigned char plain[] = {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    static constexpr unsigned char field[] = {0x86, 0x44, 0xC8, 0xC1, 0xCA, 0x00, 0x00, 0x00};
    const bool known = std::memcmp(guid + 8, plain, 8) == 0 || std::memcmp(guid + 8, field, 8) == 0;
    return known ? layout.number(guid, 4) : 0;
}

void set_mask(sound_header &header, u64 mask) {
    header.mask = static_cast<u32>(mask);
    header.order = mask == 0 ? channel_order::unknown : channel_order::mask;
}

// Channels, rate, bytes of a second and of a frame, bits of a sample; then, where there is more,
// bits that count, loudspeakers, and the encoding.
void read_wave_format(byte_source &in, const chunk &format, const chunk_layout &layout,
                      sound_header &header) {
    constexpr std::size_t plain_bytes = 16;
    constexpr std::size_t extensible_bytes = 40;
    unsigned char bytes[extensible_bytes] = {};
    const auto present =
        static_cast<std::size_t>(std::min(format.size, static_cast<s64>(extensible_bytes)));
    if (format.size < static_cast<s64>(plain_bytes) || !in.read(format.begin, bytes, present))
        fail_without_data(in);
    const auto field = [&](std::size_t at, std::size_t count) {
        return static_cast<s64>(layout.number(bytes + at, count));
    };
    u64 tag = layout.number(bytes, 2);
    if (tag == 0xFFFE) {
        tag = extensible_tag(bytes + 24, layout);
        set_mask(header, layout.number(bytes + 20, 4));
    }
    header.channels = static_cast<int>(field(2, 2));
    header.rate = field(4, 4);
    const int bits = static_cast<int>(field(14, 2));
    const bool is_padded = bits == 24 && field(12, 2) == 4 * s64{header.channels};
    header.encoding = wave_encoding(tag, bits, is_padded ? 4 : (bits + 7) / 8);
    if (header.encoding != 0)
        header.encoding |= layout.is_big_endian ? SF_ENDIAN_BIG : SF_ENDIAN_LITTLE;
}

// RF64 has the lengths that do not fit in 32 bits in a chunk of its own: of the file, of the data,
// the number of frames; then a table with the lengths of other chunks.
s64 read_long_length(byte_source &in, const chunk &lengths) {
    unsigned char bytes[28];
    if (lengths.size < static_cast<s64>(sizeof bytes) ||
        !in.read(lengths.begin, bytes, sizeof bytes))
        fail_without_data(in);
    constexpr s64 row_bytes = 12;
    const auto rows = static_cast<s64>(little_endian(bytes + 24, 4));
    if (rows > (lengths.size - static_cast<s64>(sizeof bytes)) / row_bytes)
        throw damaged_file(in.name(), "damaged header: its table of lengths cannot hold " +
                                          counted(static_cast<u64>(rows), "row"));
    return static_cast<s64>(little_endian(bytes + 8, 8));
}

// Lengths as they stand in the header.
struct wave_lengths {
    s64 outer = 0; // of the whole file
    s64 data = 0;
    std::optional<s64> long_data; // in RF64
};

// The bytes of data, or nothing where the header leaves that open. 0 may be the truth, or the
// header was never completed.
std::optional<s64> wave_data_bytes(const byte_source &in, const wave_lengths &lengths, s64 begin) {
    const bool is_long = lengths.long_data && lengths.data == 0xFFFFFFFF;
    if (!is_long && stands_for_unknown(lengths.data)) return std::nullopt;
    const s64 bytes = is_long ? *lengths.long_data : lengths.data;
    const bool is_complete = lengths.outer != 0 && !stands_for_unknown(lengths.outer);
    if (bytes > 0 || (bytes == 0 && is_complete)) return bytes;
    if (!in.is_seekable()) return std::nullopt;
    if (in.size() > begin)
        throw damaged_file(in.name(), "unfinished: the header does not tell the length");
    return 0;
}

// WAV and the formats made after it.
sound_header read_wave(byte_source &in, int container, const chunk_layout &layout, s64 outer_size) {
    sound_header header;
    header.container = container;
    wave_lengths lengths{outer_size, 0, std::nullopt};
    bool has_format = false;
    const bool has_data = find_chunk(in, layout, [&](const chunk &found) {
        if (found.is("fmt ")) {
            read_wave_format(in, found, layout, header);
            has_format = true;
        } else if (found.is("ds64") && container == SF_FORMAT_RF64) {
            lengths.long_data = read_long_length(in, found);
        }
        header.data_begin = found.begin;
        lengths.data = found.size;
        return found.is("data");
    });
    if (!has_data || !has_format) fail_without_data(in);
    header.data_bytes = wave_data_bytes(in, lengths, header.data_begin);
    if (header.data_bytes) check_length(in, header.data_begin, *header.data_bytes);
    return header;
}

sound_header read_riff(byte_source &in, int container, const chunk_layout &layout) {
    unsigned char outer[8];
    if (!in.read(4, outer, sizeof outer)) fail_without_data(in);
    if (std::memcmp(outer + 4, "WAVE", 4) != 0)
        throw processing_error(in.name(), "not audio: a RIFF file of another kind than WAV");
    return read_wave(in, container, layout, static_cast<s64>(layout.number(outer, 4)));
}

sound_header read_w64(byte_source &in) {
    unsigned char outer[8];
    if (!in.read(16, outer, sizeof outer)) fail_without_data(in);
    return read_wave(in, SF_FORMAT_W64, w64_chunks, static_cast<s64>(little_endian(outer, 8)));
}

int au_encoding(u64 code) {
    switch (code) {
    case 1:
        return SF_FORMAT_ULAW;
    case 2:
        return SF_FORMAT_PCM_S8;
    case 3:
    case 4:
    case 5:
        return linear_encoding(static_cast<int>(code) - 1);
    case 6:
        return SF_FORMAT_FLOAT;
    case 7:
        return SF_FORMAT_DOUBLE;
    case 27:
        return SF_FORMAT_ALAW;
    default:
        return 0;
    }
}

// Six words: magic, offset of the data, its length or all ones, encoding, rate, channels. There is
// a form with the other byte order.
sound_header read_au(byte_source &in, bool is_big_endian) {
    unsigned char bytes[20];
    if (!in.read(4, bytes, sizeof bytes)) fail_without_data(in);
    const auto word = [&](std::size_t index) {
        return is_big_endian ? big_endian(bytes + 4 * index, 4)
                             : little_endian(bytes + 4 * index, 4);
    };
    sound_header header;
    header.container = SF_FORMAT_AU;
    header.data_begin = static_cast<s64>(word(0));
    header.encoding = au_encoding(word(2));
    if (header.encoding != 0) header.encoding |= is_big_endian ? SF_ENDIAN_BIG : SF_ENDIAN_LITTLE;
    header.rate = static_cast<s64>(word(3));
    header.channels = static_cast<int>(std::min(word(4), u64{INT32_MAX}));
    const auto size = static_cast<s64>(word(1));
    if (header.data_begin < 24 || header.data_begin > in.size()) fail_without_data(in);
    // On the way to the samples a pipe passes the header's text, if there is any.
    if (!in.read(header.data_begin, bytes, 0)) fail_without_data(in);
    if (size == 0xFFFFFFFF || stands_for_unknown(size)) return header;
    check_length(in, header.data_begin, size);
    header.data_bytes = size;
    return header;
}

// CAF has numbers for whole layouts, on whose order its writers do not agree, and one for a mask.
void read_caf_layout(byte_source &in, const chunk &found, sound_header &header) {
    unsigned char bytes[8] = {};
    constexpr u64 has_mask = 0x10000;
    if (in.read(found.begin, bytes, sizeof bytes) && big_endian(bytes, 4) == has_mask)
        set_mask(header, big_endian(bytes + 4, 4));
}

// Left to libsndfile but for the length of the data, where CAF has -1 for "until the end".
sound_header read_others(byte_source &in, int container, const chunk_layout &layout,
                         std::string_view data_name) {
    sound_header header;
    header.container = container;
    const bool has_data = find_chunk(in, layout, [&](const chunk &found) {
        if (found.is("chan") && container == SF_FORMAT_CAF) read_caf_layout(in, found, header);
        if (!found.is(data_name)) return false;
        check_length(in, found.begin, found.size);
        return true;
    });
    if (!has_data) fail_without_data(in);
    return header;
}

sound_header read_aiff(byte_source &in) {
    char kind[4];
    if (!in.read(8, kind, sizeof kind)) fail_without_data(in);
    if (std::memcmp(kind, "AIF", 3) != 0)
        throw processing_error(in.name(), "not audio: an IFF file of another kind than AIFF");
    return read_others(in, SF_FORMAT_AIFF, rifx_chunks, "SSND");
}

sound_header only_container(int container, channel_order order = channel_order::unknown) {
    sound_header header;
    header.container = container;
    header.order = order;
    return header;
}

// By the first packet, behind a page's header of 28 bytes. Opus has families of channel orders:
// 0 and 1 are those of loudspeakers.
channel_order ogg_channel_order(byte_source &in) {
    unsigned char packet[19];
    if (!in.read(28, packet, sizeof packet)) return channel_order::unknown;
    if (std::memcmp(packet,
                    "\x7F"
                    "FLAC",
                    5) == 0)
        return channel_order::flac;
    const bool is_opus = std::memcmp(packet, "OpusHead", 8) == 0;
    return is_opus && packet[18] > 1 ? channel_order::unknown : channel_order::vorbis;
}

// Tags in front of MP3 and FLAC: "ID3", version, flags, and a length of four times seven bits.
s64 skip_tags(byte_source &in) {
    s64 at = 0;
    unsigned char tag[10];
    constexpr int most_tags = 100;
    for (int count = 0; count < most_tags; ++count) {
        if (!in.read(at, tag, sizeof tag) || std::memcmp(tag, "ID3", 3) != 0) break;
        s64 length = 0;
        for (std::size_t i = 6; i < 10; ++i) length = length << 7 | (tag[i] & 0x7F);
        at += static_cast<s64>(sizeof tag) + length;
    }
    return at;
}

// Eleven bits of ones, then version, layer, bit rate and sample rate, each with a value that is
// not in use.
bool begins_mpeg_frame(const unsigned char *head) {
    return head[0] == 0xFF && (head[1] & 0xE0) == 0xE0 && (head[1] & 0x18) != 0x08 &&
           (head[1] & 0x06) != 0 && (head[2] & 0xF0) != 0xF0 && (head[2] & 0x0C) != 0x0C;
}

sound_header read_tagged(byte_source &in) {
    const s64 begin = skip_tags(in);
    unsigned char head[4] = {};
    if (!in.read(begin, head, sizeof head) && begin > 0) fail_without_data(in);
    if (std::memcmp(head, "fLaC", 4) == 0)
        return only_container(SF_FORMAT_FLAC, channel_order::flac);
    if (begin > 0 || begins_mpeg_frame(head)) {
        sound_header header = only_container(SF_FORMAT_MPEG);
        header.data_begin = begin;
        return header;
    }
    throw processing_error(in.name(), "not audio in a format that is read: WAV, RF64, W64, AIFF, "
                                      "AU, CAF, FLAC, Ogg or MP3; 'ffmpeg -i FILE OUT.wav' "
                                      "converts most others");
}

int container_of(std::string_view magic) {
    struct known {
        std::string_view magic;
        int container;
    };
    static constexpr known formats[] = {
        {"RIFF", SF_FORMAT_WAV}, {"RIFX", SF_FORMAT_WAV},  {"RF64", SF_FORMAT_RF64},
        {"riff", SF_FORMAT_W64}, {"FORM", SF_FORMAT_AIFF}, {"caff", SF_FORMAT_CAF},
        {".snd", SF_FORMAT_AU},  {"dns.", SF_FORMAT_AU},   {"fLaC", SF_FORMAT_FLAC},
        {"OggS", SF_FORMAT_OGG},
    };
    for (const known &format : formats)
        if (format.magic == magic) return format.container;
    return 0;
}

sound_header read_file(byte_source &in, int container, bool is_swapped) {
    switch (container) {
    case SF_FORMAT_WAV:
        return read_riff(in, container, is_swapped ? rifx_chunks : riff_chunks);
    case SF_FORMAT_AU:
        return read_au(in, !is_swapped);
    case SF_FORMAT_RF64:
        return read_riff(in, container, riff_chunks);
    case SF_FORMAT_W64:
        return read_w64(in);
    case SF_FORMAT_AIFF:
        return read_aiff(in);
    case SF_FORMAT_CAF:
        return read_others(in, container, caf_chunks, "data");
    case SF_FORMAT_OGG:
        check_last_ogg_page(in);
        return only_container(container, ogg_channel_order(in));
    default:
        return read_tagged(in);
    }
}

// Headers of the other formats are spread over the file.
void check_pipe(const byte_source &in, int container) {
    if (in.is_seekable() || container == SF_FORMAT_WAV || container == SF_FORMAT_AU) return;
    throw processing_error(
        in.name(), container == 0
                       ? std::string("not WAV or AU, which can be read from a pipe")
                       : container_name(container) + " cannot be read from a pipe; WAV and AU can");
}

} // namespace

s64 frame_bytes(const sound_header &header) {
    switch (header.encoding & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_16:
        return 2 * s64{header.channels};
    case SF_FORMAT_PCM_24:
        return 3 * s64{header.channels};
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
        return 4 * s64{header.channels};
    case SF_FORMAT_DOUBLE:
        return 8 * s64{header.channels};
    default:
        return header.channels;
    }
}

bool is_sound_file(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    unsigned char head[4] = {};
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char *>(head), sizeof head);
    const std::string_view magic(reinterpret_cast<const char *>(head), sizeof head);
    return file &&
           (container_of(magic) != 0 || magic.substr(0, 3) == "ID3" || begins_mpeg_frame(head));
}

sound_header read_sound_header(byte_source &in) {
    char magic[4];
    if (!in.read(0, magic, sizeof magic))
        throw processing_error(in.name(), in.size() == 0 ? "is empty" : "is too short to be audio");
    const std::string_view text(magic, sizeof magic);
    const int container = container_of(text);
    check_pipe(in, container);
    const sound_header header = read_file(in, container, text == "RIFX" || text == "dns.");
    if (header.encoding != 0 && (header.channels < 1 || header.channels > most_channels))
        throw damaged_file(in.name(), "damaged header: " +
                                          counted(static_cast<u64>(header.channels), "channel"));
    // libsndfile believes the lengths in the header of an RF64 file, and does not return.
    if (header.container == SF_FORMAT_RF64 && header.encoding == 0)
        throw processing_error(in.name(),
                               "this encoding of RF64 cannot be read; write it as PCM or "
                               "floating point");
    if (!in.is_seekable() && header.encoding == 0)
        throw processing_error(in.name(), "this encoding of " + container_name(header.container) +
                                              " cannot be read from a pipe; name the file, or send "
                                              "PCM");
    return header;
}

} // namespace earshot_tool
