// The interface of renderers: requirements, instances, sources and their filters.
#include "binaural/instance.hpp"

#include <string.h>

namespace earshot {
namespace {

bool is_valid(const earshot_binaural_config &config) {
    return config.sources >= 1 && config.sources <= most_sources && config.frame_length >= 1 &&
           config.frame_length <= most_frame_length &&
           config.lead <= window_length - config.frame_length;
}

// Room to begin with a whole line, and an instance.
constexpr size_t size_for(u32 sources) {
    return line_size - alignof(void *) + sizeof(earshot_binaural) +
           sources * sizeof(binaural_source);
}

u32 get_size(const earshot_binaural_config *config, size_t *size) {
    if (config == nullptr || size == nullptr) return EARSHOT_BAD_MEMORY;
    if (!is_valid(*config)) return EARSHOT_BAD_VALUE;
    *size = size_for(config->sources);
    return EARSHOT_OK;
}

bool is_aligned(const void *memory, size_t alignment) {
    return reinterpret_cast<uintptr_t>(memory) % alignment == 0;
}

earshot_binaural *first_line_of(void *memory) {
    const uintptr_t rest = reinterpret_cast<uintptr_t>(memory) % line_size;
    unsigned char *bytes = static_cast<unsigned char *>(memory);
    return reinterpret_cast<earshot_binaural *>(bytes + (rest == 0 ? 0 : line_size - rest));
}

// What a frame fades from has weight (L - 1 - i) / L in sample i, none in the last one.
void fill_weights(s32 *weights, u32 length) {
    for (u32 i = 0; i < length; ++i)
        weights[i] = static_cast<s32>((u64{length - 1 - i} << 31) / length);
}

u32 init(earshot_binaural **renderer, const earshot_binaural_config *config, void *memory,
         size_t size) {
    if (renderer == nullptr || config == nullptr || memory == nullptr) return EARSHOT_BAD_MEMORY;
    if (!is_valid(*config)) return EARSHOT_BAD_VALUE;
    if (!is_aligned(memory, alignof(void *)) || size < size_for(config->sources))
        return EARSHOT_BAD_MEMORY;
    earshot_binaural *r = first_line_of(memory);
    memset(r, 0, sizeof *r);
    fill_weights(r->weights, config->frame_length);
    r->config = *config;
    r->without_filters = config->sources;
    r->fixed_bits = follows;
    for (u32 i = 0; i < config->sources; ++i) r->sources()[i] = {nullptr, nullptr, 0};
    *renderer = r;
    return EARSHOT_OK;
}

u32 set(earshot_binaural *renderer, u32 index, const earshot_filter_pair *pair) {
    if (renderer == nullptr || pair == nullptr) return EARSHOT_BAD_MEMORY;
    if (index >= renderer->config.sources) return EARSHOT_BAD_VALUE;
    binaural_source &source = renderer->sources()[index];
    if (source.next == nullptr) --renderer->without_filters;
    source.next = pair;
    return EARSHOT_OK;
}

u32 fix_headroom(earshot_binaural *renderer, s32 bits) {
    if (renderer == nullptr) return EARSHOT_BAD_MEMORY;
    if (bits != follows && (bits < 0 || bits > most_fixed_bits)) return EARSHOT_BAD_VALUE;
    renderer->fixed_bits = bits;
    return EARSHOT_OK;
}

} // namespace
} // namespace earshot

extern "C" {

u32 earshot_binaural_get_size(const earshot_binaural_config *config, size_t *size) {
    return earshot::get_size(config, size);
}
u32 earshot_binaural_init(earshot_binaural **renderer, const earshot_binaural_config *config,
                          void *memory, size_t size) {
    return earshot::init(renderer, config, memory, size);
}
u32 earshot_binaural_set(earshot_binaural *renderer, u32 source, const earshot_filter_pair *pair) {
    return earshot::set(renderer, source, pair);
}
u32 earshot_binaural_fix_headroom(earshot_binaural *renderer, s32 bits) {
    return earshot::fix_headroom(renderer, bits);
}
u64 earshot_binaural_unsafe_frames(const earshot_binaural *renderer) {
    return renderer == nullptr ? 0 : renderer->unsafe_frames;
}

} // extern "C"
