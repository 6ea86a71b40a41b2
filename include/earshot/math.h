/*
 * Fixed-point mathematics: trigonometry by table, division and reciprocals, roots, logarithms and
 * exponentials.
 *
 * All functions are pure and reentrant (but for the overflow flag where a line says so), run in
 * bounded time and accept every operand.
 */
#ifndef EARSHOT_MATH_H
#define EARSHOT_MATH_H

#include <earshot/types.h>

EARSHOT_BEGIN_C

/* --- Trigonometry ------------------------------------------------------------------------------
 *
 * The high_precision functions work on radians as s64 in Q31 (pi = 6746518852) and interpolate
 * linearly between the neighbours of 4097-entry tables. The dsplib functions are smaller and work
 * on binary fractions of a turn.
 */

#define EARSHOT_PI_Q31 INT64_C(6746518852)
#define EARSHOT_HALF_PI_Q31 INT64_C(3373259426)

/* round(sin(k pi / 8192) 2^31), k = 0 to 4096, saturated to 0x7FFFFFFF. */
extern EARSHOT_API const s32 SIN_TABLE[4097];
/* The weight k / 2048 in Q31, k = 0 to 2048, saturated to 0x7FFFFFFF. */
extern EARSHOT_API const s32 INTERP_TABLE[2049];
/* round(acos(k / 4096) 2^31), k = 0 to 4096. */
extern EARSHOT_API const u32 ACOS_TABLE[4097];
/* round(acos(0.9766 + k 0.0234 / 4096) 2^31), k = 0 to 4096. */
extern EARSHOT_API const u32 ACOS_TABLE_HIGH_RES[4097];
/* round(atan(k / 1024) 2^31), k = 0 to 4096. */
extern EARSHOT_API const u32 ATAN_TABLE[4097];
/* round(atan(k / 128) 2^31), k = 0 to 4096. */
extern EARSHOT_API const u32 ATAN_TABLE_LOW_RES[4097];
/* Pairs (cos, sin) of 2 pi k / 512 in Q15, k = 0 to 256, saturated to 32767. */
extern EARSHOT_API const s16 COSSINTAB[257][2];

/*
 * Sine of an angle (radians, Q31, any value), Q31 in [-0x7FFFFFFF, 0x7FFFFFFF]; error within one
 * turn below 1.1e-7. The cosine is the sine of angle + EARSHOT_HALF_PI_Q31.
 */
EARSHOT_API s32 high_precision_sin(s64 angle);

/*
 * Arc cosine of x (Q31), radians in Q31 in [0, pi]. Error below 8e-7 for |x| < 0.9766; beyond,
 * where the curve becomes vertical, it grows to 8.4e-4 in the last 4096th of that span next to |x|
 * = 1. x = -2^31 counts as -0x7FFFFFFF and raises the overflow flag.
 */
EARSHOT_API s64 high_precision_acos(s32 x);

/*
 * Angle of the point (x, y), both in the same scale, radians in Q31 in [-pi, pi]; (0, 0) gives 0.
 * Error below 4e-7, but ratios |y| / |x| of 32 and more with x != 0 give atan 32. An operand of
 * -2^31 counts as -0x7FFFFFFF and raises the overflow flag, except that x = 0 needs no magnitude.
 */
EARSHOT_API s64 high_precision_atan2(s32 y, s32 x);

/*
 * Linear interpolation from a (f = 0) to b (f = 2048 and above), rounded half up. For f in between
 * the low 32 bits of (INTERP_TABLE[f] b + INTERP_TABLE[2048 - f] a + 2^30) >> 31.
 */
EARSHOT_API u32 high_precision_calculate_interpolation_2048(u32 f, u32 a, u32 b);

/*
 * Sine and cosine, Q31, of an angle in 2^-24 turns; bits above bit 23 of its magnitude are ignored.
 * Error below 4e-5.
 */
EARSHOT_API s32 dsplib_sin(s32 angle);
EARSHOT_API s32 dsplib_cos(s32 angle);

/*
 * Arc tangent of the Q15 value in the low half of x, Q30 in units of pi (0x10000000 = pi / 4); an
 * odd polynomial of degree 5, error below 0.0003 pi.
 */
EARSHOT_API s32 dsplib_atan(s32 x);

