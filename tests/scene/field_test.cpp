/* Scenes as fields. */
#include "scene/motion/track.hpp"
#include "scene/rendering/field_stream.hpp"

#include "sounds.hpp"
#include "tests/support/digest.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace earshot_scenes::test {
namespace {

using gains = std::array<s32, EARSHOT_FIELD_CHANNELS>;

std::size_t channels_of(int order) { return static_cast<std::size_t>((order + 1) * (order + 1)); }

gains gains_at(int order, const direction &where) {
    gains found{};
    EXPECT_EQ(0u, earshot_field_gains(static_cast<u32>(order), turn_of_degrees(where.azimuth),
                                      turn_of_degrees(where.elevation), found.data()));
    return found;
}

direction degrees(double azimuth, double elevation) {
    return {static_cast<s32>(std::lround(azimuth * 65536)),
            static_cast<s32>(std::lround(elevation * 65536))};
}

/* A scene with its sounds as a field. */
struct field_of : opened_scene {
    field_of(earshot_scenes::scene played, const std::vector<samples> &sounds, int order)
        : opened_scene(std::move(played), sounds) {
        stream.emplace(scene, inputs, order);
    }
    field_of(const std::string &text, const std::vector<samples> &sounds, int order)
        : field_of(parse_scene(text, {}), sounds, order) {}

    samples play(std::size_t step = 1000) { return all_of(*stream, step); }

