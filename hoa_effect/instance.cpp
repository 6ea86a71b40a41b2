// The interface of instances of the ambisonic effect: requirements, instances, parameters.
#include "hoa_effect/layout.hpp"
#include "hoa_effect/matrices.hpp"
#include "kernel/memory.hpp"

namespace earshot {
namespace {

constexpr u32 third_requirement = 400;
constexpr u32 version_word = 0x01000100;

u32 check_config_ranges(const hoa_effect_config *config, u32 config_size) {
    if (config_size < sizeof *config) return EARSHOT_BAD_MEMORY;
    const bool acceptable =
        config->sample_rate == 48000 && (config->bit_width == 16 || config->bit_width == 32) &&
        config->reserved_3 == 0 && config->reserved_2 == 0 && config->order == 1;
    return acceptable ? EARSHOT_OK : EARSHOT_BAD_VALUE;
}

void clear_settings(hoa_effect_state *state) {
    state->rotation_yaw = 0;
    state->rotation_pitch = 0;
    state->focus_yaw = 0;
    state->focus_pitch = 0;
    state->focus_enable = 0;
}

// The ramp to the cleared settings starts at the next sample.
u32 reset(hoa_effect_state *state) {
    if (state == nullptr) return EARSHOT_BAD_MEMORY;
    state->ramp_pos = 0;
    clear_settings(state);
    return calculate_effect_matrix(state);
}

u32 default_init_static(hoa_effect_state *state, const hoa_effect_config *config) {
    if (state == nullptr) return EARSHOT_BAD_MEMORY;
    memscpy(&state->config, sizeof state->config, config, sizeof *config);
    const u32 status = reset(state);
    state->ramp_pos = HOA_EFFECT_RAMP_FRAMES;
    return status;
}

u32 static_req_or_init(hoa_effect_state **handle_out, const hoa_effect_config *config,
                       hoa_effect_requirement *requirement, void *mem, u32 mem_size, u32 mode) {
    if (mode == 0) {
        requirement->static_size = static_size_for(config->order);
        requirement->third = third_requirement;
        return EARSHOT_OK;
    }
    if (mode != 1) return EARSHOT_OK;
    if (!lay_out(mem, mem_size, config->order)) return EARSHOT_BAD_MEMORY;
    hoa_effect_state *state = static_cast<hoa_effect_state *>(mem);
    const u32 status = default_init_static(state, config);
    *handle_out = state;
    return status;
}

u32 get_req(u32 reserved, hoa_effect_requirement *requirement, u32 requirement_size, u32 count,
            const hoa_effect_config *config, u32 config_size) {
    if (reserved != 0 || requirement_size != sizeof *requirement || count != 1 ||
        config_size != sizeof *config || check_config_ranges(config, config_size) != EARSHOT_OK)
        return EARSHOT_BAD_VALUE;
    static_req_or_init(nullptr, config, requirement, nullptr, 0, 0);
    requirement->second = 0;
    return EARSHOT_OK;
}

u32 init(hoa_effect_state **handle_out, u32 count, const hoa_effect_config *config, u32 config_size,
         void *static_mem, u32 static_size) {
    if (config_size != sizeof *config || config == nullptr || count != 1 || static_mem == nullptr ||
        check_config_ranges(config, config_size) != EARSHOT_OK)
        return EARSHOT_BAD_VALUE;
    return static_req_or_init(handle_out, config, nullptr, static_mem, static_size, 1);
}

u32 attach_scratch(hoa_effect_state *state, const hoa_effect_memory *desc) {
    if (state == nullptr) return EARSHOT_BAD_MEMORY;
    state->scratch_ptr = desc->address;
    state->scratch_size = desc->size;
    return EARSHOT_OK;
}

u32 scratch_req_or_init(hoa_effect_state *state, hoa_effect_memory *desc, u32 mode) {
    if (mode == 1) return attach_scratch(state, desc);
    if (mode == 0) desc->address = nullptr;
    return EARSHOT_OK;
}

// --- Parameters ---------------------------------------------------------------------------------

// The payload of a focus has room for a fourth word.
constexpr u32 rotation_size = 2 * sizeof(s32);
constexpr u32 focus_size = 4 * sizeof(s32);

constexpr bool in_range(s32 yaw, s32 pitch) {
    return yaw >= -HOA_EFFECT_MAX_YAW && yaw <= HOA_EFFECT_MAX_YAW &&
           pitch >= -HOA_EFFECT_MAX_PITCH && pitch <= HOA_EFFECT_MAX_PITCH;
}

u32 ramp_to_new_setting(hoa_effect_state *state) {
    state->ramp_pos = 0;
    return calculate_effect_matrix(state);
}

u32 set_rotation(hoa_effect_state *state, const s32 *words) {
    if (!in_range(words[0], words[1])) return EARSHOT_BAD_VALUE;
    state->rotation_yaw = words[0];
    state->rotation_pitch = words[1];
    return ramp_to_new_setting(state);
}

u32 set_focus(hoa_effect_state *state, const s32 *words) {
    const u32 enable = static_cast<u32>(words[2]);
    if (!in_range(words[0], words[1]) || enable > 1) return EARSHOT_BAD_VALUE;
    state->focus_yaw = words[0];
    state->focus_pitch = words[1];
    state->focus_enable = enable;
    return ramp_to_new_setting(state);
}

u32 set(hoa_effect_state *state, u32 id, const void *payload, u32 size) {
    if (state == nullptr) return EARSHOT_BAD_MEMORY;
    const s32 *words = static_cast<const s32 *>(payload);
    switch (id) {
    case HOA_EFFECT_PARAM_SCRATCH:
        if (size > sizeof(hoa_effect_memory)) return EARSHOT_BAD_MEMORY;
        return attach_scratch(state, static_cast<const hoa_effect_memory *>(payload));
    case HOA_EFFECT_PARAM_ROTATION:
        return size > rotation_size ? EARSHOT_BAD_MEMORY : set_rotation(state, words);
    case HOA_EFFECT_PARAM_FOCUS:
        return size > focus_size ? EARSHOT_BAD_MEMORY : set_focus(state, words);
    case HOA_EFFECT_PARAM_RESET:
        return reset(state);
    default:
        return EARSHOT_BAD_VALUE;
    }
}

// The least payload that a get accepts; 0 for what cannot be read.
constexpr u32 least_get_size(u32 id) {
    switch (id) {
    case HOA_EFFECT_PARAM_VERSION:
    case HOA_EFFECT_PARAM_ZERO_QUERY:
        return 2 * sizeof(u32);
    case HOA_EFFECT_PARAM_SCRATCH:
        return sizeof(hoa_effect_memory);
    case HOA_EFFECT_PARAM_ROTATION:
        return rotation_size;
    case HOA_EFFECT_PARAM_FOCUS:
        return focus_size;
    default:
        return 0;
    }
}

u32 get(const hoa_effect_state *state, u32 id, void *payload, u32 size) {
    if (state == nullptr || payload == nullptr) return EARSHOT_BAD_MEMORY;
    const u32 least = least_get_size(id);
    if (least == 0) return EARSHOT_BAD_VALUE;
    if (size < least) return EARSHOT_BAD_MEMORY;
    u32 *words = static_cast<u32 *>(payload);
    switch (id) {
    case HOA_EFFECT_PARAM_VERSION:
        words[1] = version_word;
        [[fallthrough]];
    case HOA_EFFECT_PARAM_ZERO_QUERY:
        words[0] = 0;
        break;
    case HOA_EFFECT_PARAM_SCRATCH:
        static_cast<hoa_effect_memory *>(payload)->size = state->scratch_size;
        break;
    case HOA_EFFECT_PARAM_FOCUS:
        words[0] = static_cast<u32>(state->focus_yaw);
        words[1] = static_cast<u32>(state->focus_pitch);
        words[2] = state->focus_enable;
        break;
    default:
        words[0] = static_cast<u32>(state->rotation_yaw);
        words[1] = static_cast<u32>(state->rotation_pitch);
        break;
    }
    return EARSHOT_OK;
}

} // namespace
} // namespace earshot

