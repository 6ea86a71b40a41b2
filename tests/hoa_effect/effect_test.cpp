/*
 * What the effect does to a field: bit for bit against the model, as digests that hold on every
 * target, and physically.
 */
#include "../support/digest.hpp"
#include "../support/isas.hpp"
#include "../support/operands.hpp"
#include "effect_model.hpp"
#include "kernel/isa.hpp"

#include <cmath>
#include <numbers>

namespace earshot::test {
namespace {

constexpr s32 degree = 65536;

/* Applies one random change to host and model alike. */
template <class Sample>
void change_both(operand_source &draw, effect_host<Sample> &host, effect_model &model) {
    setting s = model.now;
    const s32 yaw = draw.between(-HOA_EFFECT_MAX_YAW, HOA_EFFECT_MAX_YAW);
    const s32 pitch = draw.between(-HOA_EFFECT_MAX_PITCH, HOA_EFFECT_MAX_PITCH);
    switch (draw.below(5)) {
    case 0:
        s = {};
        ASSERT_EQ(0u, draw.below(2) != 0 ? hoa_effect_reset(host.state)
                                         : hoa_effect_set(host.state, 9, nullptr, 0));
        break;
    case 1:
    case 2:
        s.focus_yaw = yaw;
        s.focus_pitch = pitch;
        s.focus = static_cast<u32>(draw.below(3) != 0);
        ASSERT_EQ(0u, host.focus(yaw, pitch, static_cast<s32>(s.focus)));
        break;
    default:
        s.yaw = yaw;
        s.pitch = pitch;
        ASSERT_EQ(0u, host.rotate(yaw, pitch));
    }
    model.change(s);
}

/* Blocks of random length, changes in mid-ramp, full-range samples, in place. */
template <class Sample> u64 run_against_model(operand_source &draw) {
    effect_host<Sample> host;
    effect_model model;
    digest all;
    for (int block = 0; block < 60 && !::testing::Test::HasFatalFailure(); ++block) {
        if (draw.below(3) == 0) change_both(draw, host, model);
        const auto frames = static_cast<std::size_t>(draw.below(draw.below(2) != 0 ? 40 : 1500));
        std::array<std::vector<Sample>, 4> x;
        for (auto &channel : x)
            for (std::size_t t = 0; t < frames; ++t) channel.push_back(draw.next<Sample>());
        const auto input = x;
        EXPECT_EQ(0u, host.process(x));
        for (std::size_t t = 0; t < frames; ++t) {
            const auto y =
                model.mix({input[0][t], input[1][t], input[2][t], input[3][t]},
                          std::numeric_limits<Sample>::min(), std::numeric_limits<Sample>::max());
            for (std::size_t i = 0; i < 4; ++i) {
                if (x[i][t] != y[i]) {
                    ADD_FAILURE() << "block " << block << " sample " << t << " channel " << i
                                  << ": " << x[i][t] << " for " << y[i];
                    return 0;
                }
                all.add(x[i][t]);
            }
        }
    }
    return all.value();
}

TEST(HoaEffect, MatchesThePlainModel) {
    operand_source draw;
    for (int k = 0; k < 6; ++k) {
        run_against_model<s16>(draw);
        run_against_model<s32>(draw);
    }
}

/* The same on every target and isa. When one differs, CONTRIBUTING.md says how to find out why.
 */
TEST(HoaEffect, GoldenDigests) {
    on_every_isa([](isa) {
        operand_source draw(1);
        EXPECT_EQ(0x1494AD99B0043B20, run_against_model<s16>(draw));
        EXPECT_EQ(0x131BB4211C1FA520, run_against_model<s32>(draw));
    });
}

struct direction {
    double azimuth, elevation; // degrees
};

constexpr double radians = std::numbers::pi / 180;

/* A unit source, 1000 samples after the last ramp; W, Y, Z, X of what comes out. */
std::array<double, 4> hear(effect_host<s32> &host, const direction &source) {
    const double a = source.azimuth * radians, e = source.elevation * radians;
    const double field[] = {1, std::sin(a) * std::cos(e), std::sin(e), std::cos(a) * std::cos(e)};
    std::array<std::vector<s32>, 4> x;
    for (std::size_t i = 0; i < 4; ++i)
        x[i].assign(2024, static_cast<s32>(std::lround(field[i] * 0x3FFFFFFF)));
    EXPECT_EQ(0u, host.process(x));
    std::array<double, 4> y{};
    for (std::size_t i = 0; i < 4; ++i) y[i] = x[i].back() / double(0x3FFFFFFF);
    return y;
}

constexpr double tolerance = 1e-7;

TEST(HoaEffect, RotationTurnsTheListener) {
    const direction turns[] = {{30, 0}, {-120, 0}, {180, 0}, {0, 45}, {75, -60}, {-33, 90}};
    for (const direction &turn : turns) {
        effect_host<s32> host;
        ASSERT_EQ(0u, host.rotate(static_cast<s32>(turn.azimuth * degree),
                                  static_cast<s32>(turn.elevation * degree)));
        const auto front = hear(host, turn);
        EXPECT_NEAR(1, front[0], tolerance);
        EXPECT_NEAR(0, front[1], tolerance);
        EXPECT_NEAR(0, front[2], tolerance);
        EXPECT_NEAR(1, front[3], tolerance);
    }
    effect_host<s32> host;
    ASSERT_EQ(0u, host.rotate(30 * degree, 0));
    const auto left = hear(host, {75, 0}); // 45 degrees further to the left than the front
    EXPECT_NEAR(std::sin(45 * radians), left[1], tolerance);
    EXPECT_NEAR(std::cos(45 * radians), left[3], tolerance);
}

/* W and X in the frame of the focus are 0.6352 + 0.3648 cos(angle from the focus). */
TEST(HoaEffect, FocusKeepsItsDirectionAndLowersTheOthers) {
    effect_host<s32> host;
    ASSERT_EQ(0u, host.focus(60 * degree, 20 * degree, 1));
    const auto kept = hear(host, {60, 20});
    EXPECT_NEAR(1, kept[0], tolerance);
    EXPECT_NEAR(std::sin(60 * radians) * std::cos(20 * radians), kept[1], tolerance);
    EXPECT_NEAR(std::sin(20 * radians), kept[2], tolerance);
    EXPECT_NEAR(0.6352 - 0.3648, hear(host, {-120, -20})[0], tolerance);
    EXPECT_NEAR(0.6352, hear(host, {150, 0})[0], tolerance);

    // Focused, then turned: the focus direction arrives where the rotation puts it.
    ASSERT_EQ(0u, host.rotate(60 * degree, 20 * degree));
    const auto turned = hear(host, {60, 20});
    EXPECT_NEAR(1, turned[3], tolerance);
    EXPECT_NEAR(0, turned[1], tolerance);
    EXPECT_NEAR(0, turned[2], tolerance);
}

/* No sample of a ramp steps further than the ramp's slope. */
TEST(HoaEffect, RampsWithoutSteps) {
    effect_host<s32> host;
    ASSERT_EQ(0u, host.rotate(90 * degree, 0));
    std::array<std::vector<s32>, 4> x;
    for (auto &channel : x) channel.assign(1200, 0);
    x[3].assign(1200, 0x40000000);
    ASSERT_EQ(0u, host.process(x));
    for (std::size_t t = 1; t < 1200; ++t)
        ASSERT_LE(std::abs(x[1][t] - x[1][t - 1]), 0x40000000 / 1024 + 1024) << t;
    EXPECT_NEAR(-0x40000000, x[1][1023], 1024);
    EXPECT_EQ(x[1][1024], x[1][1199]);
}

} // namespace
} // namespace earshot::test
