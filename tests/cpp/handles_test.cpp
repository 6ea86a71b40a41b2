/*
 * The handles against the C calls, bit for bit; what they refuse; what moving them leaves. Built as
 * C++17, where spans are earshot's own, and as C++20.
 */
#include <earshot/earshot.hpp>

#include "tests/support/operands.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

namespace {

using earshot::degrees;
using earshot::span;
using earshot::status;

template <typename Sample> std::vector<Sample> noise(std::size_t count, u64 seed) {
    earshot::test::operand_source source(seed);
    std::vector<Sample> samples(count);
    for (Sample &sample : samples) sample = source.next<Sample>();
    return samples;
}

/* Runs what should throw, and gives back the status that came with it. */
template <typename Call> status thrown_by(Call call, const char *name) {
    try {
        call();
    } catch (const earshot::error &fault) {
        EXPECT_STREQ(fault.call(), name);
        EXPECT_EQ(std::string(fault.what()), std::string(name) + ": " + describe(fault.code()));
        return fault.code();
    }
    return status::ok;
}

/* --- Spans and angles --------------------------------------------------------------------------*/

std::size_t bytes_in(span<const s32> words) { return words.size_bytes(); }

TEST(CppSpan, IsMadeOfWhatHoldsSamplesAndCutInParts) {
    s32 plain[5] = {1, 2, 3, 4, 5};
    std::array<s32, 3> array = {};
    const std::vector<s32> constant(7);
    span<s32> all(plain);
    EXPECT_EQ(bytes_in(plain), 20u);
    EXPECT_EQ(bytes_in(array), 12u);
    EXPECT_EQ(bytes_in(constant), 28u);
    EXPECT_EQ(bytes_in(all), 20u);
    EXPECT_EQ(bytes_in({}), 0u);
    EXPECT_EQ(earshot::as_bytes(span(plain)).size(), 20u);
    EXPECT_EQ(all.subspan(1, 3).back(), 4);
    EXPECT_EQ(all.subspan(2).size(), 3u);
    EXPECT_EQ(all.first(2).back() + all.last(2).front(), 6);
    static_assert(!std::is_constructible_v<span<s32>, const std::vector<s32> &>);
    static_assert(!std::is_constructible_v<span<s32>, span<const s32>>);
    static_assert(!std::is_constructible_v<span<s32>, std::vector<s16> &>);
    static_assert(!std::is_constructible_v<span<s32>, std::vector<s32>>);
}

TEST(CppDegrees, AreExactFromWholeNumbersAndNearestFromOthers) {
    static_assert(degrees(30).q16() == 30 * 65536 && degrees(-0.5).q16() == -32768);
    const std::pair<degrees, s32> cases[] = {
        {degrees(-180), -11796480},
        {degrees(u32{90}), 90 * 65536},
        {degrees(-32767L), -32767 * 65536},
        {degrees(30.1f), 1972634}, /* the nearest float is 30.1000003815 */
        {degrees(0.5 / 65536), 1},
        {degrees(0.49999999999999994 / 65536), 0}, /* plus 0.5 is 1.0 in double */
        {degrees(-1.5 / 65536), -2},
        {degrees(32767.9999999), INT32_MAX},
        {degrees(40000), 400 * 65536}, /* no direction's range, but the same azimuth */
        {degrees(-40000.25), -400 * 65536 - 16384},
        {degrees(~u64{0}), (15 + 360) * 65536},
        {degrees(std::numeric_limits<s64>::min()), (-8 - 360) * 65536},
        {degrees(1e300), INT32_MIN},
        {degrees(std::numeric_limits<double>::quiet_NaN()), INT32_MIN},
        {-degrees::from_q16(INT32_MIN), INT32_MAX},
    };
    for (const auto &[angle, q16] : cases) EXPECT_EQ(angle.q16(), q16);
}

TEST(CppDegrees, TurnsAreTheNearestAndWrap) {
    EXPECT_EQ(degrees(90).turns(), 0x40000000u);
    EXPECT_EQ(degrees(-90).turns(), 0xC0000000u);
    EXPECT_EQ(degrees(360).turns(), 0u);
    earshot::test::operand_source source;
    for (int k = 0; k < earshot::test::rounds; ++k) {
        const s32 q16 = source.next<s32>();
        const double turns = q16 / (360.0 * 65536) * 4294967296.0;
        const double off = turns - degrees::from_q16(q16).turns();
        EXPECT_LE(std::abs(off - 4294967296.0 * std::round(off / 4294967296.0)), 0.501) << q16;
    }
}

/* --- Effect ------------------------------------------------------------------------------------*/

template <typename Sample> class CppEffect : public ::testing::Test {
  protected:
    static constexpr std::size_t length = 3000;

    CppEffect() : in(noise<Sample>(4 * length, 1)), out(in.size()), expected(in.size()) {
        const hoa_effect_config config = {48000, 1, 0, 0, 8 * sizeof(Sample), 0};
        EXPECT_EQ(hoa_effect_init(&state, 1, &config, sizeof config, memory.data(),
                                  static_cast<u32>(memory.size() * 8)),
                  EARSHOT_OK);
    }

    static span<Sample> channel(std::vector<Sample> &field, std::size_t k, std::size_t begin,
                                std::size_t count) {
        return span<Sample>(field).subspan(k * length + begin, count);
    }
    void process_in_c(std::size_t begin, std::size_t count) {
        void *from[4], *to[4];
        for (std::size_t k = 0; k < 4; ++k) {
            from[k] = channel(in, k, begin, count).data();
            to[k] = channel(expected, k, begin, count).data();
        }
        const hoa_effect_buffer source = {static_cast<u32>(count), 4, from};
        hoa_effect_buffer target = {0, 4, to};
        ASSERT_EQ(hoa_effect_process(state, 3, &target, sizeof target, 2, &source, sizeof source),
                  EARSHOT_OK);
    }
    void process(earshot::basic_effect<Sample> &effect, std::size_t begin, std::size_t count) {
        process_in_c(begin, count);
        effect.process({channel(in, 0, begin, count), channel(in, 1, begin, count),
                        channel(in, 2, begin, count), channel(in, 3, begin, count)},
                       {channel(out, 0, begin, count), channel(out, 1, begin, count),
                        channel(out, 2, begin, count), channel(out, 3, begin, count)});
    }

    std::vector<Sample> in, out, expected;
    std::vector<u64> memory = std::vector<u64>(1000);
    hoa_effect_state *state = nullptr;
};

using sample_types = ::testing::Types<s32, s16>;
TYPED_TEST_SUITE(CppEffect, sample_types);

TYPED_TEST(CppEffect, GivesTheBitsOfTheCCalls) {
    earshot::basic_effect<TypeParam> effect;
    const s32 rotation[2] = {30 * 65536, -10 * 65536}, focus[3] = {90 * 65536, 0, 1};
    hoa_effect_set(this->state, HOA_EFFECT_PARAM_ROTATION, rotation, sizeof rotation);
    effect.rotate(degrees(30), degrees(-10));
    this->process(effect, 0, 700);
    hoa_effect_set(this->state, HOA_EFFECT_PARAM_FOCUS, focus, sizeof focus);
    effect.focus(degrees(90), degrees(0));
    earshot::basic_effect<TypeParam> moved(std::move(effect));
    this->process(moved, 700, 1300);
    hoa_effect_reset(this->state);
    moved.reset();
    this->process(moved, 2000, 1000);
    EXPECT_EQ(this->out, this->expected);
}

TYPED_TEST(CppEffect, RotationAndFocusShareARampInPlace) {
    earshot::basic_effect<TypeParam> effect, in_place;
    for (auto *each : {&effect, &in_place})
        each->rotate_and_focus({degrees(30), degrees(5)}, {degrees(-90), degrees(1)});
    const s32 words[5] = {30 * 65536, 5 * 65536, -90 * 65536, 65536, 1};
    std::copy_n(words, 4, &this->state->rotation_yaw);
    this->state->focus_enable = 1;
    this->state->ramp_pos = 0;
    hoa_effect_calculate_effect_matrix(this->state);
    this->process(effect, 0, this->length);
    const earshot::first_order<TypeParam> both(
        this->channel(this->in, 0, 0, this->length), this->channel(this->in, 1, 0, this->length),
        this->channel(this->in, 2, 0, this->length), this->channel(this->in, 3, 0, this->length));
    in_place.process(both, both);
    EXPECT_EQ(this->out, this->expected);
    EXPECT_EQ(this->in, this->expected);
}

TEST(CppEffectErrors, RefuseAnglesAndNullAndChangeNothing) {
    earshot::effect effect;
    effect.rotate(degrees(20), degrees(10));
    const auto refused = [&] { effect.rotate(degrees(181), degrees(0)); };
    EXPECT_EQ(effect.try_rotate(degrees(0), degrees(91)), status::bad_value);
    EXPECT_EQ(effect.try_rotate(degrees(360 * 1000), degrees(0)), status::bad_value);
    EXPECT_EQ(thrown_by(refused, "hoa_effect_set"), status::bad_value);
    for (const degrees beyond : {degrees(181), degrees(-180.1)})
        EXPECT_EQ(effect.try_rotate_and_focus({degrees(0), degrees(0)}, {beyond, degrees(0)}),
                  status::bad_value);
    EXPECT_EQ(effect.rotation().yaw, degrees(20));
    EXPECT_EQ(effect.rotation().pitch, degrees(10));
    EXPECT_FALSE(effect.focus());
    effect.focus(degrees(3), degrees(4));
    ASSERT_TRUE(effect.focus());
    EXPECT_EQ(effect.focus()->pitch, degrees(4));
    effect.end_focus();
    EXPECT_FALSE(effect.focus());

    earshot::effect other;
    hoa_effect_state *const kept = effect.get();
    other = std::move(effect);
    EXPECT_EQ(other.get(), kept);
    s32 word = 0;
    const span<s32> one(&word, 1);
    EXPECT_EQ(effect.try_rotate(degrees(0), degrees(0)), status::bad_memory);
    EXPECT_EQ(effect.try_rotate_and_focus({}, {}), status::bad_memory);
    EXPECT_EQ(effect.try_process({one, one, one, one}, {one, one, one, one}), status::bad_memory);
    EXPECT_EQ(thrown_by([&] { effect.reset(); }, "hoa_effect_reset"), status::bad_memory);
}

/* --- Heads and renderers -----------------------------------------------------------------------*/

/* The built-in head takes milliseconds. */
const earshot::head &builtin() {
    static const earshot::head head;
    return head;
}

TEST(CppHead, IsMadeOfBytesWhereTheyAreAndOfACopy) {
    const earshot_head_info info = builtin().describe();
    std::vector<u64> words(info.size / 8 + 2);
    std::memcpy(words.data(), builtin().get(), info.size);
    const span<const std::byte> bytes = earshot::as_bytes(span(words)).first(info.size);
    const earshot::head there = earshot::head::over(bytes);
    EXPECT_EQ(static_cast<const void *>(there.get()), words.data());

    std::vector<char> shifted(info.size + 1);
    std::memcpy(shifted.data() + 1, words.data(), info.size);
    const auto misaligned = earshot::as_bytes(span(shifted)).subspan(1);
    EXPECT_EQ(earshot::head::try_over(misaligned).code(), status::bad_memory);
    const earshot::head copied = earshot::head::copy_of(misaligned);
    shifted.clear();
    words.clear();
    EXPECT_EQ(copied.describe().checksum, info.checksum);

    earshot_filter_pair expected = {}, pair = {};
    ASSERT_EQ(earshot_head_filter(builtin().get(), 4000000, -500000, &expected), EARSHOT_OK);
    copied.filter(degrees::from_q16(4000000), degrees::from_q16(-500000), pair);
    EXPECT_EQ(std::memcmp(&pair, &expected, sizeof pair), 0);
    EXPECT_EQ(copied.channel(3).gain, builtin().channel(3).gain);

    EXPECT_EQ(thrown_by([&] { (void)copied.channel(25); }, "earshot_head_channel"),
              status::bad_value);
    EXPECT_EQ(
        thrown_by([&] { (void)earshot::head::copy_of(misaligned.first(0)); }, "earshot_head_open"),
        status::bad_value);
    EXPECT_EQ(earshot::head::try_copy_of(misaligned.first(100)).code(), status::bad_value);
}

/* Two sources of noise, of which the first moves in every frame but each third. */
class CppRenderer : public ::testing::Test {
  protected:
    static constexpr u32 frames = 9, pairs = 2 * EARSHOT_HEAD_FRAME;

