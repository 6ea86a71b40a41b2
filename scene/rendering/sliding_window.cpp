#include "scene/rendering/sliding_window.hpp"

#include <algorithm>

namespace earshot_scenes {

// As if there had been a window before the first, so that every advance is alike.
sliding_window::sliding_window(frame_source &source, std::size_t length, std::size_t lead,
                               std::size_t step, const sample_lowering &lower)
    : source_(source), lower_(lower), channels_(static_cast<std::size_t>(source.channels())),
      length_(length), step_(step), capacity_(length + step + block_frames),
      planes_(channels_ * capacity_), block_(channels_ > 1 ? channels_ * block_frames : 0),
      filled_(lead + step) {
    lower_(planes_.data(), planes_.size());
}

void sliding_window::advance() {
    start_ += step_;
    while (start_ + length_ > filled_) refill();
}

// What lies between the frames that are here and those to come is never read.
void sliding_window::skip(s64 windows) {
    const s64 begin = static_cast<s64>(start_) + windows * static_cast<s64>(step_);
    const s64 gap = begin + static_cast<s64>(step_) - static_cast<s64>(filled_);
    if (gap <= 0) {
        start_ = static_cast<std::size_t>(begin);
        return;
    }
    start_ = 0;
    filled_ = step_; // up to the next window, and not looked at
    if (source_ended_) return;
    const s64 got = source_.skip(gap);
    source_frames_ += got;
    source_ended_ = got < gap;
}

std::optional<s64> sliding_window::source_frames() const {
    if (!source_ended_) return std::nullopt;
    return source_frames_;
}

void sliding_window::refill() {
    const std::size_t kept = filled_ - start_;
    for (std::size_t k = 0; k < channels_; ++k) {
        s32 *plane = planes_.data() + k * capacity_;
        std::copy_n(plane + start_, kept, plane);
    }
    const std::size_t got = source_ended_ ? 0 : read(kept);
    source_ended_ = got < block_frames;
    source_frames_ += static_cast<s64>(got);
    for (std::size_t k = 0; k < channels_; ++k) {
        s32 *added = planes_.data() + k * capacity_ + kept;
        std::fill_n(added + got, block_frames - got, 0);
        lower_(added, block_frames);
    }
    start_ = 0;
    filled_ = kept + block_frames;
}

// The next block of the source, from a place of the planes on.
std::size_t sliding_window::read(std::size_t at) {
    if (channels_ == 1) return source_.read(planes_.data() + at, block_frames);
    const std::size_t got = source_.read(block_.data(), block_frames);
    for (std::size_t k = 0; k < channels_; ++k) {
        s32 *plane = planes_.data() + k * capacity_ + at;
        const s32 *sample = block_.data() + k;
        for (std::size_t i = 0; i < got; ++i) plane[i] = sample[i * channels_];
    }
    return got;
}

} // namespace earshot_scenes
