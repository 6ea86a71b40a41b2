#include "hoa_effect/layout.hpp"

#include "hoa_effect/matrices.hpp"

#include <string.h>

namespace earshot {
namespace {

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(hoa_effect_config) == 24);
static_assert(sizeof(hoa_effect_requirement) == 16);
static_assert(sizeof(hoa_effect_memory) == 12);
static_assert(sizeof(hoa_effect_buffer) == 12);
static_assert(sizeof(hoa_effect_state) == 112);
#endif

constexpr u32 matrix_count = 9;

constexpr u32 channels_of(u32 order) { return (order + 1) * (order + 1); }

// The members of the state in the order in which their matrices lie in memory, which is not the
// order of the members.
constexpr s32 **hoa_effect_state::*memory_order[matrix_count] = {
    &hoa_effect_state::target,    &hoa_effect_state::step,        &hoa_effect_state::current,
    &hoa_effect_state::rot_focus, &hoa_effect_state::rot_focus_t, &hoa_effect_state::focus,
    &hoa_effect_state::rot_main,  &hoa_effect_state::focus_x_rot, &hoa_effect_state::rot_x_rot_t,
};

// One matrix at p: n + 1 pieces of 8 n bytes. Returns its handle.
s32 **lay_out_matrix(unsigned char *p, u32 n) {
    s32 **rows = reinterpret_cast<s32 **>(p);
    for (u32 r = 0; r < n; ++r) rows[r] = reinterpret_cast<s32 *>(p + (r + 1) * (8 * n));
    return rows;
}

// The table is for four channels; what a larger matrix would need beyond it is zero.
void copy_focus_table(s32 **matrix, u32 n) {
    for (u32 r = 0; r < n; ++r)
        for (u32 c = 0; c < n; ++c)
            matrix[r][c] = r < 4 && c < 4 ? FOCUS_MATRIX_1_0_0[4 * r + c] : 0;
}

} // namespace

u32 static_size_for(u32 order) {
    const u32 n = channels_of(order);
    return static_cast<u32>(sizeof(hoa_effect_state)) + matrix_count * (n + 1) * 8 * n;
}

bool lay_out(void *mem, u32 mem_size, u32 order) {
    const u32 n = channels_of(order);
    const u64 matrix_size = (u64{n} + 1) * 8 * n;
    u64 offset = sizeof(hoa_effect_state);
    if (mem_size < offset) return false;

    hoa_effect_state *state = static_cast<hoa_effect_state *>(mem);
    state->scratch_ptr = nullptr;
    state->scratch_size = 0;
    state->num_channels = n;
    state->ramp_pos = HOA_EFFECT_RAMP_FRAMES;
    state->ramp_step_q31 = 0x200000;
    state->ramp_len = HOA_EFFECT_RAMP_FRAMES;
    for (const auto member : memory_order) {
        if (matrix_size > mem_size - offset) return false;
        state->*member = lay_out_matrix(static_cast<unsigned char *>(mem) + offset, n);
        offset += matrix_size;
    }
    for (u32 r = 0; r < n; ++r) memset(state->target[r], 0, 8 * n);
    copy_focus_table(state->focus, n);
    return true;
}

} // namespace earshot
