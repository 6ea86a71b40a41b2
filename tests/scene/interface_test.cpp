/* The C interface beside the classes that it stands on. */
#include "sounds.hpp"

#include "scene/rendering/field_stream.hpp"

#include <earshot/scene.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace earshot_scenes::test {
namespace {

struct scene_deleter {
    void operator()(earshot_scene *scene) const { earshot_scene_free(scene); }
    void operator()(earshot_scene_stream *stream) const { earshot_scene_close(stream); }
};
using owned_scene = std::unique_ptr<earshot_scene, scene_deleter>;
using owned_stream = std::unique_ptr<earshot_scene_stream, scene_deleter>;

owned_scene parsed(const std::string &text, const earshot_scene_tables *tables = nullptr) {
    earshot_scene *made = nullptr;
    earshot_scene_error error;
    EXPECT_EQ(EARSHOT_OK, earshot_scene_parse(text.data(), text.size(), tables, &made, &error));
    EXPECT_STREQ("", error.text);
    return owned_scene(made);
}

earshot_scene_options options_of(const std::function<void(earshot_scene_options &)> &change = {}) {
    earshot_scene_options options;
    earshot_scene_defaults(&options);
    if (change) change(options);
    return options;
}

/* Opened over the sounds, each in its own record. */
struct played {
    played(owned_scene of, const std::vector<samples> &sounds, const earshot_scene_options &options)
        : records(earshot_scene_sources(of.get())) {
        std::vector<earshot_scene_input> inputs(records.size());
        for (std::size_t k = 0; k < records.size(); ++k) {
            const samples &sound = sounds[k % sounds.size()];
            records[k] = {sound.data(), static_cast<s64>(sound.size()), 1, 0};
            EXPECT_EQ(EARSHOT_OK, earshot_scene_play(&records[k], &inputs[k]));
        }
        earshot_scene_stream *made = nullptr;
        earshot_scene_error error;
        EXPECT_EQ(EARSHOT_OK, earshot_scene_open(of.get(), &options, inputs.data(),
                                                 static_cast<u32>(inputs.size()), &made, &error))
            << error.text;
        stream.reset(made); // which outlives the scene
    }

    earshot_scene_stream_info info() const {
        earshot_scene_stream_info found{};
        EXPECT_EQ(EARSHOT_OK, earshot_scene_stream_describe(stream.get(), &found));
        return found;
    }

    /* Reads of changing lengths; of every fourth the frames are skipped, and are zeros here. */
    samples all(bool skipping = false) {
        samples out;
        const std::size_t channels = info().channels;
        for (s64 turn = 0, done = 1; done > 0; ++turn) {
            const s64 wanted = 1 + turn * 313 % 1500;
            samples block(channels * static_cast<std::size_t>(wanted));
            const u32 status = skipping && turn % 4 == 3
                                   ? earshot_scene_skip(stream.get(), wanted, &done)
                                   : earshot_scene_read(stream.get(), block.data(), wanted, &done);
            EXPECT_EQ(EARSHOT_OK, status);
            block.resize(channels * static_cast<std::size_t>(done));
            out.insert(out.end(), block.begin(), block.end());
        }
        return out;
    }

    std::vector<earshot_scene_samples> records;
    owned_stream stream;
};

const std::string street = R"({"version": 1, "duration": 0.3,
    "listener": {"orientation_track": [[0, 0, 0, 0], [0.3, 90, 20, -30]],
                 "position_track": [[0, 0, 0, 0], [0.3, 1, 0, 0]]},
    "sources": [
      {"file": "a", "track": [[0, 2, 20, 1], [0.2, 2, -20, 1]], "gain": -3,
       "rolloff": {"model": "inverse", "minimum": 1, "maximum": 30}},
      {"file": "b", "direction": [-100, 0], "loop": true, "start": 0.0111},
      {"file": "c", "layout": "5.1"}]})";

