#include "commands/source_argument.hpp"

#include <cmath>

#include "error.hpp"
#include "field/spherical_harmonics.hpp"
#include "scene/description/loudspeakers.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

namespace {

constexpr int highest_channel = 1024;
const char *const forms = "FILE[:CHANNEL]@AZ,EL[,GAIN] or FILE@LAYOUT[,GAIN] is needed";

[[noreturn]] void fail(const std::string &text, const std::string &reason) {
    throw usage_error("-s " + text + ": " + reason);
}

void take_channel(const std::string &text, source_argument &source) {
    const auto colon = source.file.rfind(':');
    if (colon == std::string::npos) return;
    const std::string digits = source.file.substr(colon + 1);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return;
    const auto channel = parse_number(digits);
    if (!channel || *channel < 1 || *channel > highest_channel)
        fail(text, "channel " + digits + " is outside 1 to " + std::to_string(highest_channel));
    source.channel = static_cast<int>(*channel);
    source.file.resize(colon);
}

bool has_unit(std::string_view piece) { return trimmed(piece).ends_with("dB"); }

std::optional<double> gain_number(std::string_view piece) {
    piece = trimmed(piece);
    if (has_unit(piece)) piece.remove_suffix(2);
    return parse_number(piece);
}

using pieces = std::vector<std::string_view>;

s32 gain_of(const std::string &text, const pieces &place, std::size_t at) {
    if (place.size() <= at) return 0;
    const auto gain = gain_number(place[at]);
    if (!gain) fail(text, "gain " + in_quotes(place[at]) + " is not a number of decibels");
    if (!gain_range.contains(*gain)) fail(text, "gain " + gain_range.violation(*gain));
    return static_cast<s32>(std::llround(*gain * 1000));
}

bool is_layout(const pieces &place) {
    return place.size() <= 2 && layout_called(trimmed(place[0])).has_value();
}

// "5.1" and "7.1" are numbers, too.
bool may_be_direction(const pieces &place) {
    if (place.size() != 2 || has_unit(place[1]) || !parse_number(place[0])) return false;
    const auto elevation = parse_number(place[1]);
    return elevation && elevation_range.contains(*elevation);
}

source_argument::direction read_direction(const std::string &text, const pieces &place) {
    const auto azimuth = parse_number(place[0]);
    const auto elevation =
        place.size() == 2 || place.size() == 3 ? parse_number(place[1]) : std::nullopt;
    if (!azimuth || !elevation)
        fail(text, in_quotes(text.substr(text.rfind('@') + 1)) +
                       " is neither AZ,EL[,GAIN] nor a layout: " + layout_names());
    if (!elevation_range.contains(*elevation))
        fail(text, "elevation " + elevation_range.violation(*elevation));
    return {turn_of_azimuth(*azimuth), static_cast<s32>(degrees_q16(*elevation)),
            gain_of(text, place, 2)};
}

} // namespace

source_argument parse_source(const std::string &text) {
    const auto at = text.rfind('@');
    if (at == std::string::npos) fail(text, std::string("has no direction; ") + forms);
    source_argument source;
    source.file = text.substr(0, at);
    take_channel(text, source);
    if (source.file.empty()) fail(text, std::string("has no file; ") + forms);

    const pieces place = split_at_commas(std::string_view(text).substr(at + 1));
    const bool layout = is_layout(place);
    const bool direction = !layout || may_be_direction(place);
    if (direction) source.from = read_direction(text, place);
    if (layout && !direction && source.channel != 0)
        fail(text, "a layout takes all channels of a file; leave the :CHANNEL out");
    const bool can_be_gain = layout && source.channel == 0 &&
                             (!direction || gain_range.contains(*gain_number(place[1])));
    if (can_be_gain)
        source.on =
            source_argument::layout{std::string(trimmed(place[0])), gain_of(text, place, 1)};
    return source;
}

} // namespace earshot_tool
