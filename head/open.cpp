// Heads from bytes: everything that later calls rely on is looked at here, once.
#include "head/checksum.hpp"
#include "head/gain.hpp"
#include "head/sections.hpp"

#include <string.h>

namespace earshot {
namespace {

constexpr u32 most_vertices = 65535, most_triangles = 131070;
constexpr u32 delay_limit = 64u << 16;
// Roundings add less than a unit of Q16 to it.
constexpr u32 gain_limit = (4u << 16) - 2;
constexpr u32 channel_gain_limit = 8u << 16;

constexpr bool is_between(u32 value, u32 least, u32 most) {
    return value >= least && value <= most;
}

bool is_terminated(const char (&name)[head_name_size]) {
    const size_t length = strnlen(name, head_name_size);
    for (size_t i = length; i < head_name_size; ++i)
        if (name[i] != 0) return false;
    return length < head_name_size;
}

bool is_sound(const head_header &header, u64 size) {
    return header.magic == head_magic && header.version == head_version && header.size == size &&
           is_between(header.vertices, 4, most_vertices) &&
           is_between(header.measured, 1, header.vertices) &&
           is_between(header.triangles, 4, most_triangles) &&
           is_between(header.records, 1, 2 * header.vertices) &&
           (header.channels == 0 || header.channels == EARSHOT_HEAD_CHANNELS) &&
           size == head_size(header.vertices, header.triangles, header.channels, header.records) &&
           (header.reserved[0] | header.reserved[1] | header.reserved[2]) == 0 &&
           is_terminated(header.name);
}

bool are_sound(const head_triangle *triangles, const head_header &header) {
    for (u32 t = 0; t < header.triangles; ++t) {
        const head_triangle &triangle = triangles[t];
        for (u32 k = 0; k < 3; ++k)
            if (triangle.vertex[k] >= header.vertices || triangle.neighbour[k] >= header.triangles)
                return false;
        if (triangle.reserved != 0) return false;
    }
    return true;
}

bool are_below(const u32 *indices, u32 count, u32 limit) {
    u32 largest = 0;
    for (u32 i = 0; i < count; ++i) largest = indices[i] > largest ? indices[i] : largest;
    return largest < limit;
}

struct record_extent {
    u64 square; // of the largest modulus, Q42
    bool is_sound;
};

record_extent extent_of(const s32 *words) {
    s64 largest = 0;
    s32 odd_lows = 0;
    for (u32 i = 0; i < filter_words; i += 2) {
        s64 square = 0;
        for (u32 part = 0; part < 2; ++part) {
            const s32 word = words[i + part], value = record_value(static_cast<u32>(word));
            odd_lows |= (word >> 16) + 128;
            square += s64{value} * value;
        }
        largest = square > largest ? square : largest;
    }
    // A low part from -128 to 127 is one from 0 to 255 with 128 more.
    return {static_cast<u64>(largest), (odd_lows & ~255) == 0 && words[1] == 0};
}

bool are_sound(const head_sections &head) {
    const head_header &header = *head.header;
    for (u32 v = 0; v < header.vertices; ++v) {
        const head_vertex &vertex = head.vertices[v];
        if (vertex.gain > gain_limit) return false;
        const u64 bound = u64{vertex.gain} << 5; // Q21
        for (u32 ear = 0; ear < 2; ++ear) {
            if (vertex.record[ear] >= header.records || vertex.delay[ear] >= delay_limit)
                return false;
            const record_extent extent =
                extent_of(head.records + s64{filter_words} * vertex.record[ear]);
            if (!extent.is_sound || extent.square > bound * bound) return false;
        }
    }
    return true;
}

bool are_sound(const earshot_filter_pair *channels, u32 count) {
    for (u32 c = 0; c < count; ++c) {
        if (channels[c].gain >= channel_gain_limit || channels[c].reserved != 0) return false;
        for (const auto &filter : channels[c].ear)
            if (!bounds(channels[c].gain, largest_square(filter))) return false;
    }
    return true;
}

u32 open(const void *bytes, size_t size, const earshot_head **head) {
    if (bytes == nullptr || head == nullptr ||
        reinterpret_cast<uintptr_t>(bytes) % alignof(s32) != 0)
        return EARSHOT_BAD_MEMORY;
    if (size < sizeof(head_header) || !is_sound(*static_cast<const head_header *>(bytes), size))
        return EARSHOT_BAD_VALUE;
    const head_sections sections = sections_of(bytes);
    const head_header &header = *sections.header;
    if (header.checksum != checksum_of(static_cast<const unsigned char *>(bytes) + checksummed_from,
                                       size - checksummed_from) ||
        !are_sound(sections.triangles, header) ||
        !are_below(sections.nearby, cells, header.triangles) ||
        !are_sound(sections.channels, header.channels) || !are_sound(sections))
        return EARSHOT_BAD_VALUE;
    *head = static_cast<const earshot_head *>(bytes);
    return EARSHOT_OK;
}

} // namespace
} // namespace earshot

extern "C" {

u32 earshot_head_open(const void *bytes, size_t size, const earshot_head **head) {
    return earshot::open(bytes, size, head);
}

u32 earshot_head_describe(const earshot_head *head, earshot_head_info *info) {
    if (head == nullptr || info == nullptr) return EARSHOT_BAD_MEMORY;
    const earshot::head_header &header = *earshot::sections_of(head).header;
    *info = {header.version,
             header.size,
             header.checksum,
             header.measured,
             header.vertices - header.measured,
             header.triangles,
             header.channels,
             header.name};
    return EARSHOT_OK;
}

u32 earshot_head_channel(const earshot_head *head, u32 channel, const earshot_filter_pair **pair) {
    if (head == nullptr || pair == nullptr) return EARSHOT_BAD_MEMORY;
    const earshot::head_sections sections = earshot::sections_of(head);
    if (channel >= sections.header->channels) return EARSHOT_BAD_VALUE;
    *pair = sections.channels + channel;
    return EARSHOT_OK;
}

} // extern "C"
