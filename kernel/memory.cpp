// The memory helpers of the public interface: bounded copies and the cursor-moving manager.
#include "kernel/memory.hpp"

#include <earshot/kernel.h>

namespace {

constexpr u32 round_up_8(u32 size) { return (size + 7) & ~u32{7}; }

void *take(uintptr_t *state, u32 size) {
    const uintptr_t result = *state;
    *state = result + round_up_8(size);
    return reinterpret_cast<void *>(result);
}

void align_4k(uintptr_t *state) { *state = (*state + 4095) & ~uintptr_t{4095}; }

// Clears what was asked for, not what it was rounded to.
void *take_cleared(uintptr_t *state, u32 bytes) {
    void *result = take(state, bytes);
    if (result != nullptr && bytes != 0) memset(result, 0, bytes);
    return result;
}

} // namespace

extern "C" {

u32 memscpy(void *dst, u32 dst_size, const void *src, u32 src_size) {
    return earshot::memscpy(dst, dst_size, src, src_size);
}
u32 memsmove(void *dst, u32 dst_size, const void *src, u32 src_size) {
    return earshot::memsmove(dst, dst_size, src, src_size);
}

void smm_init(uintptr_t *state, void *base) {
    if (state != nullptr) *state = reinterpret_cast<uintptr_t>(base);
}

u32 smm_malloc_size(u32 size) { return round_up_8(size); }
u32 smm_calloc_size(u32 count, u32 size) { return round_up_8(count * size); }
u32 smm_calloc_size_4kaligned(u32 count, u32 size) {
    return (2 * count * size + 8190) & ~u32{8191};
}

void *smm_malloc(uintptr_t *state, u32 size) {
    return state == nullptr ? nullptr : take(state, size);
}
void *smm_calloc(uintptr_t *state, u32 count, u32 size) {
    return state == nullptr ? nullptr : take_cleared(state, count * size);
}
void *smm_malloc_4kaligned(uintptr_t *state, u32 size) {
    if (state == nullptr) return nullptr;
    align_4k(state);
    return take(state, size);
}
void *smm_calloc_4kaligned(uintptr_t *state, u32 count, u32 size) {
    if (state == nullptr) return nullptr;
    align_4k(state);
    return take_cleared(state, count * size);
}

} // extern "C"
