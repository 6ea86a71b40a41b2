#include "scene/motion/geometry.hpp"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include <earshot/math.h>

#include "scene/motion/track.hpp"

namespace earshot_scenes {

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

// A point in a direction, as far away as a word's upper half reaches.
struct far_point {
    explicit far_point(const direction &world) {
        const cosine_and_sine azimuth = of_radians(half_in_radians(2 * s64{world.azimuth}));
        const cosine_and_sine elevation = of_radians(half_in_radians(2 * s64{world.elevation}));
        front = static_cast<s32>(s64{elevation.c} * azimuth.c >> 32);
        left = static_cast<s32>(s64{elevation.c} * azimuth.s >> 32);
        up = elevation.s >> 1;
    }

    s32 front, left, up;
};

// Of a vector of s64 coordinates within +-2^62, for a listener who looks along x: the angles by
// which x and y, then z, are turned to 0 in steps of atan(2^-i) (J. E. Volder: The CORDIC
// Trigonometric Computing Technique, 1959).
struct steps_turned {
    s64 along; // what the vector's length has grown to, about 1.65 of it
    s64 angle; // degrees, Q32
};

steps_turned turned_to_x(s64 x, s64 y) { // x >= 0
    constexpr s64 steps[] = {193273528320, 114096026022, 60285206653, 30601712202, 15360239180,
                             7687607525,   3844741810,   1922488225,  961258780,   480631223,
                             240315841,    120157949,    60078978,    30039490,    15019745,
                             7509872,      3754936,      1877468,     938734,      469367,
                             234684,       117342,       58671,       29335,       14668,
                             7334,         3667,         1833,        917,         458};
    s64 angle = 0;
    for (int i = 0; i < 30; ++i) {
        // Which way a step goes cannot be foreseen: a sign costs less than a branch.
        const s64 signs = y > 0 ? 0 : -1;
        const auto turned = [signs](s64 value) { return (value ^ signs) - signs; };
        const s64 dx = turned(y >> i), dy = turned(x >> i);
        x += dx;
        y -= dy;
        angle += turned(steps[i]);
    }
    return {x, angle};
}

s32 degrees_q16(s64 angle_q32) { return static_cast<s32>((angle_q32 + (1 << 15)) >> 16); }

direction direction_of(s64 x, s64 y, s64 z) {
    constexpr s64 half_turn = s64{180} << 32;
    if (x == 0 && y == 0 && z == 0) return {};
    // So that what grows stays in its word, and as many bits as possible below.
    const u64 largest = static_cast<u64>(std::max({std::abs(x), std::abs(y), std::abs(z)}));
    const int room = std::countl_zero(largest) - 4;
    const auto moved = [room](s64 value) {
        return room < 0 ? value >> -room
                        : static_cast<s64>(static_cast<u64>(value) << static_cast<unsigned>(room));
    };
    x = moved(x);
    y = moved(y);
    z = moved(z);
    s64 azimuth = x < 0 ? (y < 0 ? -half_turn : half_turn) : 0;
    s64 flat = 0;
    if (x != 0 || y != 0) {
        const steps_turned level = x < 0 ? turned_to_x(-x, -y) : turned_to_x(x, y);
        azimuth += level.angle;
        // The product of all factors by which steps lengthen, Q30, takes the length back.
        constexpr s64 shortening = 652032874; // 1 / 1.64676
        flat =
            (level.along >> 30) * shortening + ((level.along & ((1 << 30) - 1)) * shortening >> 30);
    }
    return {degrees_q16(azimuth), degrees_q16(turned_to_x(flat, z).angle)};
}

// The coordinates of a vector for a head that has turned: those along the head's axes, which are
// the columns of the matrix of its turn. Times 2^30.
direction in_head(const s64 (&v)[3], const quaternion &q) {
    const auto twice = [](s64 a, s64 b, s64 c, s64 d) {
        return ((a * b >> 2) + (c * d >> 2)) >> 29;
    };
    const s64 w = q.w, x = q.x, y = q.y, z = q.z, one = s64{1} << 30;
    const s64 front[3] = {one - twice(y, y, z, z), twice(x, y, w, z), twice(x, z, -w, y)};
    const s64 left[3] = {twice(x, y, -w, z), one - twice(x, x, z, z), twice(y, z, w, x)};
    const s64 up[3] = {twice(x, z, w, y), twice(y, z, -w, x), one - twice(x, x, y, y)};
    const auto along = [&v](const s64(&axis)[3]) {
        return axis[0] * v[0] + axis[1] * v[1] + axis[2] * v[2];
    };
    return direction_of(along(front), along(left), along(up));
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

quaternion orientation_at(const orientation_track &head, s64 time) {
    if (const auto *angles = std::get_if<track<head_angles>>(&head))
        return rotation_of(at(*angles, time));
    return at(std::get<track<quaternion>>(head), time);
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
    const auto square = [](s64 x) { return static_cast<u64>(x * x); };
    const u64 sum = square(s64{a.x} - b.x) + square(s64{a.y} - b.y) + square(s64{a.z} - b.z);
    u64 root = 0;
    for (u64 bit = u64{1} << 31; bit != 0; bit >>= 1)
        if ((root + bit) * (root + bit) <= sum) root += bit;
    root += sum - root * root > root; // beyond the half
    return static_cast<s32>(std::min<u64>(root, INT32_MAX));
}

direction heard_at(const position &point, const position &ear, const quaternion &head) {
    const s64 way[3] = {s64{point.x} - ear.x, s64{point.y} - ear.y, s64{point.z} - ear.z};
    return in_head(way, head);
}

direction heard_from(const direction &world, const quaternion &head) {
    if (head.x == 0 && head.y == 0 && head.z == 0) return world;
    const far_point point(world);
    return in_head({point.front, point.left, point.up}, head);
}

direction roughly_heard_at(const position &point, const position &ear, const quaternion &head) {
    const s32 from[3] = {ear.x, ear.y, ear.z};
    const s32 to[3] = {point.x, point.y, point.z};
    s32 difference[3];
    carta_minus_cartb(difference, to, from);
    return seen(difference, head);
}

// On its way through a point a direction could shift by a thousandth of a degree, and across the
// border between two filters; so a head that has not turned takes none.
direction roughly_heard_from(const direction &world, const quaternion &head) {
    if (head.x == 0 && head.y == 0 && head.z == 0) return world;
    const far_point point(world);
    return seen({point.front, point.left, point.up}, head);
}

} // namespace earshot_scenes
