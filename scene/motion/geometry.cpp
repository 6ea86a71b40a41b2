#include "scene/motion/geometry.hpp"

#include <algorithm>

#include <earshot/math.h>

namespace earshot_scene {

namespace {

// Half an angle (degrees, Q16) in radians, Q31, reduced to less than a turn either way.
s64 half_in_radians(s64 angle) {
    const s64 product = angle % (2 * whole_turn) * EARSHOT_PI_Q31;
    const s64 rounding = product < 0 ? -whole_turn / 2 : whole_turn / 2;
    return (product + rounding) / whole_turn;
}

struct cosine_and_sine {
    s32 c;
    s32 s;
};

cosine_and_sine of_radians(s64 angle) {
    return {high_precision_sin(angle + EARSHOT_HALF_PI_Q31), high_precision_sin(angle)};
}

s32 saturated(s64 x) { return static_cast<s32>(std::clamp<s64>(x, INT32_MIN, INT32_MAX)); }

// A sum of four products of Q31 numbers, Q31; products are quartered so that the sum fits.
struct product_sum {
    s64 sum = 0; // Q60

    product_sum &plus(s32 a, s32 b) {
        sum += s64{a} * b >> 2;
        return *this;
    }
    product_sum &minus(s32 a, s32 b) {
        sum -= s64{a} * b >> 2;
        return *this;
    }
    s64 rounded() const { return (sum + (s64{1} << 28)) >> 29; }
};

quaternion operator*(const quaternion &a, const quaternion &b) {
    const auto w = product_sum{}.plus(a.w, b.w).minus(a.x, b.x).minus(a.y, b.y).minus(a.z, b.z);
    const auto x = product_sum{}.plus(a.w, b.x).plus(a.x, b.w).plus(a.y, b.z).minus(a.z, b.y);
    const auto y = product_sum{}.plus(a.w, b.y).minus(a.x, b.z).plus(a.y, b.w).plus(a.z, b.x);
    const auto z = product_sum{}.plus(a.w, b.z).plus(a.x, b.y).minus(a.y, b.x).plus(a.z, b.w);
    return {saturated(w.rounded()), saturated(x.rounded()), saturated(y.rounded()),
            saturated(z.rounded())};
}

// The library's geometry has the vertical axis second. Exchanging two axes is a reflection, under
// which the axis of a turn changes its sign as well.
direction seen(const s32 (&front_left_up)[3], const quaternion &head) {
    const s32 point[3] = {front_left_up[0], front_left_up[2], front_left_up[1]};
    const s32 turn[4] = {head.w, -head.x, -head.z, -head.y};
    s32 radius_azimuth_elevation[3];
    quat_cart_to_spher(turn, point, radius_azimuth_elevation, 0);
    return {radius_azimuth_elevation[1], radius_azimuth_elevation[2]};
}

} // namespace

quaternion rotation_of(const head_angles &angles) {
    const cosine_and_sine yaw = of_radians(half_in_radians(angles.yaw));
    const cosine_and_sine pitch = of_radians(half_in_radians(angles.pitch));
    const cosine_and_sine roll = of_radians(half_in_radians(angles.roll));
    // About z, about y (where turning by the right hand lowers the nose), about x.
    return normalised(quaternion{yaw.c, 0, 0, yaw.s} * quaternion{pitch.c, 0, -pitch.s, 0} *
                      quaternion{roll.c, roll.s, 0, 0});
}

// The components lose no more than a unit above -INT32_MAX, so that they can be negated.
quaternion normalised(const quaternion &q) {
    const s64 square =
        product_sum{}.plus(q.w, q.w).plus(q.x, q.x).plus(q.y, q.y).plus(q.z, q.z).rounded();
    const s32 scale = inv_sqrt_65(static_cast<s32>(square >> 1), 1, 1); // 1 / modulus, Q30
    const auto scaled = [scale](s32 component) {
        const s64 product = (s64{component} * scale + (s64{1} << 29)) >> 30;
        return static_cast<s32>(std::clamp<s64>(product, -INT32_MAX, INT32_MAX));
    };
    return {scaled(q.w), scaled(q.x), scaled(q.y), scaled(q.z)};
}

s32 distance_between(const position &a, const position &b) {
    const s32 first[3] = {a.x, a.y, a.z};
    const s32 second[3] = {b.x, b.y, b.z};
    s32 difference[3];
    s32 radius_azimuth_elevation[3];
    carta_minus_cartb(difference, first, second);
    cart_to_spher(difference, radius_azimuth_elevation, 0);
    return radius_azimuth_elevation[0];
}

direction heard_at(const position &point, const position &ear, const quaternion &head) {
    const s32 from[3] = {ear.x, ear.y, ear.z};
    const s32 to[3] = {point.x, point.y, point.z};
    s32 difference[3];
    carta_minus_cartb(difference, to, from);
    return seen(difference, head);
}

// On its way through a point a direction could shift by a thousandth of a degree, and across the
// border between two filters; so a head that has not turned takes none.
direction heard_from(const direction &world, const quaternion &head) {
    if (head.x == 0 && head.y == 0 && head.z == 0) return world;
    const cosine_and_sine azimuth = of_radians(half_in_radians(2 * s64{world.azimuth}));
    const cosine_and_sine elevation = of_radians(half_in_radians(2 * s64{world.elevation}));
    const auto far = [](s32 a, s32 b) { return static_cast<s32>(s64{a} * b >> 32); };
    return seen({far(elevation.c, azimuth.c), far(elevation.c, azimuth.s), elevation.s >> 1}, head);
}

} // namespace earshot_scene