/* --- Division ----------------------------------------------------------------------------------*/

/*
 * Knots of 1 / m for m = 1 + k / 8, Q15, k = 0 to 8, used by dsplib_approx_invert and
 * dsplib_approx_divide. The table is writable data: it may be tuned before the first use.
 */
extern EARSHOT_API s16 invTable[9];

/*
 * num / den in Qq, q from 0 to 31, truncated toward zero and saturated to +-0x7FFFFFFF. Equal
 * magnitudes give exactly +-2^q (0x7FFFFFFF for q = 31). num = 0 gives 0; a zero den gives -1 for
 * num > 0 and +1 for num < 0 (sic: the sign is inverted).
 */
EARSHOT_API s32 divide_qx(s32 num, s32 den, u32 q);

/* The same without the case of equal magnitudes; a zero den gives -1 for either sign of num. */
EARSHOT_API s32 divide_int32_qx(s32 num, s32 den, u32 q);

/*
 * Integer quotient, truncated toward zero, saturated to +-0x7FFFFFFF. A zero den gives 1 for
 * num = 0, +-1 by its sign for |num| >= 2^30, else 0.
 */
EARSHOT_API s32 divide_int32(s32 num, s32 den);

/*
 * num / den in Q(29 + q), saturated to 32 bits and sign-extended; 0 for a zero den. Newton-Raphson
 * on the reciprocal of the normalised denominator, five steps: the mantissa of the quotient, 2^28
 * to 2^30, is within 3 units of its last place.
 */
EARSHOT_API s64 divide_dp(s64 num, s64 den, s16 q);

/*
 * num / den in Q(31 - q), truncated toward minus infinity, saturated to 32 bits; the quotient
 * before it is truncated is within 2^-27 of its value. A zero den gives 0x7FFFFFFF for num >= 0 and
 * -0x80000000 for num < 0.
 */
EARSHOT_API s32 audio_divide_sp(s32 num, s32 den, s32 q);

/*
 * Quotient as mantissa and exponent: num / den is about mantissa 2^(*exp - 15), where *exp is a
 * signed 16-bit number stored in a u16; relative error below 2.5e-4. num = 0 gives 0 and *exp = 0;
 * a zero den gives +-65535 by the sign of num and *exp = 15.
 */
EARSHOT_API s32 s32_div_s32_s32_normalized(s32 num, s32 den, u16 *exp);

/*
 * num / den in Q(31 - q), saturated, with the mantissa of s32_div_s32_s32_normalized. num = 0 gives
 * 0; a zero den gives (32768 >> q) << 16 for q > 0, else 32767 << 16, for either sign of num.
 */
EARSHOT_API s32 s32_div_s32_s32_sat(s32 num, s32 den, s32 q);

/*
 * Reciprocal of x > 0 by linear interpolation in invTable as a pair: low word the mantissa m, high
 * word the exponent e; 1 / x is about m 2^(e - 30), relative error below 0.25 %. x < 1 gives -1 in
 * both words.
 */
EARSHOT_API s64 dsplib_approx_invert(s32 x);

/*
 * num / den for den > 0 as a pair: low word the mantissa m, high word the exponent e; the quotient
 * is about m 2^e, relative error below 0.25 %. den < 1 gives -1 in both words.
 */
EARSHOT_API s64 dsplib_approx_divide(s32 num, s32 den);

/*
 * Reciprocal of x > 0 by Newton-Raphson as a pair: low word the mantissa m, the reciprocal of the
 * normalised x in Q14 (16384 to 32768), high word n, the left shift that normalises x. 1 / x is
 * about m 2^(n - 45), relative error below 1.3e-4. x <= 0 gives 0 in both words.
 */
EARSHOT_API s64 dsplib_newtons_invert(s32 x);

/* --- Square root, logarithm and exponential -----------------------------------------------------
 *
 * A number may come as a mantissa in Q31 with its exponent beside it: (x, a) stands for
 * x / 2^31 x 2^a. Where a result has an exponent b the caller chooses it: the result r stands for
 * r / 2^31 x 2^b, which is r in Q(31 - b). Results are rounded, and saturate where they do not fit.
 * A pair is an s64, low word first. Nothing here touches the overflow flag.
 *
 * Errors are the largest that were measured; a unit is 1 in the result (of a pair: in the
 * mantissa), and 0.5 of it is the rounding. A result that b leaves with few bits has few.
 */

