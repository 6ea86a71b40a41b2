/*
 * Fields against their definitions in double precision: harmonics by recurrences of Legendre
 * functions, rotations by integrals over the sphere, frames by plain sums.
 */
#include "../support/digest.hpp"
#include "../support/exact.hpp"
#include "../support/operands.hpp"
#include "kernel/isa.hpp"

#include <earshot/field.h>

#include <array>
#include <cmath>
#include <vector>

namespace earshot::test {
namespace {

constexpr double unit = 0x1p30;
constexpr s32 one = 1 << 30;

using vec3 = std::array<double, 3>; /* front, left, up */

/* All harmonics of a direction, SN3D by ACN. */
std::array<double, EARSHOT_FIELD_CHANNELS> harmonics(const vec3 &v) {
    const double azimuth = std::atan2(v[1], v[0]), s = v[2], c = std::hypot(v[0], v[1]);
    std::array<double, EARSHOT_FIELD_CHANNELS> all;
    for (int m = 0; m <= 4; ++m) {
        /* P(m, m) = (2m - 1)!! c^m; (n - m) P(n, m) = (2n - 1) s P(n - 1, m) - (n + m - 1) P(n - 2,
         * m)
         */
        double p = 1, below = 0;
        for (int k = 1; k <= m; ++k) p *= (2 * k - 1) * c;
        for (int n = m; n <= 4; ++n) {
            if (n > m) {
                const double next = ((2 * n - 1) * s * p - (n + m - 1) * below) / (n - m);
                below = p;
                p = next;
            }
            const double norm =
                std::sqrt((m == 0 ? 1 : 2) * std::tgamma(n - m + 1) / std::tgamma(n + m + 1));
            const auto channel = static_cast<std::size_t>(n * n + n);
            all[channel + static_cast<std::size_t>(m)] = norm * p * std::cos(m * azimuth);
            if (m > 0)
                all[channel - static_cast<std::size_t>(m)] = norm * p * std::sin(m * azimuth);
        }
    }
    return all;
}

vec3 direction_of(u32 azimuth, u32 elevation) {
    constexpr double turn = 6.283185307179586 / 0x1p32;
    const double a = azimuth * turn, e = elevation * turn;
    return {std::cos(e) * std::cos(a), std::cos(e) * std::sin(a), std::sin(e)};
}

struct head_turn {
    std::array<s32, 4> q;

