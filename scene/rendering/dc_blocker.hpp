// Takes the constant part out of a sound: the library's DC blocker, one stage with its corner at
// 30 Hz, for samples of 32 bits. It adds noise of -170 dB; of a constant, up to -138 dB remain.
#pragma once

#include <cstddef>

#include <earshot/filters.h>

namespace earshot_scenes {

class dc_blocker {
  public:
    dc_blocker();

    // In place. The result is at half the level: it can be twice as large as what goes in.
    void process(s32 *samples, std::size_t count);

  private:
    void process_upper(s32 *samples, std::size_t count);
    void process_both(s32 *samples, std::size_t count);

    s64 share_ = 0; // of an input that goes into the mean, Q15
    // In units of the output.
    s64 upper_input_ = 0; // the last one
    s64 upper_mean_ = 0;
    s64 lower_mean_ = 0;
};

} // namespace earshot_scenes
