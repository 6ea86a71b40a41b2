/* Scenes as they sound. */
#include "sounds.hpp"
#include "tests/support/digest.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include <nlohmann/json.hpp>

namespace earshot_scenes::test {
namespace {

constexpr double pi = 3.14159265358979323846;

u64 digest_of(const samples &pairs) {
    earshot::test::digest pinned;
    for (const s32 sample : pairs) pinned.add(sample);
    return pinned.value();
}

/* --- The same bits everywhere ------------------------------------------------------------------*/

const nlohmann::json &pinned() {
    static const nlohmann::json content = [] {
        std::ifstream file(EARSHOT_PINNED_SCENES);
        return nlohmann::json::parse(file);
    }();
    return content;
}

/* Scenes with the digests of their two placements. What is pinned here is rendered by others as
 * well, which read the same file. */
TEST(SceneRender, ScenesHaveTheirDigests) {
    samples steps(9000);
    for (std::size_t i = 0; i < steps.size(); ++i)
        steps[i] = static_cast<s32>((i / 300 % 7 << 27) + 0x10000000);
    const std::vector<samples> sounds{noise(9600, 1), steps, noise(4000, 2, 0)};
    const auto table = [](const std::string &name) {
        return pinned().at("tables").at(name).get<std::string>();
    };
    ASSERT_EQ(10u, pinned().at("scenes").size());
    for (const auto &[name, entry] : pinned().at("scenes").items()) {
        const auto digest = [&, &text = entry.at("scene")](placement where) {
            return digest_of(performance(parse_scene(text.dump(), table), sounds, where).play());
        };
        EXPECT_EQ(entry.at("measured").get<u64>(), digest(placement::measured)) << name;
        EXPECT_EQ(entry.at("continuous").get<u64>(), digest(placement::continuous)) << name;
    }
}

/* --- What comes out ----------------------------------------------------------------------------*/

TEST(SceneRender, FixedDirectionsArePlainFilters) {
    const samples sound = noise(2000, 3, 0);
    for (const auto &[azimuth, elevation] : {std::pair{0.0, 0.0},
                                             {2.5, 0.0},
                                             {90.0, 0.0},
                                             {-37.5, 35.0},
                                             {360.0, -90.0},
                                             {180.0, 90.0}}) {
        table_engine table(filter_tables::directions, 1, 96, 3);
        head_engine head(own_head(), 1, 96, {});
        for (binaural_engine *engine :
             {static_cast<binaural_engine *>(&table), static_cast<binaural_engine *>(&head)}) {
            memory_source input(sound);
            engine->place(0, static_cast<s32>(azimuth * 65536),
                          static_cast<s32>(elevation * 65536));
            binaural_stream plain(*engine, {&input});
            samples expected(2 * (sound.size() + 127));
            ASSERT_EQ(sound.size() + 127, plain.read(expected.data(), 5000));
            performance played(scene_text(R"("direction": [)" + std::to_string(azimuth) + ", " +
                                          std::to_string(elevation) + "]"),
                               {sound},
                               engine == &head ? placement::continuous : placement::measured);
            EXPECT_EQ(expected.size() / 2, static_cast<std::size_t>(*played.stream->frames()));
            EXPECT_EQ(expected, played.play()) << azimuth;
        }
    }
}

TEST(SceneRender, ReadsCanBeCutAnywhere) {
    const std::string text = scene_text(R"("track": [[0, 2, 20, 1], [0.2, 2, -20, 1]], "gain": 3,
        "rolloff": {"model": "inverse", "minimum": 1, "maximum": 30}, "dc_block": true)");
    const samples whole = performance(text, {noise(9600, 4)}).play(20000);
    for (const std::size_t step : {1u, 95u, 96u, 2047u})
        EXPECT_EQ(whole, performance(text, {noise(9600, 4)}).play(step)) << step;
}

TEST(SceneRender, HeadAndSourceTurnTogether) {
    const samples sound = noise(24000, 5);
    const auto play = [&](const std::string &text) {
        return performance(text, {sound}, placement::measured).play();
    };
    const std::string still_text = scene_text(R"("direction": [20, 10])");
    const samples still = play(still_text);
    const std::string round =
        scene_text(R"("track": [[0, 20, 10], [0.125, 200, 10], [0.25, 380, 10]])",
                   R"("listener": {"orientation_track":
            [[0, 0, 0, 0], [0.125, 180, 0, 0], [0.25, 360, 0, 0]]})");
    EXPECT_EQ(still, play(round));
    // Continuously as well, but for what the head's angle is rounded by.
    const samples expected = performance(still_text, {sound}).play();
    const samples heard = performance(round, {sound}).play();
    for (std::size_t i = 0; i < heard.size(); ++i) ASSERT_NEAR(expected[i], heard[i], 2e5) << i;
    // Both of them walk, too.
    EXPECT_EQ(
        play(scene_text(R"("position": [3, 1, 0])")),
        play(scene_text(R"("track": [[0, 3, 1, 0], [0.5, 13, 6, -2]])",
                        R"("listener": {"position_track": [[0, 0, 0, 0], [0.5, 10, 5, -2]]})")));
    EXPECT_NE(still, play(scene_text(R"("track": [[0, 20, 10], [0.25, 200, 10]])")));
}

TEST(SceneRender, StartsLoopsAndDurations) {
    const samples sound = noise(4800, 6);
    const samples once = performance(scene_text(R"("direction": [50, 0])"), {sound}).play();
    ASSERT_EQ(2u * (4800 + 127), once.size());

    const samples late =
        performance(scene_text(R"("direction": [50, 0], "start": 0.1)"), {sound}).play();
    ASSERT_EQ(once.size() + 9600, late.size());
    EXPECT_TRUE(std::equal(once.begin(), once.end(), late.begin() + 9600));
    const std::ptrdiff_t silent = 2 * (4800 - 96); // the frame before the start hears its noise
    EXPECT_EQ(samples(silent), samples(late.begin(), late.begin() + silent));

    samples thrice;
    for (int k = 0; k < 3; ++k) thrice.insert(thrice.end(), sound.begin(), sound.end());
    const samples repeated =
        performance(scene_text(R"("direction": [50, 0], "loop": true)", R"("duration": 0.25)"),
                    {sound})
            .play();
    ASSERT_EQ(24000u, repeated.size());
    const samples unrolled = performance(scene_text(R"("direction": [50, 0])"), {thrice}).play();
    EXPECT_TRUE(std::equal(repeated.begin(), repeated.end(), unrolled.begin()));

    // A duration pads and cuts; a looping source ends with the last that does not.
    const auto length = [&](const std::string &text) {
        return performance(text, {sound, noise(100, 7)}).play().size() / 2;
    };
    EXPECT_EQ(48000u, length(scene_text(R"("direction": [0, 0])", R"("duration": 1)")));
    EXPECT_EQ(480u, length(scene_text(R"("direction": [0, 0])", R"("duration": 0.01)")));
    EXPECT_EQ(4927u, length(R"({"version": 1, "sources": [{"file": "a", "direction": [0, 0]},
                               {"file": "b", "direction": [0, 0], "loop": true}]})"));
}

