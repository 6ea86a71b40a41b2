/*
 * Arithmetic kernel: saturating scalar, complex and packed operations, the overflow flag and memory
 * helpers.
 *
 * Names spell the result type, the operation, the operand types and modifiers:
 *
 *   sat    the result is clamped to its type instead of wrapping
 *   rnd    half of the dropped part's weight is added before the arithmetic right shift
 *   shift  a caller-given shift n, positive to the left, negative to the right
 *   s1     a fixed left shift by 1: the doubling that makes Q31 of Q15 x Q15
 *   imm5   a shift count of 0 to 31
 *
 * Below, sat16 and sat32 clamp to the signed range of that width, a x b is the exact product,
 * << and >> act on the exact value and >> rounds toward minus infinity. Shift counts may be any
 * s32: a count at or past the width of the shifted value gives 0 to the left (so that a saturating
 * shift of a non-zero operand gives the bound of its sign) and the sign fill to the right; a
 * negative count shifts the other way.
 *
 * All operations are pure except for the overflow flag, which setOverflow, clearOverflow,
 * popOverflow and u32_abs_s32_sat write. All other saturation is silent.
 */
#ifndef EARSHOT_KERNEL_H
#define EARSHOT_KERNEL_H

#include <earshot/types.h>

EARSHOT_BEGIN_C

/* --- Overflow flag -----------------------------------------------------------------------------
 *
 * Two process-wide words without a lock: concurrent users of the flag interfere, and saving by
 * clearOverflow or setOverflow and restoring by popOverflow holds one value.
 */

extern EARSHOT_API s32 giOverflow;    /* sticky, 0 or 1 */
extern EARSHOT_API s32 giOldOverflow; /* saved by the last clearOverflow or setOverflow */

/* Saves the flag and sets it to 0 (1); returns the flag before. */
EARSHOT_API s32 clearOverflow(void);
EARSHOT_API s32 setOverflow(void);
/* The flag. */
EARSHOT_API s32 isOverflow(void);
/* Returns the flag, then restores it from giOldOverflow. */
EARSHOT_API s32 popOverflow(void);

/* --- Change helpers ----------------------------------------------------------------------------*/

/* 1 if a and b differ, else 0. */
EARSHOT_API u32 changed(u32 a, u32 b);
/* updated, unless it is 0xFFFFFFFF, which stands for "keep": then old. */
EARSHOT_API u32 change_if_valid(u32 old, u32 updated);
/* Clips *value into [lo, hi] (lo <= hi); returns 1 if it was outside, else 0 and writes nothing. */
EARSHOT_API u32 clip_16(s16 *value, s16 lo, s16 hi);
EARSHOT_API u32 clip_32(s32 *value, s32 lo, s32 hi);

/* --- Primitives --------------------------------------------------------------------------------*/

/* sat(a + b), sat(a - b). */
EARSHOT_API s16 ARM_s16_add_s16_s16_sat(s16 a, s16 b);
EARSHOT_API s32 ARM_s32_add_s32_s32_sat(s32 a, s32 b);
EARSHOT_API s16 ARM_s16_sub_s16_s16_sat(s16 a, s16 b);
EARSHOT_API s32 ARM_s32_sub_s32_s32_sat(s32 a, s32 b);

/* Exact products (the low 32 bits for the mixed and the unsigned pair, which always suffice). */
EARSHOT_API s32 ARM_s32_mult_s16_s16(s16 a, s16 b);
EARSHOT_API s32 ARM_s32_mult_s16_u16(s16 a, u16 b);
EARSHOT_API u32 ARM_u32_mult_u16_u16(u16 a, u16 b);
EARSHOT_API s64 ARM_s64_mult_s32_s16(s32 a, s16 b);
EARSHOT_API s64 ARM_s64_mult_s32_s32(s32 a, s32 b);

/* sat32(2 x a x b): Q15 x Q15 to Q31; only -32768 x -32768 saturates. */
EARSHOT_API s32 ARM_s32_mult_s16_s16_shift_sat(s16 a, s16 b);