TEST(SceneInterface, StreamsAreThoseOfTheClasses) {
    const std::vector<samples> sounds = {noise(9600, 1), noise(700, 2), noise(20000, 3)};
    const auto compare = [&](const samples &expected, const earshot_scene_options &options) {
        played whole(parsed(street), sounds, options);
        EXPECT_EQ(14400, whole.info().frames);
        EXPECT_EQ(8u, whole.info().sources);
        const samples found = whole.all();
        EXPECT_EQ(expected, found);

        played cut(parsed(street), sounds, options);
        samples parts = cut.all(true);
        ASSERT_EQ(found.size(), parts.size());
        std::size_t skipped = 0;
        for (std::size_t i = 0; i < parts.size(); ++i)
            if (parts[i] == 0 && found[i] != 0) parts[i] = found[i], ++skipped;
        EXPECT_EQ(found, parts);
        EXPECT_LT(found.size() / 10, skipped);
    };
    compare(performance(street, sounds).play(), options_of());
    compare(performance(street, sounds, placement::measured).play(),
            options_of([](auto &o) { o.placement = EARSHOT_SCENE_MEASURED; }));
    compare(performance(street, sounds).play(),
            options_of([](auto &o) { o.head = own_head().get(); }));

    performance quiet(street, sounds);
    quiet.stream->set_level(output_level::decibels(-7500), {});
    compare(quiet.play(), options_of([](auto &o) { o.gain = -7500; }));

    for (const bool turns : {true, false}) {
        opened_scene field(parse_scene(street, {}), sounds);
        if (!turns) field.scene.listener.orientation = scene_listener{}.orientation;
        field_stream stream(field.scene, field.inputs, 3);
        compare(all_of(stream), options_of([&](auto &o) {
                    o.field_order = 3;
                    o.no_turns = turns ? 0 : 1;
                }));
    }
}

TEST(SceneInterface, ScenesTellWhatTheyHave) {
    const owned_scene scene = parsed(street);
    ASSERT_EQ(8u, earshot_scene_sources(scene.get()));
    EXPECT_EQ(14400, earshot_scene_duration(scene.get()));
    earshot_scene_source_info info;
    ASSERT_EQ(EARSHOT_OK, earshot_scene_source(scene.get(), 1, &info));
    EXPECT_STREQ("b", info.file);
    EXPECT_EQ(nullptr, info.layout);
    EXPECT_EQ(std::tuple(1u, 0u, s64{533}, 0, 1u),
              std::tuple(info.entry, info.channel, info.start, info.gain, info.loops));
    ASSERT_EQ(EARSHOT_OK, earshot_scene_source(scene.get(), 5, &info));
    EXPECT_STREQ("5.1", info.layout);
    EXPECT_EQ(std::pair(2u, 4u), std::pair(info.entry, info.channel));
    EXPECT_EQ(EARSHOT_BAD_VALUE, earshot_scene_source(scene.get(), 8, &info));

    earshot_scene_direction heard;
    const auto at = [&](u32 source, s64 time) {
        EXPECT_EQ(EARSHOT_OK, earshot_scene_heard(scene.get(), source, time, &heard));
        return std::array{heard.azimuth / 65536.0, heard.elevation / 65536.0,
                          heard.distance / 65536.0};
    };
    /* The listener stands at 1/3 and looks to 30 degrees, 20/3 up, when the source passes. */
    const auto [azimuth, elevation, distance] = at(0, 0);
    EXPECT_NEAR(std::atan2(20, 2) * 180 / 3.14159265358979, azimuth, 1e-4);
    EXPECT_NEAR(std::atan2(1, std::hypot(2, 20)) * 180 / 3.14159265358979, elevation, 1e-4);
    EXPECT_NEAR(std::sqrt(405), distance, 1e-4);
    EXPECT_NEAR(-100, at(1, 0)[0], 1e-4);
    EXPECT_EQ(-1, heard.distance);
    at(5, 0);
    EXPECT_EQ(1u, heard.everywhere);
    for (s64 time = -100; time < 20000; time += 331)
        for (u32 source = 0; source < 5; ++source)
            EXPECT_GE(180, std::abs(at(source, time)[0])) << time;
}

