#include "scene/description/scene_json.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "scene/description/loudspeakers.hpp"
#include "scene/description/quote.hpp"
#include "scene/description/scene_table.hpp"
#include "scene/rendering/binaural_engine.hpp"

namespace earshot_scenes {

namespace {

constexpr number_range channel_range{1, 1024};
constexpr double farthest = 32767; // metres

s64 samples(const json_place &place) { return samples_of(place.number(time_range)); }

// An array with the numbers of one value: what never changes.
template <class Value> track<Value> constant(const json_place &place) {
    const value_layout &layout = layout_of<Value>();
    place.require_array();
    if (place.size() != layout.names.size())
        place.fail("has " + std::to_string(place.size()) + " items, needs " +
                   std::to_string(layout.names.size()));
    const auto numbers = place.numbers(layout.names);
    if (const auto fault = layout.fault(layout, numbers.data())) place.fail(*fault);
    return {{0, value_of<Value>(numbers.data())}};
}

// Behind a NUL the system would not see the rest of the name.
const std::string &file_name(const json_place &place) {
    const std::string &name = place.text();
    if (name.empty()) place.fail("is empty");
    if (name.find('\0') != std::string::npos)
        place.fail("has a NUL character (\\u0000) in it, which no file name can");
    return name;
}

number_table read_table(const json_place &place, const csv_loader &load,
                        std::vector<const value_layout *> kinds) {
    number_table table(std::move(kinds));
    if (!place.is_text()) {
        table.read(place);
        return table;
    }
    const std::string &name = file_name(place);
    std::string text;
    try {
        text = load(name);
    } catch (const std::exception &error) {
        place.fail(error.what());
    }
    table.read(text, place, name);
    return table;
}

template <class A, class B>
std::variant<track<A>, track<B>> either_track(const json_place &place, const csv_loader &load) {
    const number_table table = read_table(place, load, {&layout_of<A>(), &layout_of<B>()});
    if (table.kind() == 0) return table.rows<A>();
    return table.rows<B>();
}

s32 angle(const json_place &place, const char *key) {
    const auto value = place.find(key);
    return value ? q16(value->number(any_angle)) : 0;
}

void read_orientation(const json_place &place, scene_listener &listener) {
    place.require_keys({"yaw", "pitch", "roll", "quaternion"});
    const auto quaternions = place.find("quaternion");
    if (!quaternions) {
        listener.orientation = track<head_angles>{
            {0, {angle(place, "yaw"), angle(place, "pitch"), angle(place, "roll")}}};
        return;
    }
    if (place.size() > 1) place.fail("has both 'quaternion' and angles");
    listener.orientation = constant<quaternion>(*quaternions);
}

scene_listener read_listener(const json_place &place, const csv_loader &load) {
    place.require_keys({"position", "position_track", "orientation", "orientation_track"});
    scene_listener listener;
    if (const auto key = place.only_one_of({"position", "position_track"}))
        listener.position = key == "position" ? constant<position>(place.at("position"))
                                              : read_table(place.at("position_track"), load,
                                                           {&layout_of<position>()})
                                                    .rows<position>();
    if (const auto key = place.only_one_of({"orientation", "orientation_track"})) {
        if (key == "orientation")
            read_orientation(place.at("orientation"), listener);
        else
            listener.orientation =
                either_track<head_angles, quaternion>(place.at("orientation_track"), load);
    }
    return listener;
}

scene_rolloff read_rolloff(const json_place &place) {
    place.require_keys({"model", "minimum", "maximum"});
    const json_place model = place.at("model");
    constexpr const char *models[] = {"inverse", "linear", "none"}; // ROLLOFF_INVERSE and on
    scene_rolloff rolloff;
    while (rolloff.model < 3 && model.text() != models[rolloff.model]) ++rolloff.model;
    if (rolloff.model == 3) model.fail(in_quotes(model.text()) + " is not inverse, linear or none");
    const double minimum = place.at("minimum").number_above_0(farthest);
    const double maximum = place.at("maximum").number_above_0(farthest);
    if (minimum > maximum)
        place.fail("minimum " + number_text(minimum) + " is above maximum " + number_text(maximum));
    rolloff.minimum = q16(minimum);
    rolloff.maximum = q16(maximum);
    return rolloff;
}

constexpr std::initializer_list<const char *> place_keys = {"position", "direction", "track",
                                                            "layout"};

void read_place(const json_place &place, const csv_loader &load, scene_source &source) {
    const auto key = place.only_one_of(place_keys);
    if (!key) place.fail("'position', 'direction', 'track' or 'layout' is missing");
    const json_place value = place.at(key->c_str());
    if (key == "position")
        source.place = constant<position>(value);
    else if (key == "direction")
        source.place = constant<direction>(value);
    else
        std::visit([&source](auto rows) { source.place = std::move(rows); },
                   either_track<position, direction>(value, load));
    if (const auto rolloff = place.find("rolloff")) {
        source.rolloff = read_rolloff(*rolloff);
        if (std::holds_alternative<track<direction>>(source.place))
            rolloff->fail("the source is at a direction, which has no distance");
    }
}

s32 decibels(const json_place &place) {
    return static_cast<s32>(std::llround(place.number(gain_range) * 1000));
}

// Nothing: it is off.
std::optional<s32> read_lfe(const json_place &place) {
    if (!place.is_text()) return decibels(place);
    if (place.text() != "off") place.fail(in_quotes(place.text()) + " is not a number or \"off\"");
    return std::nullopt;
}

void read_bed(const json_place &place, const scene_source &common, scene &scene) {
    const json_place name = place.at("layout");
    const auto layout = layout_called(name.text());
    if (!layout) name.fail(in_quotes(name.text()) + " is not " + layout_names());
    if (const auto channel = place.find("channel"))
        channel->fail("a layout takes all channels of the file; leave one of the two out");
    if (const auto rolloff = place.find("rolloff"))
        rolloff->fail("loudspeakers are at directions, which have no distance");
    std::optional<s32> lfe = standard_lfe_gain;
    if (const auto key = place.find("lfe")) {
        lfe = read_lfe(*key);
        if (!std::count(layout->speakers.begin(), layout->speakers.end(),
                        loudspeaker::low_frequency))
            key->fail(layout->name + " has no LFE channel");
    }
    try {
        add_bed(scene, common, *layout, lfe);
    } catch (const scene_error &error) {
        place.fail(error.what());
    }
}

// One source, or those of a bed.
void read_source(const json_place &place, const csv_loader &load, std::size_t entry, scene &scene) {
    place.require_keys({"file", "channel", "start", "gain", "loop", "position", "direction",
                        "track", "layout", "lfe", "rolloff", "dc_block"});
    scene_source source;
    source.entry = entry;
    source.file = file_name(place.at("file"));
    if (const auto channel = place.find("channel"))
        source.channel = channel->whole_number(channel_range);
    if (const auto start = place.find("start")) source.start = samples(*start);
    if (const auto gain = place.find("gain")) source.gain = decibels(*gain);
    if (const auto loop = place.find("loop")) source.loop = loop->boolean();
    if (const auto dc_block = place.find("dc_block")) source.dc_block = dc_block->boolean();
    if (place.only_one_of(place_keys) == "layout") {
        read_bed(place, source, scene);
        return;
    }
    if (const auto lfe = place.find("lfe")) lfe->fail("is for sources with a 'layout'");
    read_place(place, load, source);
    scene.sources.push_back(std::move(source));
}

// Tables, as long as they do not have too many lines in all.
csv_loader counted(const csv_loader &load, std::size_t &lines) {
    return [&load, &lines](const std::string &name) {
        std::string table = load(name);
        lines += static_cast<std::size_t>(std::count(table.begin(), table.end(), '\n'));
        if (lines > most_table_lines)
            throw scene_error(name + ": brings the tables of the scene to more than " +
                              std::to_string(most_table_lines) + " lines");
        return table;
    };
}

void check_end(const json_place &top, const scene &scene) {
    if (scene.duration) return;
    for (const scene_source &source : scene.sources)
        if (!source.loop) return;
    top.fail("'duration' is missing: all sources loop, the scene would not end");
}

} // namespace

scene parse_scene(std::string_view text, const csv_loader &load_table) {
    std::size_t lines = 0;
    const csv_loader load = counted(load_table, lines);
    const json document = parse_json(text);
    const json_place top(document);
    top.require_keys({"version", "duration", "listener", "sources"});
    const json_place version = top.at("version");
    if (version.whole_number({1, 1e9}) != 1) version.fail("only version 1 is known");
    scene scene;
    if (const auto duration = top.find("duration"))
        scene.duration = samples_of(duration->number_above_0(time_range.high));
    if (const auto listener = top.find("listener")) scene.listener = read_listener(*listener, load);
    const json_place sources = top.at("sources");
    sources.require_array();
    if (sources.size() == 0) sources.fail("is empty");
    if (sources.size() > most_sources)
        sources.fail("has " + std::to_string(sources.size()) + " items, there can be " +
                     std::to_string(most_sources));
    for (std::size_t k = 0; k < sources.size(); ++k) {
        read_source(sources.item(k), load, k, scene);
        if (scene.sources.size() > most_sources)
            sources.item(k).fail("brings the channels that are heard to more than " +
                                 std::to_string(most_sources));
    }
    check_end(top, scene);
    return scene;
}

} // namespace earshot_scenes
