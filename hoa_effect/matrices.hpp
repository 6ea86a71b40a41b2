// Rotation and effect matrices for the effect; exported from hoa_effect/matrices.cpp.
#ifndef EARSHOT_HOA_EFFECT_MATRICES_HPP
#define EARSHOT_HOA_EFFECT_MATRICES_HPP

#include "kernel/export_table.hpp"

#include <earshot/hoa_effect.h>

EARSHOT_DECLARE_TABLE(s32, FOCUS_MATRIX_1_0_0, [16])

namespace earshot {

u32 calculate_rotation_matrix(s32 yaw, s32 pitch, s32 **matrix, u32 order);
u32 calculate_effect_matrix(hoa_effect_state *state);

} // namespace earshot

#endif
