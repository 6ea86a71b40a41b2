#include "scene/rendering/gliding_placement.hpp"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <earshot/math.h>

#include "scene/motion/track.hpp"

namespace earshot_scenes {

namespace {

constexpr int glide_frames = 5;
// What goes farther in a frame of 2 ms has jumped: 5000 degrees a second.
constexpr s64 longest_step = 10 << 16;

// Close to the poles a long way round is a short one.
s64 cosine_q31(s32 elevation) {
    const s64 radians = s64{elevation} * EARSHOT_PI_Q31 / (whole_turn / 2);
    return high_precision_sin(radians + EARSHOT_HALF_PI_Q31);
}

bool is_long(s64 turn, s64 rise, s32 elevation) {
    if (std::abs(rise) > longest_step) return true;
    return std::abs(turn) > longest_step &&
           std::abs(turn) * cosine_q31(elevation) >> 31 > longest_step;
}

} // namespace

void gliding_placement::place(const direction &target) {
    if (!placed_) {
        now_ = target;
        frames_left_ = 1;
    } else {
        // What has gone as fast before is only fast.
        const s64 turn = shorter(s64{target.azimuth} - target_.azimuth);
        const s64 rise = s64{target.elevation} - target_.elevation;
        const bool jumps = is_long(turn, rise, target.elevation) &&
                           is_long(turn - last_turn_, rise - last_rise_, target.elevation);
        frames_left_ = jumps ? glide_frames : std::max(frames_left_, 1);
        // The first long way counts as a jump here, which it is unless it was as fast before.
        if (jumps) calm_frames_ = 0;
        has_turned_ = true;
        last_turn_ = turn;
        last_rise_ = rise;
    }
    target_ = target;
}

void gliding_placement::advance() {
    calm_frames_ = std::min(calm_frames_ + 1, glide_frames);
    if (frames_left_ == 0) return;
    const direction next = between(now_, target_, {1, frames_left_--});
    changed_ = changed_ || !placed_ || next != now_;
    now_ = next;
    placed_ = true;
}

bool gliding_placement::take_change() { return std::exchange(changed_, false); }

bool gliding_placement::is_known() const {
    return stays_ || (has_turned_ && calm_frames_ == glide_frames);
}

} // namespace earshot_scenes
