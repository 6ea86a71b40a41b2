#include "scene/description/loudspeakers.hpp"

#include <algorithm>
#include <array>

#include "scene/description/parse.hpp"

namespace earshot_scenes {

namespace {

using enum loudspeaker;

constexpr std::size_t kinds = 18;

struct named_mask {
    std::string_view name;
    u32 mask;
};

constexpr named_mask layouts[] = {{"stereo", 0x3}, {"quad", 0x33},     {"5.1", 0x60F},
                                  {"7.1", 0x63F},  {"5.1.4", 0x2D60F}, {"7.1.4", 0x2D63F}};

// By the bits of a mask.
constexpr std::array<std::string_view, kinds> names = {"L",   "R",   "C",   "LFE", "Lb",  "Rb",
                                                       "Lc",  "Rc",  "Cb",  "Ls",  "Rs",  "Tc",
                                                       "Ltf", "Ctf", "Rtf", "Ltb", "Ctb", "Rtb"};

bool has(const loudspeakers &all, loudspeaker one) {
    return std::find(all.begin(), all.end(), one) != all.end();
}

bool has_two_surround_pairs(const loudspeakers &all) {
    return has(all, side_left) && has(all, back_left);
}

// The same place in a set with one pair of surround loudspeakers only.
loudspeaker other_name(loudspeaker one) {
    switch (one) {
    case back_left:
        return side_left;
    case back_right:
        return side_right;
    case side_left:
        return back_left;
    case side_right:
        return back_right;
    default:
        return one;
    }
}

bed bed_of(const named_mask &layout) {
    return {std::string(layout.name), loudspeakers_of_mask(layout.mask)};
}

// Azimuths to the left, for either side.
int surround_azimuth(bool is_back, const loudspeakers &all) {
    if (has_two_surround_pairs(all)) return is_back ? 135 : 90;
    return is_back && !has(all, front_centre) ? 135 : 110;
}

direction degrees(int azimuth, int elevation = 0) { return {azimuth * 65536, elevation * 65536}; }

} // namespace

std::optional<bed> layout_called(std::string_view name) {
    for (const named_mask &layout : layouts)
        if (layout.name == name) return bed_of(layout);
    return std::nullopt;
}

std::optional<bed> layout_of_channels(std::size_t channels) {
    for (const named_mask &layout : layouts)
        if (bed one = bed_of(layout); one.speakers.size() == channels) return one;
    return std::nullopt;
}

std::string layout_names() {
    std::string text;
    for (const named_mask &layout : layouts) {
        if (&layout != layouts) text += &layout == std::end(layouts) - 1 ? " or " : ", ";
        text += layout.name;
    }
    return text;
}

loudspeakers loudspeakers_of_mask(u32 mask) {
    loudspeakers all;
    if (mask >> kinds != 0) return all;
    for (u32 bit = 0; bit < kinds; ++bit)
        if ((mask >> bit & 1) != 0) all.push_back(static_cast<loudspeaker>(bit));
    return all;
}

std::string names_of(const loudspeakers &all) {
    std::string text;
    for (const loudspeaker one : all) {
        if (!text.empty()) text += ' ';
        text += names[static_cast<std::size_t>(one)];
    }
    return text;
}

std::optional<bed> layout_like(const loudspeakers &channels) {
    auto layout = layout_of_channels(channels.size());
    const auto found = layout ? channels_for(layout->speakers, channels) : std::nullopt;
    if (!found) return std::nullopt;
    for (std::size_t k = 0; k < found->size(); ++k) {
        const loudspeaker called = channels[static_cast<std::size_t>((*found)[k] - 1)];
        const direction stands = direction_of(layout->speakers[k], layout->speakers);
        if (direction_of(called, channels) != stands) return std::nullopt;
    }
    return layout;
}

std::optional<std::vector<int>> channels_for(const loudspeakers &layout,
                                             const loudspeakers &channels) {
    if (layout.size() != channels.size()) return std::nullopt;
    const bool either = !has_two_surround_pairs(layout);
    std::vector<int> found;
    for (const loudspeaker one : layout) {
        const loudspeaker called = has(channels, one) || !either ? one : other_name(one);
        const auto at = std::find(channels.begin(), channels.end(), called);
        if (at == channels.end()) return std::nullopt;
        found.push_back(static_cast<int>(at - channels.begin()) + 1);
    }
    return found;
}

direction direction_of(loudspeaker one, const loudspeakers &all) {
    const bool wide = has_two_surround_pairs(all);
    const int upper_front = wide ? 45 : 30, upper_back = wide ? 135 : 110;
    constexpr int upper = 30;
    switch (one) {
    case front_left:
        return degrees(30);
    case front_right:
        return degrees(-30);
    case front_left_of_centre:
        return degrees(15);
    case front_right_of_centre:
        return degrees(-15);
    case back_centre:
        return degrees(180);
    case back_left:
        return degrees(surround_azimuth(true, all));
    case back_right:
        return degrees(-surround_azimuth(true, all));
    case side_left:
        return degrees(surround_azimuth(false, all));
    case side_right:
        return degrees(-surround_azimuth(false, all));
    case top_centre:
        return degrees(0, 90);
    case top_front_left:
        return degrees(upper_front, upper);
    case top_front_centre:
        return degrees(0, upper);
    case top_front_right:
        return degrees(-upper_front, upper);
    case top_back_left:
        return degrees(upper_back, upper);
    case top_back_centre:
        return degrees(180, upper);
    case top_back_right:
        return degrees(-upper_back, upper);
    case front_centre:
    case low_frequency:
        break;
    }
    return {};
}

void add_bed(scene &scene, const scene_source &common, const bed &layout, std::optional<s32> lfe) {
    for (std::size_t k = 0; k < layout.speakers.size(); ++k) {
        const loudspeaker one = layout.speakers[k];
        if (one == low_frequency && !lfe) continue;
        scene_source source = common;
        source.channel = static_cast<int>(k) + 1;
        source.bed = scene.beds.size();
        if (one == low_frequency) {
            source.place = everywhere{};
            source.gain += *lfe;
            const double decibels = source.gain / 1000.0;
            if (!gain_range.contains(decibels))
                throw scene_error("gain of its LFE channel in all: " +
                                  gain_range.violation(decibels));
        } else {
            source.place = track<direction>{{0, direction_of(one, layout.speakers)}};
        }
        scene.sources.push_back(std::move(source));
    }
    scene.beds.push_back(layout);
}

} // namespace earshot_scenes
