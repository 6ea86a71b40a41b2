#include "scene/rendering/distance_gain.hpp"

#include <algorithm>

#include "scene/motion/geometry.hpp"
#include "scene/motion/track.hpp"

namespace earshot_scene {

distance_gain::distance_gain(const scene_listener &listener, const track<position> &source,
                             const scene_rolloff &rolloff)
    : listener_(listener), source_(source), rolloff_(rolloff),
      follows_(moves(listener.position) || moves(source)) {
    a3d_panner_setup(&panner_, at_time(0), 0, 0);
}

// From Q28 to Q15, in which 1.0 is one unit too large.
s16 distance_gain::at_time(s64 time) const {
    const s32 distance = distance_between(at(source_, time), at(listener_.position, time));
    s32 gain = 0;
    if (rolloff_gain(&gain, distance, rolloff_.minimum, rolloff_.maximum, rolloff_.model) != 0)
        throw std::logic_error("rolloff_gain refused");
    return static_cast<s16>(std::min(gain >> 13, INT16_MAX));
}

void distance_gain::process(s32 *samples, std::size_t count) {
    while (count > 0) {
        std::size_t length = count;
        if (follows_) {
            time_ += block_length;
            a3d_panner_setup(&panner_, at_time(time_), block_length, 0);
            length = std::min(count, block_length);
        }
        a3d_buffer32_fill_panner(samples, samples, &panner_, static_cast<s32>(length), 1);
        samples += length;
        count -= length;
    }
}

} // namespace earshot_scene