/*
 * Q31 x Q15 to Q31, rounded half up. With h = a >> 16 and l = a & 0xFFFF:
 * sat32((sat32(l x b + 0x4000) >> 15) + sat32(2 x h x b)). That is sat32((a x b + 0x4000) >> 15)
 * but for b = -32768 and a just above -2^31, where saturating the halves costs one unit.
 */
EARSHOT_API s32 ARM_s32_mult_s32_s16_rnd_sat(s32 a, s16 b);
EARSHOT_API s32 s32_mult_s32_s16_rnd_sat(s32 a, s16 b);

/* Saturating shifts; shr shifts right for n >= 0, shl left. */
EARSHOT_API s16 ARM_s16_shr_s16_sat(s16 a, s32 n);
EARSHOT_API s16 ARM_s16_shl_s16_sat(s16 a, s32 n);
EARSHOT_API s32 ARM_s32_shr_s32_sat(s32 a, s32 n);
EARSHOT_API s32 ARM_s32_shl_s32_sat(s32 a, s32 n);

/* |a| and -a, where the smallest value gives the largest. */
EARSHOT_API u16 ARM_u16_abs_s16_sat(s16 a);
EARSHOT_API s32 ARM_s32_neg_s32_sat(s32 a);

/* The low and the high 16 bits of a, and the high 16 bits of sat32(a + 0x8000). */
EARSHOT_API s16 ARM_s16_extract_s32_l(s32 a);
EARSHOT_API s16 ARM_s16_extract_s32_h(s32 a);
EARSHOT_API s16 ARM_s16_round_s32_sat(s32 a);

/* Redundant sign bits: left shifts that a takes without changing sign; 0 for 0. */
EARSHOT_API s16 ARM_s16_norm_s32(s32 a);
EARSHOT_API s16 ARM_s16_norm_s16(s16 a);

/* Clamp to the narrower type. */
EARSHOT_API s16 ARM_s16_saturate_s32(s32 a);
EARSHOT_API s32 ARM_s32_saturate_s64(s64 a);

/*
 * num / den in Q15, truncated, for 0 <= num <= den and den > 0 (num = den gives 32767), by 15
 * steps of restoring division. Other operands give a value without meaning.
 */
EARSHOT_API s16 ARM_s16_div_s16_s16_sat(s16 num, s16 den);

/* --- Operations --------------------------------------------------------------------------------*/

/* sat16(a + b), sat16(a - b). */
EARSHOT_API s16 s16_add_s16_s16_sat(s16 a, s16 b);
EARSHOT_API s16 s16_sub_s16_s16_sat(s16 a, s16 b);

/* Q15 product: the high 16 bits of sat32(2 x a x b). */
EARSHOT_API s16 s16_mult_s16_s16_shift_sat(s16 a, s16 b);

/* Bits 16 to 31 of x + 0x8000, without saturation; sat32(x) >> 16. */
EARSHOT_API s16 s16_extract_s64_h_rnd(s64 x);
EARSHOT_API s16 s16_extract_s64_h_sat(s64 x);

/* a in the low half (sign-extended), a in the high half over zeros. */
EARSHOT_API s32 s32_deposit_s16_l(s16 a);
EARSHOT_API s32 s32_deposit_s16_h(s16 a);

/* |a|; -2^31 gives 0x7FFFFFFF and sets giOverflow to 1 (giOldOverflow stays). */
EARSHOT_API u32 u32_abs_s32_sat(s32 a);

/* Exact product. */
EARSHOT_API u64 u64_mult_u32_u32(u32 a, u32 b);

/* acc + a x b, acc + 2 x a x b, and acc + (a x b widened to 64 bits, then shifted by n); wrapping.
 * The last form clamps the wrapped sum to 32 bits and returns it sign-extended. */
EARSHOT_API s64 s64_mac_s32_s32(s64 acc, s32 a, s32 b);
EARSHOT_API s64 s64_mac_s64_s16_s16_s1(s64 acc, s16 a, s16 b);
EARSHOT_API s64 s64_mac_s64_s16_s16_shift(s64 acc, s16 a, s16 b, s32 n);
EARSHOT_API s64 s64_mac_s64_s16_s16_shift_sat(s64 acc, s16 a, s16 b, s32 n);