    std::optional<field_stream> stream;
};

/* Sources at directions that do not change. */
scene still(const std::vector<direction> &places) {
    scene made;
    for (const direction &place : places) {
        made.sources.emplace_back();
        made.sources.back().place = track<direction>{{0, place}};
    }
    return made;
}

/* The sum of samples times gains, rounded once, to the bit; in frames that go beyond full scale a
 * few bits less. */
TEST(SceneField, SourcesHaveTheirGains) {
    std::vector<direction> places = {degrees(0, 0),    degrees(30, 10),  degrees(-135, -60),
                                     degrees(90, 0),   degrees(12, 90),  degrees(179.99, 1),
                                     degrees(300, 45), degrees(-77, -33)};
    for (const int order : {1, 2, 3, 4}) {
        for (const std::size_t count : {1u, 2u, 3u, 8u}) {
            const std::size_t channels = channels_of(order), length = 96 * 20 + 17;
            std::vector<samples> sounds;
            for (std::size_t k = 0; k < count; ++k) {
                sounds.push_back(noise(length, k + 1, 0));
                for (std::size_t i = 0; i < length; ++i) { // all levels; the largest samples
                    sounds[k][i] >>= i / 96;
                    if (i < 40) sounds[k][i] = (i + k) % 2 == 0 ? INT32_MIN : INT32_MAX;
                }
            }
            std::rotate(places.begin(), places.begin() + 1, places.end());
            const std::vector<direction> now(places.begin(),
                                             places.begin() + static_cast<std::ptrdiff_t>(count));
            field_of field(still(now), sounds, order);
            EXPECT_EQ(static_cast<s64>(length), *field.stream->frames());
            const samples found = field.play();
            ASSERT_EQ(channels * length, found.size());
            u64 clipped = 0;
            s64 peak = 0;
            for (std::size_t i = 0; i < length; ++i) {
                for (std::size_t c = 0; c < channels; ++c) {
                    s64 whole = 0, rest = 1 << 29;
                    for (std::size_t k = 0; k < count; ++k) {
                        const s64 product = s64{sounds[k][i]} * gains_at(order, now[k])[c];
                        whole += product >> 30;
                        rest += product & 0x3FFFFFFF;
                    }
                    const s64 exact = whole + (rest >> 30);
                    peak = std::max(peak, std::abs(exact));
                    u64 loud = 0;
                    const s64 expected = clamp_counted(exact, 32, loud);
                    clipped += loud;
                    ASSERT_LE(std::abs(expected - found[i * channels + c]),
                              count > 1 && i < 384 ? 16 : 0)
                        << order << " " << count << " " << i << " " << c;
                }
            }
            EXPECT_EQ(clipped, field.stream->clipped());
            EXPECT_NEAR(static_cast<double>(peak),
                        std::ldexp(static_cast<double>(field.stream->peak()),
                                   -rendered_stream::peak_fraction),
                        16);
        }
    }
}

/* In straight lines from frame to frame, from and to where a source is then; a jump takes five. */
TEST(SceneField, GainsAreOnTheirWay) {
    constexpr s32 one = 1 << 30;
    const samples constant(4800, one);
    const track<direction> way = {{0, degrees(-170, -20)}, {4800, degrees(150, 50)}};
    scene moving = still({{}});
    moving.sources[0].place = way;
    const samples found = field_of(moving, {constant}, 4).play();
    for (s64 i = 96; i < 4800; ++i) {
        const s64 frame = i / 96 * 96;
        const gains from = gains_at(4, at(way, frame)), to = gains_at(4, at(way, frame + 96));
        for (std::size_t c = 0; c < 25; ++c) {
            const double part = static_cast<double>(i - frame) / 96;
            ASSERT_NEAR(from[c] + part * (double{1} * to[c] - from[c]),
                        found[static_cast<std::size_t>(i) * 25 + c], 1.01)
                << i << " " << c;
        }
    }

    scene jumping = still({{}});
    jumping.sources[0].place =
        track<direction>{{0, degrees(20, 0)}, {959, degrees(20, 0)}, {960, degrees(-60, 0)}};
    const samples jumped = field_of(jumping, {constant}, 1).play();
    for (const auto &[frame, azimuth] : {std::pair{9, 20}, {10, 4}, {11, -12}, {14, -60}})
        EXPECT_EQ(gains_at(1, degrees(azimuth, 0))[3],
                  jumped[static_cast<std::size_t>(frame) * 384 + 3])
            << frame;
}

/* A head that turns, and a listener who walks, hear a source from where it is for them then. */
TEST(SceneField, DirectionsAreThoseOfTheListener) {
    const samples sound = noise(4000, 3);
    const auto play = [&](const std::string &source, const std::string &top) {
        return field_of(scene_text(source, top), {sound}, 3).play();
    };
    for (const auto &[source, top, heard] :
         {std::array<const char *, 3>{R"("direction": [70, 0])",
                                      R"("listener": {"orientation": {"yaw": 30}})",
                                      R"("direction": [40, 0])"},
          {R"("direction": [0, 0])", R"("listener": {"orientation": {"pitch": 25}})",
           R"("direction": [0, -25])"},
          {R"("direction": [90, 0])", R"("listener": {"orientation": {"roll": 35}})",
           R"("direction": [90, -35])"},
          {R"("position": [5, 7, 3])", R"("listener": {"position": [2, 7, 0]})",
           R"("direction": [0, 45])"},
          {R"("position": [3, 1, 2])", R"("listener": {"position": [3, 1, 2]})",
           R"("direction": [0, 0])"}}) {
        const samples found = play(source, top),
                      expected = play(heard, R"("duration": 0.08333333)");
        ASSERT_EQ(expected.size(), found.size());
        for (std::size_t i = 0; i < found.size(); ++i)
            ASSERT_NEAR(expected[i], found[i], 2500) << source << " " << i; // 0.00006 degrees
    }
}

TEST(SceneField, WhatIsEverywhereIsInW) {
    scene scene = still({{}});
    scene.sources[0].place = everywhere{};
    const samples sound = noise(1000, 4, 0), found = field_of(scene, {sound}, 2).play();
    for (std::size_t i = 0; i < sound.size(); ++i)
        for (std::size_t c = 0; c < 9; ++c)
            ASSERT_EQ(c == 0 ? sound[i] : 0, found[9 * i + c]) << i << " " << c;
}

/* Quiet sounds keep their low bits where the level is raised, loud ones are not clipped where it is
 * lowered: both come out as if their samples had had that level before. */
TEST(SceneField, LevelsAreThoseOfTheSums) {
    const std::vector<direction> places(40, degrees(33, 21));
    const samples quiet = noise(2000, 5, 16), loud = noise(2000, 6, 0);
    const gains expected = gains_at(2, places[0]);
    for (const auto &[sound, decibels, sources] :
         {std::tuple{&quiet, 60000, 1}, {&loud, -40000, 40}}) {
        field_of field(still({places.begin(), places.begin() + sources}), {*sound}, 2);
        field.stream->set_level(output_level::decibels(decibels), {});
        const samples found = field.play();
        double worst = 0;
        for (std::size_t i = 0; i < sound->size(); ++i)
            for (std::size_t c = 0; c < 9; ++c)
                worst = std::max(worst, std::abs(std::ldexp((*sound)[i], -30) * expected[c] *
                                                     sources * std::pow(10, decibels / 20000) -
                                                 found[9 * i + c]));
        EXPECT_LT(worst, 6) << decibels;
        EXPECT_EQ(0u, field.stream->clipped());
    }
}

TEST(SceneField, ReadsCanBeCutAnywhereAndEnd) {
    const std::string text = scene_text(R"("track": [[0, 2, 20, 1], [0.2, 2, -20, 1]], "gain": 3,
        "rolloff": {"model": "inverse", "minimum": 1, "maximum": 30}, "dc_block": true)");
    const samples whole = field_of(text, {noise(9600, 7)}, 2).play(20000);
    for (const std::size_t step : {1u, 95u, 96u, 2047u})
        EXPECT_EQ(whole, field_of(text, {noise(9600, 7)}, 2).play(step)) << step;

    const auto length = [](const std::string &made) {
        field_of field(made, {noise(4800, 8), noise(100, 9)}, 1);
        const auto announced = field.stream->frames();
        const std::size_t found = field.play().size() / 4;
        EXPECT_EQ(static_cast<s64>(found), announced.value_or(-1));
        return found;
    };
    EXPECT_EQ(4800u, length(scene_text(R"("direction": [0, 0])")));
    EXPECT_EQ(5333u, length(scene_text(R"("direction": [0, 0], "start": 0.0111)")));
    EXPECT_EQ(48000u, length(scene_text(R"("direction": [0, 0])", R"("duration": 1)")));
    EXPECT_EQ(485u, length(scene_text(R"("direction": [0, 0])", R"("duration": 0.0101)")));
    EXPECT_EQ(4800u, length(R"({"version": 1, "sources": [{"file": "a", "direction": [0, 0]},
                               {"file": "b", "direction": [0, 0], "loop": true}]})"));
}

