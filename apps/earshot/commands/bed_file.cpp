#include "commands/bed_file.hpp"

#include <numeric>

#include "commands/commands.hpp"
#include "error.hpp"
#include "field/spherical_harmonics.hpp"

namespace earshot_tool {

namespace {

constexpr int field_of_order_1 = 4; // channels, which quad has as well

std::string in_words(const bed &layout, const loudspeakers &channels) {
    const std::string names = names_of(channels);
    return layout.name == names ? names : layout.name + " (" + names + ")";
}

} // namespace

std::optional<bed> known_bed(const audio_input &file) {
    if (!file.speakers().empty()) {
        if (const auto known = layout_like(file.speakers())) return known;
        return bed{names_of(file.speakers()), file.speakers()};
    }
    if (file.channels() == 1) return bed{"mono", {loudspeaker::front_centre}};
    return layout_of_channels(static_cast<std::size_t>(file.channels()));
}

bool may_be_field(const audio_input &file) {
    return file.speakers().empty() && order_of_channels(file.channels()) != 0;
}

bed bed_of(const audio_input &file) {
    if (auto known = known_bed(file)) return *std::move(known);
    if (const int order = order_of_channels(file.channels()))
        throw processing_error(file.name(), has_channels(file) + ", as a field of order " +
                                                std::to_string(order) + "; 'earshot binauralize " +
                                                file.name() + "' renders fields");
    throw processing_error(file.name(), has_channels(file) +
                                            ", of which its header does not tell the "
                                            "loudspeakers; place each with '-s " +
                                            file.name() + ":CHANNEL@AZ,EL'");
}

std::string bed_note(const audio_input &file, const bed &layout) {
    const bool says = !file.speakers().empty();
    std::string text = file.name() + ": taken as ";
    text += in_words(layout, says ? file.speakers() : layout.speakers);
    text += says ? ", as its header says" : ", by its number of channels";
    const auto other = layout_of_channels(layout.speakers.size());
    text += "; '-s " + file.name();
    text += other && other->name != layout.name ? "@" + other->name + "' takes it as " + other->name
                                                : ":CHANNEL@AZ,EL' places a channel elsewhere";
    if (file.channels() == field_of_order_1)
        text += ", 'earshot binauralize " + file.name() + "' as a field";
    return text;
}

bed_channels channels_of_bed(const audio_input &file, const bed &layout) {
    const std::size_t count = layout.speakers.size();
    const auto channels = static_cast<std::size_t>(file.channels());
    if (channels != count) {
        const auto other = layout_of_channels(channels);
        throw processing_error(
            file.name(),
            has_channels(file) + ", " + layout.name + " has " + std::to_string(count) + "; " +
                (other ? "the layout for it is " + other->name : "name its channels one by one"));
    }
    if (!file.speakers().empty()) {
        if (auto numbers = channels_for(layout.speakers, file.speakers()))
            return {*std::move(numbers), ""};
    }
    bed_channels found{std::vector<int>(count), ""};
    std::iota(found.numbers.begin(), found.numbers.end(), 1);
    if (!file.speakers().empty())
        found.note = file.name() + ": its header has the channels " + names_of(file.speakers()) +
                     "; they are taken as " + in_words(layout, layout.speakers);
    return found;
}

} // namespace earshot_tool
