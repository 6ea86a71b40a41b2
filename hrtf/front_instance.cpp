// The interface of front end instances: requirements, instances, sources and their filters,
// parameters.
#include "hrtf/instance.hpp"
#include "hrtf/selection.hpp"
#include "kernel/memory.hpp"

namespace earshot {
namespace {

using instance_t = hrtf_filt_front_instance;
using state_t = hrtf_filt_front_state;
using source_t = hrtf_filt_front_source;
using config_t = hrtf_filt_front_config;

// The block is the header and the state, the hrtf instance and the sources. The records of the
// sources are adjacent; the room that is reserved for each may be larger than its record.
constexpr u32 hrtf_offset = round_up_to_8(sizeof(instance_t) + sizeof(state_t));
constexpr u32 sources_offset = hrtf_offset + round_up_to_8(sizeof(hrtf_instance));
constexpr u32 room_per_source = round_up_to_8(sizeof(source_t));

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(config_t) == 20);
static_assert(sizeof(source_t) == 20);
static_assert(sizeof(instance_t) == 16);
static_assert(sizeof(state_t) == 48);
static_assert(hrtf_offset == 64 && sources_offset == 112 && room_per_source == 24);
#endif

constexpr u32 second_requirement = 1024;
constexpr u32 highest_selector = 2;
constexpr s32 neutral_third = 65536;
constexpr u32 version_word = 0;

// Scratch memory has room for the samples of a frame, the product for ear 0, and the transform,
// which the product for ear 1 replaces; only the transform is still kept.
constexpr u32 frame_size = 256;
constexpr u32 words_of_bins(u32 fft_size) { return fft_size + 2; }
constexpr u32 scratch_size = (frame_size + 2 * words_of_bins(frame_size)) * sizeof(s32);

constexpr u64 static_size_for(u32 sources) {
    return sources_offset + u64{room_per_source} * sources;
}

// --- Requirements and instances -----------------------------------------------------------------

u32 get_req(u32 handle, hrtf_requirement *requirement, u32 count, const config_t *config) {
    if (handle != 0 || count != 1) return EARSHOT_BAD_VALUE;
    if (config == nullptr || config->sample_rate != 48000) return EARSHOT_NO_CONFIG;
    const u64 size = static_size_for(config->max_sources);
    if (config->table_selector > highest_selector || size > UINT32_MAX) return EARSHOT_BAD_VALUE;
    *requirement = {static_cast<u32>(size), second_requirement, scratch_size};
    return EARSHOT_OK;
}

u32 reset(instance_t *instance) {
    if (!has_state(instance)) return EARSHOT_BAD_MEMORY;
    const state_t *state = instance->state;
    for (u32 i = 0; i < state->config.max_sources; ++i)
        state->sources[i] = {{nullptr, nullptr}, neutral_third, 0, 0};
    return EARSHOT_OK;
}

u32 initialize(instance_t *instance) {
    if (!has_state(instance)) return EARSHOT_BAD_MEMORY;
    state_t *state = instance->state;
    const hrtf_filter_info &info = *state->hrtf->info;
    const s32 log2 = log2_of_fft_size(info.fft_size);
    if (log2 == 0) return EARSHOT_BAD_VALUE;
    state->fft_size = info.fft_size;
    state->input_shift = log2 + 1;
    state->stride = 1024 >> log2;
    state->q_format = info.q_format;
    state->active = state->config.max_sources;
    return reset(instance);
}

// Makes the instance in a block of which only block_size bytes may be touched.
u32 lay_out(instance_t **handle_out, const config_t *config, void *memory, u32 block_size) {
    if (block_size < hrtf_offset) return EARSHOT_BAD_MEMORY;
    unsigned char *block = static_cast<unsigned char *>(memory);
    instance_t *instance = static_cast<instance_t *>(memory);
    state_t *state = reinterpret_cast<state_t *>(block + sizeof *instance);
    instance->state = state;
    u32 status = init_hrtf(&state->hrtf, config, block + hrtf_offset, block_size - hrtf_offset);
    if (status != EARSHOT_OK) return status;

    const u64 size = static_size_for(config->max_sources);
    if (size > UINT32_MAX) return EARSHOT_BAD_VALUE;
    if (block_size < size) return EARSHOT_BAD_MEMORY;
    state->sources = reinterpret_cast<source_t *>(block + sources_offset);
    memscpy(&state->config, sizeof state->config, config, sizeof *config);
    status = initialize(instance);
    if (status != EARSHOT_OK) return status;
    if (config->table_selector > highest_selector) return EARSHOT_BAD_VALUE;
    instance->static_size = static_cast<u32>(size);
    instance->scratch_ptr = nullptr;
    instance->scratch_size = scratch_size;
    *handle_out = instance;
    return EARSHOT_OK;
}

u32 static_get_init(instance_t **handle_out, u32 *requirement, const config_t *config, void *memory,
                    u32 memory_size, u32 mode) {
    if (mode != 1) {
        const u64 size = static_size_for(config->max_sources);
        if (size > UINT32_MAX) return EARSHOT_BAD_VALUE;
        *requirement = static_cast<u32>(size);
        return EARSHOT_OK;
    }
    const u32 status = lay_out(handle_out, config, memory, memory_size);
    if (status != EARSHOT_OK) clear_pointers<instance_t>(memory, memory_size);
    return status;
}

u32 init(instance_t **handle_out, u32 count, const config_t *config, void *memory,
         u32 memory_size) {
    if (config == nullptr || count != 1 || memory == nullptr) return EARSHOT_BAD_VALUE;
    if (config->sample_rate != 48000) return EARSHOT_NO_CONFIG;
    return static_get_init(handle_out, nullptr, config, memory, memory_size, 1);
}

u32 scratch_get_init(instance_t *instance, const config_t *config, void *value, u32 mode) {
    if (instance == nullptr) return EARSHOT_BAD_MEMORY;
    if (mode > 1) return EARSHOT_BAD_VALUE;
    if (mode == 1) {
        instance->scratch_ptr = value;
        return EARSHOT_OK;
    }
    if (config->table_selector > highest_selector) return EARSHOT_BAD_VALUE;
    instance->scratch_size = scratch_size;
    return EARSHOT_OK;
}

// --- Parameters ---------------------------------------------------------------------------------

// Whether the first bytes of a source's record lie inside the block. The room that is reserved
// beyond the records can hold some more of them, which the parameters may name as well.
bool is_inside(const instance_t *instance, u32 index, size_t bytes) {
    return sources_offset + u64{index} * sizeof(source_t) + bytes <= instance->static_size;
}

u32 store_direction(instance_t *instance, const hrtf_filt_front_direction *payload) {
    if (!is_inside(instance, payload->source, sizeof(source_t))) return EARSHOT_BAD_VALUE;
    source_t &source = instance->state->sources[payload->source];
    source.third = payload->position.unused;
    source.azimuth = payload->position.azimuth;
    source.elevation = payload->position.elevation;
    return EARSHOT_OK;
}

// The record keeps the elevation as given: the selection clamps it in the payload, afterwards.
u32 store_and_select(instance_t *instance, hrtf_filt_front_direction *payload) {
    u32 status = store_direction(instance, payload);
    if (status != EARSHOT_OK) return status;
    hrtf_filter_pair pair;
    status = select_filters(instance->state->hrtf, &payload->position, &pair);
    if (status != EARSHOT_OK) return status;
    source_t &source = instance->state->sources[payload->source];
    source.filter[0] = pair.ear[0];
    source.filter[1] = pair.ear[1];
    return EARSHOT_OK;
}

u32 set_active(state_t *state, u32 active) {
    if (active > state->config.max_sources) return EARSHOT_BAD_VALUE;
    state->active = active;
    return EARSHOT_OK;
}

u32 set(instance_t *instance, u32 id, void *payload) {
    if (!has_state(instance)) return EARSHOT_BAD_MEMORY;
    if (id == HRTF_FILT_FRONT_PARAM_RESET) return reset(instance);
    const bool known = id == HRTF_FILT_FRONT_PARAM_SCRATCH ||
                       id == HRTF_FILT_FRONT_PARAM_DIRECTION ||
                       id == HRTF_FILT_FRONT_PARAM_SELECT || id == HRTF_FILT_FRONT_PARAM_ACTIVE;
    if (!known) return EARSHOT_BAD_VALUE;
    if (payload == nullptr) return EARSHOT_BAD_MEMORY;
    switch (id) {
    case HRTF_FILT_FRONT_PARAM_SCRATCH:
        instance->scratch_ptr = static_cast<const hrtf_scratch_payload *>(payload)->address;
        return EARSHOT_OK;
    case HRTF_FILT_FRONT_PARAM_DIRECTION:
        return store_direction(instance, static_cast<hrtf_filt_front_direction *>(payload));
    case HRTF_FILT_FRONT_PARAM_SELECT:
        return store_and_select(instance, static_cast<hrtf_filt_front_direction *>(payload));
    default:
        return set_active(instance->state, static_cast<const hrtf_word_payload *>(payload)->value);
    }
}

u32 get_direction(const instance_t *instance, hrtf_filt_front_direction *payload) {
    if (!has_room_for<hrtf_filt_front_direction>(payload)) return EARSHOT_OK;
    const state_t *state = instance->state;
    const u32 index = payload->source;
    if (index > state->config.max_sources) return EARSHOT_BAD_VALUE;
    const auto word = [&](s32 source_t::*member, size_t offset) {
        return is_inside(instance, index, offset + sizeof(s32)) ? state->sources[index].*member : 0;
    };
    payload->position.unused = word(&source_t::third, offsetof(source_t, third));
    payload->position.azimuth = word(&source_t::azimuth, offsetof(source_t, azimuth));
    payload->position.elevation = word(&source_t::elevation, offsetof(source_t, elevation));
    return EARSHOT_OK;
}

u32 get(const instance_t *instance, u32 id, void *payload) {
    if (!has_state(instance)) return EARSHOT_BAD_MEMORY;
    if (id < HRTF_FILT_FRONT_PARAM_SCRATCH || id > HRTF_FILT_FRONT_PARAM_ACTIVE)
        return EARSHOT_BAD_VALUE;
    if (id == HRTF_FILT_FRONT_PARAM_RESET || id == HRTF_FILT_FRONT_PARAM_SELECT) return EARSHOT_OK;
    if (payload == nullptr) return EARSHOT_BAD_MEMORY;
    switch (id) {
    case HRTF_FILT_FRONT_PARAM_SCRATCH:
        return answer_scratch(payload, instance->scratch_ptr);
    case HRTF_FILT_FRONT_PARAM_VERSION:
        return answer_version(payload, version_word);
    case HRTF_FILT_FRONT_PARAM_DIRECTION:
        return get_direction(instance, static_cast<hrtf_filt_front_direction *>(payload));
    case HRTF_FILT_FRONT_PARAM_ZERO_QUERY:
        return answer_word(payload, 0);
    default:
        return answer_word(payload, instance->state->active);
    }
}

} // namespace
} // namespace earshot

