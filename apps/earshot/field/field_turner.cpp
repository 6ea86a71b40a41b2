#include "field/field_turner.hpp"

#include <algorithm>
#include <utility>

#include "field/spherical_harmonics.hpp"
#include "scene/motion/geometry.hpp"

namespace earshot_tool {

field_turner::field_turner(int order, std::shared_ptr<const orientation_track> head)
    : order_(static_cast<u32>(order)),
      channels_(static_cast<std::size_t>(channels_of_order(order))), head_(std::move(head)),
      planes_(channels_ * block_length) {
    for (std::size_t k = 0; k < channels_; ++k) plane_.push_back(planes_.data() + k * block_length);
}

void field_turner::process(s32 *interleaved, std::size_t frames) {
    while (frames > 0) {
        const s64 begin = position_ % block_length;
        enter_block(position_ - begin);
        const s64 count = std::min(static_cast<s64>(frames), block_length - begin);
        rotate(interleaved, static_cast<u32>(begin), static_cast<u32>(count));
        interleaved += static_cast<std::size_t>(count) * channels_;
        frames -= static_cast<std::size_t>(count);
        position_ += count;
    }
}

void field_turner::enter_block(s64 begin) {
    const s64 before = begin - 1, last = before + block_length;
    if (to_.frame == before) std::swap(from_, to_);
    if (from_.frame != before) set(from_, before, to_);
    if (to_.frame != last) set(to_, last, from_);
}

// A rotation that is there already is copied: most heads rest most of the time.
void field_turner::set(pose &now, s64 frame, const pose &other) const {
    now.frame = frame;
    now.head = orientation_at(*head_, frame);
    if (other.frame != nowhere && other.head == now.head) {
        now.rotation = other.rotation;
        return;
    }
    const s32 components[4] = {now.head.w, now.head.x, now.head.y, now.head.z};
    require(earshot_field_rotation_of(order_, components, &now.rotation),
            "earshot_field_rotation_of");
}

void field_turner::rotate(s32 *interleaved, u32 begin, u32 frames) {
    for (std::size_t k = 1; k < channels_; ++k)
        for (std::size_t i = 0; i < frames; ++i) plane_[k][i] = interleaved[i * channels_ + k];
    require(earshot_field_rotate(&from_.rotation, &to_.rotation, block_length, begin, frames,
                                 plane_.data(), &clipped_),
            "earshot_field_rotate");
    for (std::size_t k = 1; k < channels_; ++k)
        for (std::size_t i = 0; i < frames; ++i) interleaved[i * channels_ + k] = plane_[k][i];
}

} // namespace earshot_tool