/* Loud sources come out as if their sound had been made louder before, and lowering the output
 * shows that nothing was clipped inside. */
TEST(SceneRender, GainsDoNotClipInside) {
    const samples quiet = noise(9600, 8, 5);
    samples loud = quiet;
    for (s32 &sample : loud) sample *= 10;
    const std::string plain = R"("direction": [75, 0])", raised = plain + R"(, "gain": 20)";
    const samples expected = performance(scene_text(plain), {loud}).play();
    const samples amplified = performance(scene_text(raised), {quiet}).play();
    performance lowered(scene_text(raised), {loud});
    lowered.stream->set_level(output_level::decibels(-20000), {});
    const samples restored = lowered.play();
    double worst = 0;
    for (std::size_t i = 0; i < expected.size(); ++i)
        worst = std::max({worst, std::abs(double{1} * amplified[i] - expected[i]),
                          std::abs(double{1} * restored[i] - expected[i])});
    RecordProperty("worst", std::to_string(20 * std::log10(worst / 0x1p31)));
    EXPECT_LT(worst, 0x1p31 * 1e-4);
    EXPECT_GT(lowered.stream->peak(),
              s64{1} << (31 + binaural_stream::peak_fraction)); // and it would have clipped
    EXPECT_EQ(0u, lowered.stream->clipped());
}

