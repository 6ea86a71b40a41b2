// Where the sections of a head are; its counts are trusted.
#ifndef EARSHOT_HEAD_SECTIONS_HPP
#define EARSHOT_HEAD_SECTIONS_HPP

#include "head/format.hpp"

#include <stddef.h>

namespace earshot {

constexpr size_t checksummed_from = offsetof(head_header, checksum) + sizeof(u32);

struct head_sections {
    const head_header *header;
    const head_vertex *vertices;
    const head_triangle *triangles;
    const u32 *nearby; // for every cell a triangle
    const earshot_filter_pair *channels;
    const s32 *records;
};

inline head_sections sections_of(const void *head) {
    head_sections s{};
    s.header = static_cast<const head_header *>(head);
    s.vertices = reinterpret_cast<const head_vertex *>(s.header + 1);
    s.triangles = reinterpret_cast<const head_triangle *>(s.vertices + s.header->vertices);
    s.nearby = reinterpret_cast<const u32 *>(s.triangles + s.header->triangles);
    s.channels = reinterpret_cast<const earshot_filter_pair *>(s.nearby + cells);
    s.records = reinterpret_cast<const s32 *>(s.channels + s.header->channels);
    return s;
}

} // namespace earshot

#endif
