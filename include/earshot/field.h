/*
 * Ambisonic fields of order 1 to 4: the gains that place a source in one, and the rotation that a
 * listener's head asks for.
 *
 * A field of order N has (N + 1)^2 channels, ordered by ACN and normalised by SN3D: degree n has
 * the 2n + 1 channels n^2 to n^2 + 2n, and channel n^2 + n + m has what goes round |m| times with
 * the azimuth, as a cosine for m >= 0 and as a sine below. Degree 0 is W, degree 1 is Y, Z, X. The
 * x axis points to the front, y to the left, z up; azimuth grows counter-clockwise, elevation
 * upwards.
 *
 * Rotation. A head that has turned by the quaternion q looks along q x q*, and what comes from the
 * direction v comes to it from q* v q. A rotation turns a field by that: a wave from where the head
 * looks ends at azimuth 0, elevation 0. Degrees do not mix, so there is a matrix for each of them,
 * of rotated harmonics, made by recursion from that of degree 1, which is the matrix of the turn
 * itself (J. Ivanic, K. Ruedenberg: Rotation matrices for real spherical harmonics, J. Phys. Chem.
 * 100, 1996, with the correction of 102, 1998). The recursion has 56 fraction bits; entries are
 * rounded to 30, and none is further than 0.5001 units of 2^-30 from the rotation by the quaternion
 * as it is given. A head that has not turned leaves a field as it is, to the bit; one that has
 * turned by a quarter about the vertical axis moves channels of degree 1 without changing them.
 *
 * A head that turns has a rotation for the end of every block, and the field goes from one to the
 * next by straight lines: see earshot_field_rotate. Half-way between rotations that are a turn by v
 * about the vertical axis apart, channels of index m are low by cos(m v / 2): with blocks of 96
 * samples, 500 a second, by 0.001 dB for m = 1 and 0.02 dB for m = 4 at 1000 degrees a second.
 *
 * A program, with all checks left out:
 *
 *     earshot_field_rotation_of(order, quaternion of the beginning, &from)
 *     for every block of 96 frames
 *         earshot_field_rotation_of(order, quaternion of its last frame, &to)
 *         earshot_field_rotate(&from, &to, 96, 0, 96, channels, &clipped)
 *         from = to
 *
 * Nothing has state or an instance, and any number of threads may call at a time.
 *
 * Status: 0 done; 2 a value out of its range; 3 missing pointer. What is refused writes nothing.
 */
#ifndef EARSHOT_FIELD_H
#define EARSHOT_FIELD_H

#include <earshot/types.h>

EARSHOT_BEGIN_C

#define EARSHOT_FIELD_ORDER 4     /* the highest */
#define EARSHOT_FIELD_CHANNELS 25 /* of the highest order */
#define EARSHOT_FIELD_ENTRIES 164 /* of matrices: 3 x 3 + 5 x 5 + 7 x 7 + 9 x 9 */

/*
 * The gains of the channels for a direction, Q30, 1.0 being 2^30; (order + 1)^2 words of `gains`
 * are written. Angles are fractions of a turn in 2^-32, so that they wrap as angles do; an
 * elevation beyond a quarter turn leads over the pole. Within 5e-7 of the harmonics; multiples of
 * a quarter turn are exact at degree 1, and opposite directions have opposite gains in odd degrees
 * and the same ones in even degrees. Order not 1 to 4: 2; gains null: 3.
 */
EARSHOT_API u32 earshot_field_gains(u32 order, u32 azimuth, u32 elevation, s32 *gains);

/* What the gains of all directions at one elevation have in common: the harmonics' factors that
 * depend on the elevation, by channel, Q30. */
typedef struct earshot_field_circle {
    u32 order;
    s32 factors[EARSHOT_FIELD_CHANNELS];
} earshot_field_circle;

/* The circle at an elevation, in 2^-32 turns, and the gains at an azimuth on it: the same as by
 * earshot_field_gains, at less than half the cost, for a source that goes round. Order not 1 to 4:
 * 2; a null pointer: 3. */
EARSHOT_API u32 earshot_field_circle_at(u32 order, u32 elevation, earshot_field_circle *circle);
EARSHOT_API u32 earshot_field_circle_gains(const earshot_field_circle *circle, u32 azimuth,
                                           s32 *gains);

/* The matrices of degree 1, then 2 and on, to the order; what is left is 0. A matrix has a row for
 * every channel that comes out, an entry in it for every channel that goes in, Q30. A program may
 * make its own: entries are -2^30 to 2^30, and the magnitudes of a row add up to 3.0 at most. */
typedef struct earshot_field_rotation {
    u32 order;
    s32 entries[EARSHOT_FIELD_ENTRIES];
} earshot_field_rotation;

/* The rotation for a head that has turned by a quaternion w, x, y, z, whose length does not matter.
 * Order not 1 to 4, or all of it 0: 2; a null pointer: 3. */
EARSHOT_API u32 earshot_field_rotation_of(u32 order, const s32 *quaternion,
                                          earshot_field_rotation *rotation);

/*
 * Rotates `frames` frames in place. channels: one of Q31 for each of the field's channels, apart
 * from each other; channel 0 is neither read nor written.
 *
 * They are the frames `begin` and on of a block of `length`, over which the rotation goes from
 * `from` to `to`: at frame i of the block, every entry is to + (from - to) (length - 1 - i) /
 * length. The fraction is cut to 31 bits and the product rounded to Q30; the last frame has `to`.
 * So a block may be cut into calls anywhere, and what comes out does not change. Where both
 * rotations are the same, it stays, and length has no meaning but for the check.
 *
 * A sample that comes out is the whole sum of products, rounded once, half up. One beyond 32 bits
 * is clipped, and their number is added to *clipped, which may be null: what comes out can be 9.5 dB
 * above the loudest channel of a degree.
 *
 * Orders that differ or are not 1 to 4, length 0, or frames beyond it: 2; a null pointer: 3.
 */
EARSHOT_API u32 earshot_field_rotate(const earshot_field_rotation *from,
                                     const earshot_field_rotation *to, u32 length, u32 begin,
                                     u32 frames, s32 *const *channels, u64 *clipped);

EARSHOT_END_C

#endif
