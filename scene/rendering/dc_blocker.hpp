// Takes the constant part out of a sound: the library's DC blocker, one stage with its corner at
// 30 Hz, for samples of 32 bits. It adds noise of -170 dB; of a constant, up to -138 dB remain.
#pragma once

#include <cstddef>

#include <earshot/filters.h>

namespace earshot_scene {

class dc_blocker {
  public:
    dc_blocker();

    // In place. The result is at half the level: it can be twice as large as what goes in.
    void process(s32 *samples, std::size_t count);

  private:
    // A blocker's state, for two stages.
    struct stage {
        s32 input[2];
        s32 output[2];

        s32 next(s32 sample, u16 pole);
    };

    s32 next(s32 sample);

    u16 pole_ = 0;
    stage upper_{};
    stage lower_{};
};

} // namespace earshot_scene
