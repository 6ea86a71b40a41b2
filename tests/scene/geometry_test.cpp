/* Directions as a listener hears them, and values over time, against double precision. */
#include "scene/motion/geometry.hpp"
#include "scene/motion/track.hpp"
#include "tests/support/operands.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace earshot_scenes::test {
namespace {

using earshot::test::operand_source;

constexpr double pi = 3.14159265358979323846;
constexpr s32 q16 = 65536;

struct vector3 {
    double x, y, z;
};

vector3 turned(const vector3 &v, double about_x, double about_y, double about_z) {
    const auto turn = [](double &a, double &b, double degrees) {
        const double c = std::cos(degrees * pi / 180), s = std::sin(degrees * pi / 180);
        const double first = c * a - s * b;
        b = s * a + c * b;
        a = first;
    };
    vector3 r = v;
    turn(r.y, r.z, about_x);
    turn(r.z, r.x, about_y);
    turn(r.x, r.y, about_z);
    return r;
}

/* What the front, left or upper side of a head points at in the world. */
vector3 world_of(const vector3 &v, double yaw, double pitch, double roll) {
    return turned(v, roll, -pitch, yaw);
}

double difference(double a, double b) { return std::remainder(a - b, 360.0); }

void expect_direction(double azimuth, double elevation, const direction &heard) {
    EXPECT_NEAR(0, difference(azimuth, heard.azimuth / 65536.0), 0.001) << azimuth;
    EXPECT_NEAR(elevation, heard.elevation / 65536.0, 0.001) << azimuth;
}

s32 q16_of(double value) { return static_cast<s32>(std::lround(value * q16)); }

position metres(const vector3 &v) { return {q16_of(v.x), q16_of(v.y), q16_of(v.z)}; }

TEST(SceneGeometry, HeadsTurnAsTheyShould) {
    const position front = metres({2, 0, 0}), left = metres({0, 2, 0}), up = metres({0, 0, 2});
    const auto heard = [](const position &point, const head_angles &angles) {
        return heard_at(point, {}, rotation_of(angles));
    };
    expect_direction(0, 0, heard(front, {}));
    expect_direction(90, 0, heard(left, {}));
    expect_direction(0, 90, heard(up, {}));
    // What was in front is on the right after a turn to the left.
    expect_direction(-30, 0, heard(front, {30 * q16, 0, 0}));
    expect_direction(60, 0, heard(left, {30 * q16, 0, 0}));
    // Below after the nose went up, while the left stays on the left.
    expect_direction(0, -30, heard(front, {0, 30 * q16, 0}));
    expect_direction(90, 0, heard(left, {0, 30 * q16, 0}));
    // With the right ear down the left side is up, so what stood there is above.
    expect_direction(90, 30, heard(left, {0, 0, -30 * q16}));
    expect_direction(90, -30, heard(left, {0, 0, 30 * q16}));
    // From elsewhere.
    expect_direction(45, 0, heard_at(metres({5, 4, 1}), metres({3, 2, 1}), quaternion{}));
}

/* How far off a direction is, in degrees: an azimuth counts as much as its circle is large. */
struct deviation {
    double azimuth = 0;
    double elevation = 0;