extern "C" {

u32 hrtf_filt_front_get_req(u32 handle, hrtf_requirement *requirement, u32 count,
                            const hrtf_filt_front_config *config) {
    return earshot::get_req(handle, requirement, count, config);
}
u32 hrtf_filt_front_init(hrtf_filt_front_instance **handle_out, u32 count,
                         const hrtf_filt_front_config *config, void *memory, u32 memory_size) {
    return earshot::init(handle_out, count, config, memory, memory_size);
}
u32 hrtf_filt_front_static_get_init(hrtf_filt_front_instance **handle_out, u32 *requirement,
                                    const hrtf_filt_front_config *config, void *memory,
                                    u32 memory_size, u32 mode) {
    return earshot::static_get_init(handle_out, requirement, config, memory, memory_size, mode);
}
u32 hrtf_filt_front_scratch_get_init(hrtf_filt_front_instance *instance,
                                     const hrtf_filt_front_config *config, void *value, u32 mode) {
    return earshot::scratch_get_init(instance, config, value, mode);
}
u32 hrtf_filt_front_initialize(hrtf_filt_front_instance *instance) {
    return earshot::initialize(instance);
}
u32 hrtf_filt_front_reset(hrtf_filt_front_instance *instance) { return earshot::reset(instance); }
u32 hrtf_filt_front_set(hrtf_filt_front_instance *instance, u32 param_id, void *payload) {
    return earshot::set(instance, param_id, payload);
}
u32 hrtf_filt_front_get(hrtf_filt_front_instance *instance, u32 param_id, void *payload) {
    return earshot::get(instance, param_id, payload);
}

} // extern "C"
