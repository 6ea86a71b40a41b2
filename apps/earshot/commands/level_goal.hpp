// How loud the sound for two ears is to become, where that depends on the sound: it is rendered
// once to be measured, and then once more.
#pragma once

#include "commands/leveled_sound.hpp"
#include "options.hpp"

namespace earshot_tool {

struct level_goal {
    bool normalize = false;          // the highest sample reaches full scale
    std::optional<double> loudness;  // LUFS
    std::optional<double> true_peak; // dBTP: the one to reach, or with a loudness not to exceed

    bool measures_loudness() const { return loudness || true_peak; }
    bool reads_twice() const { return normalize || measures_loudness(); }
    std::string option() const; // that reads twice, for messages
};

void add_level_goal(CLI::App &command, level_goal &goal);

// Throws usage_error for options that contradict each other.
void check_level_goal(const level_goal &goal, bool has_gain);

// The level that reaches the goal. Reads the stream to its end.
output_level level_reaching(const level_goal &goal, rendered_stream &stream,
                            const sample_range &full_scale, int rate, const console &out);

// "at full scale", by how much it was exceeded, and what to do about it.
std::string clip_text(const level_goal &goal, const leveled_sound &sound,
                      const sample_range &full_scale, std::optional<s32> gain);

} // namespace earshot_tool
