#include "field/keyframes.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "error.hpp"
#include "scene_library.hpp"
#include "text_file.hpp"

namespace earshot_tool {

namespace {

// An hour of rows that are as close to each other as they may be has 10 MiB.
constexpr std::size_t most_bytes = std::size_t{16} << 20;
constexpr double frames_per_second = 48000;
constexpr number_range time_range{0, 1e9}; // thirty years, far below where frames would overflow

struct table_error {
    std::string reason;
};

double column(std::string_view text, const char *what, const number_range &range) {
    const auto value = parse_number(text);
    if (!value)
        throw table_error{std::string(what) + " " + in_quotes(trimmed(text)) + " is not a number"};
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
    const std::size_t width = pieces_at_commas(line);
    if (width != 3 && width != 5)
        throw table_error{"has " + std::to_string(width) + (width == 1 ? " column" : " columns") +
                          ", needs 3 or 5 (seconds,yaw,pitch[,focus yaw,focus pitch])"};
    const auto columns = split_at_commas(line);
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
    if (std::isalpha(static_cast<unsigned char>(line[0])) == 0) return false;
    while (!line.empty())
        if (parse_number(take_until(',', line))) return false;
    return true;
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

std::vector<keyframe> parse_keyframes(std::string_view table, const std::string &name,
                                      const std::optional<focus_direction> &focus) {
    std::vector<keyframe> rows;
    bool heading_allowed = true;
    if (table.substr(0, 3) == "\xEF\xBB\xBF") table.remove_prefix(3); // byte order mark of UTF-8
    for (s64 number = 1; !table.empty(); ++number) {
        const std::string_view line = trimmed(take_until('\n', table));
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
    const std::string table = read_text(path, most_bytes, "is larger than 16 MiB");
    return parse_keyframes(table, text_file_name(path), focus);
}

} // namespace earshot_tool
