/* What happens to a source before it reaches the head. */
#include "scene/rendering/dc_blocker.hpp"
#include "scene/rendering/source_chain.hpp"

#include "sounds.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace earshot_scenes::test {
namespace {

constexpr s32 q16 = 65536;

/* Everything a chain yields, at its own level. */
samples chain_output(const scene_source &source, const scene_listener &listener,
                     const samples &sound, int headroom = 0) {
    memory_source input(sound);
    source_chain chain(source, listener, input, headroom);
    samples out(sound.size() + static_cast<std::size_t>(source.start) + 10);
    std::size_t got = 0;
    // Odd pieces, to cross the blocks of the gain.
    for (std::size_t step = 1; got < out.size(); step = step * 7 % 263) {
        const std::size_t asked = std::min(step, out.size() - got);
        const std::size_t more = chain.read(out.data() + got, asked);
        got += more;
        if (more < asked) break;
    }
    out.resize(got);
    return out;
}

scene_source at_distance(double distance, const scene_rolloff &rolloff) {
    scene_source source;
    source.place = track<position>{{0, {static_cast<s32>(distance * q16), 0, 0}}};
    source.rolloff = rolloff;
    return source;
}

TEST(SceneStages, NothingToDoChangesNothing) {
    const samples sound = noise(3000, 1, 0);
    EXPECT_EQ(sound, chain_output({}, {}, sound));
    scene_source late;
    late.start = 1234;
    samples delayed(1234);
    delayed.insert(delayed.end(), sound.begin(), sound.end());
    EXPECT_EQ(delayed, chain_output(late, {}, sound));
}

TEST(SceneStages, LoopsHaveNoJoints) {
    const samples sound = noise(1000, 2);
    memory_source once(sound), silent(samples{});
    looping_source loop(once), nothing(silent);
    samples out(7777);
    EXPECT_EQ(5000u, loop.read(out.data(), 5000));
    EXPECT_EQ(2777u, loop.read(out.data() + 5000, 2777));
    for (std::size_t i = 0; i < out.size(); ++i) ASSERT_EQ(sound[i % 1000], out[i]) << i;
    EXPECT_EQ(0u, nothing.read(out.data(), 10));
}

/* Against the same filter in double precision, for noise and steps that fill the 32 bits, where the
 * error is less than -165 dB; and what rounding leaves of a constant: -138 dB. */
TEST(SceneStages, DcBlockerHasTheResolutionOfItsSamples) {
    samples sound = noise(48000, 3, 0);
    for (std::size_t i = 8000; i < 24000; ++i) sound[i] = i % 500 < 250 ? INT32_MIN : INT32_MAX;
    for (std::size_t i = 24000; i < 36000; ++i) sound[i] = 123456789 + (sound[i] >> 8);
    samples out = sound;
    dc_blocker blocker;
    blocker.process(out.data(), 10001);
    blocker.process(out.data() + 10001, out.size() - 10001);
    double x = 0, y = 0, noise_power = 0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        y = sound[i] - x + y * 32638 / 32768;
        x = sound[i];
        noise_power += std::pow((2.0 * out[i] - y) / 0x1p31, 2);
    }
    const double floor = 10 * std::log10(noise_power / static_cast<double>(sound.size()));
    RecordProperty("noise_floor_db", std::to_string(floor));
    EXPECT_LT(floor, -165);

    samples constant(48000, 2000000000);
    dc_blocker{}.process(constant.data(), constant.size());
    EXPECT_LE(std::abs(constant.back()), 126); // at half the level
}

/* What the library's blocker makes of a sample in two parts, call by call. */
samples blocked_by_the_library(samples sound) {
    u16 pole = 0;
    s32 state[8] = {};
    dc_block_handle upper, lower;
    dc_block_init(&pole, &upper, scene_rate, state, state + 2);
    dc_block_init(&pole, &lower, scene_rate, state + 4, state + 6);
    const auto next = [pole](s32 in, const dc_block_handle &stage) {
        dc_block(&in, &in, static_cast<s16>(pole), stage.xprev, stage.yprev, 1, 1);
        return s64{*stage.yprev};
    };
    for (s32 &sample : sound) {
        const s64 high = (s64{sample} + 0x4000) >> 15;
        const s64 low = sample - high * 0x8000;
        const s64 sum = next(static_cast<s32>(high), upper) +
                        ((next(static_cast<s32>(4 * low), lower) + 0x10000) >> 17);
        sample = static_cast<s32>(std::clamp<s64>(sum, INT32_MIN, INT32_MAX));
    }
    return sound;
}