/*
 * Square root of (x, a) with exponent b, which is sqrt(x) 2^((a + 31) / 2 - b); 0 for x <= 0. A
 * polynomial of third degree: relative error from -0.22 % to +0.03 %, and half a unit.
 * ARM_sqrt_compute is the same function.
 */
EARSHOT_API s32 sqrt_compute(s32 x, s16 a, s16 b);
EARSHOT_API s32 ARM_sqrt_compute(s32 x, s16 a, s16 b);

/* n-th root of (x, a) with exponent b; 0 for x <= 0 or n < 1. Error 0.7 units. */
EARSHOT_API s32 sqrt_compute_Nth(s32 x, s16 a, s16 b, s32 n);

/*
 * Reciprocal square root of (x, a) with exponent b, by linear interpolation in inv_sqrt_table_65
 * and a step of Newton's method; 0x7FFFFFFF for x <= 0. Error 2.2 units, and relative 8e-10 before
 * it is rounded.
 */
EARSHOT_API s32 inv_sqrt_65(s32 x, s16 a, s16 b);

/* 1 / sqrt(0.5 + k / 128) in Q30, rounded, k = 0 to 64. */
extern EARSHOT_API const s32 inv_sqrt_table_65[65];

/*
 * Natural logarithm of (x, a) with exponent b; -0x80000000 for x <= 0. Error 0.51 units for b >= 0;
 * for b < 0, which only fits next to 1.0, 0.8 units. ARM_log_compute is the same function.
 */
EARSHOT_API s32 log_compute(s32 x, s16 a, s16 b);
EARSHOT_API s32 ARM_log_compute(s32 x, s16 a, s16 b);

/* e to the power (x, a), with exponent b. Error 0.7 units. */
EARSHOT_API s32 exp_compute(s32 x, s16 a, s16 b);

/*
 * e to the power x / 2^q as a pair: low word the mantissa m, 2^30 to 2^31 - 1, high word its Q
 * format f; the result stands for m / 2^f. q is any number. Error 1 unit. Powers of more than
 * 2^(2^31) give (0x7FFFFFFF, 31 - 2^31) and those below 2^(31 - 2^31) have f = 0x7FFFFFFF.
 */
EARSHOT_API s64 exp_compute_variable_q(s32 x, s32 q);

/*
 * Binary logarithm of the whole number x in Q26, by linear interpolation in log2table; -0x80000000
 * for x <= 0. Error 185 units (2.8e-6), always too low but for the rounding. Of x in Qq it is
 * q x 2^26 less.
 */
EARSHOT_API s32 log2_lut(s32 x);

/* log2(1 + k / 256) in Q31, rounded, saturated, k = 0 to 256. */
extern EARSHOT_API const s32 log2table[257];

/*
 * 10^(x / 2^26) in Q15, saturated: x is a decimal exponent, Q26. A parabola: relative error from
 * -0.22 % to +0.38 %, and up to a unit less, as the last bits are cut off (x = 0 gives 32890, not
 * 32768).
 */
EARSHOT_API s32 exp10_fixed(s32 x);

/* Decimal logarithm of x (Q15) in Q26, the inverse of exp10_fixed; -0x80000000 for x <= 0. Error
 * 0.51 units. */
EARSHOT_API s32 log10_fixed(s32 x);

/*
 * 10^(x / 2^26) as a pair: low word the mantissa m, 2^30 to 2^31 - 1, high word the exponent e; the
 * result is (m, e), m / 2^31 x 2^e. Error 0.7 units.
 */
EARSHOT_API s64 dsplib_exp10(s32 x);

/* Decimal logarithm of (x, a) in Q26; -0x80000000 for x <= 0. Error 0.51 units. */
EARSHOT_API s32 dsplib_log10(s32 x, s32 a);

/* Two tables of small numbers: 2 floor((k + 1) / 2) - 1 and 16 - floor((k + 1) / 2), k = 0 to 30.
 */
extern EARSHOT_API const s16 exp_l[31];
extern EARSHOT_API const s16 exp_r[31];

EARSHOT_END_C

#endif
