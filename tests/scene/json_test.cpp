/* Scenes as text: what they become, and what is said of those that are wrong. */
#include "scene/description/quote.hpp"
#include "scene/description/scene_json.hpp"

#include "sounds.hpp"

#include <gtest/gtest.h>

namespace earshot_scenes::test {
namespace {

constexpr s32 q16 = 65536;

std::string table(const std::string &name) {
    if (name == "fly.csv")
        return "\xEF\xBB\xBF# a way\ntime, x ,y,z\r\n\n0,1,2,3\r\n0.5,-1,+2.5,1e1";
    if (name == "turn.csv") return "time,azimuth,elevation\n0,0,0\n";
    if (name == "nod.csv") return "time,w,x,y,z\n0,1,0,0,0\n1,0.7071,0,0.7071,0\n";
    if (name == "late.csv") return "time,x,y,z\n1,0,0,0\n1,0,0,1\n";
    if (name == "word.csv") return "time,x,y,z\n0,0,zero,0\n";
    if (name == "short.csv") return "time,x,y,z\n\n# short\n0,0,0\n";
    if (name == "high.csv") return "time,azimuth,elevation\n0,0,91\n";
    if (name == "bare.csv") return "0,1,2,3\n";
    if (name == "empty.csv") return "time,x,y,z\n";
    if (name == "wide.csv") return "time,x,y,z\n" + std::string(1000000, ',');
    if (name == "heading.csv") {
        std::string heading;
        while (heading.size() < 300000) heading += "time";
        return heading;
    }
    if (name == "tall.csv") return std::string(5000001, '\n');
    throw std::runtime_error("no " + name);
}

scene parse(const std::string &text) { return parse_scene(text, table); }

TEST(SceneJson, EveryKeyIsRead) {
    const scene full = parse(R"({"version": 1, "duration": 1.5,
        "listener": {"position": [1, -2, 1.75], "orientation": {"yaw": 30, "roll": -0.5}},
        "sources": [
            {"file": "a.wav", "channel": 2, "start": 0.25, "gain": -3.5, "loop": true,
             "dc_block": true, "position": [0, 0, -8191],
             "rolloff": {"model": "linear", "minimum": 1, "maximum": 20}},
            {"file": "b.wav", "direction": [-90, 45]},
            {"file": "c.wav", "track": [[0, 0, 0], [2, 720, 10]]},
            {"file": "d.wav", "track": "fly.csv"}]})");
    EXPECT_EQ(72000, full.duration);
    EXPECT_EQ((position{q16, -2 * q16, 114688}), full.listener.position.at(0).value);
    EXPECT_EQ((head_angles{30 * q16, 0, -q16 / 2}),
              std::get<track<head_angles>>(full.listener.orientation).at(0).value);
    const scene_source &a = full.sources[0];
    EXPECT_EQ("a.wav", a.file);
    EXPECT_EQ(2, a.channel);
    EXPECT_EQ(12000, a.start);
    EXPECT_EQ(-3500, a.gain);
    EXPECT_TRUE(a.loop && a.dc_block);
    EXPECT_EQ(-8191 * q16, std::get<track<position>>(a.place).at(0).value.z);
    ASSERT_TRUE(a.rolloff);
    EXPECT_EQ(ROLLOFF_LINEAR, a.rolloff->model);
    EXPECT_EQ(q16, a.rolloff->minimum);
    EXPECT_EQ(20 * q16, a.rolloff->maximum);
    const scene_source &b = full.sources[1];
    EXPECT_EQ((direction{-90 * q16, 45 * q16}), std::get<track<direction>>(b.place).at(0).value);
    EXPECT_TRUE(b.channel == 0 && b.start == 0 && b.gain == 0 && !b.loop && !b.dc_block);
    const auto &c = std::get<track<direction>>(full.sources[2].place);
    EXPECT_EQ(96000, c.at(1).time);
    EXPECT_EQ((direction{720 * q16, 10 * q16}), c.at(1).value);
    const auto &d = std::get<track<position>>(full.sources[3].place);
    ASSERT_EQ(2u, d.size());
    EXPECT_EQ(24000, d[1].time);
    EXPECT_EQ((position{-q16, 163840, 10 * q16}), d[1].value);
}

TEST(SceneJson, ALayoutIsASourceForEveryLoudspeaker) {
    const scene beds = parse(R"({"version": 1, "sources": [
        {"file": "a", "layout": "7.1.4", "gain": -6, "start": 1, "dc_block": true},
        {"file": "b", "layout": "5.1", "lfe": "off"}, {"file": "c", "direction": [0, 0]}]})");
    ASSERT_EQ(12u + 5u + 1u, beds.sources.size());
    const scene_source &lfe = beds.sources[3], &high = beds.sources[11], &side = beds.sources[15];
    EXPECT_TRUE(std::holds_alternative<everywhere>(lfe.place));
    EXPECT_EQ(4000, lfe.gain);
    EXPECT_EQ((direction{-135 * q16, 30 * q16}), std::get<track<direction>>(high.place)[0].value);
    EXPECT_TRUE(high.file == "a" && high.gain == -6000 && high.start == 48000 && high.dc_block);
    EXPECT_EQ((direction{110 * q16, 0}), std::get<track<direction>>(side.place)[0].value);
    EXPECT_TRUE(side.channel == 5 && side.bed == 1u && side.entry == 1);
    EXPECT_TRUE(!beds.sources[17].bed && beds.sources[17].entry == 2);

    std::string many;
    for (int k = 0; k < 342; ++k) many += R"({"file": "a", "layout": "7.1.4"}, )";
    many.erase(many.size() - 2);
    try {
        parse(R"({"version": 1, "sources": [)" + many + "]}");
        ADD_FAILURE();
    } catch (const scene_error &error) {
        EXPECT_STREQ("sources[341]: brings the channels that are heard to more than 4096",
                     error.what());
    }
}

