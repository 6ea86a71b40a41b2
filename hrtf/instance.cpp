// The interface of hrtf instances: requirements, instances, parameters.
#include "hrtf/instance.hpp"

#include "hrtf/selection.hpp"
#include "kernel/memory.hpp"

namespace earshot {
namespace {

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(hrtf_table_row) == 12);
static_assert(sizeof(hrtf_filter_info) == 32);
static_assert(sizeof(hrtf_instance) == 48);
static_assert(sizeof(hrtf_requirement) == 12);
static_assert(sizeof(hrtf_position) == 12);
static_assert(sizeof(hrtf_filter_pair) == 8);
static_assert(sizeof(hrtf_scratch_payload) == 12);
static_assert(sizeof(hrtf_word_payload) == 8);
static_assert(sizeof(hrtf_version_payload) == 16);
#endif

constexpr u32 instance_size = sizeof(hrtf_instance);
constexpr u32 second_requirement = 200;
constexpr u32 version_word = 0x01000000;

u32 get_req(u32 handle, hrtf_requirement *requirement, u32 count, const hrtf_config *config) {
    if (handle != 0 || count != 1) return EARSHOT_BAD_VALUE;
    if (config == nullptr) return EARSHOT_NO_CONFIG;
    *requirement = {instance_size, second_requirement, 0};
    return EARSHOT_OK;
}

u32 init(hrtf_instance **handle_out, u32 count, const hrtf_config *config, void *memory,
         u32 memory_size) {
    if (config == nullptr || count != 1 || memory == nullptr) return EARSHOT_BAD_VALUE;
    return init_hrtf(handle_out, config, memory, memory_size);
}

u32 static_get_init(hrtf_instance **handle_out, hrtf_requirement *requirement,
                    const hrtf_config *config, void *memory, u32 memory_size, u32 mode) {
    if (mode == 1) return init_hrtf(handle_out, config, memory, memory_size);
    requirement->second = instance_size;
    return EARSHOT_OK;
}

u32 scratch_get_init(hrtf_instance *instance, void *value, u32 mode) {
    if (instance == nullptr) return EARSHOT_BAD_MEMORY;
    if (mode > 1) return EARSHOT_BAD_VALUE;
    if (mode == 1)
        instance->scratch_ptr = value;
    else
        instance->scratch_size = 0;
    return EARSHOT_OK;
}

bool is_ready(const hrtf_instance *instance) {
    return instance != nullptr && instance->info != nullptr;
}

u32 initialize(hrtf_instance *instance) {
    return is_ready(instance) ? fill_filter_info(*instance->info) : EARSHOT_BAD_MEMORY;
}

u32 set(hrtf_instance *instance, u32 id, const void *payload) {
    if (!is_ready(instance)) return EARSHOT_BAD_MEMORY;
    if (id != HRTF_PARAM_SCRATCH) return EARSHOT_BAD_VALUE;
    if (payload == nullptr) return EARSHOT_BAD_MEMORY;
    instance->scratch_ptr = static_cast<const hrtf_scratch_payload *>(payload)->address;
    return EARSHOT_OK;
}

u32 get(const hrtf_instance *instance, u32 id, void *payload) {
    if (!is_ready(instance)) return EARSHOT_BAD_MEMORY;
    if (id < HRTF_PARAM_SCRATCH || id > HRTF_PARAM_FFT_SIZE) return EARSHOT_BAD_VALUE;
    if (payload == nullptr) return EARSHOT_BAD_MEMORY;
    switch (id) {
    case HRTF_PARAM_SCRATCH:
        return answer_scratch(payload, instance->scratch_ptr);
    case HRTF_PARAM_VERSION:
        return answer_version(payload, version_word);
    case HRTF_PARAM_Q_FORMAT:
        return answer_word(payload, static_cast<u32>(instance->info->q_format));
    default:
        return answer_word(payload, static_cast<u32>(instance->info->fft_size));
    }
}

u32 process(hrtf_instance *instance, u32 input_count, hrtf_filter_pair *pair, u32 output_count,
            hrtf_position *position) {
    if (!is_ready(instance) || pair == nullptr || position == nullptr) return EARSHOT_BAD_MEMORY;
    if (input_count != 3 || output_count != 2) return EARSHOT_BAD_VALUE;
    return select_filters(instance, position, pair);
}

} // namespace

u32 init_hrtf(hrtf_instance **handle_out, const void *config, void *memory, u32 memory_size) {
    if (memory_size < instance_size) {
        clear_pointer(memory, memory_size, offsetof(hrtf_instance, info));
        clear_pointer(memory, memory_size, offsetof(hrtf_instance, scratch_ptr));
        return EARSHOT_BAD_MEMORY;
    }
    hrtf_instance *instance = static_cast<hrtf_instance *>(memory);
    instance->info = &instance->filter_info;
    memscpy(&instance->filter_info.table_selector, sizeof(u32), config, sizeof(hrtf_config));
    const u32 status = fill_filter_info(instance->filter_info);
    if (status != EARSHOT_OK) return status;
    instance->scratch_ptr = nullptr;
    instance->scratch_size = 0;
    instance->static_size = instance_size;
    *handle_out = instance;
    return EARSHOT_OK;
}

} // namespace earshot

extern "C" {

u32 hrtf_get_req(u32 handle, hrtf_requirement *requirement, u32 count, const hrtf_config *config) {
    return earshot::get_req(handle, requirement, count, config);
}
u32 hrtf_init(hrtf_instance **handle_out, u32 count, const hrtf_config *config, void *memory,
              u32 memory_size) {
    return earshot::init(handle_out, count, config, memory, memory_size);
}
u32 hrtf_static_get_init(hrtf_instance **handle_out, hrtf_requirement *requirement,
                         const hrtf_config *config, void *memory, u32 memory_size, u32 mode) {
    return earshot::static_get_init(handle_out, requirement, config, memory, memory_size, mode);
}
u32 hrtf_scratch_get_init(hrtf_instance *instance, void *value, u32 mode) {
    return earshot::scratch_get_init(instance, value, mode);
}
u32 hrtf_initialize(hrtf_instance *instance) { return earshot::initialize(instance); }
u32 hrtf_set(hrtf_instance *instance, u32 param_id, const void *payload) {
    return earshot::set(instance, param_id, payload);
}
u32 hrtf_get(hrtf_instance *instance, u32 param_id, void *payload) {
    return earshot::get(instance, param_id, payload);
}
u32 hrtf_process(hrtf_instance *instance, u32 input_count, hrtf_filter_pair *pair, u32 output_count,
                 hrtf_position *position) {
    return earshot::process(instance, input_count, pair, output_count, position);
}

} // extern "C"
