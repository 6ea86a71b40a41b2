#include "field/keyframes.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <utility>

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

keyframe parse_row(std::string_view line, const std::optional<focus_direction> &focus, s32 roll) {
    const std::size_t width = pieces_at_commas(line);
    if (width < 3 || width > 5)
        throw table_error{"has " + std::to_string(width) + (width == 1 ? " column" : " columns") +
                          ", needs 3 to 5 (seconds,yaw,pitch, then nothing, roll, or focus "
                          "yaw,focus pitch)"};
    const auto columns = split_at_commas(line);
    keyframe row{};
    row.frame = std::llround(column(columns[0], "time", time_range) * frames_per_second);
    row.setting.yaw = angle(columns[1], "yaw", yaw_range);
    row.setting.pitch = angle(columns[2], "pitch", pitch_range);
    row.roll = width == 4 ? angle(columns[3], "roll", yaw_range) : roll;
    row.own_focus = width == 5;
    if (row.own_focus)
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

class keyframe_rows {
  public:
    void add(const keyframe &row) {
        if (!rows_.empty()) check_distance(row.frame - rows_.back().frame);
        focuses_ = focuses_ || row.own_focus;
        check_ramps();
        rows_.push_back(row);
    }

    std::vector<keyframe> rows() && { return std::move(rows_); }

  private:
    // The smallest one is kept: it counts once a row has a focus.
    void check_distance(s64 distance) {
        if (distance < 0) throw table_error{"is earlier than the row before"};
        if (distance == 0) throw table_error{"is at the same sample as the row before"};
        least_ = std::min(least_, distance);
    }

    void check_ramps() const {
        if (focuses_ && least_ < HOA_EFFECT_RAMP_FRAMES)
            throw table_error{"with a focus in a row, rows need to be at least " +
                              std::to_string(HOA_EFFECT_RAMP_FRAMES) +
                              " samples apart, and some are " + std::to_string(least_)};
    }

    std::vector<keyframe> rows_;
    bool focuses_ = false;
    s64 least_ = HOA_EFFECT_RAMP_FRAMES;
};

constexpr head_angles angles_of(const keyframe &row) {
    return {row.setting.yaw, row.setting.pitch, row.roll};
}

} // namespace

std::vector<keyframe> parse_keyframes(std::string_view table, const std::string &name,
                                      const std::optional<focus_direction> &focus, s32 roll) {
    keyframe_rows rows;
    bool heading_allowed = true;
    if (table.substr(0, 3) == "\xEF\xBB\xBF") table.remove_prefix(3); // byte order mark of UTF-8
    for (s64 number = 1; !table.empty(); ++number) {
        const std::string_view line = trimmed(take_until('\n', table));
        if (line.empty() || line[0] == '#') continue;
        const bool skipped = heading_allowed && is_heading(line);
        heading_allowed = false;
        if (skipped) continue;
        try {
            rows.add(parse_row(line, focus, roll));
        } catch (const table_error &error) {
            throw processing_error(name + ":" + std::to_string(number) + ": " + error.reason);
        }
    }
    return std::move(rows).rows();
}

std::vector<keyframe> read_keyframes(const std::string &path,
                                     const std::optional<focus_direction> &focus, s32 roll) {
    const std::string table = read_text(path, most_bytes, "is larger than 16 MiB");
    return parse_keyframes(table, text_file_name(path), focus, roll);
}

bool leave_room_for_ramps(const std::vector<keyframe> &rows) {
    for (std::size_t k = 1; k < rows.size(); ++k)
        if (rows[k].frame - rows[k - 1].frame < HOA_EFFECT_RAMP_FRAMES) return false;
    return true;
}

// A ramp that begins at a frame has made its first step there, and its last one at the frame before
// it is over.
track<head_angles> way_through(const head_angles &before, const std::vector<keyframe> &rows) {
    const s64 first = rows.empty() ? 0 : rows[0].frame - 1;
    track<head_angles> way{{first, before}};
    for (std::size_t k = 0; k < rows.size(); ++k) {
        const s64 start = rows[k].frame - 1;
        if (way.back().time < start) way.push_back({start, way.back().value});
        s64 end = start + HOA_EFFECT_RAMP_FRAMES;
        if (k + 1 < rows.size()) end = std::min(end, rows[k + 1].frame - 1);
        way.push_back({end, angles_of(rows[k])});
    }
    return way;
}

std::vector<keyframe> without_turns(std::vector<keyframe> rows) {
    for (keyframe &row : rows) row.setting.yaw = row.setting.pitch = 0;
    return rows;
}

} // namespace earshot_tool
