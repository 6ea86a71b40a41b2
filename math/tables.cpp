// The tables. math/generated is written by tools/math_tables.cpp:
//     cmake --build build --target math_tables && build/math_tables math/generated
#include "math/tables.hpp"

// COSSINTAB is generated flat, as pairs one after the other.
#pragma GCC diagnostic ignored "-Wmissing-braces"

namespace earshot {

const s32 SIN_TABLE[4097] = {
#include "math/generated/sin_table.inc"
};
const s32 INTERP_TABLE[2049] = {
#include "math/generated/interp_table.inc"
};
const u32 ACOS_TABLE[4097] = {
#include "math/generated/acos_table.inc"
};
const u32 ACOS_TABLE_HIGH_RES[4097] = {
#include "math/generated/acos_table_high_res.inc"
};
const u32 ATAN_TABLE[4097] = {
#include "math/generated/atan_table.inc"
};
const u32 ATAN_TABLE_LOW_RES[4097] = {
#include "math/generated/atan_table_low_res.inc"
};
const s16 COSSINTAB[257][2] = {
#include "math/generated/cos_sin_table.inc"
};
const s32 inv_sqrt_table_65[65] = {
#include "math/generated/inv_sqrt_table.inc"
};
const s32 log2table[257] = {
#include "math/generated/log2_table.inc"
};
const s16 exp_l[31] = {-1, 1,  1,  3,  3,  5,  5,  7,  7,  9,  9,  11, 11, 13, 13, 15,
                       15, 17, 17, 19, 19, 21, 21, 23, 23, 25, 25, 27, 27, 29, 29};
const s16 exp_r[31] = {16, 15, 15, 14, 14, 13, 13, 12, 12, 11, 11, 10, 10, 9, 9, 8,
                       8,  7,  7,  6,  6,  5,  5,  4,  4,  3,  3,  2,  2,  1, 1};
const s64 log2_of_knots[65] = {
#include "math/generated/log2_of_knots.inc"
};
const s64 powers_of_two[64] = {
#include "math/generated/powers_of_two.inc"
};

} // namespace earshot

EARSHOT_EXPORT_TABLE(s32, SIN_TABLE, [4097])
EARSHOT_EXPORT_TABLE(s32, INTERP_TABLE, [2049])
EARSHOT_EXPORT_TABLE(u32, ACOS_TABLE, [4097])
EARSHOT_EXPORT_TABLE(u32, ACOS_TABLE_HIGH_RES, [4097])
EARSHOT_EXPORT_TABLE(u32, ATAN_TABLE, [4097])
EARSHOT_EXPORT_TABLE(u32, ATAN_TABLE_LOW_RES, [4097])
EARSHOT_EXPORT_TABLE(s16, COSSINTAB, [257][2])
EARSHOT_EXPORT_TABLE(s32, inv_sqrt_table_65, [65])
EARSHOT_EXPORT_TABLE(s32, log2table, [257])
EARSHOT_EXPORT_TABLE(s16, exp_l, [31])
EARSHOT_EXPORT_TABLE(s16, exp_r, [31])
