#include "scene/rendering/distance_gain.hpp"

#include <algorithm>

#include "scene/motion/geometry.hpp"
#include "scene/motion/track.hpp"

namespace earshot_scenes {

namespace {

constexpr s32 one_metre = 1 << 16;
constexpr s64 full = s64{1} << 31;

// part / whole, Q31, for 0 <= part <= whole.
constexpr s64 share(s64 part, s64 whole) { return (part << 31) / whole; }

// x g / 2^31, rounded half up; g from 0 to 2^31. A product of unsigned words is one that vectors
// have everywhere: what 2^31 more of a sample adds to it is g.
s32 scaled(s32 x, u32 g) {
    const u64 product = u64{static_cast<u32>(x) ^ 0x80000000} * g + (u64{1} << 30);
    return static_cast<s32>(static_cast<u32>(product >> 31) - g);
}

} // namespace

u32 rolled_off(s32 distance, const scene_rolloff &rolloff) {
    const s64 end = rolloff.maximum;
    if (distance >= end) return 0;
    const s64 last_percent =
        end - std::max<s64>(end / 100, 1); // where the fall begins at the latest
    const s64 nearest = std::min<s64>(std::max(rolloff.minimum, one_metre), last_percent);
    const s64 from = rolloff.model == ROLLOFF_NONE ? last_percent : nearest;
    if (distance <= from) return static_cast<u32>(full);
    s64 gain = share(end - distance, end - from);
    if (rolloff.model == ROLLOFF_INVERSE) gain = (gain * share(from, distance) + full / 2) >> 31;
    return static_cast<u32>(gain);
}

distance_gain::distance_gain(const scene_listener &listener, const track<position> &source,
                             const scene_rolloff &rolloff)
    : listener_(listener), source_(source), rolloff_(rolloff),
      follows_(moves(listener.position) || moves(source)), gain_(at_time(0)) {}

u32 distance_gain::at_time(s64 time) const {
    return rolled_off(distance_between(at(source_, time), at(listener_.position, time)), rolloff_);
}

void distance_gain::process(s32 *samples, std::size_t count) {
    if (!follows_) {
        const u32 gain = gain_;
        for (std::size_t i = 0; i < count; ++i) samples[i] = scaled(samples[i], gain);
        return;
    }
    for (std::size_t done = 0; done < count; done += block_length) {
        time_ += block_length;
        ramp(samples + done, std::min(count - done, block_length), at_time(time_));
    }
}

void distance_gain::skip(s64 count) {
    if (!follows_ || count == 0) return;
    time_ += count;
    gain_ = at_time(time_);
}

// The gain of a sample is what a straight line from the last block's end to this one's has reached
// behind it, rounded down.
void distance_gain::ramp(s32 *samples, std::size_t count, u32 target) {
    constexpr int fraction = 24;
    const s64 step = ((s64{target} - gain_) << fraction) / static_cast<s64>(block_length);
    u32 gains[block_length];
    s64 gain = s64{gain_} << fraction;
    for (u32 &g : gains) g = static_cast<u32>((gain += step) >> fraction);
    for (std::size_t i = 0; i < count; ++i) samples[i] = scaled(samples[i], gains[i]);
    gain_ = target;
}

} // namespace earshot_scenes
