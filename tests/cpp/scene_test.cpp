/*
 * Scenes and streams as handles: the samples of the C calls; callables that end, go back and throw.
 */
#include <earshot/scene.hpp>

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using earshot::scene;
using earshot::scene_sound;
using earshot::scene_stream;
using earshot::span;
using earshot::status;

constexpr std::size_t length = 5000;

constexpr const char *text = R"({"version": 1, "duration": 0.2, "sources": [
    {"file": "left", "direction": [90, 0]},
    {"file": "loop", "direction": [-30, 10], "loop": true}]})";
constexpr const char *with_table =
    R"({"version": 1, "sources": [{"file": "a", "track": "way.csv"}]})";

/* Two channels of a saw-tooth, interleaved. */
std::vector<s32> sounds() {
    std::vector<s32> words(2 * length);
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = (static_cast<s32>(i * 7919 % 2003) - 1000) * 100000;
    return words;
}

/* Channel 1 of what is given, by way of a callable that gives a few samples at a time away. */
scene_sound callable(const std::vector<s32> &words, int &rewinds) {
    auto position = std::make_shared<std::size_t>(0);
    return scene_sound::from(
        [&words, position](span<s32> out) {
            std::size_t count = 0;
            for (; count < out.size() && *position < length; ++count, ++*position)
                out[count] = words[2 * *position + 1];
            return static_cast<s64>(count);
        },
        [position, &rewinds] {
            *position = 0;
            ++rewinds;
            return true;
        });
}

std::vector<s32> heard_in_c(const std::vector<s32> &words, const earshot_scene_options *options) {
    earshot_scene *made = nullptr;
    EXPECT_EQ(earshot_scene_parse(text, std::string_view(text).size(), nullptr, &made, nullptr),
              0u);
    earshot_scene_samples records[2] = {{words.data(), length, 2, 0},
                                        {words.data() + 1, length, 2, 0}};
    earshot_scene_input inputs[2];
    for (int k = 0; k < 2; ++k) EXPECT_EQ(earshot_scene_play(&records[k], &inputs[k]), 0u);
    earshot_scene_stream *stream = nullptr;
    EXPECT_EQ(earshot_scene_open(made, options, inputs, 2, &stream, nullptr), 0u);
    earshot_scene_stream_info info;
    earshot_scene_stream_describe(stream, &info);
    std::vector<s32> out(20000 * info.channels);
    s64 done = 0;
    EXPECT_EQ(earshot_scene_read(stream, out.data(), 20000, &done), 0u);
    out.resize(static_cast<std::size_t>(done) * info.channels);
    earshot_scene_close(stream);
    earshot_scene_free(made);
    return out;
}

TEST(CppScene, GivesTheSamplesOfTheCCalls) {
    const std::vector<s32> words = sounds();
    const earshot_scene_options field = [] {
        earshot_scene_options options = earshot::scene_defaults();
        options.field_order = 2;
        return options;
    }();
    for (const bool is_field : {false, true}) {
        const std::vector<s32> expected = heard_in_c(words, is_field ? &field : nullptr);
        int rewinds = 0;
        std::vector<scene_sound> both;
        both.push_back(scene_sound::of(span(words).first(2 * length - 1), 2));
        both.push_back(callable(words, rewinds));
        scene_stream first(scene(text), std::move(both),
                           is_field ? field : earshot::scene_defaults());
        const std::size_t channels = first.channels();
        EXPECT_EQ(channels, is_field ? 9u : 2u);
        std::vector<s32> out(expected.size() + channels);
        std::size_t frames = first.read(span(out).first(1000 * channels + 1));
        EXPECT_EQ(frames, 1000u);
        scene_stream stream = std::move(first); /* with sounds that it plays */
        EXPECT_EQ(stream.skip(500), 500);
        std::copy_n(expected.data() + frames * channels, 500 * channels,
                    out.data() + frames * channels);
        frames += 500;
        while (const std::size_t more = stream.read(span(out).subspan(frames * channels)))
            frames += more;
        out.resize(frames * channels);
        EXPECT_EQ(out, expected);
        EXPECT_GT(rewinds, 0);
        std::size_t none = 0;
        EXPECT_EQ(first.try_read(out, none), status::bad_memory);
    }
}

