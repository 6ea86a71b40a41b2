/* Quaternions and directions: to the bit against their sums, and against double precision. */
#include "../support/exact.hpp"
#include "../support/operands.hpp"

#include <earshot/kernel.h>
#include <earshot/math.h>
#include <earshot/spatial.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numbers>

namespace earshot::test {
namespace {

using point = std::array<s32, 3>;
using quaternion = std::array<s32, 4>;

s32 negated(s32 v) { return static_cast<s32>(clamp32(-s64{v})); }

s32 four_term_sum(const quaternion &a, const quaternion &b) {
    s64 sum = 0;
    for (std::size_t i = 0; i < 4; ++i) sum = sum64(sum, floor_div(s64{a[i]} * b[i], 2));
    return wrap(scaled(sum, -30));
}

quaternion conjugate(const quaternion &q) {
    return {q[0], negated(q[1]), negated(q[2]), negated(q[3])};
}

/* u = (0, p) q*, then the vector part of q u. */
point rotated(const quaternion &q, const point &p) {
    const auto [w, x, y, z] = q;
    const auto [a, b, c] = p;
    const auto n = negated;
    const quaternion k = conjugate(q);
    const quaternion u = {four_term_sum({0, n(a), n(b), n(c)}, k),
                          four_term_sum({a, 0, n(c), b}, k), four_term_sum({b, c, 0, n(a)}, k),
                          four_term_sum({c, n(b), a, 0}, k)};
    return {four_term_sum({x, w, n(z), y}, u), four_term_sum({y, z, w, n(x)}, u),
            four_term_sum({z, n(y), x, w}, u)};
}

/* The root of a sum of squares, from its 31 leading bits. */
s32 root(u64 square) {
    const int zeros = std::countl_zero(square);
    const u64 mantissa = zeros < 33 ? square >> (33 - zeros) : square / 2;
    return sqrt_compute(static_cast<s32>(mantissa), static_cast<s16>(std::max(32 - zeros, 0)), 15);
}

u64 squared(s64 v) { return static_cast<u64>(v * v); }

s32 degrees(s64 radians) { return wrap(floor_div(floor_div(radians, 4) * 3754936, 1 << 29)); }

point spherical(const point &p, s32 offset) {
    constexpr s64 turn = 360 * 65536;
    const auto [x, y, z] = p;
    const s32 horizontal = root(squared(x) + squared(y));
    s64 azimuth = degrees(high_precision_atan2(y, x));
    if (x != 0 || y != 0) azimuth = wrap32(azimuth + clamp32(s64{offset} * 65536));
    if (azimuth > turn / 2) azimuth = clamp32(azimuth - turn);
    if (azimuth < -turn / 2) azimuth = clamp32(azimuth + turn);
    return {root(squared(horizontal) + squared(z)), static_cast<s32>(azimuth),
            degrees(high_precision_atan2(z, horizontal))};
}

template <class Vector> Vector drawn(operand_source &source) {
    Vector v;
    const s32 shift = source.between(0, 30);
    for (s32 &part : v) part = source.next<s32>() >> (source.below(2) ? shift : 0);
    return v;
}

TEST(geometry, equals_its_sums_bit_for_bit) {
    operand_source source;
    for (int round = 0; round < 3 * rounds; ++round) {
        const quaternion q = drawn<quaternion>(source), other = drawn<quaternion>(source);
        const point p = drawn<point>(source), r = drawn<point>(source);
        const s32 offset = source.below(2) ? source.between(-400, 400) : source.next<s32>();

        quaternion turned = q;
        point moved = p, aliased = p, direction, listener, difference[3] = {{}, p, r};
        s32 sum = 0;
        u32 status = quat_conjugate(turned.data());
        status |= s32q16_mac_4x4_s32q16_s32q31(&sum, other.data(), q.data());
        status |= cart_rotate_quat(q.data(), moved.data());
        status |= cart_to_spher(p.data(), direction.data(), offset);
        status |= cart_to_spher(aliased.data(), aliased.data(), offset);
        status |= quat_cart_to_spher(q.data(), p.data(), listener.data(), offset);
        status |= carta_minus_cartb(difference[0].data(), p.data(), r.data());
        carta_minus_cartb(difference[1].data(), difference[1].data(), r.data());
        carta_minus_cartb(difference[2].data(), p.data(), difference[2].data());

        EXPECT_TRUE(status == 0 && turned == conjugate(q));
        EXPECT_EQ(sum, four_term_sum(other, q));
        EXPECT_EQ(moved, rotated(q, p));
        EXPECT_EQ(direction, spherical(p, offset));
        EXPECT_EQ(aliased, direction);
        const auto [x, z, y] = rotated(conjugate(q), p);
        EXPECT_EQ(listener, spherical({x, y, z}, offset));
        for (std::size_t i = 0; i < 3; ++i)
            for (const point &d : difference) EXPECT_EQ(d[i], wrap(s64{p[i]} + negated(r[i])));
        ASSERT_FALSE(HasFailure()) << p[0] << ' ' << p[1] << ' ' << p[2] << " offset " << offset;
    }
}

constexpr double degree = std::numbers::pi / 180;

/* Degrees, the short way round. */
double angle_error(s32 value, double exact) {
    return std::abs(std::remainder(value / 65536.0 - exact, 360));
}

TEST(geometry, finds_radius_and_angles_of_points_of_any_size) {
    operand_source source;
    double worst[4] = {}; /* radius, azimuth, elevation, steep angles */
    for (int round = 0; round < 5 * rounds; ++round) {
        const s32 size = source.between(1, 29);
        point p, spher;
        for (s32 &part : p) {
            const s32 range = 1 << (source.below(4) ? size : source.between(1, size));
            part = source.between(-range, range);
        }
        cart_to_spher(p.data(), spher.data(), 0);
        const double x = p[0], y = p[1], z = p[2], flat = std::hypot(x, y), r = std::hypot(flat, z);
        worst[0] = std::max(worst[0], (std::abs(spher[0] - r) - 1.5) / std::max(r, 1.0));
        double &side = worst[x != 0 && std::abs(y) > 32 * std::abs(x) ? 3 : 1];
        side = std::max(side, angle_error(spher[1], std::atan2(y, x) / degree));
        double &up = worst[flat != 0 && std::abs(z) > 31 * flat ? 3 : 2];
        if (r > 16384) up = std::max(up, angle_error(spher[2], std::atan2(z, flat) / degree));
    }
    EXPECT_LT(worst[0], 0.0042) << "of the radius, beyond a unit and a half";
    EXPECT_LT(worst[1], 4e-5) << "degrees of azimuth";
    EXPECT_LT(worst[2], 0.061) << "degrees of elevation";
    EXPECT_LT(worst[3], 1.8) << "degrees where a ratio is steep";
}

/* The vertical axis is the second. A turn about it that takes the third axis to the front lets the
 * front appear where the third axis was: 90 degrees to the side that azimuth turns towards. */
TEST(geometry, sees_sources_as_the_head_stands) {
    const s32 r = 1 << 24;
    const point front = {r, 0, 0}, up = {0, r, 0}, side = {0, 0, r}, behind = {-r, 0, 0};
    const struct {
        double turn;
        std::array<double, 3> axis;
        point p;
        double azimuth, elevation;
        s32 offset;
    } cases[] = {
        {0, {0, 1, 0}, front, 0, 0, 0},      {0, {0, 1, 0}, side, 90, 0, 0},
        {0, {0, 1, 0}, up, 0, 90, 40},       {60, {0, 1, 0}, front, 60, 0, 0},
        {60, {0, 1, 0}, side, 150, 0, 0},    {60, {0, 1, 0}, behind, -120, 0, 0},
        {90, {0, 1, 0}, side, 180, 0, 0},    {-90, {0, 1, 0}, side, 0, 0, 0},
        {0, {0, 1, 0}, front, -179, 0, 181}, {60, {0, 1, 0}, front, 170, 0, -250},
        {30, {0, 0, 1}, front, 0, -30, 0},                                     // looks up
        {30, {0, 0, 1}, behind, 180, 30, 0}, {30, {1, 0, 0}, side, 90, 30, 0}, // leans to that side
    };
    for (const auto &c : cases) {
        const auto q31 = [](double v) {
            return static_cast<s32>(clamp32(std::llround(v * 0x1p31)));
        };
        const double w = std::cos(c.turn / 2 * degree), s = std::sin(c.turn / 2 * degree);
        const quaternion q = {q31(w), q31(s * c.axis[0]), q31(s * c.axis[1]), q31(s * c.axis[2])};
        point spher, back = c.p;
        quat_cart_to_spher(q.data(), c.p.data(), spher.data(), c.offset);
        EXPECT_NEAR(spher[0], r, 0.0042 * r);
        // A unit next to the plane between front and behind is a steep ratio.
        EXPECT_LT(angle_error(spher[1], c.azimuth), c.azimuth == 90 ? 1.8 : 0.001) << c.azimuth;
        EXPECT_LT(angle_error(spher[2], c.elevation), 0.061) << c.turn << ' ' << c.elevation;
        EXPECT_LE(std::abs(spher[1]), 180 * 65536);
        cart_rotate_quat(q.data(), back.data());
        cart_rotate_quat(conjugate(q).data(), back.data());
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(back[i], c.p[i], 4) << "there and back";
    }
}

} // namespace
} // namespace earshot::test
