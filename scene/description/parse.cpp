#include "scene/description/parse.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace earshot_scenes {

namespace {

#if defined(__cpp_lib_to_chars)

// Where a decimal number at the beginning of a text ends, or null where there is none that a
// double holds.
const char *read_number(std::string_view text, double &value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} ? end : nullptr;
}

std::string shortest_text(double value) {
    char text[64];
    auto result = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed);
    // Numbers of hundreds of digits are not written out.
    if (result.ec != std::errc{}) result = std::to_chars(text, text + sizeof text, value);
    return {text, result.ptr};
}

#else // the library of WebAssembly, where there is one locale only

const char *read_number(std::string_view text, double &value) {
    const std::string number(text.substr(0, text.find_first_not_of("+-.0123456789eE")));
    const bool begins = !number.empty() && number[0] != '+';
    char *end = nullptr;
    value = std::strtod(number.c_str(), &end);
    return begins && end != number.c_str() ? text.data() + (end - number.c_str()) : nullptr;
}

std::string shortest_text(double value) {
    constexpr int longest = 63;
    char text[longest + 1];
    for (int decimals = 0; decimals < longest; ++decimals) {
        const int length = std::snprintf(text, sizeof text, "%.*f", decimals, value);
        if (length > longest) break;
        if (std::strtod(text, nullptr) == value) return text;
    }
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

#endif

} // namespace

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blank = " \t\r";
    const auto first = text.find_first_not_of(blank);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blank) - first + 1);
}

std::optional<double> parse_number(std::string_view text) {
    text = trimmed(text);
    // from_chars knows no plus sign; "+-1" stays an error.
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    double value = 0;
    const char *end = read_number(text, value);
    if (end == nullptr || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::string_view take_until(char separator, std::string_view &text) {
    const std::size_t end = text.find(separator);
    const std::string_view piece = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return piece;
}

std::size_t pieces_at_commas(std::string_view text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')) + 1;
}

std::vector<std::string_view> split_at_commas(std::string_view text) {
    std::vector<std::string_view> pieces(pieces_at_commas(text));
    for (std::string_view &piece : pieces) piece = take_until(',', text);
    return pieces;
}

s64 degrees_q16(double degrees) { return std::llround(degrees * 65536); }

std::string number_text(double value) { return shortest_text(value); }

std::string number_range::violation(double value) const {
    return number_text(value) + " is outside " + number_text(low) + " to " + number_text(high);
}

} // namespace earshot_scenes
