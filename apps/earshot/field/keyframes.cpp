#include "field/keyframes.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <sstream>

#include "error.hpp"
#include "scene_library.hpp"
#include "text_file.hpp"

namespace earshot_tool {

namespace {

constexpr double frames_per_second = 48000;
constexpr number_range time_range{0, 1e9}; // thirty years, far below where frames would overflow

struct table_error {
    std::string reason;
};

double column(std::string_view text, const char *what, const number_range &range) {
    const auto value = parse_number(text);
    if (!value)
        throw table_error{std::string(what) + " '" + std::string(trimmed(text)) +
                          "' is not a number"};
    if (!range.contains(*value))
        throw table_error{std::string(what) + " " + range.violation(*value)};
    return *value;
}

s32 angle(std::string_view text, const char *what, const number_range &range) {
    return static_cast<s32>(degrees_q16(column(text, what, range)));
}

void set_focus(field_setting &setting, const focus_direction &focus) {
    setting.focus = true;
    setting.focus_yaw = focus.yaw;
    setting.focus_pitch = focus.pitch;
}

keyframe parse_row(std::string_view line, const std::optional<focus_direction> &focus) {
    const auto columns = split_at_commas(line);
    if (columns.size() != 3 && columns.size() != 5)
        throw table_error{"has " + std::to_string(columns.size()) +
                          (columns.size() == 1 ? " column" : " columns") +
                          ", needs 3 or 5 (seconds,yaw,pitch[,focus yaw,focus pitch])"};
    keyframe row{};
    row.frame = std::llround(column(columns[0], "time", time_range) * frames_per_second);
    row.setting.yaw = angle(columns[1], "yaw", yaw_range);
    row.setting.pitch = angle(columns[2], "pitch", pitch_range);
    if (columns.size() == 5)
        set_focus(row.setting, {angle(columns[3], "focus yaw", yaw_range),
                                angle(columns[4], "focus pitch", pitch_range)});
    else if (focus)
        set_focus(row.setting, *focus);
    return row;
}

// Words; a row of numbers that begins with "nan" is not one.
bool is_heading(std::string_view line) {
    const auto columns = split_at_commas(line);
    return std::isalpha(static_cast<unsigned char>(line[0])) != 0 &&
           std::none_of(columns.begin(), columns.end(),
                        [](std::string_view text) { return parse_number(text).has_value(); });
}

void check_distance(const std::vector<keyframe> &rows, const keyframe &next) {
    if (rows.empty()) return;
    const s64 distance = next.frame - rows.back().frame;
    if (distance < 0) throw table_error{"is earlier than the row before"};
    if (distance < HOA_EFFECT_RAMP_FRAMES)
        throw table_error{"is " + std::to_string(distance) +
                          " samples after the row before, needs at least " +
                          std::to_string(HOA_EFFECT_RAMP_FRAMES)};
}

} // namespace

std::vector<keyframe> parse_keyframes(std::istream &table, const std::string &name,
                                      const std::optional<focus_direction> &focus) {
    std::vector<keyframe> rows;
    std::string text;
    bool heading_allowed = true;
    for (s64 number = 1; std::getline(table, text); ++number) {
        std::string_view line = text;
        if (number == 1 && line.substr(0, 3) == "\xEF\xBB\xBF") // byte order mark of UTF-8
            line.remove_prefix(3);
        line = trimmed(line);
        if (line.empty() || line[0] == '#') continue;
        const bool skipped = heading_allowed && is_heading(line);
        heading_allowed = false;
        if (skipped) continue;
        try {
            const keyframe row = parse_row(line, focus);
            check_distance(rows, row);
            rows.push_back(row);
        } catch (const table_error &error) {
            throw processing_error(name + ":" + std::to_string(number) + ": " + error.reason);
        }
    }
    return rows;
}

std::vector<keyframe> read_keyframes(const std::string &path,
                                     const std::optional<focus_direction> &focus) {
    std::istringstream table(read_text(path));
    return parse_keyframes(table, text_file_name(path), focus);
}

} // namespace earshot_tool
