// The exported tables under their internal names (include/earshot/math.h gives their rules), and
// internal ones.
#ifndef EARSHOT_MATH_TABLES_HPP
#define EARSHOT_MATH_TABLES_HPP

#include "kernel/export_table.hpp"

#include <earshot/math.h>

EARSHOT_DECLARE_TABLE(s32, SIN_TABLE, [4097])
EARSHOT_DECLARE_TABLE(s32, INTERP_TABLE, [2049])
EARSHOT_DECLARE_TABLE(u32, ACOS_TABLE, [4097])
EARSHOT_DECLARE_TABLE(u32, ACOS_TABLE_HIGH_RES, [4097])
EARSHOT_DECLARE_TABLE(u32, ATAN_TABLE, [4097])
EARSHOT_DECLARE_TABLE(u32, ATAN_TABLE_LOW_RES, [4097])
EARSHOT_DECLARE_TABLE(s16, COSSINTAB, [257][2])
EARSHOT_DECLARE_TABLE(s32, inv_sqrt_table_65, [65])
EARSHOT_DECLARE_TABLE(s32, log2table, [257])
EARSHOT_DECLARE_TABLE(s16, exp_l, [31])
EARSHOT_DECLARE_TABLE(s16, exp_r, [31])

namespace earshot {

// log2(65536 / floor(2^22 / (64 + k))) in Q62, about log2(1 + k / 64).
extern const s64 log2_of_knots[65];
// 2^(k / 64) in Q62.
extern const s64 powers_of_two[64];

} // namespace earshot

#endif
