// Bounded copies, inline for the rest of the library; exported from kernel/memory.cpp.
#ifndef EARSHOT_KERNEL_MEMORY_HPP
#define EARSHOT_KERNEL_MEMORY_HPP

#include <earshot/types.h>

#include <string.h>

namespace earshot {

// The standard functions want valid pointers even for no bytes; callers of ours need not have one.

inline u32 memsmove(void *dst, u32 dst_size, const void *src, u32 src_size) {
    const u32 bytes = dst_size < src_size ? dst_size : src_size;
    if (bytes != 0) memmove(dst, src, bytes);
    return bytes;
}

// A source that fits is moved, one that is cut is copied: two calls with two contracts.
inline u32 memscpy(void *dst, u32 dst_size, const void *src, u32 src_size) {
    if (dst_size >= src_size) return memsmove(dst, src_size, src, src_size);
    if (dst_size != 0) memcpy(dst, src, dst_size);
    return dst_size;
}

} // namespace earshot

#endif
