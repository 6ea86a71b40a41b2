#include "audio/header_length.hpp"

#include <array>
#include <charconv>

#include "scene_library.hpp"

namespace earshot_tool {

namespace {

// The lines that give the length of the audio data: WAV, AU and AIFF name the data chunk itself;
// of RF64 and W64 only the length of the whole file is compared.
constexpr std::array<std::string_view, 5> length_names = {"data", "Data Size", "SSND", "riff",
                                                          "Riff size"};

struct length_line {
    s64 claimed = 0;
    std::optional<s64> held;
};

std::optional<s64> leading_integer(std::string_view text) {
    s64 value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{}) return std::nullopt;
    return value;
}

// "NAME : CLAIMED" or "NAME : CLAIMED (should be HELD)".
std::optional<length_line> parse_line(std::string_view line, std::string_view name) {
    const auto colon = line.find(':');
    if (colon == std::string_view::npos || trimmed(line.substr(0, colon)) != name)
        return std::nullopt;
    const auto rest = trimmed(line.substr(colon + 1));
    const auto claimed = leading_integer(rest);
    if (!claimed) return std::nullopt;
    length_line result{*claimed, std::nullopt};
    constexpr std::string_view remark = "(should be ";
    if (const auto at = rest.find(remark); at != std::string_view::npos)
        result.held = leading_integer(rest.substr(at + remark.size()));
    return result;
}

// Stream writers leave the largest number that fits, rounded down to whole frames and less the
// length of the header: just below 2^31 or 2^32. AU has -1.
bool stands_for_unknown(s64 bytes) {
    return bytes == -1 || (bytes >= 0x7FFF0000 && bytes <= 0x7FFFFFFF) || bytes >= 0xFFFF0000;
}

template <class Visit> void for_each_line(std::string_view log, Visit visit) {
    while (!log.empty()) {
        const auto end = log.find('\n');
        visit(log.substr(0, end));
        if (end == std::string_view::npos) return;
        log.remove_prefix(end + 1);
    }
}

} // namespace

header_length read_header_length(std::string_view log) {
    header_length result;
    bool outer_unknown = false;
    for_each_line(log, [&](std::string_view line) {
        // A header that was never completed has no data length either; 0 alone may be the truth.
        if (const auto outer = parse_line(line, "RIFF"))
            outer_unknown = outer->claimed == 0 || stands_for_unknown(outer->claimed);
        for (const auto name : length_names) {
            const auto length = parse_line(line, name);
            if (!length) continue;
            if (stands_for_unknown(length->claimed) || (outer_unknown && length->claimed == 0)) {
                result.open_ended = true;
            } else if (length->held && length->claimed > *length->held) {
                result.claimed = length->claimed;
                result.held = length->held;
            }
        }
    });
    return result;
}

} // namespace earshot_tool
