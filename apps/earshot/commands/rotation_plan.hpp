// What is going to be done to a field, made of the options before the field is opened.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "audio/audio_input.hpp"
#include "commands/rotation_options.hpp"
#include "field/rotated_field.hpp"

namespace earshot_tool {

class rotation_plan {
  public:
    // Reads the keyframes or the track. `input` is the field's name and `label` what the command
    // line calls it.
    rotation_plan(const rotation_options &options, const std::string &input,
                  const std::string &label);

    // Whether the field is changed at all.
    bool changes() const;

    // Whether the effect does all of it: for order 1, where nothing but yaw and pitch is asked for
    // and no ramp has to end early. Otherwise it does no more than focus.
    bool is_for_effect(int order) const;

    // Before the first read of a field of an order that the plan is possible for.
    void apply(rotated_field &field, int order) const;

    // Throws processing_error where the plan asks for what a field of the order does not have.
    void check(const audio_input &file, int order) const;

    // Says how many keyframes, if any, a field of so many frames was too short for.
    void note_unused_rows(const console &out, s64 frames, const std::string &field) const;

  private:
    bool focuses() const;

    std::string keyframes_; // the file's name
    field_setting setting_; // before the first row
    s32 roll_;
    std::vector<keyframe> rows_;
    bool focus_moves_;
    bool tracks_;
    std::shared_ptr<const orientation_track> head_; // the same as all that, without the focus
};

// The order of a field, 1 to 4. Throws processing_error for what is none.
int order_of_field(const audio_input &file, channel_layout layout);

} // namespace earshot_tool
