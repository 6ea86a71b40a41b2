// Numbers and lists from the command line and from keyframe files. The decimal point is a point in
// every locale.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <earshot/types.h>

namespace earshot_scenes {

// The whole text as a finite decimal number, spaces around it allowed; nothing for anything else.
std::optional<double> parse_number(std::string_view text);

std::string_view trimmed(std::string_view text);

// The text up to a separator; `text` goes on behind it.
std::string_view take_until(char separator, std::string_view &text);

// How many pieces there are between commas. Lines of others are counted before they are split.
std::size_t pieces_at_commas(std::string_view text);

// The pieces between commas; a text without commas is one piece.
std::vector<std::string_view> split_at_commas(std::string_view text);

// Degrees to the fixed-point form of the library, Q16, to the nearest unit.
s64 degrees_q16(double degrees);

// The shortest decimal text of a number, for messages.
std::string number_text(double value);

// A limit on a number and the words for a number beyond it.
struct number_range {
    double low;
    double high;

    bool contains(double value) const { return value >= low && value <= high; }
    std::string violation(double value) const;
};

inline constexpr number_range yaw_range{-180, 180};
inline constexpr number_range pitch_range{-90, 90};
inline constexpr number_range elevation_range{-90, 90};
inline constexpr number_range gain_range{-120, 60}; // decibels

} // namespace earshot_scenes
