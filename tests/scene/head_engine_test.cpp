/* Sources at exactly their directions: what moves, what jumps, and what stands still. */
#include "sounds.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace earshot_scenes::test {
namespace {

constexpr s32 q16 = 65536;

/* Frames of one source of noise, as Q31 in double precision; moves are made before their frame. */
class one_source {
  public:
    explicit one_source(std::size_t frame_length = 96)
        : engine_(own_head(), 1, frame_length, {}), sound_(noise(40 * frame_length + 512, 11, 1)) {}

    void place(double azimuth, double elevation) {
        engine_.place(0, static_cast<s32>(azimuth * q16), static_cast<s32>(elevation * q16));
    }

    std::vector<double> next() {
        const s32 *window = sound_.data() + position_ + 140 - engine_.lead();
        std::vector<s32> pairs(2 * engine_.frame_length());
        const int exponent = engine_.process(&window, pairs.data());
        position_ += engine_.frame_length();
        std::vector<double> heard;
        for (const s32 word : pairs) heard.push_back(std::ldexp(word, exponent));
        return heard;
    }

  private:
    head_engine engine_;
    samples sound_;
    std::size_t position_ = 0;
};

/* The frames of a source that stands still. */
std::vector<std::vector<double>> still(double azimuth, double elevation, int frames) {
    one_source source;
    source.place(azimuth, elevation);
    std::vector<std::vector<double>> heard;
    for (int k = 0; k < frames; ++k) heard.push_back(source.next());
    return heard;
}

TEST(HeadEngine, StepsArriveAtTheEndOfTheirFrameAndJumpsAfterFive) {
    struct move {
        double azimuth, elevation;
        int frames;
    };
    const auto before = still(170, 20, 12);
    for (const auto &[azimuth, elevation, frames] :
         {move{175, 20, 1}, {178, 20, 1}, {170, 29, 1}, {-100, 20, 5}, {170, -30, 5}, {0, 85, 5}}) {
        const auto after = still(azimuth, elevation, 12);
        one_source source;
        source.place(170, 20);
        EXPECT_EQ(before[0], source.next());
        EXPECT_EQ(before[1], source.next());
        source.place(azimuth, elevation);
        int arrived = 0; // the first frame with the new filters from its beginning
        for (int k = 2; k < 12; ++k) {
            const auto heard = source.next();
            if (heard == after[static_cast<std::size_t>(k)]) break;
            arrived = k - 1;
        }
        EXPECT_EQ(frames, arrived) << azimuth << " " << elevation;
    }
}

/* Straight overhead half a turn of azimuth is a step of a degree or two. */
TEST(HeadEngine, TheWayOverTheTopIsNoJump) {
    const auto after = still(180, 89, 4);
    one_source source;
    source.place(0, 89);
    source.next();
    source.place(180, 89);
    source.next();
    EXPECT_EQ(after[2], source.next());
}

/* Frames of 128 have cut responses: what is cut is little, and both kinds of frames agree. */
TEST(HeadEngine, LongFramesSoundLikeShortOnes) {
    for (const auto &[azimuth, elevation] :
         {std::pair{33.3, 12.0}, {-91.0, -60.0}, {180.0, 77.7}}) {
        std::vector<double> sound[2];
        for (const std::size_t length : {96u, 128u}) {
            one_source source(length);
            source.place(azimuth, elevation);
            for (std::size_t k = 0; k < 12 * 128 / length; ++k)
                for (const double sample : source.next())
                    sound[length == 96 ? 0 : 1].push_back(sample);
        }
        double error = 0, all = 0;
        ASSERT_EQ(sound[0].size(), sound[1].size());
        for (std::size_t i = 0; i < sound[0].size(); ++i) {
            error += std::pow(sound[0][i] - sound[1][i], 2);
            all += std::pow(sound[0][i], 2);
        }
        const double level = 10 * std::log10(error / all);
        RecordProperty("azimuth " + std::to_string(azimuth), std::to_string(level));
        EXPECT_LT(level, -45) << azimuth;
    }
}

/* Filters that do nothing but delay and lower are their own; what comes before the sound does not
 * delay. */
TEST(HeadEngine, EverywhereIsAsLateAndLoudAsTheFront) {
    const auto delayed = [](double delay, double gain) {
        std::vector<s32> all(256);
        s32 *ear = all.data();
        for (int k = 0; k < 128; ++k) {
            const double angle = 2 * M_PI * k * delay / 256;
            ear[2 * k] = static_cast<s32>(std::lround(gain * std::cos(angle) * 0x1p29));
            ear[2 * k + 1] = static_cast<s32>(std::lround(-gain * std::sin(angle) * 0x1p29));
        }
        ear[1] = static_cast<s32>(std::lround(gain * std::cos(M_PI * delay) * 0x1p29));
        return all;
    };
    const struct {
        double delay, gain, taken;
    } cases[] = {{0, 1, 0},       {1, 0.9, 1},   {25.4, 0.5, 25},
                 {25.6, 1.9, 26}, {100, 1, 100}, {-3, 1, 0}};
    for (const auto &[delay, gain, taken] : cases) {
        const std::vector<s32> front = delayed(delay, gain), expected = delayed(taken, gain);
        const earshot_filter_pair pair = in_time_with({front.data(), front.data()});
        for (const auto &ear : pair.ear)
            for (std::size_t i = 0; i < 256; ++i)
                ASSERT_NEAR(expected[i], ear[i], 200) << delay << " " << i;
        EXPECT_GE(pair.gain, gain * 65536);
        EXPECT_LE(pair.gain, gain * 65536 + 4);
    }
}

} // namespace
} // namespace earshot_scenes::test
