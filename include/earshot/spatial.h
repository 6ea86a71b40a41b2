/*
 * Positioning of sources: gain ramps, gain over distance, and the direction of a point as a
 * listener sees it.
 *
 * The usual chain, once a block and source: carta_minus_cartb takes the listener's position off the
 * source's, quat_cart_to_spher gives distance and direction as the listener's head stands,
 * rolloff_gain the gain at that distance, a panner ramps to it, and the direction goes to
 * hrtf_filt_front_set. examples/positioning.c does that.
 *
 * All functions are reentrant; a panner record belongs to one thread. Records need no
 * initialisation but a first setup; one of zeros rests at gain 0.
 */
#ifndef EARSHOT_SPATIAL_H
#define EARSHOT_SPATIAL_H

#include <earshot/types.h>

EARSHOT_BEGIN_C

/* --- Gain ramps --------------------------------------------------------------------------------
 *
 * A panner holds a target gain and the way that is left to it. The gain of the moment is not
 * stored: it is target - step x remaining.
 *
 * out and in of the fills may be the same array; for every other overlap the result is that of the
 * loop that goes through the samples one by one, from the first on.
 */

/* 16-bit panner: gain in Q15, advanced once a frame. */
typedef struct a3d_panner {
    s32 step;      /* gain units (Q15) per frame, Q16 */
    s32 remaining; /* frames left in the ramp; 0: at rest at the target */
    u32 user;      /* the caller's, not used */
    s16 target;    /* Q15, 32767 is just under 1.0 */
    s16 unused;    /* never written */
} a3d_panner;

/* 32-bit panner: gain in Q28, advanced once a sample. */
typedef struct a3d_panner32q28 {
    s32 target;    /* Q28, 268435456 = 1.0 */
    s32 step;      /* per sample, Q28 */
    s32 remaining; /* samples left in the ramp; 0: at rest at the target */
    u32 user;      /* the caller's, not used */
} a3d_panner32q28;

/*
 * Starts a ramp from the gain that the panner has now to target, over duration frames, and stores
 * user. A duration below 1 jumps and stores user = 0; a target that is already reached needs no
 * ramp and leaves remaining = 0.
 */
EARSHOT_API void a3d_panner_setup(a3d_panner *panner, s16 target, s32 duration, u32 user);

/* Frames left in the ramp. */
EARSHOT_API s32 a3d_panner_get_status(const a3d_panner *panner);

/* The gain of the moment, Q15: target - round(step x remaining / 2^16), both saturating. */
EARSHOT_API s16 a3d_panner_get_current(a3d_panner panner);

/*
 * Applies the gain to frames x samples_per_frame samples (Q31 or any other format), every sample
 * (in x gain + 0x4000) >> 15, low 32 bits, one gain for all samples of a frame; at a gain of -32768
 * an in of -2^31 wraps. Frames past the ramp have the target gain. Returns the frames left.
 * Negative counts write nothing, with frames below 0 the remaining count grows by them.
 */
EARSHOT_API s32 a3d_buffer32_fill_panner(s32 *out, const s32 *in, a3d_panner *panner, s32 frames,
                                         s32 samples_per_frame);

/*
 * The same for the 32-bit panner. The step is the truncated quotient, so that a ramp ends up to
 * duration - 1 units short of its target, which is then taken at once.
 */
EARSHOT_API void a3d_panner32q28_setup(a3d_panner32q28 *panner, s32 target, s32 duration, u32 user);
EARSHOT_API s32 a3d_panner32q28_get_status(const a3d_panner32q28 *panner);

/* The gain of the moment, Q28: target - step x remaining, the product wrapping, saturated. */
EARSHOT_API s32 a3d_panner32q28_get_current(a3d_panner32q28 panner);

/*
 * Applies the gain to count samples, each s32_mult_s32_s32_shr28(in, gain): only inputs whose
 * product with the gain fits 32 bits come out right, the outputs lie between -8 and 8. Meant for
 * control values in whole units; audio wants the 16-bit panner. Returns the samples left in the
 * ramp; a negative count writes nothing and lets them grow.
 */
EARSHOT_API s32 a3d_buffer32_fill_panner32q28(s32 *out, const s32 *in, a3d_panner32q28 *panner,
                                              s32 count);

