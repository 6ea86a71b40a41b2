// What the three kinds of instances of the renderer have in common, and the hrtf instance for the
// front end.
#ifndef EARSHOT_HRTF_INSTANCE_HPP
#define EARSHOT_HRTF_INSTANCE_HPP

#include <earshot/hrtf.h>

#include <stddef.h>
#include <string.h>

namespace earshot {

// The second word of a version payload's pair; the first differs.
inline constexpr u32 hrtf_version = 0x01000200;

constexpr u64 round_up_to_8(u64 size) { return (size + 7) & ~u64{7}; }

// Clears the pointer at an offset of a block that may be too small to hold it.
inline void clear_pointer(void *block, u32 block_size, size_t offset) {
    if (block_size >= offset + sizeof(void *))
        memset(static_cast<unsigned char *>(block) + offset, 0, sizeof(void *));
}

// What a failed init of a front or back end leaves: no state and no scratch memory, where the block
// is large enough to say so.
template <class Instance> void clear_pointers(void *block, u32 block_size) {
    clear_pointer(block, block_size, offsetof(Instance, state));
    clear_pointer(block, block_size, offsetof(Instance, scratch_ptr));
}

// Whether a front or back end has been initialised.
template <class Instance> bool has_state(const Instance *instance) {
    return instance != nullptr && instance->state != nullptr;
}

// Whether a payload, by the size in its first word, has room for a T. It may be smaller than T, so
// only that word is read.
template <class T> bool has_room_for(const void *payload) {
    return *static_cast<const u32 *>(payload) >= sizeof(T);
}

inline u32 answer_scratch(void *payload, void *scratch) {
    if (has_room_for<hrtf_scratch_payload>(payload))
        static_cast<hrtf_scratch_payload *>(payload)->address = scratch;
    return EARSHOT_OK;
}

inline u32 answer_version(void *payload, u32 first) {
    if (has_room_for<hrtf_version_payload>(payload)) {
        auto *version = static_cast<hrtf_version_payload *>(payload);
        version->version[0] = first;
        version->version[1] = hrtf_version;
    }
    return EARSHOT_OK;
}

inline u32 answer_word(void *payload, u32 value) {
    if (has_room_for<hrtf_word_payload>(payload))
        static_cast<hrtf_word_payload *>(payload)->value = value;
    return EARSHOT_OK;
}

// log2 of the sizes that the renderer can transform, 0 for any other.
constexpr s32 log2_of_fft_size(s64 size) {
    return size == 256 ? 8 : size == 512 ? 9 : size == 1024 ? 10 : 0;
}

// hrtf_init without its argument checks.
u32 init_hrtf(hrtf_instance **handle_out, const void *config, void *memory, u32 memory_size);

} // namespace earshot

#endif