TEST(SceneField, FieldsHaveTheirDigests) {
    const std::string walk = scene_text(R"("position": [1, 1, 0], "loop": true, "gain": 9,
        "rolloff": {"model": "inverse", "minimum": 1, "maximum": 20})",
                                        R"("duration": 0.3, "listener": {
            "position_track": [[0, 0, 0, 0], [0.2, 2, 2, 0.5]], "orientation_track":
            [[0, 0, 0, 0], [0.1, 90, 45, -30], [0.15, 225, -22.5, 75], [0.2, 360, -90, 180]]})");
    const std::string several = R"({"version": 1, "sources": [
        {"file": "a", "track": [[0, 0, -40], [0.1, 170, 90], [0.2, -20, 0]], "start": 0.01},
        {"file": "b", "direction": [-100, 30], "gain": 20, "dc_block": true},
        {"file": "c", "track": [[0, 2, 20, 1], [0.2, 2, -20, 1]]},
        {"file": "d", "direction": [180, 0], "gain": 12}]})";
    for (const auto &[text, order, expected] : {std::tuple{&walk, 1, u64{12521759009096526655u}},
                                                {&walk, 4, 3942907846681534167u},
                                                {&several, 2, 16183813137590436803u},
                                                {&several, 3, 2848933645134427235u}}) {
        earshot::test::digest pinned;
        for (const s32 sample :
             field_of(*text, {noise(9600, 10, 0), noise(7000, 11), noise(5000, 12)}, order).play())
            pinned.add(sample);
        EXPECT_EQ(expected, pinned.value()) << order;
    }
}

} // namespace
} // namespace earshot_scenes::test
