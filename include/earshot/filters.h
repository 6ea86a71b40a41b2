/*
 * Recursive filters over 32- and 16-bit samples, with all state in the caller's memory.
 *
 * Every filter works in place (out = in); other overlaps of in and out are not allowed. A count
 * below 1 does nothing. State carries over from block to block, so that the block length does not
 * matter; zero it before the first. One thread per state at a time. examples/filters.c uses all
 * three kinds.
 */
#ifndef EARSHOT_FILTERS_H
#define EARSHOT_FILTERS_H

#include <earshot/types.h>

EARSHOT_BEGIN_C

/* --- All-pass ----------------------------------------------------------------------------------*/

/*
 * Second-order all-pass section in direct form I:
 *
 *     H(z) = (c0 + c1 / z + 1 / z^2) / (1 + c1 / z + c0 / z^2)
 *
 * coefs = {c0, c1} with shift fraction bits (from a shift below 0 they are multiples of 2^-shift);
 * stable for |c0| < 1 and |c1| < 1 + c0. state = {x(n-1), x(n-2), y(n-1), y(n-2)}. The products are
 * summed in 64 bits, where they wrap; the sum is rounded half up once a sample and saturated. In a
 * stable section nothing wraps for shifts up to 29.
 */
EARSHOT_API void iirDF1_32_ap(const s32 *in, s32 *out, s32 n, const s32 *coefs, s32 *state,
                              s32 shift);

/* --- Biquads -----------------------------------------------------------------------------------
 *
 * A cascade of second-order sections in transposed direct form II, each
 *
 *     H(z) = (b0 + b1 / z + b2 / z^2) / (1 + a1 / z + a2 / z^2)
 *
 *     y = round((b0 x + s1) / 2^shift), saturated
 *     s1 = b1 x - a1 y + s2
 *     s2 = b2 x - a2 y
 *
 * coefs holds five words a section, b0 b1 b2 a1 a2, with shift fraction bits (any shift; below 0
 * they are multiples of 2^-shift). state holds two words a section, s1 and s2, in sample units with
 * shift more fraction bits. Sums are 64 bits wide and wrap; in a section whose five coefficients'
 * magnitudes add up to less than 2^32 none can, which at a shift of 29 is a sum below 8.0, enough
 * for any stable section with moderate gain. Fewer than one section copies.
 */

/* 32-bit samples. */
EARSHOT_API void iirTDF2_32(const s32 *in, s32 *out, s32 n, const s32 *coefs, s64 *state,
                            s32 sections, s32 shift);

/* 16-bit samples; y is rounded and saturated to 16 bits behind every section. */
EARSHOT_API void iirTDF2_16(const s16 *in, s16 *out, s32 n, const s32 *coefs, s64 *state,
                            s32 sections, s32 shift);

/* --- DC blocker --------------------------------------------------------------------------------
 *
 * First-order high-pass stages y(n) = x(n) - x(n-1) + a y(n-1) with 14 guard bits, every step
 * saturating: a difference beyond +-2^17 leaves those bits and is clipped, so samples are 18 bits
 * wide at most. The way back to the sample scale adds a quarter of a unit, not a half.
 */

/* The state of a blocker, as dc_block_init hands it out. */
typedef struct dc_block_handle {
    s32 *xprev; /* the stages' previous inputs */
    s32 *yprev; /* their previous outputs, 14 more fraction bits */
} dc_block_handle;

/*
 * The pole a (Q15) for a sample rate in Hz, into coef; the two storage addresses, into handle;
 * zeros, into two words of each storage: state for two stages. Returns 0.
 *
 *     up to       8000  16000  22050  32000  48000  64000  above
 *     a          29490  31456  32440  32570  32638  32670  32702
 */
EARSHOT_API u32 dc_block_init(u16 *coef, dc_block_handle *handle, s32 sample_rate, s32 *xprev,
                              s32 *yprev);

/*
 * Filters n samples through stages stages, each with a word in xprev and yprev; with fewer than one
 * stage it copies, for every overlap as a loop from the first sample on does. Returns n.
 */
EARSHOT_API s32 dc_block(const s32 *in, s32 *out, s16 coef, s32 *xprev, s32 *yprev, s32 stages,
                         s32 n);

EARSHOT_END_C

#endif