/* sat32(acc + a x b): no doubling. */
EARSHOT_API s32 s32_mac_s32_s16_s16_sat(s32 acc, s16 a, s16 b);
/* sat32(acc - 2 x a x b), except that for a = b = -32768 it is sat32(acc + 2^31). */
EARSHOT_API s32 s32_msu_s32_s16_s16_sat(s32 acc, s16 a, s16 b);
/* The two above, rounded to the high 16 bits with saturation. */
EARSHOT_API s16 s16_mac_s32_s16_s16_sat_rnd(s32 acc, s16 a, s16 b);
EARSHOT_API s16 s16_msu_s32_s16_s16_sat_rnd(s32 acc, s16 a, s16 b);

/* sat32(acc + (a x b >> 31)) and sat32(acc + ((a x b + 2^30) >> 31)). */
EARSHOT_API s32 s32_mac_s32_s32_s1_sat(s32 acc, s32 a, s32 b);
EARSHOT_API s32 s32_mac_s32_s32_s1_rnd_sat(s32 acc, s32 a, s32 b);

/* With h = x >> 16 and l = x & 0xFFFF: sat32((l x y >> 15) + h x y); the high half is not doubled.
 */
EARSHOT_API s32 s32_mls_s32_s16_sat(s32 x, s16 y);

/* acc + (a >> n) for n < 32, else acc; wrapping. A negative n counts as 32. */
EARSHOT_API s32 s32_accu_asr_s32_imm5(s32 acc, s32 a, s32 n);
/* acc + (a << n) for n < 32, wrapping, else sat32(acc + 2^31 - 1) for a > 0 and sat32(acc - 2^31)
 * for a <= 0. A negative n counts as 32. */
EARSHOT_API s32 s32_accu_asl_s32_imm5(s32 acc, s32 a, s32 n);

/* sat32((a x b + 2^15) >> 16). */
EARSHOT_API s32 s32_mult_s32_s32_rnd_sat(s32 a, s32 b);

/* sat(a << n) for n >= 0; for n < 0 a right shift rounded half up, which gives 0 for n below -31
 * (32-bit operand) and below -15 (16-bit operand). */
EARSHOT_API s32 s32_shl_s32_rnd_sat(s32 a, s32 n);
EARSHOT_API s16 s16_shl_s16_sat_rnd(s16 a, s32 n);
/* The same with n taken as signed 16 bits and no lower limit: far to the right the sign fill plus
 * its own low bit, that is 0. */
EARSHOT_API s32 L_shift_r(s32 a, s32 n);

/*
 * Products shifted right by 32 - n (two 32-bit operands) or 16 - n (a 32- and a 16-bit operand),
 * for n up to 32 or 16: n = 1 gives the Q31 product of two Q31 operands. Larger n have no defined
 * result. The lp forms leave the product of the two low halves out.
 */
EARSHOT_API s64 s64_mult_s32_s32_shift(s32 a, s32 b, s32 n);
EARSHOT_API s64 s64_mult_s32_u32_shift(s32 a, u32 b, s32 n);
EARSHOT_API s64 s64_mult_s32_s16_shift(s32 a, s16 b, s32 n);
EARSHOT_API s64 s64_mult_s32_u16_shift(s32 a, u16 b, s32 n);
EARSHOT_API s64 s64_mult_u32_s16_shift(u32 a, s16 b, s32 n);
EARSHOT_API s64 s64_mult_lp_s32_s32_shift(s32 a, s32 b, s32 n);
EARSHOT_API s64 s64_mult_lp_s32_u32_shift(s32 a, u32 b, s32 n);

/* Products widened to 64 bits, then shifted by n. */
EARSHOT_API s64 s64_mult_s16_s16_shift(s16 a, s16 b, s32 n);
EARSHOT_API s64 s64_mult_s16_u16_shift(s16 a, u16 b, s32 n);
EARSHOT_API s64 s64_mult_u16_u16_shift(u16 a, u16 b, s32 n);

