#include "scene/rendering/distance_gain.hpp"

#include <algorithm>

#include "scene/motion/geometry.hpp"
#include "scene/motion/track.hpp"

namespace earshot_scene {

namespace {

constexpr s32 one_metre = 1 << 16;
constexpr s64 full = INT16_MAX; // Q15, in which 1.0 is one unit too large

// part / whole, Q30, for 0 <= part <= whole.
constexpr s64 share(s64 part, s64 whole) { return (part << 30) / whole; }

} // namespace

s16 rolled_off(s32 distance, const scene_rolloff &rolloff) {
    const s64 end = rolloff.maximum;
    if (distance >= end) return 0;
    const s64 last_percent =
        end - std::max<s64>(end / 100, 1); // where the fall begins at the latest
    const s64 nearest = std::min<s64>(std::max(rolloff.minimum, one_metre), last_percent);
    const s64 from = rolloff.model == ROLLOFF_NONE ? last_percent : nearest;
    if (distance <= from) return static_cast<s16>(full);
    s64 gain = share(end - distance, end - from);
    if (rolloff.model == ROLLOFF_INVERSE) gain = gain * share(from, distance) >> 30;
    return static_cast<s16>((gain * full + (1 << 29)) >> 30);
}

distance_gain::distance_gain(const scene_listener &listener, const track<position> &source,
                             const scene_rolloff &rolloff)
    : listener_(listener), source_(source), rolloff_(rolloff),
      follows_(moves(listener.position) || moves(source)) {
    a3d_panner_setup(&panner_, at_time(0), 0, 0);
}

s16 distance_gain::at_time(s64 time) const {
    return rolled_off(distance_between(at(source_, time), at(listener_.position, time)), rolloff_);
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
