// Quaternions and coordinates.
#include "kernel/memory.hpp"
#include "kernel/scalar.hpp"
#include "math/power.hpp"
#include "math/trigonometry.hpp"

#include <earshot/spatial.h>

namespace earshot {
namespace {

constexpr s32 negated(s32 v) { return ARM_s32_neg_s32_sat(v); }

// The floored halves of the products cannot overflow in 64 bits; the sum of four does at most once,
// with four products of 2^62.
s32 four_term_sum(const s32 *a, const s32 *b) {
    s64 sum = 0;
    for (int i = 0; i < 4; ++i) sum = wrap_add(sum, s64_mult_s32_s32_shift(a[i], b[i], 31));
    return low_s32(sum >> 30);
}

void conjugate(s32 *q) {
    for (int i = 1; i < 4; ++i) q[i] = negated(q[i]);
}

void rotate(const s32 *q, s32 *p) {
    const s32 w = q[0], x = q[1], y = q[2], z = q[3];
    const s32 nx = negated(x), ny = negated(y), nz = negated(z);
    const s32 px = p[0], py = p[1], pz = p[2];
    // u = (0, p) q*
    const s32 conjugated[4] = {w, nx, ny, nz};
    const s32 left[4][4] = {{0, negated(px), negated(py), negated(pz)},
                            {px, 0, negated(pz), py},
                            {py, pz, 0, negated(px)},
                            {pz, negated(py), px, 0}};
    s32 u[4];
    for (int i = 0; i < 4; ++i) u[i] = four_term_sum(left[i], conjugated);
    // The vector part of q u
    const s32 right[3][4] = {{x, w, nz, y}, {y, z, w, nx}, {z, ny, x, w}};
    for (int i = 0; i < 3; ++i) p[i] = four_term_sum(right[i], u);
}

// Of a number of 64 bits, read without a sign.
s32 square_root(u64 square) {
    const s32 zeros = s32_cl0_s64(static_cast<s64>(square));
    const s32 shift = zeros < 33 ? 33 - zeros : 1;
    return sqrt_compute(static_cast<s32>(square >> shift), low_s16(shift - 1), 15);
}

constexpr u64 squared(s32 v) { return u64{magnitude(v)} * magnitude(v); }

// Radians in Q31 to degrees in Q16.
s32 degrees(s64 angle) {
    constexpr s64 degrees_per_radian_q16 = 3754936;
    return low_s32(low_s32(angle >> 2) * degrees_per_radian_q16 >> 29);
}

s32 wrapped(s32 azimuth) {
    constexpr s32 half_turn = 180 * 65536;
    if (azimuth > half_turn) azimuth = ARM_s32_add_s32_s32_sat(azimuth, -2 * half_turn);
    if (azimuth < -half_turn) azimuth = ARM_s32_add_s32_s32_sat(azimuth, 2 * half_turn);
    return azimuth;
}

void to_spherical(const s32 *cart, s32 *spher, s32 offset) {
    const s32 x = cart[0], y = cart[1], z = cart[2];
    const s32 horizontal = square_root(squared(x) + squared(y));
    s32 azimuth = degrees(high_precision_atan2(y, x));
    if (x != 0 || y != 0) azimuth = wrap_add(azimuth, ARM_s32_shl_s32_sat(offset, 16));
    spher[0] = square_root(squared(horizontal) + squared(z));
    spher[1] = wrapped(azimuth);
    spher[2] = degrees(high_precision_atan2(z, horizontal));
}

void direction(const s32 *q, const s32 *p, s32 *spher, s32 offset) {
    s32 inverse[4], point[3];
    memscpy(inverse, sizeof inverse, q, sizeof inverse);
    memscpy(point, sizeof point, p, sizeof point);
    conjugate(inverse);
    rotate(inverse, point);
    // From the vertical axis second to the vertical axis third.
    const s32 upright[3] = {point[0], point[2], point[1]};
    to_spherical(upright, spher, offset);
}

} // namespace
} // namespace earshot

using namespace earshot;

extern "C" {

u32 quat_conjugate(s32 *q) { return conjugate(q), EARSHOT_OK; }
u32 s32q16_mac_4x4_s32q16_s32q31(s32 *out, const s32 *a, const s32 *b) {
    return *out = four_term_sum(a, b), EARSHOT_OK;
}
u32 cart_rotate_quat(const s32 *q, s32 *p) { return rotate(q, p), EARSHOT_OK; }
u32 cart_to_spher(const s32 *cart, s32 *spher, s32 offset) {
    return to_spherical(cart, spher, offset), EARSHOT_OK;
}
u32 quat_cart_to_spher(const s32 *q, const s32 *p, s32 *spher, s32 offset) {
    return direction(q, p, spher, offset), EARSHOT_OK;
}
u32 carta_minus_cartb(s32 *out, const s32 *a, const s32 *b) {
    for (int i = 0; i < 3; ++i) out[i] = wrap_add(a[i], negated(b[i]));
    return EARSHOT_OK;
}

} // extern "C"