/* Leading zero (cl0) and one (cl1) bits. */
EARSHOT_API u32 cl0(s32 a);
EARSHOT_API s32 s32_cl0_s32(s32 a);
EARSHOT_API s32 s32_cl1_s32(s32 a);
EARSHOT_API s32 s32_cl0_s64(s64 x);
EARSHOT_API s32 s32_cl1_s64(s64 x);

/*
 * The shift (positive: left) that brings x into the normalised 32-bit range, where bits 31 and 30
 * differ: redundant sign bits of the 64-bit value minus 32; 0 for 0.
 */
EARSHOT_API s16 s16_norm_s64(s64 x);

/* --- Complex and packed operands ---------------------------------------------------------------
 *
 * c32 (an s32): two signed 16-bit parts, real in the low half, imaginary in the high half.
 * c64 (an s64): two signed 32-bit parts, real in the low word, imaginary in the high word.
 * v64 (an s64) and v32 (an s32): four and two signed 16-bit lanes, lane 0 lowest.
 *
 * Below, ar and ai are the parts of a, likewise for b, x and w; m(a, b) is
 * ARM_s32_mult_s32_s16_rnd_sat; shl shifts left and saturates; round16 takes the high half of
 * sat32(v + 0x8000). Averages round exact halves to the even neighbour: (s + bit 1 of s) >> 1.
 */

/* (re, im) packed; the same under two names. */
EARSHOT_API s32 c32_complex_s16_s16(s16 re, s16 im);
EARSHOT_API s32 s32_complex_s16_s16(s16 re, s16 im);

/* sat16(a + b) and sat16(a - b), part by part. */
EARSHOT_API s32 c32_add_c32_c32_sat(s32 a, s32 b);
EARSHOT_API s32 c32_sub_c32_c32_sat(s32 a, s32 b);

/* Averages (a + b) / 2 and sat16((a - b) / 2), part by part. */
EARSHOT_API s32 c32_avrg_c32_c32_rnd(s32 a, s32 b);
EARSHOT_API s32 c32_avrg_c32_c32neg_rnd(s32 a, s32 b);

/* (ar, sat16(-ai)). */
EARSHOT_API s32 s32_complex_conjugate_sat_s32(s32 a);

/* Q15 product: round16(shl(sat32(ar br - ai bi), 1)), round16(shl(sat32(ar bi + ai br), 1)); conj
 * takes the conjugate of b (saturating) first. */
EARSHOT_API s32 c32_mult_c32_c32(s32 a, s32 b);
EARSHOT_API s32 c32_mult_c32_c32conj(s32 a, s32 b);
/* The same product with one saturation: high halves of sat32(2 (ar br - ai bi) + 0x8000), ... */
EARSHOT_API s32 s32_complex_mult_rnd_sat_s32_s32(s32 a, s32 b);

/* round16(shl(sat32(2 part s), n)) and round16(shl(m(w, part), n)) for each part of a. */
EARSHOT_API s32 c32_mult_c32_s16_shift_sat(s32 a, s16 s, s32 n);
EARSHOT_API s32 c32_mult_c32_s32_shift_sat(s32 a, s32 w, s32 n);

/* Q15 x Q15 to Q31: shl(sat32(ar br - ai bi), 1), shl(sat32(ar bi + ai br), 1); and each part of a
 * times a real factor: sat32(2 part s). */
EARSHOT_API s64 c64_mult_c32_c32(s32 a, s32 b);
EARSHOT_API s64 c64_mult_c32_s16_sat(s32 a, s16 s);

/* shl(m(part, s), n) for each part of x. */
EARSHOT_API s64 c64_mult_c64_s16_shift_sat(s64 x, s16 s, s32 n);

/*
 * Q31 x Q15 to Q31. The first: sat32(m(xr, wr) - m(xi, wi)), sat32(m(xr, wi) + m(xi, wr)). The
 * others add m(sat32(-xi), wi) instead, _q6 saturating, the last wrapping; for xr = -2^31 and
 * wi = -32768 their imaginary part is sat32(m(xi, wr) + 2^31).
 */