    /* What comes from v, for the head. */
    vec3 heard(const vec3 &v) const {
        double w = q[0], x = q[1], y = q[2], z = q[3];
        const double length = std::sqrt(w * w + x * x + y * y + z * z);
        w /= length, x /= -length, y /= -length, z /= -length; /* the conjugate */
        /* v + 2 u x (u x v + w v) */
        const vec3 t = {y * v[2] - z * v[1] + w * v[0], z * v[0] - x * v[2] + w * v[1],
                        x * v[1] - y * v[0] + w * v[2]};
        return {v[0] + 2 * (y * t[2] - z * t[1]), v[1] + 2 * (z * t[0] - x * t[2]),
                v[2] + 2 * (x * t[1] - y * t[0])};
    }
};

head_turn random_turn(operand_source &draw) {
    for (;;) {
        const head_turn turn{
            {draw.next<s32>(), draw.next<s32>(), draw.next<s32>(), draw.next<s32>()}};
        if (turn.q != std::array<s32, 4>{}) return turn;
    }
}

earshot_field_rotation rotation_of(const head_turn &turn, u32 order = 4) {
    earshot_field_rotation rotation;
    EXPECT_EQ(EARSHOT_OK, earshot_field_rotation_of(order, turn.q.data(), &rotation));
    return rotation;
}

/* Calls f(row, column, index of the entry) for a rotation's entries, by channel. */
template <class F> void for_each_entry(std::size_t order, F f) {
    std::size_t entry = 0;
    for (std::size_t n = 1; n <= order; ++n)
        for (std::size_t row = n * n; row < (n + 1) * (n + 1); ++row)
            for (std::size_t column = n * n; column < (n + 1) * (n + 1); ++column)
                f(row, column, entry++);
}

/* Integrals over the sphere of polynomials up to degree 9, exactly. */
template <class F> void for_each_node(F f) {
    constexpr double z[] = {0, 0.5384693101056831, 0.9061798459386640};
    constexpr double weight[] = {0.5688888888888889, 0.4786286704993665, 0.2369268850561891};
    for (int level = -2; level <= 2; ++level)
        for (int k = 0; k < 10; ++k) {
            const int i = level < 0 ? -level : level;
            const double up = level < 0 ? -z[i] : z[i], c = std::sqrt(1 - up * up);
            const double azimuth = 0.6283185307179586 * k;
            f(vec3{c * std::cos(azimuth), c * std::sin(azimuth), up}, weight[i] / 20);
        }
}

TEST(FieldGains, AreTheHarmonics) {
    operand_source draw;
    double largest = 0;
    for (int i = 0; i < rounds; ++i) {
        const u32 azimuth = draw.next<u32>(), elevation = draw.next<u32>();
        const u32 order = 1 + static_cast<u32>(draw.below(4)), channels = (order + 1) * (order + 1);
        std::array<s32, EARSHOT_FIELD_CHANNELS> gains;
        gains.fill(-7);
        ASSERT_EQ(EARSHOT_OK, earshot_field_gains(order, azimuth, elevation, gains.data()));
        const auto exact = harmonics(direction_of(azimuth, elevation));
        for (u32 k = 0; k < channels; ++k)
            largest = std::max(largest, std::abs(gains[k] / unit - exact[k]));
        for (u32 k = channels; k < EARSHOT_FIELD_CHANNELS; ++k) ASSERT_EQ(-7, gains[k]);
    }
    EXPECT_LT(largest, 5e-7);
    std::printf("largest error of a gain: %.3g\n", largest);
}

/* R(i, j) = (2n + 1) / 4 pi times the integral of Y(i, heard from v) Y(j, v). */
TEST(FieldRotation, IsThatOfTheSphere) {
    operand_source draw;
    double largest = 0;
    for (int i = 0; i < rounds / 20; ++i) {
        const head_turn turn = random_turn(draw);
        const earshot_field_rotation rotation = rotation_of(turn);
        std::array<double, EARSHOT_FIELD_ENTRIES> exact{};
        for_each_node([&](const vec3 &v, double weight) {
            const auto world = harmonics(v), head = harmonics(turn.heard(v));
            for_each_entry(4, [&](std::size_t row, std::size_t column, std::size_t entry) {
                exact[entry] += (2 * std::floor(std::sqrt(static_cast<double>(row))) + 1) * weight *
                                head[row] * world[column];
            });
        });
        for (std::size_t k = 0; k < exact.size(); ++k)
            largest = std::max(largest, std::abs(rotation.entries[k] - exact[k] * unit));
        const earshot_field_rotation lower = rotation_of(turn, 2);
        for (std::size_t k = 0; k < exact.size(); ++k)
            ASSERT_EQ(k < 9 + 25 ? rotation.entries[k] : 0, lower.entries[k]);
    }
    EXPECT_LT(largest, 0.5001);
    std::printf("largest error of an entry: %.6f units of 2^-30\n", largest);
}

TEST(FieldRotation, OfNoTurnAndOfQuartersIsExact) {
    for (const s32 length : {1, -5, INT32_MAX, INT32_MIN}) {
        const earshot_field_rotation none = rotation_of({{length, 0, 0, 0}});
        for_each_entry(4, [&](std::size_t row, std::size_t column, std::size_t entry) {
            ASSERT_EQ(row == column ? one : 0, none.entries[entry]);
        });
    }
    /* To the left: what is left, Y, comes from the front, X; what is in front from the right. */
    const s32 half = 1518500250;
    const earshot_field_rotation left = rotation_of({{half, 0, 0, half}}, 1);
    const std::array<s32, 9> expected = {0, 0, -one, 0, one, 0, one, 0, 0};
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), left.entries));
}

/* Twenty-five channels of some frames. */
struct signal {
    explicit signal(std::size_t frames)
        : planes(EARSHOT_FIELD_CHANNELS, std::vector<s32>(frames)) {}

    std::vector<s32 *> channels(std::size_t offset = 0) {
        std::vector<s32 *> all;
        for (auto &plane : planes) all.push_back(plane.data() + offset);
        return all;
    }
    bool operator==(const signal &) const = default;

    std::vector<std::vector<s32>> planes;
};

signal random_signal(operand_source &draw, std::size_t frames) {
    signal s(frames);
    for (auto &plane : s.planes)
        for (s32 &x : plane) x = draw.next<s32>();
    return s;
}

/* By the definition. */
u64 rotate_plainly(const earshot_field_rotation &from, const earshot_field_rotation &to,
                   signal &s) {
    const signal in = s;
    const s64 length = static_cast<s64>(s.planes[0].size());
    u64 clipped = 0;
    for (s64 i = 0; i < length; ++i) {
        const s64 weight = (length - 1 - i) * 0x80000000 / length;
        std::array<s64, EARSHOT_FIELD_CHANNELS> sums{};
        for_each_entry(to.order, [&](std::size_t row, std::size_t column, std::size_t k) {
            const s64 lacking = clamp32(s64{from.entries[k]} - to.entries[k]);
            const s64 entry = to.entries[k] + floor_div(lacking * weight + 0x40000000, 0x80000000);
            sums[row] += entry * in.planes[column][static_cast<std::size_t>(i)];
        });
        for (std::size_t k = 1; k < (to.order + 1) * (to.order + 1); ++k) {
            const s64 rounded = floor_div(sums[k] + one / 2, one);
            clipped += rounded != clamp32(rounded);
            s.planes[k][static_cast<std::size_t>(i)] = static_cast<s32>(clamp32(rounded));
        }
    }
    return clipped;
}

