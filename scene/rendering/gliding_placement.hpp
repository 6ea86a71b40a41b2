// Where a source is heard at the end of every frame. What moves is where it has been placed. What
// jumps, that is goes farther in a frame than what moves ever does and did not go as fast in the
// frame before, glides to its place in five frames (10 ms).
#pragma once

#include "scene/description/scene.hpp"

namespace earshot_scenes {

class gliding_placement {
  public:
    // For the end of the next frame, or of the five next ones; the first place is one at once.
    void place(const direction &target);

    // After the first place: there will be no other.
    void stay() { stays_ = true; }

    // By a frame.
    void advance();

    // Whether the direction has changed since this was asked before, as it has with the first
    // place.
    bool take_change();

    // At the end of the last frame.
    const direction &now() const { return now_; }

    // Whether it makes no difference where the source was before its first place: what has been
    // calm for as long as a glide takes is where it was placed last.
    bool is_known() const;

  private:
    direction now_;
    direction target_;
    s64 last_turn_ = 0; // how the target has come to where it is
    s64 last_rise_ = 0;
    int frames_left_ = 0; // to the target
    int calm_frames_ = 0; // since the first place or a jump, counted up to those of a glide
    bool placed_ = false;
    bool changed_ = false;
    bool stays_ = false;
    bool has_turned_ = false; // so that the last turn and rise are known
};

} // namespace earshot_scenes
