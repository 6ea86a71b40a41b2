// The trigonometric tables. math/generated is written by tools/trig_tables.cpp:
//     cmake --build build --target trig_tables && build/trig_tables math/generated
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

} // namespace earshot

EARSHOT_EXPORT_TABLE(s32, SIN_TABLE, [4097])
EARSHOT_EXPORT_TABLE(s32, INTERP_TABLE, [2049])
EARSHOT_EXPORT_TABLE(u32, ACOS_TABLE, [4097])
EARSHOT_EXPORT_TABLE(u32, ACOS_TABLE_HIGH_RES, [4097])
EARSHOT_EXPORT_TABLE(u32, ATAN_TABLE, [4097])
EARSHOT_EXPORT_TABLE(u32, ATAN_TABLE_LOW_RES, [4097])
EARSHOT_EXPORT_TABLE(s16, COSSINTAB, [257][2])