/* In any pieces, with every order, still and moving, at levels that clip and that do not. */
TEST(FieldRotate, IsTheRoundedSum) {
    operand_source draw;
    u64 all_clipped = 0;
    for (int i = 0; i < rounds / 50; ++i) {
        const u32 order = 1 + static_cast<u32>(draw.below(4));
        const u32 length = 1 + static_cast<u32>(draw.below(600));
        const earshot_field_rotation from = rotation_of(random_turn(draw), order);
        const earshot_field_rotation to =
            draw.below(3) == 0 ? from : rotation_of(random_turn(draw), order);
        signal expected = random_signal(draw, length), actual = expected;
        const u64 clipped = rotate_plainly(from, to, expected);
        u64 counted = 5;
        for (u32 done = 0; done < length;) {
            const u32 count = 1 + static_cast<u32>(draw.below(length - done));
            ASSERT_EQ(EARSHOT_OK, earshot_field_rotate(&from, &to, length, done, count,
                                                       actual.channels(done).data(), &counted));
            done += count;
        }
        ASSERT_TRUE(expected == actual) << "order " << order << ", length " << length;
        ASSERT_EQ(5 + clipped, counted);
        all_clipped += clipped;
    }
    EXPECT_GT(all_clipped, 1000u);
}

/* The same bits on every machine. */
TEST(FieldRotate, GivesItsDigest) {
    operand_source draw(20261121);
    digest found;
    signal s(96);
    earshot_field_rotation from = rotation_of(random_turn(draw));
    for (int block = 0; block < 20; ++block) {
        const u32 azimuth = draw.next<u32>(), elevation = draw.next<u32>();
        std::array<s32, EARSHOT_FIELD_CHANNELS> gains;
        ASSERT_EQ(EARSHOT_OK, earshot_field_gains(4, azimuth, elevation, gains.data()));
        for (auto &plane : s.planes)
            for (std::size_t i = 0; i < 96; ++i)
                plane[i] = static_cast<s32>(s64{draw.next<s32>()} * gains[i % gains.size()] >> 30);
        const earshot_field_rotation to = rotation_of(random_turn(draw));
        u64 clipped = 0;
        ASSERT_EQ(EARSHOT_OK,
                  earshot_field_rotate(&from, &to, 96, 0, 96, s.channels().data(), &clipped));
        for (const s32 entry : to.entries) found.add(entry);
        for (const auto &plane : s.planes)
            for (const s32 x : plane) found.add(x);
        found.add(static_cast<s64>(clipped));
        from = to;
    }
    EXPECT_EQ(16051237594114206237u, found.value());
}

TEST(Field, RefusesWhatCannotBe) {
    const s32 none[4] = {}, front[4] = {1, 0, 0, 0};
    s32 gains[EARSHOT_FIELD_CHANNELS];
    earshot_field_circle circle;
    earshot_field_rotation rotation;
    for (const u32 order : {0u, 5u, 0xFFFFFFFFu}) {
        EXPECT_EQ(EARSHOT_BAD_VALUE, earshot_field_gains(order, 0, 0, gains));
        EXPECT_EQ(EARSHOT_BAD_VALUE, earshot_field_circle_at(order, 0, &circle));
        EXPECT_EQ(EARSHOT_BAD_VALUE, earshot_field_rotation_of(order, front, &rotation));
        circle.order = order;
        EXPECT_EQ(EARSHOT_BAD_VALUE, earshot_field_circle_gains(&circle, 0, gains));
    }
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_field_gains(1, 0, 0, nullptr));
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_field_circle_at(1, 0, nullptr));
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_field_circle_gains(nullptr, 0, gains));
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_field_rotation_of(1, nullptr, &rotation));
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_field_rotation_of(1, front, nullptr));
    EXPECT_EQ(EARSHOT_BAD_VALUE, earshot_field_rotation_of(1, none, &rotation));

    signal s(8);
    const signal before = s;
    const auto channels = s.channels();
    auto missing = channels;
    missing[3] = nullptr;
    const earshot_field_rotation first = rotation_of({{1, 0, 0, 1}}, 1);
    const earshot_field_rotation second = rotation_of({{1, 0, 0, 1}}, 2);
    const auto call = [&](u32 length, u32 begin, u32 frames) {
        return earshot_field_rotate(&first, &first, length, begin, frames, channels.data(),
                                    nullptr);
    };
    EXPECT_EQ(EARSHOT_BAD_VALUE, call(0, 0, 0));
    EXPECT_EQ(EARSHOT_BAD_VALUE, call(8, 1, 8));
    EXPECT_EQ(EARSHOT_BAD_VALUE, call(8, 9, 0));
    EXPECT_EQ(EARSHOT_BAD_VALUE, call(8, 4, 0xFFFFFFFFu));
    EXPECT_EQ(EARSHOT_OK, call(8, 8, 0));
    EXPECT_EQ(EARSHOT_BAD_VALUE,
              earshot_field_rotate(&first, &second, 8, 0, 8, channels.data(), nullptr));
    EXPECT_EQ(EARSHOT_BAD_MEMORY,
              earshot_field_rotate(nullptr, &first, 8, 0, 8, channels.data(), nullptr));
    EXPECT_EQ(EARSHOT_BAD_MEMORY,
              earshot_field_rotate(&first, &first, 8, 0, 8, missing.data(), nullptr));
    EXPECT_TRUE(before == s);
}

} // namespace
} // namespace earshot::test
