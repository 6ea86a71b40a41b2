#include "head/checksum.hpp"

namespace earshot {
namespace {

// Eight bytes at a time: row k holds what a byte makes of the sum with k zero bytes behind it.
constexpr struct checksum_tables {
    u32 row[8][256];
    constexpr checksum_tables() : row() {
        for (u32 byte = 0; byte < 256; ++byte) {
            u32 sum = byte;
            for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1) * 0xEDB88320;
            row[0][byte] = sum;
        }
        for (u32 k = 1; k < 8; ++k)
            for (u32 byte = 0; byte < 256; ++byte)
                row[k][byte] = row[k - 1][byte] >> 8 ^ row[0][row[k - 1][byte] & 0xFF];
    }
} tables;

u32 word_at(const unsigned char *bytes) {
    return static_cast<u32>(bytes[0]) | static_cast<u32>(bytes[1]) << 8 |
           static_cast<u32>(bytes[2]) << 16 | static_cast<u32>(bytes[3]) << 24;
}

// The bytes of a word, from the one with most zeros behind it to the one with least.
u32 spread(u32 word, u32 most) {
    u32 sum = 0;
    for (u32 k = 0; k < 4; ++k) sum ^= tables.row[most - k][word >> 8 * k & 0xFF];
    return sum;
}

} // namespace

u32 checksum_of(const unsigned char *bytes, size_t count) {
    u32 sum = ~u32{0};
    for (; count >= 8; bytes += 8, count -= 8)
        sum = spread(sum ^ word_at(bytes), 7) ^ spread(word_at(bytes + 4), 3);
    for (; count > 0; ++bytes, --count) sum = sum >> 8 ^ tables.row[0][(sum ^ *bytes) & 0xFF];
    return ~sum;
}

} // namespace earshot
