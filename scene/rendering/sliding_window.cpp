#include "scene/rendering/sliding_window.hpp"

#include <algorithm>

namespace earshot_scene {

// As if there had been a window before the first, so that every advance is alike.
sliding_window::sliding_window(frame_source &source, std::size_t length, std::size_t lead,
                               std::size_t step)
    : source_(source), channels_(static_cast<std::size_t>(source.channels())), length_(length),
      step_(step), capacity_(length + step + block_frames), planes_(channels_ * capacity_),
      block_(channels_ * block_frames), filled_(lead + step) {}

void sliding_window::advance() {
    start_ += step_;
    while (start_ + length_ > filled_) refill();
}

std::optional<s64> sliding_window::source_frames() const {
    if (!source_ended_) return std::nullopt;
    return source_frames_;
}

void sliding_window::refill() {
    const std::size_t kept = filled_ - start_;
    const std::size_t got = source_ended_ ? 0 : source_.read(block_.data(), block_frames);
    source_ended_ = got < block_frames;
    source_frames_ += static_cast<s64>(got);
    for (std::size_t k = 0; k < channels_; ++k) {
        s32 *plane = planes_.data() + k * capacity_;
        std::copy_n(plane + start_, kept, plane);
        for (std::size_t i = 0; i < got; ++i) plane[kept + i] = block_[i * channels_ + k];
        std::fill_n(plane + kept + got, block_frames - got, 0);
    }
    start_ = 0;
    filled_ = kept + block_frames;
}

} // namespace earshot_scene