TEST(SceneInterface, WhatIsWrongIsNamed) {
    static constexpr const char *reason = "no such table";
    const auto load = [](void *user, const char *name, size_t *size, const char **why) {
        const auto *text = static_cast<const std::string *>(user);
        if (std::string(name) != "fly.csv") *why = reason;
        *size = text->size();
        return std::string(name) == "fly.csv" ? text->c_str() : nullptr;
    };
    std::string rows = "time,x,y,z\n0,1,2,x\n";
    const earshot_scene_tables tables{&rows, load};
    struct {
        std::string text, message;
        u32 status;
    } const cases[] = {
        {"{", "line 1, column 2: ", EARSHOT_BAD_VALUE},
        {scene_text(R"("direction": [0, 100])"), "sources[0].direction: elevation 100",
         EARSHOT_BAD_VALUE},
        {scene_text(R"("track": "fly.csv")"), "sources[0].track: fly.csv:2: ", EARSHOT_BAD_VALUE},
        {scene_text(R"("track": "none.csv")"), "sources[0].track: 'none.csv': no such table",
         EARSHOT_INPUT_FAILED},
        {std::string((16 << 20) + 1, ' '), "is larger than 16 MiB", EARSHOT_BAD_VALUE},
    };
    earshot_scene_error error;
    earshot_scene *scene = nullptr;
    for (const auto &[text, message, status] : cases) {
        EXPECT_EQ(status, earshot_scene_parse(text.data(), text.size(), &tables, &scene, &error));
        EXPECT_EQ(message, std::string(error.text).substr(0, message.size()));
        EXPECT_EQ(nullptr, scene);
        EXPECT_EQ(status, earshot_scene_parse(text.data(), text.size(), &tables, &scene, nullptr));
    }
    EXPECT_EQ(EARSHOT_INPUT_FAILED, earshot_scene_parse(cases[3].text.data(), cases[3].text.size(),
                                                        nullptr, &scene, &error));
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_scene_parse(nullptr, 0, nullptr, &scene, &error));
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_scene_parse("", 0, nullptr, nullptr, nullptr));

    const owned_scene looping =
        parsed(scene_text(R"("direction": [0, 0], "loop": true)", R"("duration": 1)"));
    const samples sound = noise(1000, 1);
    earshot_scene_samples record{sound.data(), 1000, 1, 0};
    earshot_scene_input input;
    earshot_scene_play(&record, &input);
    earshot_scene_input once = input, empty = input, mute = input;
    once.rewind = nullptr;
    empty.frames = 0;
    mute.read = nullptr;
    struct {
        const earshot_scene_input *input;
        u32 count;
        std::function<void(earshot_scene_options &)> change;
        std::string message;
        u32 status;
    } const openings[] = {
        {&input, 2, {}, "the scene has 1 sources and not 2", EARSHOT_BAD_VALUE},
        {&once, 1, {}, "source 0 loops, and its input has no rewind", EARSHOT_BAD_VALUE},
        {&empty, 1, {}, "source 0 has no samples to loop", EARSHOT_BAD_VALUE},
        {&mute, 1, {}, "", EARSHOT_BAD_MEMORY},
        {&input, 1, [](auto &o) { o.size = 8; }, "", EARSHOT_BAD_MEMORY},
        {&input, 1, [](auto &o) { o.guard = 4; }, "guard: 4 is outside -1 to 3", EARSHOT_BAD_VALUE},
        {&input, 1, [](auto &o) { o.field_order = 5; }, "field_order: 5 ", EARSHOT_BAD_VALUE},
        {&input, 1, [](auto &o) { o.no_turns = 1; }, "no_turns: ", EARSHOT_BAD_VALUE},
        {&input, 1, [](auto &o) { o.gain = 60001; }, "gain: 60001 ", EARSHOT_BAD_VALUE},
    };
    earshot_scene_stream *stream = nullptr;
    for (const auto &[source, count, change, message, status] : openings) {
        const earshot_scene_options options = options_of(change);
        const earshot_scene_input both[] = {*source, *source};
        EXPECT_EQ(status, earshot_scene_open(looping.get(), &options, both, count, &stream, &error))
            << message;
        EXPECT_EQ(message, std::string(error.text).substr(0, message.size()));
        EXPECT_EQ(nullptr, stream);
    }
}

/* And stays so: what the sound would have been after it is unknown. */
TEST(SceneInterface, InputsMayFail) {
    const owned_scene scene = parsed(scene_text(R"("direction": [0, 0])"));
    const auto fail = [](void *calls, s32 *, s64) -> s64 {
        ++*static_cast<int *>(calls);
        return -1;
    };
    const auto exceed = [](void *, s32 *, s64 count) { return count + 1; };
    const auto raise = [](void *, s32 *, s64) -> s64 { throw 1; };
    int calls = 0;
    for (s64 (*read)(void *, s32 *, s64) : {+fail, +exceed, +raise}) {
        const earshot_scene_input input{&calls, read, nullptr, nullptr, EARSHOT_SCENE_UNKNOWN};
        earshot_scene_stream *made = nullptr;
        ASSERT_EQ(EARSHOT_OK, earshot_scene_open(scene.get(), nullptr, &input, 1, &made, nullptr));
        const owned_stream stream(made);
        s32 block[200];
        s64 done = 7;
        EXPECT_EQ(EARSHOT_INPUT_FAILED, earshot_scene_read(made, block, 100, &done));
        EXPECT_EQ(0, done);
        EXPECT_EQ(EARSHOT_INPUT_FAILED, earshot_scene_skip(made, 100, &done));
        EXPECT_EQ(EARSHOT_BAD_VALUE, earshot_scene_read(made, block, -1, &done));
    }
    EXPECT_EQ(1, calls);
}

} // namespace
} // namespace earshot_scenes::test
