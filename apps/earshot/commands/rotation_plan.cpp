#include "commands/rotation_plan.hpp"

#include <algorithm>

#include "commands/commands.hpp"
#include "error.hpp"
#include "field/spherical_harmonics.hpp"
#include "scene/description/head_track.hpp"
#include "scene/description/loudspeakers.hpp"
#include "scene/description/scene_json.hpp"
#include "text_file.hpp"

namespace earshot_tool {

namespace {

s32 angle_of(double degrees) { return static_cast<s32>(degrees_q16(degrees)); }

field_setting constant_setting(const rotation_options &options) {
    field_setting setting;
    setting.yaw = angle_of(options.yaw);
    setting.pitch = angle_of(options.pitch);
    if (options.focus) {
        setting.focus = true;
        setting.focus_yaw = options.focus->yaw;
        setting.focus_pitch = options.focus->pitch;
    }
    return setting;
}

field_setting without_turn(field_setting setting) {
    setting.yaw = setting.pitch = 0;
    return setting;
}

void check_options(const rotation_options &options, const std::string &input,
                   const std::string &label) {
    for (const auto &[name, file] :
         {std::pair{"--keyframes", options.keyframes}, std::pair{"--track", options.track}})
        if (file == "-" && input == "-")
            throw usage_error(std::string(name) + " and " + label +
                              " cannot both be standard input");
    if (options.track.empty()) return;
    const bool turned = options.yaw != 0 || options.pitch != 0 || options.roll != 0;
    if (turned || !options.keyframes.empty())
        throw usage_error("--track says where the head looks at any time; leave out " +
                          std::string(turned ? "--yaw, --pitch and --roll" : "--keyframes"));
}

orientation_track read_track(const std::string &path) {
    const std::string name = text_file_name(path);
    const std::string table =
        read_text(path, most_table_bytes, "is larger than 256 MiB; give it fewer rows or digits");
    const auto lines = std::count(table.begin(), table.end(), '\n');
    if (static_cast<std::size_t>(lines) > most_table_lines)
        throw processing_error(name, "has more than " + std::to_string(most_table_lines) +
                                         " lines; give it fewer rows");
    try {
        return parse_head_track(table, name);
    } catch (const scene_error &error) {
        throw processing_error(error.what());
    }
}

} // namespace

rotation_plan::rotation_plan(const rotation_options &options, const std::string &input,
                             const std::string &label)
    : keyframes_(options.keyframes), setting_(constant_setting(options)),
      roll_(angle_of(options.roll)), tracks_(!options.track.empty()) {
    check_options(options, input, label);
    if (!keyframes_.empty()) rows_ = read_keyframes(keyframes_, options.focus, roll_);
    focus_moves_ =
        std::any_of(rows_.begin(), rows_.end(), [](const keyframe &row) { return row.own_focus; });
    head_ = std::make_shared<orientation_track>(
        tracks_ ? read_track(options.track)
                : way_through({setting_.yaw, setting_.pitch, roll_}, rows_));
}

bool rotation_plan::changes() const {
    return tracks_ || !keyframes_.empty() || roll_ != 0 || setting_ != field_setting{};
}

bool rotation_plan::is_for_effect(int order) const {
    const bool rolls = roll_ != 0 || std::any_of(rows_.begin(), rows_.end(),
                                                 [](const keyframe &row) { return row.roll != 0; });
    return order == 1 && !tracks_ && !rolls && leave_room_for_ramps(rows_);
}

bool rotation_plan::focuses() const { return setting_.focus || focus_moves_; }

void rotation_plan::apply(rotated_field &field, int order) const {
    if (is_for_effect(order)) return field.rotate(setting_, rows_);
    if (focuses())
        field.rotate(without_turn(setting_),
                     focus_moves_ ? without_turns(rows_) : std::vector<keyframe>{});
    field.turn(head_);
}

void rotation_plan::check(const audio_input &file, int order) const {
    if (order > 1 && focuses())
        throw processing_error(file.name(), has_channels(file) +
                                                "; a focus needs a field of order 1, such as "
                                                "its first 4 channels are");
}

void rotation_plan::note_unused_rows(const console &out, s64 frames,
                                     const std::string &field) const {
    const auto unused = std::count_if(rows_.begin(), rows_.end(),
                                      [=](const keyframe &row) { return row.frame >= frames; });
    if (unused > 0)
        out.note(keyframes_ + ": " + counted(static_cast<u64>(unused), "row") +
                 " at or after the end of " + field);
}

int order_of_field(const audio_input &file, channel_layout layout) {
    const int channels = file.channels();
    const int order = order_of_channels(channels);
    const std::string has = has_channels(file);
    if (order < 1 || order > highest_order) {
        const bool is_bed = layout_of_channels(static_cast<std::size_t>(channels)).has_value();
        const char *cure = order > highest_order ? "; the first 25 of these are one"
                           : channels == 1       ? "; 'earshot encode' makes one of a sound"
                           : is_bed ? "; 'earshot render' takes channels for loudspeakers"
                                    : "";
        throw processing_error(file.name(),
                               has + ", a field of order 1 to 4 has 4, 9, 16 or 25" + cure);
    }
    if (order > 1 && layout == channel_layout::fuma)
        throw processing_error(file.name(), has + "; FuMa is read up to order 1");
    return order;
}

} // namespace earshot_tool
