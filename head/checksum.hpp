// CRC-32 as of IEEE 802.3 and zlib: reflected, polynomial 0xEDB88320, all bits inverted before and
// after.
#ifndef EARSHOT_HEAD_CHECKSUM_HPP
#define EARSHOT_HEAD_CHECKSUM_HPP

#include <earshot/types.h>

#include <stddef.h>

namespace earshot {

u32 checksum_of(const unsigned char *bytes, size_t count);

} // namespace earshot

#endif