/* (a x b + 0x8000) >> 16, low 32 bits. */
EARSHOT_API s32 a3d_local_mult(s32 a, s32 b);

/* The low 32 bits of a x b, signed, + 0x8000000 >> 28: from -8 to 8. */
EARSHOT_API s32 s32_mult_s32_s32_shr28(s32 a, s32 b);

/* --- Gain over distance ------------------------------------------------------------------------*/

#define ROLLOFF_INVERSE 0u /* m / distance, less what is left of it at the maximum */
#define ROLLOFF_LINEAR 1u  /* a straight line from the minimum distance to the maximum */
#define ROLLOFF_NONE 2u    /* the same everywhere inside the maximum */

/*
 * Gain (Q28) of a source at a distance between a minimum and a maximum, all distances Q16. Returns
 * 0, or -1 for minimum > maximum or an unknown model, when nothing is written.
 *
 *   distance below 1.0                    0x10000000 (1.0)
 *   from there to below minimum           0x08000000 (0.5)
 *   beyond 99 % of maximum                0
 *   ROLLOFF_NONE                          0x10000000
 *   ROLLOFF_LINEAR                        0x08000000 at m, falling to about 0 at maximum
 *   ROLLOFF_INVERSE                       0x08000000 x A x (m / distance - m / maximum)
 *
 * m is minimum, at least 1.0. A is 1.0 for m = 1.0, else 10^(-102 (m - 1.0) / 2^10) by exp10_fixed
 * with m in units: a larger minimum lowers the whole curve, by 2 dB a unit. Never negative. The
 * target of a 16-bit panner is gain >> 13, but 32767 for 1.0.
 */
EARSHOT_API s32 rolloff_gain(s32 *gain, s32 distance, s32 minimum, s32 maximum, u32 model);

/* --- Geometry ----------------------------------------------------------------------------------
 *
 * Quaternions are four words (w, x, y, z), Q31, of modulus 1.0; points are three words (x, y, z) in
 * any fixed-point format. Every function returns 0. Negations saturate. The four-term sums of
 * products that the functions form are floor(a b / 2) each, added, and bits 30 to 61 of the sum:
 * with unit quaternions and points within +-2^30 nothing wraps.
 */

/* x, y and z of q are negated; w stays. */
EARSHOT_API u32 quat_conjugate(s32 *q);

/* out = the four-term sum of a[i] b[i], i = 0 to 3, with b in Q31 in the format of a (Q16, say). */
EARSHOT_API u32 s32q16_mac_4x4_s32q16_s32q31(s32 *out, const s32 *a, const s32 *b);

/* Rotates p in place: the vector part of q (0, p) q*. p and q must not overlap. */
EARSHOT_API u32 cart_rotate_quat(const s32 *q, s32 *p);

/*
 * Spherical coordinates of a point whose axes are front, left and up: spher = {radius in the units
 * of the point, azimuth, elevation}, angles in degrees Q16. The azimuth is counter-clockwise from
 * the front, plus offset whole degrees, brought into [-180, 180] by one turn at most; at the origin
 * and above and below it the azimuth is 0 whatever the offset. The radius is within 0.42 % of its
 * value plus 1.5 units; the azimuth within 4e-5 degrees, the elevation within 0.061 degrees for
 * radii from 2^14 on. The exception is a ratio |y| / |x| (or of |z| to the horizontal distance)
 * beyond 32, where the angle stays at atan 32, up to 1.8 degrees off. spher may be cart.
 */
EARSHOT_API u32 cart_to_spher(const s32 *cart, s32 *spher, s32 offset);

/*
 * The direction in which a listener of orientation q sees the point p, as cart_to_spher gives it.
 * Here the vertical axis is the second: p and the axis of q are front, up, and left or right, the
 * third axis being the one that azimuth turns towards. q and p are not modified.
 */
EARSHOT_API u32 quat_cart_to_spher(const s32 *q, const s32 *p, s32 *spher, s32 offset);

/* out = a - b, component by component: the negation saturates, the addition wraps. out may be a or
 * b. */
EARSHOT_API u32 carta_minus_cartb(s32 *out, const s32 *a, const s32 *b);

EARSHOT_END_C

#endif