extern "C" {

u32 hoa_effect_get_req(u32 reserved, hoa_effect_requirement *requirement, u32 requirement_size,
                       u32 count, const hoa_effect_config *config, u32 config_size) {
    return earshot::get_req(reserved, requirement, requirement_size, count, config, config_size);
}
u32 hoa_effect_init(hoa_effect_state **handle_out, u32 count, const hoa_effect_config *config,
                    u32 config_size, void *static_mem, u32 static_size) {
    return earshot::init(handle_out, count, config, config_size, static_mem, static_size);
}
u32 hoa_effect_check_config_ranges(const hoa_effect_config *config, u32 config_size) {
    return earshot::check_config_ranges(config, config_size);
}
u32 hoa_effect_static_req_or_init(hoa_effect_state **handle_out, const hoa_effect_config *config,
                                  hoa_effect_requirement *requirement, void *mem, u32 mem_size,
                                  u32 mode) {
    return earshot::static_req_or_init(handle_out, config, requirement, mem, mem_size, mode);
}
u32 hoa_effect_scratch_req_or_init(hoa_effect_state *state, u32, hoa_effect_memory *desc,
                                   u32 mode) {
    return earshot::scratch_req_or_init(state, desc, mode);
}
u32 hoa_effect_default_init_static(hoa_effect_state *state, const hoa_effect_config *config) {
    return earshot::default_init_static(state, config);
}
u32 hoa_effect_reset(hoa_effect_state *state) { return earshot::reset(state); }
u32 hoa_effect_set(hoa_effect_state *state, u32 param_id, const void *payload, u32 payload_size) {
    return earshot::set(state, param_id, payload, payload_size);
}
u32 hoa_effect_get(const hoa_effect_state *state, u32 param_id, void *payload, u32 payload_size) {
    return earshot::get(state, param_id, payload, payload_size);
}

} // extern "C"