/* In every kind of sound that takes another way through the blocks: a block of samples of 16 bits,
 * then some with more, and jumps between the ends of the range, one of them at a joint of blocks,
 * and after long constants there. */
TEST(SceneStages, DcBlockerHasTheBitsOfTheLibrary) {
    samples sound;
    const auto add = [&sound](std::size_t count, auto &&sample) {
        for (std::size_t i = 0; i < count; ++i) sound.push_back(static_cast<s32>(sample(i)));
    };
    const samples random = noise(8000, 6, 0);
    add(5000, [&](std::size_t i) { return i == 4999 ? INT32_MIN : random[i] & ~0xFFFF; });
    add(3000, [&](std::size_t i) { return i == 0 ? INT32_MAX : random[i]; });
    add(3000, [&](std::size_t i) { return random[i] & ~0xFFFF; }); // the lower part fades away
    for (const s64 high : {s64{INT32_MAX}, s64{0x7FFF0000}, s64{0x7FFEBFFF}, s64{0x7FFEC000}}) {
        for (const s64 low : {s64{INT32_MIN}, s64{INT32_MIN} + 0x10000}) {
            add(8000, [=](std::size_t) { return high; });
            add(8000, [=](std::size_t) { return low; });
            add(1000, [=](std::size_t i) { return i % 7 < 3 ? low : high; });
            add(1000, [&](std::size_t i) { return high - (random[i] & 0xFFFF); });
            add(1000, [&](std::size_t i) { return (i & 512 ? high : low) / 2 + random[i] / 2; });
        }
    }
    samples out = sound;
    dc_blocker blocker;
    for (std::size_t at = 0, step = 5000; at < out.size(); step = step * 7 % 3037) {
        const std::size_t count = std::min(step, out.size() - at);
        blocker.process(out.data() + at, count);
        at += count;
    }
    const samples expected = blocked_by_the_library(sound);
    for (std::size_t i = 0; i < out.size(); ++i) ASSERT_EQ(expected[i], out[i]) << i;
}

/* A block has the samples and the clip count that its samples have one by one: for gains without
 * and with all bits, next to the widest shifts, and for sounds that stay inside and that do not. */
TEST(SceneStages, LevelsOfBlocksAreThoseOfTheirSamples) {
    samples sound = noise(999, 7, 0);
    sound.insert(sound.end(), {0, 1, -1, INT32_MAX, INT32_MIN, INT32_MAX - 1, INT32_MIN + 1});
    for (const s32 thousandths : {0, 1, -6021, -3500, 60000, -120000}) {
        for (const int bits : {-20, -15, -1, 0, 1, 15, 19, 20, 40}) {
            for (const int quieter : {0, 1, 8, 32}) {
                const output_level level = output_level::decibels(thousandths).raised(bits);
                const sample_range range{INT32_MIN + 256, INT32_MAX - 511};
                samples in = sound, expected = sound;
                for (s32 &sample : in) sample = quieter == 32 ? 0 : sample >> quieter;
                u64 clipped = 0, expected_clipped = 0;
                for (std::size_t i = 0; i < in.size(); ++i)
                    expected[i] = level.apply(in[i], range, expected_clipped);
                level.apply(in.data(), in.data(), in.size(), extremes_of(in.data(), in.size()),
                            range, clipped);
                ASSERT_EQ(expected, in) << thousandths << ' ' << bits << ' ' << quieter;
                ASSERT_EQ(expected_clipped, clipped);
            }
        }
    }
}