EARSHOT_API s64 c64_mult_c64_c32_rnd_sat(s64 x, s32 w);
EARSHOT_API s64 c64_mult_c64_c32_rnd_sat_q6(s64 x, s32 w);
EARSHOT_API s64 s64_complex_mult_rnd_sat_s64_s32(s64 x, s32 w);

/* The 64-bit products (wrapping) divided by 2^(32 - n), rounded half up, saturated to 32 bits. */
EARSHOT_API s64 c64_mult_c64_c64_shift(s64 a, s64 b, s32 n);

/* Averages (a + b) / 2 and sat32((a - b) / 2), part by part, formed in 64 bits. */
EARSHOT_API s64 s64_complex_average_s64_s64(s64 a, s64 b);
EARSHOT_API s64 s64_complex_neg_average_s64_s64_sat(s64 a, s64 b);

/* The low n bits of x in reverse order; 0 for n < 1, and n above 32 counts as 32. */
EARSHOT_API s32 s32_bitrev_s32(s32 x, s32 n);

/* Lane by lane: sat16(a + b), sat16(a - b), and a shift to the right by n (n < 0: to the left,
 * keeping the low 16 bits). */
EARSHOT_API s64 v64_vaddh_v64_v64_sat(s64 a, s64 b);
EARSHOT_API s64 v64_vsubh_v64_v64_sat(s64 a, s64 b);
EARSHOT_API s64 v64_vasrh_v64(s64 v, s32 n);
/* The low 16 bits of x in all lanes. */
EARSHOT_API s64 v64_vsplath_s32(s32 x);
/* The exact products of lanes 0 (low word) and of lanes 1 (high word). */
EARSHOT_API s64 v64_vmpyh_v32_v32_sat(s32 a, s32 b);
/* acc + the sum of the four lane products, wrapping. */
EARSHOT_API s64 s64_vrmpyhacc_v64_v64(s64 acc, s64 a, s64 b);
/* acc + word 0 of a x lane 0 of b + word 1 of a x lane 2 of b (o: lanes 1 and 3), each product cut
 * to its low 32 bits; wrapping. */
EARSHOT_API s64 s64_vrmpywehacc_v64_v64(s64 acc, s64 a, s64 b);
EARSHOT_API s64 s64_vrmpywohacc_v64_v64(s64 acc, s64 a, s64 b);

/* --- Memory ------------------------------------------------------------------------------------*/

/*
 * Bounded copies of min(dst_size, src_size) bytes; the count is returned. memsmove is safe for
 * overlapping blocks, memscpy only where the whole source fits.
 */
EARSHOT_API u32 memscpy(void *dst, u32 dst_size, const void *src, u32 src_size);
EARSHOT_API u32 memsmove(void *dst, u32 dst_size, const void *src, u32 src_size);

/*
 * smm hands out pieces of one caller-owned region by moving a cursor, the address of the next free
 * byte. It does not know the end of the region: size it with the _size functions. There is no
 * release. Sizes round up to multiples of 8; sizes and count x size are u32 and wrap. A null state
 * is ignored and gives a null pointer. One thread at a time may use a cursor.
 */
EARSHOT_API void smm_init(uintptr_t *state, void *base);

/* Bytes of the region that an allocation takes. The 4kaligned form is twice count x size rounded
 * up to 4096, which covers whatever aligning the cursor skips. */
EARSHOT_API u32 smm_malloc_size(u32 size);
EARSHOT_API u32 smm_calloc_size(u32 count, u32 size);
EARSHOT_API u32 smm_calloc_size_4kaligned(u32 count, u32 size);

/* The cursor before it is moved; 4kaligned: rounded up to a multiple of 4096 first. calloc clears
 * count x size bytes, unless the result is null. */
EARSHOT_API void *smm_malloc(uintptr_t *state, u32 size);
EARSHOT_API void *smm_malloc_4kaligned(uintptr_t *state, u32 size);
EARSHOT_API void *smm_calloc(uintptr_t *state, u32 count, u32 size);
EARSHOT_API void *smm_calloc_4kaligned(uintptr_t *state, u32 count, u32 size);

EARSHOT_END_C

#endif
