#include "commands/source_argument.hpp"

#include "error.hpp"
#include "field/spherical_harmonics.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

namespace {

constexpr int highest_channel = 1024;

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

} // namespace

source_argument parse_source(const std::string &text) {
    const auto at = text.rfind('@');
    if (at == std::string::npos) fail(text, "has no direction; FILE[:CHANNEL]@AZ,EL is needed");
    source_argument source;
    source.file = text.substr(0, at);
    take_channel(text, source);
    if (source.file.empty()) fail(text, "has no file; FILE[:CHANNEL]@AZ,EL is needed");

    const std::string direction = text.substr(at + 1);
    const auto angles = split_at_commas(direction);
    const auto azimuth = parse_number(angles[0]);
    const auto elevation = angles.size() == 2 ? parse_number(angles[1]) : std::nullopt;
    if (!azimuth || !elevation) fail(text, "'" + direction + "' is not AZ,EL");
    if (!elevation_range.contains(*elevation))
        fail(text, "elevation " + elevation_range.violation(*elevation));
    source.azimuth = turn_of_azimuth(*azimuth);
    source.elevation = static_cast<s32>(degrees_q16(*elevation));
    return source;
}

} // namespace earshot_tool