TEST(SceneStages, LevelsAreExact) {
    const samples sound = noise(1000, 4, 0);
    scene_source source;
    for (const auto &[thousandths, headroom] : {std::pair{20000, 4}, {-20000, 0}, {6021, 1}}) {
        source.gain = thousandths;
        const samples out = chain_output(source, {}, sound, headroom);
        const double gain = std::pow(10, thousandths / 20000.0) / (1 << headroom);
        for (std::size_t i = 0; i < sound.size(); ++i) ASSERT_NEAR(sound[i] * gain, out[i], 1.5);
    }
}

/* Full at the minimum and nearer, nothing at the maximum and farther, the model's curve in between,
 * and never a jump. */
TEST(SceneStages, GainsRollOffWithoutAJump) {
    const auto gain = [](double distance, const scene_rolloff &rolloff) {
        return rolled_off(static_cast<s32>(distance * q16), rolloff) / 0x1p31;
    };
    for (const auto &[minimum, maximum] : {std::pair{1.0, 20.0},
                                           {0.25, 60.0},
                                           {4.0, 60.0},
                                           {300.0, 8000.0},
                                           {2.0, 2.0},
                                           {0.1, 0.5}}) {
        for (const u32 model : {ROLLOFF_INVERSE, ROLLOFF_LINEAR, ROLLOFF_NONE}) {
            const scene_rolloff rolloff{model, static_cast<s32>(minimum * q16),
                                        static_cast<s32>(maximum * q16)};
            const double m = std::min(std::max(minimum, 1.0), 0.99 * maximum);
            EXPECT_EQ(1, gain(0, rolloff));
            EXPECT_NEAR(1, gain(m, rolloff), 1e-3);
            EXPECT_EQ(0, gain(maximum, rolloff));
            EXPECT_EQ(0, gain(2 * maximum, rolloff));
            double last = 1, steepest = 0;
            for (double distance = 0; distance < 1.1 * maximum; distance += maximum / 20000) {
                const double now = gain(distance, rolloff);
                EXPECT_LE(now, last);
                steepest = std::max(steepest, last - now);
                last = now;
            }
            EXPECT_LT(steepest, maximum / m / 19000 + 0.007) << minimum << " " << model;
        }
        const scene_rolloff inverse{ROLLOFF_INVERSE, static_cast<s32>(minimum * q16),
                                    static_cast<s32>(maximum * q16)};
        const double m = std::max(minimum, 1.0);
        for (const double d : {1.5 * m, 3 * m, 9 * m}) {
            const double wanted = d < maximum ? (m / d - m / maximum) / (1 - m / maximum) : 0;
            EXPECT_NEAR(wanted, gain(d, inverse), 1e-4);
        }
    }
    EXPECT_NEAR(0.5, gain(6, {ROLLOFF_LINEAR, q16, 11 * q16}), 1e-4);
    EXPECT_EQ(1, gain(10.8, {ROLLOFF_NONE, q16, 11 * q16}));
}

/* A gain that changes goes in a straight line through every block of 96 samples. */
TEST(SceneStages, GainsRamp) {
    scene_source source = at_distance(2, {ROLLOFF_LINEAR, q16, 11 * q16});
    std::get<track<position>>(source.place).push_back({9600, {10 * q16, 0, 0}});
    constexpr s32 level = 1 << 30;
    const samples out = chain_output(source, {}, samples(9600, level));
    s64 steepest = 0, bend = 0;
    for (std::size_t i = 1; i < out.size(); ++i) {
        const s64 slope = s64{out[i]} - out[i - 1];
        steepest = std::max(steepest, std::abs(slope));
        if (i % 96 > 1) bend = std::max(bend, std::abs(slope - (s64{out[i - 1]} - out[i - 2])));
    }
    EXPECT_NEAR(0.9 * level, out.front(), level / 200.0);
    EXPECT_NEAR(0.1 * level, out.back(), level / 200.0);
    EXPECT_LE(steepest, 3 * (level >> 15)); // the gain's smallest steps
    EXPECT_LE(bend, 4);
}

} // namespace
} // namespace earshot_scenes::test
