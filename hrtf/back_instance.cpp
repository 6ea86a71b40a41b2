// The interface of back end instances: requirements, instances, parameters.
#include "hrtf/instance.hpp"
#include "kernel/memory.hpp"

namespace earshot {
namespace {

using instance_t = hrtf_filt_back_instance;
using state_t = hrtf_filt_back_state;
using config_t = hrtf_filt_back_config;

constexpr u32 static_size = sizeof(instance_t) + sizeof(state_t);

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(config_t) == 24);
static_assert(sizeof(instance_t) == 16);
static_assert(static_size == 312);
#endif

constexpr u32 second_requirement = 1024;
constexpr u32 version_word = 0;

// The samples of ear 0, then those of ear 1.
constexpr u32 scratch_size_for(u32 fft_size) { return 2 * fft_size * u32{sizeof(s32)}; }

// --- Requirements and instances -----------------------------------------------------------------

bool is_supported(const config_t &config) {
    return config.fft_size == 256 && (config.frame_length == 96 || config.frame_length == 128);
}

u32 get_req(u32 handle, hrtf_requirement *requirement, u32 count, const config_t *config) {
    if (handle != 0 || count != 1) return EARSHOT_BAD_VALUE;
    if (config == nullptr) return EARSHOT_NO_CONFIG;
    if (!is_supported(*config)) return EARSHOT_BAD_VALUE;
    *requirement = {static_size, second_requirement, scratch_size_for(config->fft_size)};
    return EARSHOT_OK;
}

u32 reset(instance_t *instance) {
    if (!has_state(instance)) return EARSHOT_BAD_MEMORY;
    memset(instance->state->tail, 0, sizeof instance->state->tail);
    return EARSHOT_OK;
}

u32 initialize(instance_t *instance) {
    if (!has_state(instance)) return EARSHOT_BAD_MEMORY;
    state_t *state = instance->state;
    const s32 log2 = log2_of_fft_size(state->config.fft_size);
    if (log2 == 0) return EARSHOT_BAD_VALUE;
    state->level_shift = static_cast<u32>(log2) + 1;
    state->stride = 1024 >> log2;
    state->changed = 0;
    return reset(instance);
}

u32 lay_out(instance_t **handle_out, const config_t *config, void *memory, u32 block_size) {
    if (block_size < static_size) return EARSHOT_BAD_MEMORY;
    instance_t *instance = static_cast<instance_t *>(memory);
    state_t *state = reinterpret_cast<state_t *>(instance + 1);
    instance->state = state;
    memscpy(&state->config, sizeof state->config, config, sizeof *config);
    const u32 status = initialize(instance);
    if (status != EARSHOT_OK) return status;
    state->reserved = 0;
    instance->static_size = static_size;
    instance->scratch_ptr = nullptr;
    instance->scratch_size = scratch_size_for(config->fft_size);
    *handle_out = instance;
    return EARSHOT_OK;
}

u32 static_get_init(instance_t **handle_out, u32 *requirement, const config_t *config, void *memory,
                    u32 memory_size, u32 mode) {
    if (mode != 1) {
        *requirement = static_size;
        return EARSHOT_OK;
    }
    const u32 status = lay_out(handle_out, config, memory, memory_size);
    if (status != EARSHOT_OK) clear_pointers<instance_t>(memory, memory_size);
    return status;
}

u32 init(instance_t **handle_out, u32 count, const config_t *config, void *memory,
         u32 memory_size) {
    if (config == nullptr || count != 1 || memory == nullptr || !is_supported(*config))
        return EARSHOT_BAD_VALUE;
    return static_get_init(handle_out, nullptr, config, memory, memory_size, 1);
}

u32 scratch_get_init(instance_t *instance, void *value, u32 mode) {
    if (instance == nullptr) return EARSHOT_BAD_MEMORY;
    if (mode > 1) return EARSHOT_BAD_VALUE;
    if (mode == 1) {
        instance->scratch_ptr = value;
        return EARSHOT_OK;
    }
    if (instance->state == nullptr) return EARSHOT_BAD_MEMORY;
    instance->scratch_size = scratch_size_for(instance->state->config.fft_size);
    return EARSHOT_OK;
}

// --- Parameters ---------------------------------------------------------------------------------

u32 set_changed(state_t *state, const hrtf_word_payload *payload) {
    if (has_room_for<hrtf_word_payload>(payload)) state->changed = payload->value;
    return EARSHOT_OK;
}

u32 set(instance_t *instance, u32 id, const void *payload) {
    if (!has_state(instance)) return EARSHOT_BAD_MEMORY;
    if (id == HRTF_FILT_BACK_PARAM_RESET) return reset(instance);
    if (id != HRTF_FILT_BACK_PARAM_CHANGED && id != HRTF_FILT_BACK_PARAM_SCRATCH)
        return EARSHOT_BAD_VALUE;
    if (payload == nullptr) return EARSHOT_BAD_MEMORY;
    if (id == HRTF_FILT_BACK_PARAM_CHANGED)
        return set_changed(instance->state, static_cast<const hrtf_word_payload *>(payload));
    instance->scratch_ptr = static_cast<const hrtf_scratch_payload *>(payload)->address;
    return EARSHOT_OK;
}

u32 get(const instance_t *instance, u32 id, void *payload) {
    if (!has_state(instance) || payload == nullptr) return EARSHOT_BAD_MEMORY;
    switch (id) {
    case HRTF_FILT_BACK_PARAM_SCRATCH:
        return answer_scratch(payload, instance->scratch_ptr);
    case HRTF_FILT_BACK_PARAM_VERSION:
        return answer_version(payload, version_word);
    case HRTF_FILT_BACK_PARAM_ZERO_QUERY:
        return answer_word(payload, 0);
    default:
        return EARSHOT_BAD_VALUE;
    }
}

} // namespace
} // namespace earshot

extern "C" {

u32 hrtf_filt_back_get_req(u32 handle, hrtf_requirement *requirement, u32 count,
                           const hrtf_filt_back_config *config) {
    return earshot::get_req(handle, requirement, count, config);
}
u32 hrtf_filt_back_init(hrtf_filt_back_instance **handle_out, u32 count,
                        const hrtf_filt_back_config *config, void *memory, u32 memory_size) {
    return earshot::init(handle_out, count, config, memory, memory_size);
}
u32 hrtf_filt_back_static_get_init(hrtf_filt_back_instance **handle_out, u32 *requirement,
                                   const hrtf_filt_back_config *config, void *memory,
                                   u32 memory_size, u32 mode) {
    return earshot::static_get_init(handle_out, requirement, config, memory, memory_size, mode);
}
u32 hrtf_filt_back_scratch_get_init(hrtf_filt_back_instance *instance,
                                    const hrtf_filt_back_config *, void *value, u32 mode) {
    return earshot::scratch_get_init(instance, value, mode);
}
u32 hrtf_filt_back_initialize(hrtf_filt_back_instance *instance) {
    return earshot::initialize(instance);
}
u32 hrtf_filt_back_reset(hrtf_filt_back_instance *instance) { return earshot::reset(instance); }
u32 hrtf_filt_back_set(hrtf_filt_back_instance *instance, u32 param_id, const void *payload) {
    return earshot::set(instance, param_id, payload);
}
u32 hrtf_filt_back_get(hrtf_filt_back_instance *instance, u32 param_id, void *payload) {
    return earshot::get(instance, param_id, payload);
}

} // extern "C"