    static degrees azimuth(u32 frame) { return degrees(10 * static_cast<int>(frame)); }
    std::array<const s32 *, 2> windows(u32 frame) const {
        return {noises.data() + 96 * frame, noises.data() + 2000 + 96 * frame};
    }

    std::vector<s32> noises = noise<s32>(4000, 2);
    std::vector<s32> out = std::vector<s32>(frames * pairs), expected = out;
    std::vector<s32> exponents, expected_exponents;
};

TEST_F(CppRenderer, GivesTheBitsOfTheCCallsWithItsOwnFiltersAndTheProgramS) {
    const earshot_binaural_config config = {2, 96, 140};
    std::size_t size = 0;
    ASSERT_EQ(earshot_binaural_get_size(&config, &size), EARSHOT_OK);
    std::vector<u64> memory(size / 8 + 1);
    earshot_binaural *in_c = nullptr;
    ASSERT_EQ(earshot_binaural_init(&in_c, &config, memory.data(), size), EARSHOT_OK);

    earshot::renderer own(2);
    std::vector<s32> own_out = out;
    earshot::head_renderer placed(builtin(), 2);
    /* A pair for every frame: nothing here takes turns. */
    std::vector<earshot_filter_pair> pair(frames + 1);
    builtin().filter(degrees(-90), degrees(20), pair[frames]);
    ASSERT_EQ(earshot_binaural_set(in_c, 1, &pair[frames]), EARSHOT_OK);
    own.set(1, pair[frames]);
    placed.place(1, degrees(-90), degrees(20));
    for (u32 k = 0; k < frames; ++k) {
        if (k % 3 != 2) {
            builtin().filter(azimuth(k), degrees(0), pair[k]);
            ASSERT_EQ(earshot_binaural_set(in_c, 0, &pair[k]), EARSHOT_OK);
            own.set(0, pair[k]);
            placed.place(0, degrees(200), degrees(7)); /* of two places the last one counts */
            placed.place(0, azimuth(k), degrees(0));
            EXPECT_EQ(placed.try_place(2, degrees(0), degrees(0)), status::bad_value);
        }
        if (k == 4) { /* moved on the way */
            own = earshot::renderer(std::move(own));
            placed = earshot::head_renderer(std::move(placed));
        }
        s32 exponent = 0;
        const auto inputs = windows(k);
        ASSERT_EQ(earshot_binaural_process(in_c, inputs.data(), &expected[k * pairs], &exponent),
                  EARSHOT_OK);
        EXPECT_EQ(own.process(inputs, span(own_out).subspan(k * pairs, pairs)), exponent);
        EXPECT_EQ(placed.process(inputs, span(out).subspan(k * pairs, pairs)), exponent);
    }
    EXPECT_EQ(own_out, expected);
    EXPECT_EQ(out, expected);
    earshot::apply_exponent(expected, 2);
    for (std::size_t i = 0; i < out.size(); ++i)
        ASSERT_EQ(expected[i], ARM_s32_saturate_s64(s64{out[i]} * 4));
}

TEST_F(CppRenderer, RefusesWhatItCannotDo) {
    earshot_filter_pair pair = {};
    s32 exponent = 0;
    earshot::renderer renderer(2);
    EXPECT_EQ(renderer.try_process(windows(0), out, exponent), status::bad_memory); /* no filters */
    EXPECT_EQ(thrown_by([&] { renderer.set(2, pair); }, "earshot_binaural_set"), status::bad_value);
    EXPECT_EQ(renderer.try_fix_headroom(23), status::bad_value);
    EXPECT_EQ(earshot::renderer::try_make(0).code(), status::bad_value);
    EXPECT_EQ(thrown_by([] { earshot::renderer(1, 129); }, "earshot_binaural_get_size"),
              status::bad_value);
    EXPECT_EQ(earshot::head_renderer::try_make(builtin(), 70000).code(), status::bad_value);
    earshot::head_renderer placed(builtin(), 1);
    const earshot::head_renderer away = std::move(placed);
    EXPECT_EQ(placed.try_place(0, degrees(0), degrees(0)), status::bad_memory);
    static_assert(!std::is_constructible_v<earshot::head_renderer, earshot::head, u32>);
    static_assert(!std::is_copy_constructible_v<earshot::renderer>);
}

TEST_F(CppRenderer, FrontAndBackEndGiveTheBitsOfTheCCalls) {
    const hrtf_filt_front_config front_config = {0, 48000, 2, 0, 0};
    const hrtf_filt_back_config back_config = {1, 96, 256, 0, 4, 0};
    std::vector<u64> memory(4000);
    hrtf_filt_front_instance *front_in_c = nullptr;
    hrtf_filt_back_instance *back_in_c = nullptr;
    ASSERT_EQ(hrtf_filt_front_init(&front_in_c, 1, &front_config, memory.data(), 8000), 0u);
    ASSERT_EQ(hrtf_filt_front_scratch_get_init(front_in_c, &front_config, &memory[1000], 1), 0u);
    ASSERT_EQ(hrtf_filt_back_init(&back_in_c, 1, &back_config, &memory[2000], 8000), 0u);
    ASSERT_EQ(hrtf_filt_back_scratch_get_init(back_in_c, &back_config, &memory[3000], 1), 0u);
    for (s32 &sample : noises) sample >>= 4;

    earshot::front_end front(2);
    earshot::back_end back(96, true);
    earshot::interleaved_back_end16 narrow(96, true);
    earshot::ear_spectra sums;
    front.select(1, degrees(-90), degrees(0));
    hrtf_filt_front_direction direction = {sizeof direction, 1, {0, -90 * 65536, 0}};
    ASSERT_EQ(hrtf_filt_front_set(front_in_c, HRTF_FILT_FRONT_PARAM_SELECT, &direction), 0u);
    for (u32 k = 0; k < frames; ++k) {
        direction = {sizeof direction, 0, {0, azimuth(k / 2).q16(), 0}};
        ASSERT_EQ(hrtf_filt_front_set(front_in_c, HRTF_FILT_FRONT_PARAM_SELECT, &direction), 0u);
        const bool differs = front.select(0, azimuth(k / 2), degrees(0));
        EXPECT_EQ(differs, k % 2 == 0);
        if (differs && k > 0) {
            const hrtf_word_payload changed = {sizeof changed, 1};
            hrtf_filt_back_set(back_in_c, HRTF_FILT_BACK_PARAM_CHANGED, &changed);
            back.changed();
            narrow.changed();
        }
        s32 bins[2][258] = {};
        s16 narrow_ears[192];
        const hrtf_ear_spectra spectra = {{bins[0], bins[1]}};
        const hrtf_ear_outputs ears = {{&expected[k * pairs], &expected[k * pairs + 96]}};
        const auto inputs = windows(k);
        ASSERT_EQ(hrtf_filt_front_process(front_in_c, 129, &spectra, 256, inputs.data()), 0u);
        ASSERT_EQ(hrtf_filt_back_process(back_in_c, 96, &ears, 129, &spectra), 0u);
        for (const bool is_narrow : {true, false}) {
            sums.clear();
            front.process(inputs, sums);
            if (is_narrow)
                narrow.process(sums, narrow_ears);
            else
                back.process(sums, span(out).subspan(k * pairs, 96),
                             span(out).subspan(k * pairs + 96, 96));
        }
        /* Fades are clipped before they are mixed: only without one are these the same words. */
        for (u32 i = 2 * HRTF_CROSSFADE_FRAMES; i < 192; ++i) {
            const s32 word = out[k * pairs + i / 2 + i % 2 * 96];
            ASSERT_EQ(narrow_ears[i], ARM_s16_saturate_s32(word));
        }
    }
    EXPECT_EQ(out, expected);
}

TEST_F(CppRenderer, FrontEndRefusesWhatItCannotDo) {
    earshot::front_end front(2);
    earshot::ear_spectra sums;
    earshot_filter_pair pair = {};
    EXPECT_EQ(front.try_process(windows(0), sums), status::bad_memory); /* nothing selected */
    EXPECT_EQ(front.try_select(2, degrees(0), degrees(0)).code(), status::bad_value);
    EXPECT_EQ(front.try_activate(3), status::bad_value);
    EXPECT_EQ(thrown_by([&] { front.use(3, pair); }, "earshot_head_use"), status::bad_value);
    EXPECT_EQ(thrown_by([] { earshot::back_end(100, false); }, "hrtf_filt_back_get_req"),
              status::bad_value);
    const earshot::front_end away = std::move(front);
    EXPECT_EQ(front.try_select(0, degrees(0), degrees(0)).code(), status::bad_memory);
    EXPECT_EQ(front.sources(), 0u);
    EXPECT_EQ(away.sources(), 2u);

    earshot::selection selection(earshot::filter_tables::amb);
    const hrtf_filter_pair channel = selection.select(degrees(4), degrees(0));
    EXPECT_TRUE(
        std::equal(channel.ear[1], channel.ear[1] + 256, hrtf_kemar_amb_rfft256[4 * 256 + 128]));
}

/* --- Fields ------------------------------------------------------------------------------------*/

TEST(CppField, GainsAndRotationsAreThoseOfTheCCalls) {
    const earshot::quaternion turns[2] = {{1 << 30, 0, 0, 1 << 29}, {1 << 30, 5, 1 << 28, -7}};
    earshot_field_rotation from, to;
    ASSERT_EQ(earshot_field_rotation_of(3, turns[0].data(), &from), EARSHOT_OK);
    ASSERT_EQ(earshot_field_rotation_of(3, turns[1].data(), &to), EARSHOT_OK);
    std::vector<s32> field = noise<s32>(16 * 100, 3), expected = field;
    std::array<s32 *, 16> channels, expected_channels;
    for (std::size_t k = 0; k < 16; ++k) {
        channels[k] = &field[100 * k];
        expected_channels[k] = &expected[100 * k];
    }
    u64 clipped = 0, expected_clipped = 0;
    ASSERT_EQ(
        earshot_field_rotate(&from, &to, 100, 0, 100, expected_channels.data(), &expected_clipped),
        EARSHOT_OK);
    const earshot::field_rotation first(3, turns[0]), second(3, turns[1]);
    earshot::rotate_field(first, second, {100, 0, 30}, channels, clipped);
    for (s32 *&channel : channels) channel += 30;
    earshot::rotate_field(first, second, {100, 30, 70}, channels, clipped);
    EXPECT_EQ(field, expected);
    EXPECT_EQ(clipped, expected_clipped);

    std::array<s32, 16> gains, expected_gains, on_circle;
    ASSERT_EQ(earshot_field_gains(3, 0x40000000, 0xE0000000, expected_gains.data()), EARSHOT_OK);
    earshot::field_gains(3, degrees(90), degrees(-45), gains);
    earshot::field_circle(3, degrees(-45)).gains(degrees(90), on_circle);
    EXPECT_EQ(gains, expected_gains);
    EXPECT_EQ(on_circle, expected_gains);

    EXPECT_EQ(earshot::try_field_gains(3, degrees(0), degrees(0), span(gains).first(15)),
              status::bad_channel_count);
    EXPECT_EQ(earshot::try_field_gains(0xFFFFFFFF, degrees(0), degrees(0), gains),
              status::bad_value);
    EXPECT_EQ(thrown_by(
                  [&] {
                      earshot::field_rotation(2, {0, 0, 0, 0});
                  },
                  "earshot_field_rotation_of"),
              status::bad_value);
    const earshot::field_rotation other(2, turns[0]);
    EXPECT_EQ(earshot::try_rotate_field(first, other, 30, channels, clipped), status::bad_value);
}

/* --- Transforms --------------------------------------------------------------------------------*/

const s32 twiddles[] = {
#include "fft/generated/twiddles.inc"
};
const s32 recombination[] = {
#include "fft/generated/recombine_twiddles.inc"
};

TEST(CppTransforms, MakeTheTablesOfTheHeader) {
    std::vector<s32> words(std::size(twiddles)), pairs(std::size(recombination));
    earshot::detail::make_twiddles(words.data());
    earshot::detail::make_recombination(pairs.data());
    EXPECT_TRUE(std::equal(words.begin(), words.end(), std::begin(twiddles), std::end(twiddles)));
    EXPECT_TRUE(
        std::equal(pairs.begin(), pairs.end(), std::begin(recombination), std::end(recombination)));
}

TEST(CppTransforms, GiveTheBitsOfTheCCallsAtEverySize) {
    for (s32 n = 32; n <= 1024; n *= 2) {
        const auto size = static_cast<std::size_t>(n);
        const std::vector<s32> in = noise<s32>(2 * size, size);
        std::vector<s32> out(2 * size), expected(2 * size);
        const earshot::complex_transform complex(static_cast<u32>(n));
        cmplxfft32x32(in.data(), n, twiddles, expected.data());
        complex.forward(in, out);
        EXPECT_EQ(out, expected) << n;
        cmplxifft32x32_scaled(in.data(), n, twiddles, expected.data());
        complex.inverse(in, out);
        EXPECT_EQ(out, expected) << n;
        cmplxifft32x32(in.data(), n, twiddles, expected.data());
        complex.unscaled_inverse(in, out);
        EXPECT_EQ(out, expected) << n;

        earshot::real_transform real(static_cast<u32>(n));
        Vorkel_rfft_32x32(in.data(), n, twiddles, recombination, 1024 / n, expected.data());
        real.forward(in, out);
        EXPECT_EQ(out, expected) << n;
        for (const bool is_scaled : {true, false}) {
            std::vector<s32> spectrum(in.begin(), in.begin() + n + 2), kept = spectrum;
            std::vector<s32> samples(size), again(size), should(size);
            (is_scaled ? Vorkel_rifft_32x32_scaled : Vorkel_rifft_32x32)(
                kept.data(), n, twiddles, recombination, 1024 / n, should.data());
            is_scaled ? real.inverse(spectrum, samples) : real.unscaled_inverse(spectrum, samples);
            EXPECT_EQ(samples, should) << n;
            EXPECT_TRUE(std::equal(spectrum.begin(), spectrum.end(), in.begin())) << n;
            is_scaled ? real.inverse_in(spectrum, again)
                      : real.unscaled_inverse_in(spectrum, again);
            EXPECT_EQ(again, should) << n;
        }
    }
    for (const u32 points : {0u, 8u, 48u, 2048u, 1u << 31}) {
        EXPECT_EQ(earshot::complex_transform::try_make(points).code(), status::bad_value);
        EXPECT_EQ(earshot::real_transform::try_make(points).code(), status::bad_value);
    }
    EXPECT_EQ(earshot::real_transform::try_make(16).code(), status::bad_value);
}

TEST(CppTransforms, Of16BitsTakeTheirLengthsFromSpans) {
    using earshot::way;
    const std::vector<s16> in = noise<s16>(130, 4);
    std::vector<s16> out(130), expected(130);
    s32 exponent = 0, expected_exponent = 0;
    const auto words = [&](std::size_t count) { return span(in).first(count); };
    const auto room = [&](std::size_t count) { return span(out).first(count); };
    fft1(in.data(), 64, 1, expected.data(), &expected_exponent);
    earshot::complex_transform16(way::inverse, words(128), room(128), exponent);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(exponent, expected_exponent);
    r_fft(in.data(), 128, 0, expected.data());
    earshot::real_transform16(way::forward, words(128), room(130));
    EXPECT_EQ(out, expected);
    fft1r(in.data(), 128, 1, expected.data(), &expected_exponent);
    earshot::real_transform16(way::inverse, words(130), room(128), exponent);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(exponent, expected_exponent);

    EXPECT_EQ(earshot::try_complex_transform16(way::forward, words(128), room(126)),
              status::bad_value);
    EXPECT_EQ(earshot::try_complex_transform16(way::forward, words(33), room(33)),
              status::bad_value);
    EXPECT_EQ(earshot::try_real_transform16(way::forward, words(128), room(128)),
              status::bad_value);
    EXPECT_EQ(
        thrown_by([&] { earshot::real_transform16(way::inverse, words(128), room(130)); }, "r_fft"),
        status::bad_value);
}

/* --- Filters and ramps -------------------------------------------------------------------------*/

template <typename Sample> class CppBiquad : public ::testing::Test {};
TYPED_TEST_SUITE(CppBiquad, sample_types);

TYPED_TEST(CppBiquad, KeepsItsStateAndCoefficients) {
    const std::vector<TypeParam> in = noise<TypeParam>(500, 5);
    std::vector<TypeParam> out(500), expected(500);
    std::vector<s32> coefs = {1 << 28, 1 << 27, 5, -(1 << 28), 1 << 27,
                              1 << 29, 3,       7, -(1 << 29), 1 << 28};
    s64 state[4] = {};
    if constexpr (sizeof(TypeParam) == 4)
        iirTDF2_32(in.data(), expected.data(), 500, coefs.data(), state, 2, 29);
    else
        iirTDF2_16(in.data(), expected.data(), 500, coefs.data(), state, 2, 29);
    earshot::basic_biquad<TypeParam> first(coefs, 29);
    EXPECT_EQ(earshot::basic_biquad<TypeParam>::try_make(span(coefs).first(9), 29).code(),
              status::bad_value);
    coefs.clear();
    first.process(span(in).first(123), out);
    earshot::basic_biquad<TypeParam> filter = std::move(first);
    filter.process(span(in).subspan(123), span(out).subspan(123));
    EXPECT_EQ(out, expected);
    filter.reset();
    filter.process(in, out);
    EXPECT_EQ(out, expected);
}

TEST(CppFilters, KeepTheirState) {
    std::vector<s32> in = noise<s32>(500, 6), expected(500), out(500);
    for (s32 &sample : in) sample >>= 15; /* as wide as the DC blocker takes */
    const s32 coefs[2] = {1 << 28, -(1 << 27)};
    s32 state[4] = {};
    iirDF1_32_ap(in.data(), expected.data(), 500, coefs, state, 29);
    earshot::all_pass all_pass(coefs[0], coefs[1], 29);
    for (int pass = 0; pass < 2; ++pass, all_pass.reset()) {
        all_pass.process(span(in).first(77), out);
        all_pass.process(span(in).subspan(77), span(out).subspan(77));
        EXPECT_EQ(out, expected);
    }
    u16 pole = 0;
    s32 xprev[2], yprev[2];
    dc_block_handle handle;
    for (const int stages : {1, 2}) {
        dc_block_init(&pole, &handle, 48000, xprev, yprev);
        dc_block(in.data(), expected.data(), static_cast<s16>(pole), xprev, yprev, stages, 500);
        earshot::dc_blocker blocker(48000, stages);
        for (int pass = 0; pass < 2; ++pass, blocker.reset()) {
            blocker.process(span(in).first(77), out);
            blocker.process(span(in).subspan(77), span(out).subspan(77));
            EXPECT_EQ(out, expected);
        }
    }
}

TEST(CppPanners, RampAsTheRecords) {
    const std::vector<s32> in = noise<s32>(200, 7);
    std::vector<s32> out(200), expected(200);
    a3d_panner record = {};
    a3d_panner_setup(&record, 20000, 70, 0);
    a3d_buffer32_fill_panner(expected.data(), in.data(), &record, 50, 2);
    earshot::panner panner;
    panner.ramp_to(20000, 70);
    EXPECT_EQ(panner.process(span(in).first(100), out, 2), 20);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(panner.gain(), a3d_panner_get_current(record));
    a3d_panner32q28 wide = {};
    a3d_panner32q28_setup(&wide, 1 << 28, 300, 0);
    a3d_buffer32_fill_panner32q28(expected.data(), in.data(), &wide, 200);
    earshot::panner32 wide_panner;
    wide_panner.ramp_to(1 << 28, 300);
    EXPECT_EQ(wide_panner.process(in, out), 100);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(wide_panner.gain(), a3d_panner32q28_get_current(wide));
}

TEST(CppProfiler, CountsIterations) {
    earshot::profiler first("cpp", 500.0f);
    earshot::profiler profiler = std::move(first);
    for (int k = 0; k < 3; ++k) {
        profiler.start();
        profiler.stop();
    }
    EXPECT_EQ(profiler.figures().iteration_count, 3);
}

TEST(CppErrors, HaveWordsOfTheirOwnForEveryStatus) {
    std::vector<std::string> all;
    for (const u32 code : {0u, 1u, 2u, 3u, 4u, 16u, 17u, 99u})
        all.push_back(describe(status{code}));
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::unique(all.begin(), all.end()), all.end());
    EXPECT_STREQ(earshot::version(), earshot_version());
    EXPECT_STREQ(earshot::instruction_set(), earshot_instruction_set());
}

} // namespace