TEST(CppScene, TellsWhatItIsAndWhatIsWrong) {
    const scene good(text);
    EXPECT_EQ(good.sources(), 2u);
    EXPECT_EQ(good.duration(), 9600);
    EXPECT_STREQ(good.source(1).file, "loop");
    EXPECT_EQ(good.heard(0, 0).azimuth, 90 * 65536);
    EXPECT_EQ(good.try_source(2).code(), status::bad_value);
    EXPECT_EQ(good.try_heard(2, 0).code(), status::bad_value);

    std::string reason = "none yet";
    EXPECT_TRUE(scene::try_make(text, nullptr, &reason));
    EXPECT_EQ(reason, "");
    EXPECT_EQ(scene::try_make("{\n!", nullptr, &reason).code(), status::bad_value);
    EXPECT_NE(reason.find("line 2"), std::string::npos) << reason;
    try {
        const scene bad("{\n!");
        FAIL();
    } catch (const earshot::error &fault) {
        EXPECT_EQ(fault.what(), reason);
        EXPECT_EQ(fault.code(), status::bad_value);
    }
    EXPECT_EQ(scene_stream::try_make(good, {}, earshot::scene_defaults(), &reason).code(),
              status::bad_value);
    EXPECT_NE(reason.find("2 sources"), std::string::npos) << reason;
    const s32 one = 1;
    std::vector<scene_sound> no_stride(2, scene_sound::of({&one, 1}, 0));
    EXPECT_THROW(scene_stream(good, no_stride), earshot::error);
}

TEST(CppScene, TakesTablesFromALoader) {
    std::vector<std::string> asked;
    const scene loaded(with_table, [&](std::string_view name) {
        asked.emplace_back(name);
        return std::string("time,azimuth,elevation\n0,90,0\n1,90,0\n");
    });
    EXPECT_EQ(asked, std::vector<std::string>{"way.csv"});
    EXPECT_EQ(loaded.heard(0, 0).azimuth, 90 * 65536);

    std::string reason;
    const auto nothing = [](std::string_view) { return std::nullopt; };
    EXPECT_EQ(scene::try_make(with_table, nothing, &reason).code(), status::input_failed);
    EXPECT_NE(reason.find("way.csv"), std::string::npos) << reason;
    EXPECT_EQ(scene::try_make(with_table).code(), status::input_failed);
    const auto throwing = [](std::string_view) -> std::optional<std::string> {
        throw std::domain_error("mine");
    };
    EXPECT_THROW(scene(with_table, throwing), std::domain_error);
    EXPECT_EQ(scene::try_make(with_table, throwing).code(), status::input_failed);
}

TEST(CppScene, WhatASoundThrowsComesOutOfRead) {
    std::vector<s32> out(2000);
    const std::vector<s32> words = sounds();
    const auto stream_of = [&](scene_sound second) {
        std::vector<scene_sound> both(1, scene_sound::of(words));
        both.push_back(std::move(second));
        return scene_stream(scene(text), std::move(both));
    };
    const auto throws = [](span<s32>) -> s64 { throw std::domain_error("mine"); };
    const auto ends = [](span<s32>) { return s64{0}; };
    const auto fails = [](span<s32>) { return s64{-1}; };
    const auto stays = [] { return false; };
    EXPECT_THROW(stream_of(scene_sound::from(throws, stays)).read(out), std::domain_error);
    EXPECT_THROW(stream_of(scene_sound::from(fails, stays)).read(out), earshot::error);
    EXPECT_THROW(stream_of(scene_sound::from(ends, stays)).read(out), earshot::error);
    scene_stream again = stream_of(scene_sound::from(throws, stays));
    std::size_t frames = 0;
    EXPECT_EQ(again.try_read(out, frames), status::input_failed);
    EXPECT_EQ(again.try_read(out, frames), status::input_failed);
    EXPECT_THROW(stream_of(scene_sound::from(ends)), earshot::error); /* loops without rewind */
}

} // namespace