    void note(const vector3 &along, const direction &heard) {
        const double flat = std::hypot(along.x, along.y), far = std::hypot(flat, along.z);
        const double off = std::atan2(along.y, along.x) * 180 / pi - heard.azimuth / 65536.0;
        azimuth = std::max(azimuth, std::abs(std::remainder(off, 360.0)) * flat / far);
        elevation = std::max(
            elevation, std::abs(std::atan2(along.z, flat) * 180 / pi - heard.elevation / 65536.0));
    }
};

/* For any head and point; roughly, beyond a ratio of 32 the library's angle stays where it is, and
 * that zone is left out. */
TEST(SceneGeometry, DirectionsAreTrue) {
    operand_source random;
    deviation exact, remote, rough, rough_remote;
    double distance = 0;
    for (int round = 0; round < 20000; ++round) {
        const auto any = [&](double range) {
            return random.between(-1000000, 1000000) * range / 1e6;
        };
        const double yaw = any(720), pitch = any(90), roll = any(180);
        const position ear = metres({any(20), any(20), any(3)});
        const position point = metres({any(20), any(20), any(3)});
        const vector3 way{(point.x - ear.x) / 65536.0, (point.y - ear.y) / 65536.0,
                          (point.z - ear.z) / 65536.0};
        const auto along = [&](const vector3 &side) {
            const vector3 axis = world_of(side, yaw, pitch, roll);
            return axis.x * way.x + axis.y * way.y + axis.z * way.z;
        };
        const vector3 v{along({1, 0, 0}), along({0, 1, 0}), along({0, 0, 1})};
        const double flat = std::hypot(v.x, v.y), far = std::hypot(flat, v.z);
        if (far < 0.1) continue;
        const quaternion head = rotation_of({q16_of(yaw), q16_of(pitch), q16_of(roll)});
        const direction away{q16_of(std::atan2(way.y, way.x) * 180 / pi),
                             q16_of(std::asin(way.z / far) * 180 / pi)};
        exact.note(v, heard_at(point, ear, head));
        remote.note(v, heard_from(away, head));
        distance = std::max(distance, std::abs(distance_between(point, ear) / 65536.0 - far));
        if (far < 1 || std::abs(v.y) > 31 * std::abs(v.x) || std::abs(v.z) > 31 * flat) continue;
        rough.note(v, roughly_heard_at(point, ear, head));
        rough_remote.note(v, roughly_heard_from(away, head));
    }
    RecordProperty("azimuth", std::to_string(exact.azimuth));
    RecordProperty("elevation", std::to_string(exact.elevation));
    EXPECT_LT(std::max(exact.azimuth, remote.azimuth), 6e-5);
    EXPECT_LT(std::max(exact.elevation, remote.elevation), 6e-5);
    EXPECT_LT(distance, 0.6 / 65536);
    EXPECT_LT(std::max(rough.azimuth, rough_remote.azimuth), 0.002);
    EXPECT_LT(std::max(rough.elevation, rough_remote.elevation), 0.07);
}

TEST(SceneGeometry, FarCornersDoNotWrap) {
    const position low = metres({-8191, -8191, -8191}), high = metres({8191, 8191, 8191});
    EXPECT_NEAR(1, distance_between(high, low) / 65536.0 / (16382 * std::sqrt(3)), 1e-8);
    expect_direction(45, 35.2644, heard_at(high, low, quaternion{}));
    expect_direction(45, -35.2644, heard_at(low, high, rotation_of({180 * q16, 0, 0})));
}

/* Rows of an interval, and the interval's ends. */
TEST(SceneTracks, WaysAreStraightAndExact) {
    operand_source random;
    for (int round = 0; round < 20000; ++round) {
        const s32 a = random.next<s32>(), b = random.next<s32>();
        const s64 whole = 1 + static_cast<s64>(random.below(u64{1} << (1 + random.below(44))));
        const s64 part = static_cast<s64>(random.below(static_cast<u64>(whole) + 1));
        const long double exact = a + (static_cast<long double>(b) - a) *
                                          static_cast<long double>(part) /
                                          static_cast<long double>(whole);
        const s32 found = between(a, b, {part, whole});
        ASSERT_LE(std::abs(static_cast<double>(found - exact)), 0.5001) << a << ' ' << b;
        ASSERT_EQ(a, between(a, b, {0, whole}));
        ASSERT_EQ(b, between(a, b, {whole, whole}));
    }
    EXPECT_EQ(1, between(0, 1, {1, 2})); // halves up
    EXPECT_EQ(0, between(0, -1, {1, 2}));
}

TEST(SceneTracks, RowsHoldAndRamp) {
    const track<direction> rows = {{100, {0, 0}}, {200, {1000, -100}}, {300, {0, 0}}};
    EXPECT_EQ((direction{0, 0}), at(rows, 0));
    EXPECT_EQ((direction{0, 0}), at(rows, 100));
    EXPECT_EQ((direction{250, -25}), at(rows, 125));
    EXPECT_EQ((direction{1000, -100}), at(rows, 200));
    EXPECT_EQ((direction{990, -99}), at(rows, 201));
    EXPECT_EQ((direction{0, 0}), at(rows, 1000000));
}

/* Whatever turns are in the numbers, an angle goes by half a turn at most, and arrives. */
TEST(SceneTracks, AnglesGoTheShorterWayRound) {
    constexpr s64 turn = s64{360} * q16;
    const auto modulo = [](s64 angle) { return (angle % turn + turn) % turn; };
    struct angles {
        double from, to, halfway;
    };
    for (const auto &[from, to, halfway] : {angles{170, -170, 180},
                                            {-170, 170, 180},
                                            {350, 10, 0},
                                            {10, 350, 0},
                                            {0, 360, 0},
                                            {90, 810, 90},
                                            {0, 180, 90},
                                            {180, 0, 90},
                                            {0, -180, -90},
                                            {180, 360, 270},
                                            {32760, 20, 10},
                                            {-32760, -20, -10}})
        EXPECT_EQ(modulo(static_cast<s64>(halfway * q16)),
                  modulo(between_angles(q16_of(from), q16_of(to), {1, 2})))
            << from << ' ' << to;

    operand_source random;
    for (int round = 0; round < 20000; ++round) {
        const s32 a = random.next<s32>(), b = random.next<s32>();
        EXPECT_EQ(modulo(a), modulo(between_angles(a, b, {0, 1000})));
        EXPECT_EQ(modulo(b), modulo(between_angles(a, b, {1000, 1000})));
        const s64 before = between_angles(a, b, {499, 1000});
        const s64 after = between_angles(a, b, {500, 1000});
        ASSERT_LE(std::abs(after - before), turn / 2000 + 1) << a << ' ' << b;
    }

    const head_angles head = between(head_angles{350 * q16, -170 * q16, 200 * q16},
                                     head_angles{10 * q16, 170 * q16, -200 * q16}, {1, 4});
    EXPECT_EQ((head_angles{355 * q16, -175 * q16, 190 * q16}), head);
    const direction way =
        between(direction{350 * q16, -90 * q16}, direction{10 * q16, 90 * q16}, {1, 4});
    EXPECT_EQ((direction{355 * q16, -45 * q16}), way);
}

/* Halfway, quaternions and angles agree about a single axis, whatever the sign of either end. */
TEST(SceneTracks, QuaternionsTakeTheShorterArc) {
    const quaternion from = rotation_of({10 * q16, 0, 0}), to = rotation_of({50 * q16, 0, 0});
    const quaternion opposite{-to.w, -to.x, -to.y, -to.z};
    for (const quaternion &end : {to, opposite}) {
        const track<quaternion> rows = {{0, from}, {100, end}};
        expect_direction(-30, 0, heard_at(metres({1, 0, 0}), {}, at(rows, 50)));
        const quaternion middle = at(rows, 23);
        const double square = std::pow(middle.w / 0x1p31, 2) + std::pow(middle.z / 0x1p31, 2);
        EXPECT_NEAR(1, std::sqrt(square), 3e-9);
    }
}

} // namespace
} // namespace earshot_scenes::test