TEST(SceneRender, HeadroomIsAsLargeAsItMustBe) {
    scene scene;
    const auto bits = [&](const std::vector<s32> &gains, bool dc_block = false) {
        scene.sources.assign(gains.size(), {});
        for (std::size_t k = 0; k < gains.size(); ++k) {
            scene.sources[k].gain = gains[k];
            scene.sources[k].dc_block = dc_block;
        }
        const scene_headroom found = headroom_for(scene);
        return std::pair{found.gain, found.guard};
    };
    EXPECT_EQ((std::pair{0, 3}), bits({0}));
    EXPECT_EQ((std::pair{0, 4}), bits({0, 0}));
    EXPECT_EQ((std::pair{0, 5}), bits({0, 0, 0}));
    EXPECT_EQ((std::pair{4, 3}), bits({20000}));
    EXPECT_EQ((std::pair{4, 4}), bits({20000, 20000}));
    EXPECT_EQ((std::pair{4, 3}), bits({20000, 0, 0, 0}));
    EXPECT_EQ((std::pair{0, 3}), bits(std::vector<s32>(99, -40000)));
    EXPECT_EQ((std::pair{1, 4}), bits({0, 0}, true));
    // Sources at full scale in the worst way stay inside.
    const std::string text = pinned().at("scenes").at("many").at("scene").dump();
    std::vector<samples> steps;
    for (int sign : {1, -1}) steps.emplace_back(4800, sign < 0 ? INT32_MIN : INT32_MAX);
    performance played(text, {steps[0]}, placement::measured);
    performance negative(text, {steps[1]}, placement::measured);
    played.play();
    negative.play();
    EXPECT_EQ(0u, played.engine->unsafe_frames() + negative.engine->unsafe_frames());
}

/* --- Clicks ------------------------------------------------------------------------------------*/

/* Energy above 4 kHz of one ear against all of it, dB. */
double click_level(const samples &pairs) {
    constexpr int reach = 200; // of a windowed high-pass, -92 dB at 1 kHz
    std::vector<double> taps(2 * reach + 1);
    for (int t = -reach; t <= reach; ++t) {
        const double x = pi * t / (reach + 1), cutoff = 4000.0 / 48000;
        const double window =
            0.35875 + 0.48829 * std::cos(x) + 0.14128 * std::cos(2 * x) + 0.01168 * std::cos(3 * x);
        const double low = t == 0 ? 2 * cutoff : std::sin(2 * pi * cutoff * t) / (pi * t);
        taps[static_cast<std::size_t>(t + reach)] = window * ((t == 0 ? 1 : 0) - low);
    }
    double high = 0, all = 0;
    for (std::size_t i = 0; i + 2 * taps.size() <= pairs.size() - 2 * 4800; i += 2) {
        double y = 0;
        for (std::size_t t = 0; t < taps.size(); ++t) y += taps[t] * pairs[2 * 2400 + i + 2 * t];
        high += y * y;
        all += std::pow(double{1} * pairs[2 * 2400 + i], 2);
    }
    return 10 * std::log10(high / all);
}

