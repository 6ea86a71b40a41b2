// Where a source is heard at the end of every frame. What moves is where it has been placed. What
// jumps, that is goes farther in a frame than what moves ever does and did not go as fast in the
// frame before, glides to its place in five frames (10 ms).
#pragma once

#include "scene/description/scene.hpp"

namespace earshot_scene {

class gliding_placement {
  public:
    // For the end of the next frame, or of the five next ones; the first place is one at once.
    void place(const direction &target);

    // By a frame. Returns whether the direction has changed, as it has with the first place.
    bool advance();

    // At the end of the last frame.
    const direction &now() const { return now_; }

  private:
    direction now_;
    direction target_;
    s64 last_turn_ = 0; // how the target has come to where it is
    s64 last_rise_ = 0;
    int frames_left_ = 0; // to the target
    bool placed_ = false;
};

} // namespace earshot_scene