TEST(SceneJson, ListenersHaveTracks) {
    const std::string source = R"("sources": [{"file": "a", "direction": [0, 0]}]})";
    const scene nods = parse(R"({"version": 1, "listener": {"orientation_track": "nod.csv",
        "position_track": [[0, 0, 0, 0], [1, 1, 0, 0]]}, )" +
                             source);
    EXPECT_EQ(2u, nods.listener.position.size());
    const auto &rows = std::get<track<quaternion>>(nods.listener.orientation);
    EXPECT_NEAR(0x1p31 * 0.70710678, rows.at(1).value.w, 10); // brought to a modulus of 1
    EXPECT_EQ(rows.at(1).value.w, rows.at(1).value.y);
    const scene turned = parse(
        R"({"version": 1, "listener": {"orientation": {"quaternion": [-1, 0, 0, 0]}}, )" + source);
    EXPECT_NEAR(-0x1p31, std::get<track<quaternion>>(turned.listener.orientation).at(0).value.w,
                10);
}

std::string complaint(const std::string &text) {
    try {
        parse(text);
    } catch (const scene_error &error) {
        return error.what();
    }
    return "";
}

struct wrong_text {
    const char *text;
    const char *complaint;
};

TEST(SceneJson, WrongDocumentsAreRefused) {
    const wrong_text cases[] = {
        {"", "is empty"},
        {" \r\n\t", "is empty"},
        {"{\n", "line 2, column 1: the text ends too early"},
        {"{\"a\n", "line 1, column 4: not JSON"},
        {"{\"version\": 1,\n \"sources\": [}", "line 2, column 14: not JSON at '}'"},
        {"{\"version\": 1}\n x", "line 2, column 2: not JSON at 'x'"},
        {"{\"version\": 1e999}", "line 1, column 17: the number 1e999 is too large"},
        {"[]", "is an array, needs an object"},
        {"{}", "'version' is missing"},
        {R"({"version": 2})", "version: only version 1 is known"},
        {R"({"version": 1.5})", "version: 1.5 is not a whole number"},
        {R"({"version": 1})", "'sources' is missing"},
        {R"({"version": 1, "sources": {}})", "sources: is an object, needs an array"},
        {R"({"version": 1, "sources": []})", "sources: is empty"},
        {R"({"version": 1, "sources": ["a"]})", "sources[0]: is a string, needs an object"},
        {R"({"version": 1, "scale": 2, "sources": []})",
         "scale: unknown key; there are version, duration, listener, sources"},
        {R"({"version": 1, "duration": 0, "sources": []})", "duration: 0 is not above 0"},
        {R"({"version": 1, "duration": 1e9, "sources": []})",
         "duration: 1000000000 is outside 0 to 31536000"},
        {R"({"version": 1, "sources": [{"direction": [0, 0]}]})", "sources[0]: 'file' is missing"},
        {R"({"version": 1, "sources": [{"file": "a", "direction": [0, 0]},
             {"file": "b", "direction": [0, 0], "loop": true, "loop": true}]})",
         "sources[1].loop: is given twice"},
        {R"({"version": 1, "sources": [{"file": "a", "direction": [0, 0], "loop": true}]})",
         "'duration' is missing: all sources loop, the scene would not end"},
    };
    for (const auto &[text, expected] : cases) EXPECT_EQ(expected, complaint(text)) << text;
}

