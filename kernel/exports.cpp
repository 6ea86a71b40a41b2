// The scalar, complex and packed operations under their exported names. Nothing is computed here,
// and nothing in the library calls these: a program may define functions of the same names.
#include "kernel/complex.hpp"

extern "C" {

u32 changed(u32 a, u32 b) { return earshot::changed(a, b); }
u32 change_if_valid(u32 old, u32 updated) { return earshot::change_if_valid(old, updated); }
u32 clip_16(s16 *value, s16 lo, s16 hi) { return earshot::clip(value, lo, hi); }
u32 clip_32(s32 *value, s32 lo, s32 hi) { return earshot::clip(value, lo, hi); }
s16 ARM_s16_add_s16_s16_sat(s16 a, s16 b) { return earshot::s16_add_s16_s16_sat(a, b); }
s32 ARM_s32_add_s32_s32_sat(s32 a, s32 b) { return earshot::ARM_s32_add_s32_s32_sat(a, b); }
s16 ARM_s16_sub_s16_s16_sat(s16 a, s16 b) { return earshot::s16_sub_s16_s16_sat(a, b); }
s32 ARM_s32_sub_s32_s32_sat(s32 a, s32 b) { return earshot::ARM_s32_sub_s32_s32_sat(a, b); }
s32 ARM_s32_mult_s16_s16(s16 a, s16 b) { return earshot::ARM_s32_mult_s16_s16(a, b); }
s32 ARM_s32_mult_s16_u16(s16 a, u16 b) { return earshot::ARM_s32_mult_s16_u16(a, b); }
u32 ARM_u32_mult_u16_u16(u16 a, u16 b) { return earshot::ARM_u32_mult_u16_u16(a, b); }
s64 ARM_s64_mult_s32_s16(s32 a, s16 b) { return earshot::ARM_s64_mult_s32_s16(a, b); }
s64 ARM_s64_mult_s32_s32(s32 a, s32 b) { return earshot::ARM_s64_mult_s32_s32(a, b); }
s32 ARM_s32_mult_s16_s16_shift_sat(s16 a, s16 b) {
    return earshot::ARM_s32_mult_s16_s16_shift_sat(a, b);
}
s32 ARM_s32_mult_s32_s16_rnd_sat(s32 a, s16 b) {
    return earshot::ARM_s32_mult_s32_s16_rnd_sat(a, b);
}
s32 s32_mult_s32_s16_rnd_sat(s32 a, s16 b) { return earshot::ARM_s32_mult_s32_s16_rnd_sat(a, b); }
s16 ARM_s16_shr_s16_sat(s16 a, s32 n) { return earshot::ARM_s16_shr_s16_sat(a, n); }
s16 ARM_s16_shl_s16_sat(s16 a, s32 n) { return earshot::ARM_s16_shl_s16_sat(a, n); }
s32 ARM_s32_shr_s32_sat(s32 a, s32 n) { return earshot::ARM_s32_shr_s32_sat(a, n); }
s32 ARM_s32_shl_s32_sat(s32 a, s32 n) { return earshot::ARM_s32_shl_s32_sat(a, n); }
u16 ARM_u16_abs_s16_sat(s16 a) { return earshot::ARM_u16_abs_s16_sat(a); }
s32 ARM_s32_neg_s32_sat(s32 a) { return earshot::ARM_s32_neg_s32_sat(a); }
s16 ARM_s16_extract_s32_l(s32 a) { return earshot::ARM_s16_extract_s32_l(a); }
s16 ARM_s16_extract_s32_h(s32 a) { return earshot::ARM_s16_extract_s32_h(a); }
s16 ARM_s16_round_s32_sat(s32 a) { return earshot::ARM_s16_round_s32_sat(a); }
s16 ARM_s16_norm_s32(s32 a) { return earshot::ARM_s16_norm_s32(a); }
s16 ARM_s16_norm_s16(s16 a) { return earshot::ARM_s16_norm_s16(a); }
s16 ARM_s16_saturate_s32(s32 a) { return earshot::ARM_s16_saturate_s32(a); }
s32 ARM_s32_saturate_s64(s64 a) { return earshot::ARM_s32_saturate_s64(a); }
s16 ARM_s16_div_s16_s16_sat(s16 num, s16 den) { return earshot::ARM_s16_div_s16_s16_sat(num, den); }
s16 s16_add_s16_s16_sat(s16 a, s16 b) { return earshot::s16_add_s16_s16_sat(a, b); }
s16 s16_sub_s16_s16_sat(s16 a, s16 b) { return earshot::s16_sub_s16_s16_sat(a, b); }
s16 s16_mult_s16_s16_shift_sat(s16 a, s16 b) { return earshot::s16_mult_s16_s16_shift_sat(a, b); }
s16 s16_extract_s64_h_rnd(s64 x) { return earshot::s16_extract_s64_h_rnd(x); }
s16 s16_extract_s64_h_sat(s64 x) { return earshot::s16_extract_s64_h_sat(x); }
s32 s32_deposit_s16_l(s16 a) { return earshot::s32_deposit_s16_l(a); }
s32 s32_deposit_s16_h(s16 a) { return earshot::s32_deposit_s16_h(a); }
u32 u32_abs_s32_sat(s32 a) { return earshot::u32_abs_s32_sat(a); }
u64 u64_mult_u32_u32(u32 a, u32 b) { return earshot::u64_mult_u32_u32(a, b); }
s64 s64_mac_s32_s32(s64 acc, s32 a, s32 b) { return earshot::s64_mac_s32_s32(acc, a, b); }
s64 s64_mac_s64_s16_s16_s1(s64 acc, s16 a, s16 b) {
    return earshot::s64_mac_s64_s16_s16_s1(acc, a, b);
}
s64 s64_mac_s64_s16_s16_shift(s64 acc, s16 a, s16 b, s32 n) {
    return earshot::s64_mac_s64_s16_s16_shift(acc, a, b, n);
}
s64 s64_mac_s64_s16_s16_shift_sat(s64 acc, s16 a, s16 b, s32 n) {
    return earshot::s64_mac_s64_s16_s16_shift_sat(acc, a, b, n);
}
s32 s32_mac_s32_s16_s16_sat(s32 acc, s16 a, s16 b) {
    return earshot::s32_mac_s32_s16_s16_sat(acc, a, b);
}
s32 s32_msu_s32_s16_s16_sat(s32 acc, s16 a, s16 b) {
    return earshot::s32_msu_s32_s16_s16_sat(acc, a, b);
}
s16 s16_mac_s32_s16_s16_sat_rnd(s32 acc, s16 a, s16 b) {
    return earshot::s16_mac_s32_s16_s16_sat_rnd(acc, a, b);
}
s16 s16_msu_s32_s16_s16_sat_rnd(s32 acc, s16 a, s16 b) {
    return earshot::s16_msu_s32_s16_s16_sat_rnd(acc, a, b);
}
s32 s32_mac_s32_s32_s1_sat(s32 acc, s32 a, s32 b) {
    return earshot::s32_mac_s32_s32_s1_sat(acc, a, b);
}
s32 s32_mac_s32_s32_s1_rnd_sat(s32 acc, s32 a, s32 b) {
    return earshot::s32_mac_s32_s32_s1_rnd_sat(acc, a, b);
}
s32 s32_mls_s32_s16_sat(s32 x, s16 y) { return earshot::s32_mls_s32_s16_sat(x, y); }
s32 s32_accu_asr_s32_imm5(s32 acc, s32 a, s32 n) {
    return earshot::s32_accu_asr_s32_imm5(acc, a, n);
}
s32 s32_accu_asl_s32_imm5(s32 acc, s32 a, s32 n) {
    return earshot::s32_accu_asl_s32_imm5(acc, a, n);
}
s32 s32_mult_s32_s32_rnd_sat(s32 a, s32 b) { return earshot::s32_mult_s32_s32_rnd_sat(a, b); }
s32 s32_shl_s32_rnd_sat(s32 a, s32 n) { return earshot::s32_shl_s32_rnd_sat(a, n); }
s16 s16_shl_s16_sat_rnd(s16 a, s32 n) { return earshot::s16_shl_s16_sat_rnd(a, n); }
s32 L_shift_r(s32 a, s32 n) { return earshot::L_shift_r(a, n); }
s64 s64_mult_s32_s32_shift(s32 a, s32 b, s32 n) { return earshot::s64_mult_s32_s32_shift(a, b, n); }
s64 s64_mult_s32_u32_shift(s32 a, u32 b, s32 n) { return earshot::s64_mult_s32_u32_shift(a, b, n); }
s64 s64_mult_s32_s16_shift(s32 a, s16 b, s32 n) { return earshot::s64_mult_s32_s16_shift(a, b, n); }
s64 s64_mult_s32_u16_shift(s32 a, u16 b, s32 n) { return earshot::s64_mult_s32_u16_shift(a, b, n); }
s64 s64_mult_u32_s16_shift(u32 a, s16 b, s32 n) { return earshot::s64_mult_u32_s16_shift(a, b, n); }
s64 s64_mult_lp_s32_s32_shift(s32 a, s32 b, s32 n) {
    return earshot::s64_mult_lp_s32_s32_shift(a, b, n);
}
s64 s64_mult_lp_s32_u32_shift(s32 a, u32 b, s32 n) {
    return earshot::s64_mult_lp_s32_u32_shift(a, b, n);
}
s64 s64_mult_s16_s16_shift(s16 a, s16 b, s32 n) { return earshot::s64_mult_s16_s16_shift(a, b, n); }
s64 s64_mult_s16_u16_shift(s16 a, u16 b, s32 n) { return earshot::s64_mult_s16_u16_shift(a, b, n); }
s64 s64_mult_u16_u16_shift(u16 a, u16 b, s32 n) { return earshot::s64_mult_u16_u16_shift(a, b, n); }
u32 cl0(s32 a) { return earshot::cl0(a); }
s32 s32_cl0_s32(s32 a) { return earshot::s32_cl0_s32(a); }
s32 s32_cl1_s32(s32 a) { return earshot::s32_cl1_s32(a); }
s32 s32_cl0_s64(s64 x) { return earshot::s32_cl0_s64(x); }
s32 s32_cl1_s64(s64 x) { return earshot::s32_cl1_s64(x); }
s16 s16_norm_s64(s64 x) { return earshot::s16_norm_s64(x); }

s32 c32_complex_s16_s16(s16 re, s16 im) { return earshot::c32_complex_s16_s16(re, im); }
s32 s32_complex_s16_s16(s16 re, s16 im) { return earshot::c32_complex_s16_s16(re, im); }
s32 c32_add_c32_c32_sat(s32 a, s32 b) { return earshot::c32_add_c32_c32_sat(a, b); }
s32 c32_sub_c32_c32_sat(s32 a, s32 b) { return earshot::c32_sub_c32_c32_sat(a, b); }
s32 c32_avrg_c32_c32_rnd(s32 a, s32 b) { return earshot::c32_avrg_c32_c32_rnd(a, b); }
s32 c32_avrg_c32_c32neg_rnd(s32 a, s32 b) { return earshot::c32_avrg_c32_c32neg_rnd(a, b); }
s32 s32_complex_conjugate_sat_s32(s32 a) { return earshot::s32_complex_conjugate_sat_s32(a); }
s32 c32_mult_c32_c32(s32 a, s32 b) { return earshot::c32_mult_c32_c32(a, b); }
s32 c32_mult_c32_c32conj(s32 a, s32 b) { return earshot::c32_mult_c32_c32conj(a, b); }
s32 s32_complex_mult_rnd_sat_s32_s32(s32 a, s32 b) {
    return earshot::s32_complex_mult_rnd_sat_s32_s32(a, b);
}
s32 c32_mult_c32_s16_shift_sat(s32 a, s16 s, s32 n) {
    return earshot::c32_mult_c32_s16_shift_sat(a, s, n);
}
s32 c32_mult_c32_s32_shift_sat(s32 a, s32 w, s32 n) {
    return earshot::c32_mult_c32_s32_shift_sat(a, w, n);
}
s64 c64_mult_c32_c32(s32 a, s32 b) { return earshot::c64_mult_c32_c32(a, b); }
s64 c64_mult_c32_s16_sat(s32 a, s16 s) { return earshot::c64_mult_c32_s16_sat(a, s); }
s64 c64_mult_c64_s16_shift_sat(s64 x, s16 s, s32 n) {
    return earshot::c64_mult_c64_s16_shift_sat(x, s, n);
}
s64 c64_mult_c64_c32_rnd_sat(s64 x, s32 w) { return earshot::c64_mult_c64_c32_rnd_sat(x, w); }
s64 c64_mult_c64_c32_rnd_sat_q6(s64 x, s32 w) { return earshot::c64_mult_c64_c32_rnd_sat_q6(x, w); }
s64 s64_complex_mult_rnd_sat_s64_s32(s64 x, s32 w) {
    return earshot::s64_complex_mult_rnd_sat_s64_s32(x, w);
}
s64 c64_mult_c64_c64_shift(s64 a, s64 b, s32 n) { return earshot::c64_mult_c64_c64_shift(a, b, n); }
s64 s64_complex_average_s64_s64(s64 a, s64 b) { return earshot::s64_complex_average_s64_s64(a, b); }
s64 s64_complex_neg_average_s64_s64_sat(s64 a, s64 b) {
    return earshot::s64_complex_neg_average_s64_s64_sat(a, b);
}
s32 s32_bitrev_s32(s32 x, s32 n) { return earshot::s32_bitrev_s32(x, n); }
s64 v64_vaddh_v64_v64_sat(s64 a, s64 b) { return earshot::v64_vaddh_v64_v64_sat(a, b); }
s64 v64_vsubh_v64_v64_sat(s64 a, s64 b) { return earshot::v64_vsubh_v64_v64_sat(a, b); }
s64 v64_vasrh_v64(s64 v, s32 n) { return earshot::v64_vasrh_v64(v, n); }
s64 v64_vsplath_s32(s32 x) { return earshot::v64_vsplath_s32(x); }
s64 v64_vmpyh_v32_v32_sat(s32 a, s32 b) { return earshot::v64_vmpyh_v32_v32_sat(a, b); }
s64 s64_vrmpyhacc_v64_v64(s64 acc, s64 a, s64 b) {
    return earshot::s64_vrmpyhacc_v64_v64(acc, a, b);
}
s64 s64_vrmpywehacc_v64_v64(s64 acc, s64 a, s64 b) {
    return earshot::s64_vrmpywehacc_v64_v64(acc, a, b);
}
s64 s64_vrmpywohacc_v64_v64(s64 acc, s64 a, s64 b) {
    return earshot::s64_vrmpywohacc_v64_v64(acc, a, b);
}

} // extern "C"
