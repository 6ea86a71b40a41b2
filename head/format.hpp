// The bytes of a head, little-endian, all words of 32 bits. Sections follow each other, no gaps:
//
//     head_header
//     head_vertex     [vertices]     directions; first those measured, then those that fill holes
//     head_triangle   [triangles]    a closed surface; seen from outside, counter-clockwise
//     u32             [8192]         a triangle near each cell of directions, see cell_of
//     earshot_filter_pair [channels] filters of ambisonic channels
//     u32             [records][256] filters without their delays
//
// A word of a filter is a pair of 16-bit numbers, high * 256 + low being the value in Q21: bits 0
// to 15 are high, bits 16 to 31 low, both signed, low from -128 to 127. Words are in the order of
// the renderer's filters: DC, Nyquist (always 0), then real and imaginary part of bins 1 to 127.
// Values are larger than the filters' gains by (32768 / 32767)^2, which the phases that bring the
// delay back are too small by.
#ifndef EARSHOT_HEAD_FORMAT_HPP
#define EARSHOT_HEAD_FORMAT_HPP

#include <earshot/head.h>

namespace earshot {

constexpr u32 head_magic = 0x48524145; // "EARH"
constexpr u32 head_version = 1;
constexpr u32 head_name_size = 80;
constexpr u32 filter_words = 256;

struct head_header {
    u32 magic;
    u32 version;
    u32 size;        // bytes of the whole head
    u32 checksum;    // CRC-32 (IEEE 802.3, reflected, as in zlib) of all bytes behind this word
    u32 vertices;    // 4 to 65535
    u32 measured;    // of them, 1 to vertices
    u32 triangles;   // 4 to 131070
    u32 records;     // 1 to 2 x vertices
    u32 channels;    // 0 or 25
    u32 reserved[3]; // 0
    char name[head_name_size]; // UTF-8, ends with a zero byte, as do all bytes behind it
};
static_assert(sizeof(head_header) == 128);

struct head_vertex {
    s32 direction[3]; // of modulus 1, Q30: front, left, up
    u32 record[2];    // the filter of each ear
    u32 delay[2];     // of each ear: samples, Q16, below 64
    u32 gain;         // not less than any entry's modulus in both filters as they stand here, Q16;
                      // below 4 - 2^-15, so that no delay turns an entry out of Q29
};
static_assert(sizeof(head_vertex) == 32);

struct head_triangle {
    s32 normal[3][3]; // normal k: vertex k + 1 x vertex k + 2, Q30. Times a direction inside: >= 0
    u32 vertex[3];
    u32 neighbour[3]; // the triangle beyond the side that is opposite to vertex k
    u32 reserved;     // 0
};
static_assert(sizeof(head_triangle) == 64);

// 128 columns of azimuth, counter-clockwise from the front, in 64 rows of elevation, upwards from
// -90 degrees; the triangle of a cell's centre.
constexpr u32 cell_columns = 128, cell_rows = 64, cells = cell_columns * cell_rows;

// azimuth: 0 to 360 degrees without its end; elevation: -90 to 90; Q16. 32 bits hold the products.
constexpr u32 cell_of(s32 azimuth, s32 elevation) {
    const u32 column = static_cast<u32>(azimuth) * cell_columns / (360 << 16);
    const u32 row = static_cast<u32>(elevation + (90 << 16)) * cell_rows / (180 << 16);
    return (row < cell_rows ? row : cell_rows - 1) * cell_columns + column;
}

// Q21, within -2^23 to 2^23 - 129, as the word of a record.
constexpr u32 record_word(s32 value) {
    const s32 high = (value + 128) >> 8, low = value - high * 256;
    return (static_cast<u32>(high) & 0xFFFF) | static_cast<u32>(low) << 16;
}

constexpr s32 record_value(u32 word) {
    return static_cast<s16>(word) * 256 + static_cast<s16>(word >> 16);
}

constexpr u64 head_size(u32 vertices, u32 triangles, u32 channels, u32 records) {
    return sizeof(head_header) + u64{vertices} * sizeof(head_vertex) +
           u64{triangles} * sizeof(head_triangle) + cells * sizeof(u32) +
           u64{channels} * sizeof(earshot_filter_pair) + u64{records} * filter_words * sizeof(u32);
}

} // namespace earshot

#endif