TEST(SceneRender, FlightsAreContinuous) {
    samples tone(48000);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = static_cast<s32>(1e9 * std::sin(2 * pi * static_cast<double>(i % 48) / 48));
    const std::string rolloff =
        R"(, "rolloff": {"model": "inverse", "minimum": 1, "maximum": 100})";
    const auto level = [&](const std::string &place) {
        return click_level(performance(scene_text(place + rolloff), {tone}).play());
    };
    const double still = level(R"("position": [2, 1, 0])");
    const double flight = level(R"("track": [[0, 1, 20, 0], [1, 1, -20, 0]])");
    const double jumps = level(R"("track": [[0, 1, 20, 0], [0.33334, 1, 20, 0],
        [0.33335, 1, -1, 0], [0.66667, 1, -1, 0], [0.66668, 1, 3, 0]])");
    RecordProperty("still", std::to_string(still));
    RecordProperty("flight", std::to_string(flight));
    RecordProperty("jumps", std::to_string(jumps));
    EXPECT_LT(still, -105);
    EXPECT_LT(flight, -80);
    EXPECT_LT(jumps, -70);
}

/* Skipped or read: what comes next is the same, wherever in its frame a skip begins and ends, and
 * however many there are in one stream. Sources move, rest, are as fast as before the rest, jump to
 * and fro with every frame or every few, wait, loop and remember. */
TEST(SceneRender, SkippedFramesLeaveNoTrace) {
    std::string zigzag, hops;
    for (int k = 0; k < 200; ++k) {
        const std::string time = (k == 0 ? "[" : ", [") + std::to_string(0.002 * k + 0.0003);
        zigzag += time + (k % 2 == 0 ? ", 40, 0]" : ", -110, 20]");
        if (k % 3 == 0) hops += time + ", " + std::to_string(k * k % 350) + ", 0]";
    }
    const std::string text = R"({"version": 1, "listener": {"orientation_track":
        [[0, 0, 0, 0], [0.3, 170, 20, 0], [0.302, -30, 0, 0], [0.5, 60, 0, 0]]}, "sources": [
        {"file": "a", "start": 0.031, "rolloff": {"model": "linear", "minimum": 1, "maximum": 30},
         "track": [[0, 9, 1, 0], [0.4, -3, 2, 0], [0.402, 5, -5, 1], [0.6, 1, 1, 0]]},
        {"file": "b", "loop": true, "gain": 6, "direction": [80, 10]},
        {"file": "a", "dc_block": true, "track": [
          [0.55, 10, 0], [0.56, 190, 0], [0.7, 190, 0], [0.71, 370, 0]]},
        {"file": "b", "track": [)" +
                             zigzag + R"(]}, {"file": "a", "track": [)" + hops + "]}]}";
    const std::vector<samples> sounds = {noise(40000, 21), noise(777, 22), noise(40000, 23),
                                         noise(40000, 24), noise(40000, 25)};
    for (const placement where : {placement::continuous, placement::measured}) {
        const samples whole = performance(text, sounds, where).play();
        const std::size_t length = whole.size() / 2;
        for (u64 seed = 1; seed <= 60; ++seed) {
            performance parts(text, sounds, where);
            const samples steps = noise(100, seed, 0);
            samples block(2 * 4000);
            std::size_t at = static_cast<u32>(steps[99]) % length;
            ASSERT_EQ(static_cast<s64>(at), parts.stream->skip(static_cast<s64>(at)));
            for (std::size_t i = 0; at < length; ++i) {
                const u32 step = static_cast<u32>(steps[i % 99]);
                const std::size_t wanted = (step >> 8) % (step & 1 ? 4000 : 300);
                const std::size_t left = std::min(wanted, length - at);
                if (step & 2) {
                    ASSERT_EQ(left, parts.stream->skip(static_cast<s64>(wanted)));
                } else {
                    ASSERT_EQ(left, parts.stream->read(block.data(), wanted));
                    const s32 *expected = whole.data() + 2 * at;
                    ASSERT_TRUE(std::equal(expected, expected + 2 * left, block.begin()))
                        << seed << ": " << at << " to " << at + left;
                }
                at += left;
            }
            ASSERT_EQ(0, parts.stream->skip(1));
        }
    }
}

} // namespace
} // namespace earshot_scenes::test