TEST(SceneJson, WrongSourcesAreRefused) {
    const wrong_text cases[] = {
        {R"("gain": 0)", "sources[0]: 'position', 'direction', 'track' or 'layout' is missing"},
        {R"("position": [0, 0, 0], "track": [])", "sources[0]: has both 'position' and 'track'"},
        {R"("position": [0, 0])", "sources[0].position: has 2 items, needs 3"},
        {R"("position": [0, 0, true])", "sources[0].position: z is a boolean, needs a number"},
        {R"("position": [0, 8192, 0])", "sources[0].position: y 8192 is outside -8191 to 8191"},
        {R"("direction": 30)", "sources[0].direction: is a number, needs an array"},
        {R"("direction": [0, -90.5])",
         "sources[0].direction: elevation -90.5 is outside -90 to 90"},
        {R"("direction": [0, 0], "file2": "b")",
         "sources[0].file2: unknown key; there are file, channel, start, gain, loop, position, "
         "direction, track, layout, lfe, rolloff, dc_block"},
        {R"("direction": [0, 0], "channel": 0)", "sources[0].channel: 0 is outside 1 to 1024"},
        {R"("direction": [0, 0], "channel": 1.5)", "sources[0].channel: 1.5 is not a whole number"},
        {R"("direction": [0, 0], "gain": "loud")", "sources[0].gain: is a string, needs a number"},
        {R"("direction": [0, 0], "gain": 61)", "sources[0].gain: 61 is outside -120 to 60"},
        {R"("direction": [0, 0], "start": -1)", "sources[0].start: -1 is outside 0 to 31536000"},
        {R"("direction": [0, 0], "loop": 1)", "sources[0].loop: is a number, needs true or false"},
        {R"("direction": [0, 0], "dc_block": null)",
         "sources[0].dc_block: is null, needs true or false"},
        {R"("position": [0, 0, 0], "rolloff": {"model": "square"})",
         "sources[0].rolloff.model: 'square' is not inverse, linear or none"},
        {R"("position": [0, 0, 0], "rolloff": {"model": "none", "minimum": 1})",
         "sources[0].rolloff: 'maximum' is missing"},
        {R"("position": [0, 0, 0], "rolloff": {"model": "none", "minimum": 0, "maximum": 1})",
         "sources[0].rolloff.minimum: 0 is not above 0"},
        {R"("position": [0, 0, 0], "rolloff": {"model": "none", "minimum": 3, "maximum": 2.5})",
         "sources[0].rolloff: minimum 3 is above maximum 2.5"},
        {R"("direction": [0, 0], "rolloff": {"model": "none", "minimum": 1, "maximum": 2})",
         "sources[0].rolloff: the source is at a direction, which has no distance"},
        {R"("layout": 5.1)", "sources[0].layout: is a number, needs a string"},
        {R"("layout": "6.1")",
         "sources[0].layout: '6.1' is not stereo, quad, 5.1, 7.1, 5.1.4 or 7.1.4"},
        {R"("layout": "5.1", "track": [])", "sources[0]: has both 'track' and 'layout'"},
        {R"("layout": "5.1", "channel": 2)",
         "sources[0].channel: a layout takes all channels of the file; leave one of the two out"},
        {R"("layout": "5.1", "rolloff": {"model": "none", "minimum": 1, "maximum": 2})",
         "sources[0].rolloff: loudspeakers are at directions, which have no distance"},
        {R"("layout": "5.1", "lfe": "on")", "sources[0].lfe: 'on' is not a number or \"off\""},
        {R"("layout": "5.1", "lfe": true)", "sources[0].lfe: is a boolean, needs a number"},
        {R"("layout": "quad", "lfe": 0)", "sources[0].lfe: quad has no LFE channel"},
        {R"("layout": "5.1", "gain": 51)",
         "sources[0]: gain of its LFE channel in all: 61 is outside -120 to 60"},
        {R"("direction": [0, 0], "lfe": 0)", "sources[0].lfe: is for sources with a 'layout'"},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(expected, complaint(scene_text(text))) << text;
}

std::string repeated(const std::string &piece, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += piece;
    return text;
}

/* What nobody writes ends early, whether it would have become something or not. */
TEST(SceneJson, TextsHaveBounds) {
    std::string keys = "\"0\": 0";
    for (int i = 1; i <= 64; ++i) keys += ", \"" + std::to_string(i) + "\": 0";
    const std::string long_name(300000, 'k');
    const std::string begins = std::string(60, 'k') + "...";
    const std::pair<std::string, std::string> cases[] = {
        {repeated("[", 65), "...: is nested more than 64 deep"},
        {repeated("{\"a\": ", 65), "...: is nested more than 64 deep"},
        {repeated("[", 64) + repeated("]", 64), "is an array, needs an object"},
        {"{" + keys + "}", "64: is key number 65 of its object"},
        {"[" + repeated("[],", 2000000) + "0]",
         "[1999999]: is value number 2000001 of the text; long tracks belong into tables"},
        {"{\"" + long_name + "\": 0}",
         begins + ": unknown key; there are version, duration, listener, sources"},
        {"{\"" + long_name + "\": 0, \"" + long_name + "\": 0}", begins + ": is given twice"},
        {"{\"version\": " + std::string(300000, '1') + "}",
         "line 1, column 300012: the number " + std::string(60, '1') + "... is too large"},
    };
    for (const auto &[text, expected] : cases) {
        const std::string found = complaint(text);
        if (expected[0] == '.')
            EXPECT_TRUE(found.size() < 100 && found.ends_with(expected)) << found;
        else
            EXPECT_EQ(expected, found);
    }
}

TEST(SceneJson, MessagesSuitTerminals) {
    const std::pair<std::string, std::string> lines[] = {
        {"a\nb\x1B[31mc\x7F", "a?b?[31mc?"},
        {"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x8E\xA7",
         "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x8E\xA7"},
        {"csi \xC2\x9BX", "csi ??X"}, // a control character of two bytes
        {"bad \xFC \xC0\xAF \xED\xA0\x80 \xE2\x82", "bad ? ?? ??? ??"},
        {std::string(2000, 'a') + "b", std::string(500, 'a') + "..." + std::string(499, 'a') + "b"},
    };
    for (const auto &[text, expected] : lines) EXPECT_EQ(expected, message_line(text));
    EXPECT_EQ("'" + std::string(60, 'a') + "'", in_quotes(std::string(60, 'a')));
    // A character is not cut.
    EXPECT_EQ("'" + std::string(58, 'a') + "...'",
              in_quotes(std::string(58, 'a') + "\xE2\x82\xAC"));
}

TEST(SceneJson, WrongTracksAreRefused) {
    const wrong_text cases[] = {
        {R"([])", "has no rows"},
        {R"(7)", "is a number, needs an array"},
        {R"([[0, 1]])",
         " row 1: has 2 numbers, needs 4 (time,x,y,z) or 3 (time,azimuth,elevation)"},
        {R"([[0, 0, 0, 0], [1, 0, 0]])", " row 2: has 3 numbers, needs 4 (time,x,y,z)"},
        {R"([[0, 0, 0, 0], [1, [], 0, 0]])", " row 2: x is an array, needs a number"},
        {R"([[0, 0, 0], 5])", " row 2: is a number, needs an array"},
        {R"([[-1, 0, 0]])", " row 1: time -1 is outside 0 to 31536000"},
        {R"([[0, 0, 0], [2, 0, 0], [2.00001, 0, 0]])",
         " row 3: time 2.00001 is not after the row before, 2"},
        {R"([[0, 0, 0], [2, 0, 100]])", " row 2: elevation 100 is outside -90 to 90"},
        {R"("late.csv")", "late.csv:3: time 1 is not after the row before, 1"},
        {R"("word.csv")", "word.csv:2: y 'zero' is not a number"},
        {R"("short.csv")", "short.csv:4: has 3 numbers, needs 4 (time,x,y,z)"},
        {R"("high.csv")", "high.csv:2: elevation 91 is outside -90 to 90"},
        {R"("bare.csv")", "bare.csv:1: the heading '0,1,2,3' is not time,x,y,z or "
                          "time,azimuth,elevation"},
        {R"("empty.csv")", "empty.csv: has no rows"},
        {R"("wide.csv")", "wide.csv:2: has 1000001 numbers, needs 4 (time,x,y,z)"},
        {R"("heading.csv")",
         "heading.csv:1: the heading 'timetimetimetimetimetimetimetimetimetime"
         "timetimetimetimetime...' is not time,x,y,z or time,azimuth,elevation"},
        {R"("tall.csv")", "tall.csv: brings the tables of the scene to more than 5000000 lines"},
        {R"("")", "is empty"},
        {R"("fly.csv\u0000.wav")", "has a NUL character (\\u0000) in it, which no file name can"},
    };
    for (const auto &[text, expected] : cases) {
        const std::string place = expected[0] == ' ' ? "sources[0].track" : "sources[0].track: ";
        EXPECT_EQ(place + expected, complaint(scene_text(R"("track": )" + std::string(text))));
    }
    EXPECT_THROW(parse(scene_text(R"("track": "absent.csv")")), std::runtime_error);
}

TEST(SceneJson, WrongListenersAreRefused) {
    const wrong_text cases[] = {
        {R"({"position": [0, 0, 0], "position_track": []})",
         ": has both 'position' and 'position_track'"},
        {R"({"position_track": "turn.csv"})", ".position_track: turn.csv:1: the heading "
                                              "'time,azimuth,elevation' is not time,x,y,z"},
        {R"({"orientation": {"yaw": "left"}})", ".orientation.yaw: is a string, needs a number"},
        {R"({"orientation": {"tilt": 1}})",
         ".orientation.tilt: unknown key; there are yaw, pitch, roll, quaternion"},
        {R"({"orientation": {"yaw": 1, "quaternion": [1, 0, 0, 0]}})",
         ".orientation: has both 'quaternion' and angles"},
        {R"({"orientation": {"quaternion": [1, 0.1, 0, 0]}})",
         ".orientation.quaternion: the quaternion's modulus is 1.005, not 1"},
        {R"({"orientation_track": [[0, 0, 0, 0], [1, 0, 0, 40000]]})",
         ".orientation_track row 2: roll 40000 is outside -32767 to 32767"},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(
            "listener" + std::string(expected),
            complaint(scene_text(R"("direction": [0, 0])", R"("listener": )" + std::string(text))));
}

} // namespace
} // namespace earshot_scenes::test
